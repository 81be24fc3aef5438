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

/// The journal (docs/linux-services.md). Entries are numbered from 1 on in the order in which they
/// are first read here, so that a number stands for the same message as long as this lives; the
/// first search starts kEarlier entries before the journal's end.
///
/// What a Zorva wrote itself is no message: an entry about it would be one again. Without a
/// journal, or the right to read it, there are no messages; every search looks anew.
class LinuxSystemLogQueries : public SystemLogQueries {
 public:
  /// Few enough for the system log logger to see the last of them in its first scan.
  static constexpr std::uint64_t kEarlier = 256;
  /// How many of the latest messages can be had again.
  static constexpr std::size_t kKept = 300;
  /// Of a longer text only the first bytes are there.
  static constexpr std::size_t kMaxTextBytes = 4096;

  /// Of this machine, or of the journal files in the directory.
  explicit LinuxSystemLogQueries(std::string directory = "") : directory_(std::move(directory)) {}

  std::unique_ptr<SystemLogQuery> createQuery() override;
  std::unique_ptr<SystemLogResponse> search(const SystemLogQuery& query) override;

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
