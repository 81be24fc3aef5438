// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zorva {

/// An option of a program's command line: "--NAME" or "-LETTER", with a value as "--NAME VALUE",
/// "--NAME=VALUE", "-LETTER VALUE" or "-LETTERVALUE".
struct CommandOption {
  const char* name;
  char letter = 0;  ///< 0: none
  const char* value =
      nullptr;  ///< the value that it needs, such as "a directory"; nullptr: it is a switch
  /// Called with the value, which is not empty, or with an empty text for a switch. Returns an
  /// error message, or an empty text.
  std::function<std::string(const std::string& value)> take;
};

/// "--NAME", which sets `to`.
CommandOption commandSwitch(const char* name, bool& to);

/// The command line of a program. Every program also has -h, --help and --version.
struct CommandLine {
  const char* program;
  std::string help;
  std::vector<CommandOption> options = {};
  std::string afterUnknown = {};  ///< appended to the error message for an unknown option
};

/// Output and exit status of a program that ends now: its help, its version, or an error message.
struct CommandEnd {
  int status = 0;
  std::string output;  ///< for standard output
  std::string error;   ///< for standard error

  /// Writes both texts. Returns the exit status, which is 1 if the output cannot be written.
  int write(std::FILE* toOutput = stdout, std::FILE* toError = stderr) const;
};

/// The error message for a wrong command line: one line, and exit status 2.
CommandEnd badUsage(const char* program, const std::string& wrong);

/// Reads the arguments, without the program's name, up to the first that is wrong or ends the
/// program. Returns nothing if the program is to continue. Options may follow operands, "-" is an
/// operand, and the arguments after "--" go to `rest`, or to the operands if `rest` is null.
std::optional<CommandEnd> readCommandLine(const CommandLine& line,
                                          const std::vector<std::string>& arguments,
                                          std::vector<std::string>& operands,
                                          std::vector<std::string>* rest = nullptr);

}  // namespace zorva
