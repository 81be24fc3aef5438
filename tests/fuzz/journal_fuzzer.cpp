// SPDX-License-Identifier: Apache-2.0
// Anyone who can write to the journal decides on every field of an entry. If fields are of any
// kind, missing, there twice or removed between two searches, each message is still copied once, as
// one line that can be shown. Messages of Zorva itself are never copied.
//
// An input is the journal: fields "NAME=VALUE", each ended by a NUL, with an empty one after each
// entry. A value's "\1" stands for NUL. A field of one byte is not a field: there a search takes
// place, and so many entries are removed. The calls of the journal's library are replaced by those
// below.

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "loggers/ZVSyslogLogger.h"
#include "platform/assemble/SimHandset.h"
#include "platform/syslog/linux/LinuxSystemLogQueries.h"
#include "tests/fuzz/Log.h"

namespace {

using Entry = std::vector<std::string>;

std::vector<Entry> sEntries;
int sFirst = 0;  // the first that was not removed

}  // namespace

struct sd_journal {
  int at = -1;
  std::size_t most = SIZE_MAX;
};

int sd_journal_open_directory(sd_journal** journal, const char*, int) {
  *journal = new sd_journal;
  return 0;
}
void sd_journal_close(sd_journal* journal) {
  delete journal;
}
int sd_journal_set_data_threshold(sd_journal* journal, std::size_t most) {
  journal->most = most;
  return 0;
}
int sd_journal_seek_head(sd_journal* journal) {
  journal->at = sFirst - 1;
  return 0;
}
int sd_journal_seek_tail(sd_journal* journal) {
  journal->at = static_cast<int>(sEntries.size());
  return 0;
}
int sd_journal_next(sd_journal* journal) {
  if (journal->at + 1 >= static_cast<int>(sEntries.size())) return 0;
  journal->at = std::max(journal->at + 1, sFirst);
  return journal->at < static_cast<int>(sEntries.size()) ? 1 : 0;
}
int sd_journal_previous_skip(sd_journal* journal, std::uint64_t most) {
  const int steps = std::min(std::max(journal->at - sFirst, 0), static_cast<int>(most));
  journal->at -= steps;
  return steps;
}
int sd_journal_previous(sd_journal* journal) {
  return sd_journal_previous_skip(journal, 1);
}
int sd_journal_get_cursor(sd_journal* journal, char** cursor) {
  *cursor = ::strdup(std::to_string(journal->at).c_str());
  return 0;
}
int sd_journal_seek_cursor(sd_journal* journal, const char* cursor) {
  journal->at = std::atoi(cursor) - 1;
  return 0;
}
int sd_journal_test_cursor(sd_journal* journal, const char* cursor) {
  return journal->at == std::atoi(cursor) ? 1 : 0;
}
int sd_journal_get_data(sd_journal* journal, const char* name, const void** data,
                        std::size_t* size) {
  const std::size_t length = std::strlen(name);
  for (const std::string& field : sEntries[static_cast<std::size_t>(journal->at)]) {
    if (!field.starts_with(name) || field[length] != '=') continue;
    *data = field.data();
    *size = std::min(field.size(), journal->most);
    return 0;
  }
  return -ENOENT;
}
int sd_journal_get_realtime_usec(sd_journal* journal, std::uint64_t* time) {
  const void* data = nullptr;
  std::size_t size = 0;
  const int got = sd_journal_get_data(journal, "TIME", &data, &size);
  if (got < 0) return got;
  const char* const text = static_cast<const char*>(data);
  std::from_chars(text + 5, text + size, *time);
  return 0;
}

namespace zorva {
namespace {

constexpr std::size_t kMaxEntries = 64;  // few enough for one search to copy

// Whether Zorva wrote it. If a field is there twice, the first counts.
bool isOurs(const Entry& entry) {
  for (const char* name : {"SYSLOG_IDENTIFIER=", "_COMM="}) {
    for (const std::string& field : entry) {
      if (field.starts_with(name)) return field.substr(std::strlen(name)) == "zorva";
    }
  }
  return false;
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorva;
  static SimHandset handset;
  static NotificationCenter notifications;
  static const auto dates = handset.platform().dates.makeFormatter(ZVLogger::kEntryDatePattern);
  static LogStream log(::memfd_create("log", MFD_CLOEXEC), LogStream::Ownership::Owned);
  const Platform& platform = handset.platform();
  sEntries.clear();
  sFirst = 0;
  LinuxSystemLogQueries queries("/nowhere");
  const auto logger = ZVSyslogLogger::logger(
      {platform.clock, *dates, platform.systemLog, platform.systemNotifications, notifications},
      queries);
  logger->setLogFile(&log);
  logger->setEnabled(true);

  int unread = 0;
  const auto search = [&](int removed) {
    const int count = static_cast<int>(sEntries.size());
    sFirst = std::min(sFirst + removed, count);
    const auto due = std::count_if(sEntries.begin() + std::max(sFirst, unread), sEntries.end(),
                                   [](const Entry& entry) { return !isOurs(entry); });
    unread = count;
    logger->log();
    log.flush();
    REQUIRE(checkLog(takeText(log.descriptor())) == static_cast<std::size_t>(due));
  };
  Entry entry;
  std::string field;
  for (const std::uint8_t* at = data; at < data + size; ++at) {
    if (*at != 0) {
      field += static_cast<char>(*at);
      continue;
    }
    if (field.size() == 1) {
      search(static_cast<std::uint8_t>(field[0]) % 8);
    } else if (field.empty() && sEntries.size() < kMaxEntries) {
      sEntries.push_back(std::exchange(entry, {}));
    } else {
      std::ranges::replace(field, '\1', '\0');
      entry.push_back(field);
    }
    field.clear();
  }
  search(0);
  search(0);
  return 0;
}
