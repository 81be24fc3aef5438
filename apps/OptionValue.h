#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorva {

/// What an argument says of an option that takes a value.
struct OptionValue {
  bool isOption = false;            ///< the argument is this option
  std::optional<std::string> text;  ///< nothing where the value is missing
};

/// Looks whether the option, "--name VALUE" or "--name=VALUE", stands at `i`, which goes on to the
/// value where that is an argument of its own.
OptionValue optionValue(std::string_view name, const std::vector<std::string>& arguments,
                        std::size_t& i);

/// The same for "-o FILE", "-oFILE", "--output FILE" or "--output=FILE", which sets `output`.
/// Returns what is wrong with it, or an empty text; nothing where the argument is another one.
std::optional<std::string> takeOutput(const std::vector<std::string>& arguments, std::size_t& i,
                                      std::optional<std::string>& output);

}  // namespace zorva
