#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

// How the attributes of the kernel's devices are read.
namespace zorva {

/// Reads one attribute of a device by its name, without the white space at its end; nothing when
/// the device has no such attribute or cannot tell it now.
using SysfsAttributes = std::function<std::optional<std::string>(const std::string& name)>;

inline std::optional<std::string> readSysfsAttribute(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  std::array<char, 4096> page;  // the kernel's limit for an attribute
  const ssize_t length = ::read(file, page.data(), page.size());
  ::close(file);
  if (length < 0) return std::nullopt;
  std::string text(page.data(), static_cast<std::size_t>(length));
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

/// A whole decimal number of 64 bits, or nothing.
inline std::optional<std::int64_t> wholeNumber(const std::optional<std::string>& text) {
  std::int64_t number = 0;
  if (!text) return std::nullopt;
  const char* const end = text->data() + text->size();
  const auto [read, error] = std::from_chars(text->data(), end, number);
  return error == std::errc{} && read == end ? std::optional(number) : std::nullopt;
}

/// The names in a directory, sorted; none when it cannot be read.
inline std::vector<std::string> sortedNamesIn(const std::string& directory) {
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
