// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"

// The kernel's attributes: files of at most one page, read at each call.
namespace zorva {

/// Reads one attribute of a device by its name; nothing if the device has no such attribute or
/// cannot report it now.
using SysfsAttributes = std::function<std::optional<std::string>(const std::string& name)>;

/// The attribute's bytes, at most a page, without surrounding blanks, line ends and NULs; nothing
/// if it cannot be read.
inline std::optional<std::string> readAttribute(const std::string& path) {
  using namespace std::string_view_literals;
  constexpr std::string_view kAround = " \t\r\n\0"sv;
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) return std::nullopt;
  std::array<char, 4096> page;
  const ssize_t length = ::read(file.get(), page.data(), page.size());
  if (length < 0) return std::nullopt;
  std::string text(page.data(), static_cast<std::size_t>(length));
  text.erase(text.find_last_not_of(kAround) + 1);
  text.erase(0, std::min(text.find_first_not_of(kAround), text.size()));
  return text;
}

/// A 64-bit decimal integer, or nothing.
inline std::optional<std::int64_t> wholeNumber(const std::optional<std::string>& text) {
  return text ? parseNumber<std::int64_t>(*text) : std::nullopt;
}

/// The attribute as an integer; nothing if it is not one.
inline std::optional<std::int64_t> readNumber(const std::string& path) {
  return wholeNumber(readAttribute(path));
}

/// The names in the directory, sorted; empty if it cannot be read.
inline std::vector<std::string> entryNames(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator at(directory, error), end; !error && at != end;
       at.increment(error)) {
    names.push_back(at->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace zorva
