#include "platform/notifications/linux/NotifyCommand.h"

#include <cstdint>
#include <optional>

#include "platform/base/Text.h"
#include "platform/notifications/linux/NotificationSocket.h"
#include "platform/notifications/linux/NotificationStates.h"

namespace zorva {
namespace {

constexpr const char* kHelp =
    "Usage: zorva-notify NAME [--state N]\n"
    "Posts the system notification NAME to the running daemons of this user; root's posts reach\n"
    "the daemons of every user. If no daemon observes it, that is not an error. Prints nothing.\n"
    "\n"
    "  --state N   set the notification's state first: 0 to 18446744073709551615, or 0x...\n"
    "  -h, --help  print this text and exit\n"
    "\n"
    "NAME has 1 to 128 printable ASCII characters, no blank and no '/', and does not start with\n"
    "'.'. The name com.vennor.zorva.exit ends the daemons.\n"
    "\n"
    "Exit status: 0 posted; 1 the state could not be set, or a daemon's queue was full; 2 bad\n"
    "usage.\n"
    "\n"
    "The daemons' sockets and the states are in %s.\n";

constexpr const char* kSeeHelp = "'zorva-notify --help' shows the options.";

struct Request {
  bool help = false;
  std::optional<std::string> name;
  std::optional<std::uint64_t> state;
};

// Decimal, or hexadecimal after "0x".
std::optional<std::uint64_t> stateIn(std::string_view text) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  return parseNumber<std::uint64_t>(text, hexadecimal ? 16 : 10);
}

// Reads the arguments; returns what is wrong with them, or an empty text.
std::string parse(const std::vector<std::string>& arguments, Request& request) {
  static constexpr std::string_view kState = "--state=";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string argument = arguments[i];
    if (argument == "--help" || argument == "-h") {
      request.help = true;
    } else if (argument == "--state" || argument.starts_with(kState)) {
      const bool apart = argument == "--state";
      if (apart && ++i == arguments.size()) return "--state needs a number.";
      const std::string number = apart ? arguments[i] : argument.substr(kState.size());
      request.state = stateIn(number);
      if (!request.state) {
        return "The state '" + safeText(number) +
               "' is no number from 0 to 18446744073709551615 (decimal, or hexadecimal after 0x).";
      }
    } else if (argument.starts_with('-')) {
      return "There is no option '" + safeText(argument) + "'.";
    } else if (request.name) {
      return "Only one NAME can be posted, not also '" + safeText(argument) + "'.";
    } else {
      request.name = std::move(argument);
    }
  }
  if (request.help) return "";
  if (!request.name) return "The NAME to post is missing.";
  if (!isNotificationName(*request.name)) {
    return "'" + safeText(*request.name) + "' cannot be the NAME of a notification.";
  }
  return "";
}

}  // namespace

int notifyCommand(const std::vector<std::string>& arguments,
                  const NotificationDirectories& directories, std::FILE* output,
                  std::FILE* errors) {
  Request request;
  if (const std::string wrong = parse(arguments, request); !wrong.empty()) {
    std::fprintf(errors, "zorva-notify: %s %s\n", wrong.c_str(), kSeeHelp);
    return 2;
  }
  if (request.help) {
    std::fprintf(output, kHelp, directories.own.c_str());
    return 0;
  }
  std::string problem;
  if (request.state && !setNotificationState(directories, *request.name, *request.state, problem)) {
    std::fprintf(errors, "zorva-notify: %s. The state is not set and nothing is posted.\n",
                 problem.c_str());
    return 1;
  }
  const PostResult result = postNotification(directories, *request.name);
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
