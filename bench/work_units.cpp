// SPDX-License-Identifier: Apache-2.0
// One energy and one work entry's reading, and the latter's body, which is printed.
//
//     work_units [TIMES]     with TIMES: repeats it, and prints the cost (bench/Measure.h)

#include <cstdio>
#include <string>
#include <utility>

#include "bench/Measure.h"
#include "loggers/ZVWorkLogger.h"
#include "platform/energy/linux/LinuxEnergyCounters.h"
#include "platform/work/linux/LinuxWorkUnits.h"

namespace {

struct NoSystemLog : zorva::SystemLog {
  void write(std::string_view) override {}
};

}  // namespace

int main(int argc, char** argv) {
  NoSystemLog systemLog;
  zorva::LinuxEnergyCounters energy(systemLog);
  zorva::LinuxWorkUnits work;
  std::string body;
  zorva::bench::repeat(argc > 1 ? argv[1] : nullptr, [&] {
    energy.read();
    if (auto units = work.units()) body = zorva::ZVWorkLogger::bodyOf(std::move(*units));
    std::puts(body.c_str());
  });
  return body.empty() ? 1 : 0;
}
