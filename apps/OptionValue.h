#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorva {

/// An option that takes a value, as found in an argument.
struct OptionValue {
  bool isOption = false;            ///< the argument is this option
  std::optional<std::string> text;  ///< nothing if the value is missing
};

/// Checks whether the argument at `i` is the option, "--name VALUE" or "--name=VALUE". If the value
/// is a separate argument, `i` is advanced to it.
OptionValue optionValue(std::string_view name, const std::vector<std::string>& arguments,
                        std::size_t& i);

/// The same for "-o FILE", "-oFILE", "--output FILE" or "--output=FILE", which sets `output`.
/// Returns an error message, or an empty text; nothing if the argument is another one.
std::optional<std::string> takeOutput(const std::vector<std::string>& arguments, std::size_t& i,
                                      std::optional<std::string>& output);

}  // namespace zorva
