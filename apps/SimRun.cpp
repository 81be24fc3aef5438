// SPDX-License-Identifier: Apache-2.0
#include "apps/SimRun.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
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
    "Usage: zorva-sim SCENARIO [--root DIR] [--truth FILE] [-- -Bdpq]\n"
    "Runs the loggers on a simulated handset, in virtual time.\n"
    "The log goes to standard output, the handset's system log to standard error.\n"
    "Options:\n"
    "    --root DIR    keep the handset's files (log directory, preferences) in DIR;\n"
    "                  without it they are removed at the end\n"
    "    --truth FILE  write to FILE what each cause really used; the scenario needs a\n"
    "                  power model\n"
    "    -h, --help    print this help message and exit\n"
    "    --version     print the version and exit\n"
    "    -- OPTIONS    the arguments that follow are for zorva\n";

struct Options {
  std::string scenario;
  std::optional<std::string> root;
  std::optional<std::string> truth;
  std::vector<std::string> zorva{"zorva"};
};

// Ends the program if there is nothing to run.
std::optional<CommandEnd> parse(const std::vector<std::string>& arguments, Options& options) {
  const auto setRoot = [&options](const std::string& directory) {
    options.root = directory;
    return std::string();
  };
  const auto setTruth = [&options](const std::string& file) {
    options.truth = file;
    return std::string();
  };
  std::vector<std::string> scenarios;
  if (auto end = readCommandLine(
          {kProgram,
           kHelp,
           {{"root", 0, "a directory", setRoot}, {"truth", 0, "the name of a file", setTruth}},
           "; options for zorva come after --"},
          arguments, scenarios, &options.zorva)) {
    return end;
  }
  if (scenarios.empty()) return badUsage(kProgram, "no scenario is given.");
  if (scenarios.size() > 1) return badUsage(kProgram, "more than one scenario is given.");
  options.scenario = scenarios[0];
  return std::nullopt;
}

void explainTruth(const std::string& name, std::ostream& err) {
  err << formatText("zorva-sim: %s: cannot be written: %s\n", safeText(name).c_str(),
                    std::strerror(errno));
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
    if (options.truth) {
      if (!run.handset_->powerModel().isInScenario()) {
        err << "zorva-sim: --truth needs a scenario with a \"power_model\".\n";
        return std::nullopt;
      }
      run.truthName_ = *options.truth;
      errno = 0;
      run.truth_.open(run.truthName_, std::ios::binary);
      if (!run.truth_) {
        explainTruth(run.truthName_, err);
        return std::nullopt;
      }
    }
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

bool SimRun::writeTruth(std::ostream& err) {
  if (truthName_.empty()) return true;
  errno = 0;
  if (truth_ << handset_->powerModel().account()->table() << std::flush) return true;
  explainTruth(truthName_, err);
  return false;
}

char* const* SimRun::zorvaArguments() {
  pointers_.clear();
  for (std::string& argument : zorvaArguments_) pointers_.push_back(argument.data());
  pointers_.push_back(nullptr);
  return pointers_.data();
}

}  // namespace zorva
