// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-journal.h>
#include <vector>

#include "platform/loop/Clock.h"
#include "platform/syslog/SystemLogQueries.h"
#include "platform/syslog/linux/SyslogFile.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// The journal, or without one the file of a syslog daemon (docs/linux-services.md). Entries are
/// numbered from 1 in the order in which they are first read, so that a number identifies the same
/// message as long as this object exists; the first search starts kEarlier entries before the
/// end, in a file at most 64 KiB before it.
///
/// Messages of Zorva itself are skipped: an entry about one could become a message again. Without
/// either, or the permission to read it, there are no messages; every search tries again. Where the
/// library has no journal (libelogind), that is reported once.
class LinuxSystemLogQueries : public SystemLogQueries {
 public:
  /// Few enough that the system log logger reaches the last of them in its first scan.
  static constexpr std::uint64_t kEarlier = 256;
  /// The number of recent messages that can be returned again.
  static constexpr std::size_t kKept = 300;

  struct Sources {
    std::string journal;  ///< directory of journal files; empty: this machine's journal
    std::string journalSocket = "/run/systemd/journal/socket";  ///< exists while a journal runs
    std::vector<std::string> files = {"/var/log/syslog", "/var/log/messages"};
  };
  LinuxSystemLogQueries(const Clock& clock, SystemLog& problems, Sources sources)
      : clock_(clock),
        problems_(problems),
        sources_(std::move(sources)),
        file_(sources_.files, kEarlier) {}
  LinuxSystemLogQueries(const Clock& clock, SystemLog& problems)
      : LinuxSystemLogQueries(clock, problems, Sources()) {}

  std::unique_ptr<SystemLogQuery> createQuery() override;
  std::unique_ptr<SystemLogResponse> search(const SystemLogQuery& query) override;

 private:
  struct Message : SystemLogRecord {
    std::uint32_t id = 0;
  };
  class Query;
  class Response;

  bool readsFile();
  std::shared_ptr<sd_journal> openJournal();
  void seekUnread(sd_journal* journal) const;
  bool readNext(sd_journal* journal);
  bool readEntry(sd_journal* journal, Message& message);

  const Clock& clock_;
  SystemLog& problems_;
  Sources sources_;
  SyslogFile file_;
  bool reported_ = false;              ///< that there is nothing to read
  std::weak_ptr<sd_journal> journal_;  ///< as long as a response reads it
  std::string lastRead_;               ///< cursor; empty before anything was read
  std::uint32_t lastId_ = 0;
  std::deque<Message> messages_;
};

}  // namespace zorva
