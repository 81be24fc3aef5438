// SPDX-License-Identifier: Apache-2.0
#include "platform/base/CommandLine.h"

#include <cstddef>
#include <getopt.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

// The values that getopt_long returns for the options, from this one on in the order of the table.
constexpr int kFirstOption = 256;

std::string shownName(const CommandOption& option) {
  return option.letter != 0 ? std::string{'-', option.letter} : std::string("--") + option.name;
}

// The arguments of getopt_long.
class OptionTable {
 public:
  OptionTable(const CommandLine& line, const std::vector<std::string>& arguments)
      : arguments_(arguments) {
    // "-": returns operands in order, regardless of POSIXLY_CORRECT; ":": reports a missing value
    // separately from an unknown option.
    letters_ = "-:";
    for (std::size_t i = 0; i < line.options.size(); ++i) {
      const CommandOption& option = line.options[i];
      const bool takesValue = option.value != nullptr;
      options_.push_back({option.name, takesValue ? required_argument : no_argument, nullptr,
                          kFirstOption + static_cast<int>(i)});
      if (option.letter != 0) letters_.append({option.letter}).append(takesValue ? ":" : "");
    }
    options_.push_back({});
    pointers_.push_back(const_cast<char*>(line.program));
    for (std::string& argument : arguments_) pointers_.push_back(argument.data());
    pointers_.push_back(nullptr);
    ::optind = 0;  // resets getopt: another command line may have been read before
    ::opterr = 0;
  }

  int next() {
    return ::getopt_long(static_cast<int>(pointers_.size()) - 1, pointers_.data(), letters_.c_str(),
                         options_.data(), nullptr);
  }

  // The argument that contains an unknown or ambiguous option.
  std::string last() const { return pointers_[static_cast<std::size_t>(::optind) - 1]; }

 private:
  std::vector<std::string> arguments_;
  std::string letters_;
  std::vector<option> options_;
  std::vector<char*> pointers_;
};

// The option for a value returned by getopt_long: a letter or a table index.
const CommandOption* optionFor(const CommandLine& line, int found) {
  if (found >= kFirstOption) return &line.options[static_cast<std::size_t>(found - kFirstOption)];
  for (const CommandOption& option : line.options) {
    if (found != 0 && option.letter == found) return &option;
  }
  return nullptr;
}

}  // namespace

CommandOption commandSwitch(const char* name, bool& to) {
  return {name, 0, nullptr, [&to](const std::string&) {
            to = true;
            return std::string();
          }};
}

int CommandEnd::write(std::FILE* toOutput, std::FILE* toError) const {
  std::fputs(error.c_str(), toError);
  const bool written = std::fputs(output.c_str(), toOutput) >= 0 && std::fflush(toOutput) == 0;
  return written || output.empty() ? status : 1;
}

CommandEnd badUsage(const char* program, const std::string& wrong) {
  const std::string name(program);
  return {2, "", name + ": " + wrong + " Try '" + name + " --help' for more information.\n"};
}

std::optional<CommandEnd> readCommandLine(const CommandLine& line,
                                          const std::vector<std::string>& arguments,
                                          std::vector<std::string>& operands,
                                          std::vector<std::string>* rest) {
  std::optional<CommandEnd> end;
  const auto endsWith = [&end](const std::string& text) {
    return [&end, text](const std::string&) {
      end = {0, text, ""};
      return std::string();
    };
  };
  CommandLine all = line;
  all.options.push_back({"help", 'h', nullptr, endsWith(line.help)});
  all.options.push_back(
      {"version", 0, nullptr, endsWith(std::string(line.program) + " " ZORVA_VERSION "\n")});
  OptionTable table(all, arguments);
  for (int found = 0; !end && (found = table.next()) != -1;) {
    if (found == 1) {
      operands.emplace_back(::optarg);
      continue;
    }
    const bool missing = found == ':';
    const bool unknown = found == '?';
    const CommandOption* const option = optionFor(all, missing || unknown ? ::optopt : found);
    if (option == nullptr) {
      const std::string shown =
          ::optopt != 0 ? std::string{'-', static_cast<char>(::optopt)} : table.last();
      return badUsage(line.program, "unknown option " + safeText(shown) + line.afterUnknown + ".");
    }
    if (unknown) return badUsage(line.program, std::string("--") + option->name + " has no value.");
    const std::string value = missing || option->value == nullptr ? "" : ::optarg;
    if (option->value != nullptr && value.empty()) {
      return badUsage(line.program, shownName(*option) + " needs " + option->value + ".");
    }
    if (const std::string wrong = option->take(value); !wrong.empty()) {
      return badUsage(line.program, wrong);
    }
  }
  if (end) return end;
  std::vector<std::string>& behind = rest != nullptr ? *rest : operands;
  behind.insert(behind.end(), arguments.begin() + (::optind - 1), arguments.end());
  return std::nullopt;
}

}  // namespace zorva
