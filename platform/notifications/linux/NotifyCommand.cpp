// SPDX-License-Identifier: Apache-2.0
#include "platform/notifications/linux/NotifyCommand.h"

#include <cstdint>
#include <optional>

#include "platform/base/CommandLine.h"
#include "platform/base/Text.h"
#include "platform/notifications/linux/NotificationSocket.h"
#include "platform/notifications/linux/NotificationStates.h"

namespace zorva {
namespace {

constexpr const char* kProgram = "zorva-notify";

constexpr const char* kHelp =
    "Usage: zorva-notify NAME [--own] [--state N]\n"
    "Posts the system notification NAME to the running daemons of this user; root's posts reach\n"
    "the daemons of every user. If no daemon observes it, that is not an error. Prints nothing.\n"
    "\n"
    "  --own       if you are root, reach root's daemons only\n"
    "  --state N   set the notification's state first: 0 to 18446744073709551615, or 0x...\n"
    "  -h, --help  print this text and exit\n"
    "  --version   print the version and exit\n"
    "\n"
    "NAME has 1 to 128 printable ASCII characters, no blank and no '/', and does not start with\n"
    "'.'. The name com.vennor.zorva.exit ends the daemons.\n"
    "\n"
    "Exit status: 0 posted; 1 the state could not be set, or a daemon's queue was full; 2 bad\n"
    "usage.\n"
    "\n"
    "The daemons' sockets and the states are in %s.\n";

struct Request {
  std::string name;
  std::optional<std::uint64_t> state;
  bool own = false;
};

// Decimal, or hexadecimal after "0x".
std::optional<std::uint64_t> stateIn(std::string_view text) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  return parseNumber<std::uint64_t>(text, hexadecimal ? 16 : 10);
}

// Reads the arguments; ends the program if there is nothing to post.
std::optional<CommandEnd> parse(const std::vector<std::string>& arguments,
                                const std::string& directory, Request& request) {
  const auto setState = [&request](const std::string& number) {
    request.state = stateIn(number);
    return request.state ? std::string()
                         : "the state '" + safeText(number) +
                               "' is not a number from 0 to 18446744073709551615 (decimal, or "
                               "hexadecimal after 0x).";
  };
  std::vector<std::string> names;
  if (auto end =
          readCommandLine({kProgram,
                           formatText(kHelp, directory.c_str()),
                           {{"state", 0, "a number", setState}, commandSwitch("own", request.own)}},
                          arguments, names)) {
    return end;
  }
  if (names.empty()) return badUsage(kProgram, "the NAME to post is missing.");
  if (names.size() > 1) {
    return badUsage(kProgram,
                    "only one NAME can be posted, not also '" + safeText(names[1]) + "'.");
  }
  if (!isNotificationName(names[0])) {
    return badUsage(kProgram, "'" + safeText(names[0]) + "' cannot be the NAME of a notification.");
  }
  request.name = names[0];
  return std::nullopt;
}

}  // namespace

int notifyCommand(const std::vector<std::string>& arguments,
                  const NotificationDirectories& directories, std::FILE* output,
                  std::FILE* errors) {
  Request request;
  if (const auto end = parse(arguments, directories.own, request))
    return end->write(output, errors);
  std::string problem;
  if (request.state && !setNotificationState(directories, request.name, *request.state, problem)) {
    std::fprintf(errors, "zorva-notify: %s. The state is not set and nothing is posted.\n",
                 problem.c_str());
    return 1;
  }
  NotificationDirectories reached = directories;
  if (request.own) reached.users.clear();
  const PostResult result = postNotification(reached, request.name);
  if (!result.problem.empty()) {
    std::fprintf(errors,
                 "zorva-notify: %s. The notification did not reach the daemons of this user.\n",
                 result.problem.c_str());
    return 1;
  }
  if (result.full > 0) {
    std::fprintf(errors,
                 "zorva-notify: %d daemon(s) in '%s' have a full queue; try again when they have"
                 " caught up.\n",
                 result.full, directories.own.c_str());
    return 1;
  }
  return 0;
}

}  // namespace zorva
