#define SD_JOURNAL_SUPPRESS_LOCATION  // of this very function: it says nothing

#include "platform/system/linux/LinuxSystemLog.h"

#include <cstdio>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include "platform/base/Text.h"

namespace zorva {

void LinuxSystemLog::write(std::string_view message) {
  const std::string line = safeText(message);
  // Without a journal sd_journal_send() succeeds and the line is lost.
  const bool journal = ::access("/run/systemd/journal/socket", F_OK) == 0;
  if (!journal || sd_journal_send("MESSAGE=%s", line.c_str(), "PRIORITY=%d", LOG_NOTICE,
                                  "SYSLOG_IDENTIFIER=zorva", nullptr) < 0) {
    ::openlog("zorva", LOG_PID, LOG_DAEMON);
    ::syslog(LOG_NOTICE, "%s", line.c_str());
  }
  if (::isatty(STDERR_FILENO) == 1) ::dprintf(STDERR_FILENO, "zorva: %s\n", line.c_str());
}

}  // namespace zorva
