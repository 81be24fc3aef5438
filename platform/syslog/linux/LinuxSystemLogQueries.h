// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-journal.h>

#include "platform/syslog/SystemLogQueries.h"

namespace zorva {

/// The journal (docs/linux-services.md). Entries are numbered from 1 in the order in which they are
/// first read, so that a number identifies the same message as long as this object exists; the
/// first search starts kEarlier entries before the journal's end.
///
/// Messages of Zorva itself are skipped: an entry about one could become a message again. Without a
/// journal, or the permission to read it, there are no messages; every search tries again.
class LinuxSystemLogQueries : public SystemLogQueries {
 public:
  /// Few enough that the system log logger reaches the last of them in its first scan.
  static constexpr std::uint64_t kEarlier = 256;
  /// The number of recent messages that can be returned again.
  static constexpr std::size_t kKept = 300;
  /// Longer texts are truncated.
  static constexpr std::size_t kMaxTextBytes = 4096;

  /// The journal of this machine, or the journal files in the directory.
  explicit LinuxSystemLogQueries(std::string directory = "") : directory_(std::move(directory)) {}

  std::unique_ptr<SystemLogQuery> createQuery() override;
  std::unique_ptr<SystemLogResponse> search(const SystemLogQuery& query) override;
  std::int64_t parseTime(const std::string& text) override;

 private:
  struct Message {
    std::uint32_t id;
    std::int64_t time;  ///< seconds since 1970
    std::optional<std::string> sender, process, text;
  };
  class Query;
  class Response;

  std::shared_ptr<sd_journal> openJournal() const;
  void seekUnread(sd_journal* journal) const;
  bool readNext(sd_journal* journal);

  std::string directory_;
  std::weak_ptr<sd_journal> journal_;  ///< as long as a response reads it
  std::string lastRead_;               ///< cursor; empty before anything was read
  std::uint32_t lastId_ = 0;
  std::deque<Message> messages_;
};

}  // namespace zorva
