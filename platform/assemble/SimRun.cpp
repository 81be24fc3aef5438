#include "platform/assemble/SimRun.h"

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <string_view>
#include <utility>

#include "platform/assemble/Scenario.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr const char* kUsage =
    "Usage: zorva-sim SCENARIO [--root DIR] [--help] [-- -Bdpq]\n"
    "Runs the loggers on a simulated handset, in virtual time.\n"
    "The log goes to standard output, the handset's system log to standard error.\n"
    "Options:\n"
    "    --root DIR    keep the handset's files (log directory, preferences) in DIR;\n"
    "                  without it they are removed at the end\n"
    "    -h, --help    print this help message and exit\n"
    "    -- OPTIONS    what follows are options for zorva\n";

struct Options {
  bool help = false;
  std::string problem;  ///< what is wrong with the command line
  std::optional<std::string> scenario;
  std::optional<std::string> root;
  std::vector<std::string> zorva{"zorva"};
};

// Not by getopt: its state belongs to the daemon's own options.
Options parse(const std::vector<std::string>& arguments) {
  constexpr std::string_view kRootIs = "--root=";
  Options options;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (*argument == "--") {
      options.zorva.insert(options.zorva.end(), argument + 1, arguments.end());
      break;
    }
    if (*argument == "--help" || *argument == "-h") {
      options.help = true;
    } else if (argument->starts_with(kRootIs)) {
      options.root = argument->substr(kRootIs.size());
    } else if (*argument == "--root") {
      if (argument + 1 == arguments.end()) {
        options.problem = "--root needs a directory";
        break;
      }
      options.root = *++argument;
    } else if (argument->starts_with('-') && argument->size() > 1) {
      options.problem = "unknown option " + *argument + "; options for zorva come after --";
    } else if (options.scenario) {
      options.problem = "more than one scenario";
    } else {
      options.scenario = *argument;
    }
  }
  if (options.root && options.root->empty()) options.problem = "--root needs a directory";
  if (!options.scenario && options.problem.empty()) options.problem = "no scenario is given";
  return options;
}

}  // namespace

std::optional<SimRun> SimRun::fromArguments(int argc, const char* const argv[], int& status,
                                            std::ostream& out, std::ostream& err) {
  const Options options = parse({argv + (argc > 0 ? 1 : 0), argv + argc});
  if (options.help) {
    out << kUsage << std::flush;
    status = 0;
    return std::nullopt;
  }
  status = 2;
  if (!options.problem.empty()) {
    err << "zorva-sim: " + safeText(options.problem) + "\n" << kUsage;
    return std::nullopt;
  }
  SimRun run;
  try {
    run.handset_ = std::make_unique<SimHandset>(
        options.root ? std::make_unique<SimRoot>(*options.root) : std::make_unique<SimRoot>());
    const Scenario scenario = Scenario::readFile(*options.scenario, *run.handset_);
    run.handset_->systemLog().setForward([&err](std::string_view message) {
      // Some messages hold more than one line.
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
    err << "zorva-sim: the handset's files have no place: " + safeText(error.what()) + "\n";
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
