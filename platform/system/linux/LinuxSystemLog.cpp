// SPDX-License-Identifier: Apache-2.0
#define SD_JOURNAL_SUPPRESS_LOCATION  // of this function, where they are useless

#include "platform/system/linux/LinuxSystemLog.h"

#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"

namespace zorva {
namespace {

// The maximum number of bytes buffered for standard error; further lines are written at once.
constexpr std::size_t kMaxWaiting = 65536;

// Whether there is a syslog daemon: syslog(3) itself does not report whether a line was delivered.
bool syslogIsReachable() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, "/dev/log", sizeof(address.sun_path) - 1);
  for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
    const Descriptor socket(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) ==
        0) {
      return true;
    }
  }
  return false;
}

}  // namespace

void LinuxSystemLog::write(std::string_view message) {
  const std::string line = safeText(message);
  // Without a journal sd_journal_send() succeeds and the line is lost.
  if (::access("/run/systemd/journal/socket", F_OK) == 0 &&
      sd_journal_send("MESSAGE=%s", line.c_str(), "PRIORITY=%d", LOG_NOTICE,
                      "SYSLOG_IDENTIFIER=zorva", nullptr) >= 0) {
    return;
  }
  if (syslogIsReachable()) {
    ::openlog("zorva", LOG_PID, LOG_DAEMON);
    ::syslog(LOG_NOTICE, "%s", line.c_str());
    return;
  }
  waiting_ += "zorva: " + line + "\n";
  if (!timer_) timer_ = runLoop_.startTimer(0, [this] { writeWaiting(); });
  if (!timer_ || waiting_.size() > kMaxWaiting) writeWaiting();
}

void LinuxSystemLog::writeWaiting() {
  timer_.reset();
  std::fputs(waiting_.c_str(), stderr);
  std::fflush(stderr);
  waiting_.clear();
}

}  // namespace zorva
