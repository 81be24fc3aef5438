#include "apps/OptionValue.h"

namespace zorva {

OptionValue optionValue(std::string_view name, const std::vector<std::string>& arguments,
                        std::size_t& i) {
  const std::string_view argument = arguments[i];
  if (argument == name) {
    if (i + 1 == arguments.size()) return {true, std::nullopt};
    return {true, arguments[++i]};
  }
  if (argument.starts_with(name) && argument.substr(name.size()).starts_with('=')) {
    return {true, std::string(argument.substr(name.size() + 1))};
  }
  return {};
}

std::optional<std::string> takeOutput(const std::vector<std::string>& arguments, std::size_t& i,
                                      std::optional<std::string>& output) {
  const std::string& argument = arguments[i];
  const OptionValue value = argument.size() > 2 && argument.starts_with("-o")
                                ? OptionValue{true, argument.substr(2)}
                                : optionValue(argument == "-o" ? "-o" : "--output", arguments, i);
  if (!value.isOption) return std::nullopt;
  if (output) return "more than one output is given.";
  if (!value.text || value.text->empty()) return "-o needs the name of a file.";
  output = value.text;
  return "";
}

}  // namespace zorva
