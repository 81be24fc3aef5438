// SPDX-License-Identifier: Apache-2.0
// One entry of the process monitor: sample, sort, body. It is printed.
//
//     process_snapshot [TIMES]     with TIMES: repeats it, and prints the cost (bench/Measure.h)

#include <cstdio>
#include <optional>
#include <string>

#include "bench/Measure.h"
#include "platform/processes/linux/LinuxSystemStatistics.h"
#include "platform/system/AccountDatabase.h"
#include "process/ZVProcessMonitor.h"

namespace {

// A snapshot asks for no user names.
struct NoAccounts : zorva::AccountDatabase {
  std::optional<Ids> idsOfUser(const std::string&) override { return std::nullopt; }
  std::optional<std::string> nameOfUser(uid_t) override { return std::nullopt; }
};

}  // namespace

int main(int argc, char** argv) {
  zorva::LinuxSystemStatistics statistics;
  NoAccounts accounts;
  std::string body;
  zorva::bench::repeat(argc > 1 ? argv[1] : nullptr, [&] {
    body = zorva::ZVProcessMonitor::sampleBody(statistics, accounts);
    std::puts(body.c_str());
  });
  return body.empty() ? 1 : 0;
}
