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
  char letter = 0;              ///< 0: none
  const char* value = nullptr;  ///< what it needs, such as "a directory"; nullptr: it is a switch
  /// Takes the value, which is not empty, or an empty text for a switch. Returns what is wrong
  /// with it, or an empty text.
  std::function<std::string(const std::string& value)> take;
};

/// "--NAME", which sets `to`.
CommandOption commandSwitch(const char* name, bool& to);

/// How a program is called. Every program also has -h, --help and --version.
struct CommandLine {
  const char* program;
  std::string help;
  std::vector<CommandOption> options = {};
  std::string afterUnknown = {};  ///< continues the complaint about an option that there is not
};

/// The end of a program that has nothing more to do: its help, its version, or a complaint.
struct CommandEnd {
  int status = 0;
  std::string output;  ///< for standard output
  std::string error;   ///< for standard error

  /// Writes both texts. Returns the exit status, which is 1 when the output cannot be written.
  int write(std::FILE* toOutput = stdout, std::FILE* toError = stderr) const;
};

/// The complaint about a wrong command line: one line, and exit status 2.
CommandEnd badUsage(const char* program, const std::string& wrong);

/// Writes "PROGRAM: PROBLEM" to standard error. Returns the exit status.
int complain(const char* program, const std::string& problem, int status);

/// Reads the arguments, without the program's name, up to the first that is wrong or ends the
/// program; nothing is returned where it is to go on. Options may stand behind operands, "-" is an
/// operand, and what follows "--" goes to `rest`, or to the operands where there is none.
std::optional<CommandEnd> readCommandLine(const CommandLine& line,
                                          const std::vector<std::string>& arguments,
                                          std::vector<std::string>& operands,
                                          std::vector<std::string>* rest = nullptr);

}  // namespace zorva
