// SPDX-License-Identifier: Apache-2.0
#include "apps/SimRun.h"

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <string_view>
#include <utility>

#include "apps/CommandLine.h"
#include "platform/assemble/Scenario.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr const char* kProgram = "zorva-sim";

constexpr const char* kHelp =
    "Usage: zorva-sim SCENARIO [--root DIR] [-- -Bdpq]\n"
    "Runs the loggers on a simulated handset, in virtual time.\n"
    "The log goes to standard output, the handset's system log to standard error.\n"
    "Options:\n"
    "    --root DIR    keep the handset's files (log directory, preferences) in DIR;\n"
    "                  without it they are removed at the end\n"
    "    -h, --help    print this help message and exit\n"
    "    --version     print the version and exit\n"
    "    -- OPTIONS    the arguments that follow are for zorva\n";

struct Options {
  std::string scenario;
  std::optional<std::string> root;
  std::vector<std::string> zorva{"zorva"};
};

// Ends the program if there is nothing to run.
std::optional<CommandEnd> parse(const std::vector<std::string>& arguments, Options& options) {
  const auto setRoot = [&options](const std::string& directory) {
    options.root = directory;
    return std::string();
  };
  std::vector<std::string> scenarios;
  if (auto end = readCommandLine({kProgram,
                                  kHelp,
                                  {{"root", 0, "a directory", setRoot}},
                                  "; options for zorva come after --"},
                                 arguments, scenarios, &options.zorva)) {
    return end;
  }
  if (scenarios.empty()) return badUsage(kProgram, "no scenario is given.");
  if (scenarios.size() > 1) return badUsage(kProgram, "more than one scenario is given.");
  options.scenario = scenarios[0];
  return std::nullopt;
}

}  // namespace

std::optional<SimRun> SimRun::fromArguments(int argc, const char* const argv[], int& status,
                                            std::ostream& out, std::ostream& err) {
  Options options;
  if (const auto end = parse({argv + (argc > 0 ? 1 : 0), argv + argc}, options)) {
    out << end->output << std::flush;
    err << end->error;
    status = end->status;
    return std::nullopt;
  }
  status = 2;
  SimRun run;
  try {
    run.handset_ = std::make_unique<SimHandset>(
        options.root ? std::make_unique<SimRoot>(*options.root) : std::make_unique<SimRoot>());
    const Scenario scenario = Scenario::readFile(options.scenario, *run.handset_);
    run.handset_->systemLog().setForward([&err](std::string_view message) {
      // Some messages have more than one line.
      std::string lines;
      for (std::size_t begin = 0, end; begin <= message.size(); begin = end + 1) {
        end = std::min(message.find('\n', begin), message.size());
        lines.append("syslog: ").append(message.substr(begin, end - begin)).append("\n");
      }
      err << lines;
    });
    scenario.begin(*run.handset_);
  } catch (const ScenarioError& error) {
    err << std::string("zorva-sim: ") + error.what() + "\n";
    return std::nullopt;
  } catch (const std::filesystem::filesystem_error& error) {
    err << "zorva-sim: there is no directory for the handset's files: " + safeText(error.what()) +
               "\n";
    return std::nullopt;
  }
  run.zorvaArguments_ = options.zorva;
  status = 0;
  return run;
}

char* const* SimRun::zorvaArguments() {
  pointers_.clear();
  for (std::string& argument : zorvaArguments_) pointers_.push_back(argument.data());
  pointers_.push_back(nullptr);
  return pointers_.data();
}

}  // namespace zorva
