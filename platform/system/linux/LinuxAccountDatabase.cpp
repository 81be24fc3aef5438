// SPDX-License-Identifier: Apache-2.0
#include "platform/system/linux/LinuxAccountDatabase.h"

#include <cerrno>
#include <pwd.h>
#include <vector>

namespace zorva {
namespace {

constexpr std::size_t kMaxRecordSize = std::size_t{1} << 20;

// Runs one of the lookups, with a larger buffer as long as the record does not fit, and calls
// `read` with the record while it is valid.
template <class Lookup, class Read>
auto lookUp(Lookup lookup, Read read) -> std::optional<decltype(read(passwd{}))> {
  for (std::vector<char> buffer(1024); buffer.size() <= kMaxRecordSize;
       buffer.resize(buffer.size() * 2)) {
    passwd record;
    passwd* found = nullptr;
    const int error = lookup(&record, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (found == nullptr) return std::nullopt;
    return read(*found);
  }
  return std::nullopt;
}

}  // namespace

std::optional<AccountDatabase::Ids> LinuxAccountDatabase::idsOfUser(const std::string& name) {
  return lookUp(
      [&](passwd* record, char* buffer, std::size_t size, passwd** found) {
        return ::getpwnam_r(name.c_str(), record, buffer, size, found);
      },
      [](const passwd& record) {
        return Ids{record.pw_uid, record.pw_gid};
      });
}

std::optional<std::string> LinuxAccountDatabase::nameOfUser(uid_t user) {
  return lookUp([&](passwd* record, char* buffer, std::size_t size,
                    passwd** found) { return ::getpwuid_r(user, record, buffer, size, found); },
                [](const passwd& record) { return std::string(record.pw_name); });
}

}  // namespace zorva
