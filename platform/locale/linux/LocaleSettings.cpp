// SPDX-License-Identifier: Apache-2.0
#include "platform/locale/linux/LocaleSettings.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <sys/stat.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

constexpr const char* kPosixLocale = "en_US_POSIX";
constexpr std::size_t kMaxNameLength = 64;
constexpr int kMaxLinks = 40;

bool isAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool consistsOf(std::string_view text, std::string_view punctuation) {
  return !text.empty() && text.size() <= kMaxNameLength &&
         std::all_of(text.begin(), text.end(), [&](char c) {
           return isAlphanumeric(c) || punctuation.find(c) != punctuation.npos;
         });
}

bool isZoneName(std::string_view name) {
  return consistsOf(name, "_+-/") && name.front() != '/' && name.back() != '/';
}

// The language, script and country of "en_US.UTF-8@euro"; empty if they are not an identifier.
std::string identifierOf(std::string_view locale) {
  locale = locale.substr(0, locale.find_first_of(".@"));
  if (locale == "C" || locale == "POSIX") return kPosixLocale;
  return consistsOf(locale, "_-") ? std::string(locale) : std::string();
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// The last assignment to the variable in a file of shell-like assignments.
std::string assignedIn(const std::string& path, std::string_view variable) {
  std::ifstream file(path);
  std::string value;
  for (std::string line; std::getline(file, line);) {
    const std::string_view text = trimmed(line);
    if (text.size() <= variable.size() || !text.starts_with(variable) ||
        text[variable.size()] != '=') {
      continue;
    }
    std::string_view assigned = trimmed(text.substr(variable.size() + 1));
    if (assigned.size() >= 2 && (assigned.front() == '"' || assigned.front() == '\'') &&
        assigned.back() == assigned.front()) {
      assigned = assigned.substr(1, assigned.size() - 2);
    }
    value = assigned;
  }
  return value;
}

// The zone at a path, or at the target of its links, below a directory "zoneinfo".
std::string zoneAt(std::filesystem::path path) {
  constexpr std::string_view kDirectory = "zoneinfo/";
  for (int links = 0; links <= kMaxLinks; ++links) {
    const std::string text = path.string();
    if (const std::size_t at = text.rfind(kDirectory); at != text.npos) {
      std::string_view name = std::string_view(text).substr(at + kDirectory.size());
      for (const std::string_view variant : {"posix/", "right/"}) {
        if (name.starts_with(variant)) name.remove_prefix(variant.size());
      }
      return isZoneName(name) ? std::string(name) : std::string();
    }
    std::error_code error;
    const auto target = std::filesystem::read_symlink(path, error);
    if (error) return {};
    path = (path.parent_path() / target).lexically_normal();
  }
  return {};
}

// The value of TZ, if it is a zone's name and not a rule.
std::string zoneOfEnvironment(const LocalePaths& paths) {
  const char* setting = std::getenv("TZ");
  if (!setting) return {};
  std::string_view name = setting;
  if (name.starts_with(':')) name.remove_prefix(1);
  if (name.empty()) return "UTC";  // as the C library has it
  if (name.front() == '/') return zoneAt(name);
  std::error_code error;
  const bool known = isZoneName(name) && std::filesystem::is_regular_file(
                                             std::filesystem::path(paths.zoneinfo) / name, error);
  return known ? std::string(name) : std::string();
}

}  // namespace

std::string readLocaleIdentifier(const LocalePaths& paths) {
  const auto first = [](std::initializer_list<std::string> locales) -> std::string {
    for (const std::string& locale : locales) {
      if (std::string identifier = identifierOf(locale); !identifier.empty()) return identifier;
    }
    return kPosixLocale;
  };
  return first({environment("LC_ALL"), assignedIn(paths.localeConf, "LC_ALL"),
                assignedIn(paths.localeConf, "LANG"), assignedIn(paths.defaultLocale, "LC_ALL"),
                assignedIn(paths.defaultLocale, "LANG"), environment("LANG")});
}

std::string readTimeZone(const LocalePaths& paths) {
  if (std::string zone = zoneOfEnvironment(paths); !zone.empty()) return zone;
  if (std::string zone = zoneAt(paths.localtime); !zone.empty()) return zone;
  std::string line;
  std::ifstream file(paths.timezone);
  std::getline(file, line);
  const std::string_view zone = trimmed(line);
  return isZoneName(zone) ? std::string(zone) : "UTC";
}

std::string timeZoneMark(const LocalePaths& paths) {
  if (std::getenv("TZ")) return {};  // the file does not count
  struct stat status {};
  if (::stat(paths.localtime.c_str(), &status) != 0) return {};
  return formatText("%llu:%llu:%lld.%09ld", static_cast<unsigned long long>(status.st_dev),
                    static_cast<unsigned long long>(status.st_ino),
                    static_cast<long long>(status.st_mtim.tv_sec), status.st_mtim.tv_nsec);
}

}  // namespace zorva
