// SPDX-License-Identifier: Apache-2.0
#include "platform/syslog/linux/LinuxSystemLogQueries.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

#include "platform/base/Text.h"

namespace zorva {
namespace {

template <typename Integer>
Integer numberIn(std::string_view text) {
  Integer number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// A field of the journal's current entry.
std::optional<std::string> fieldOf(sd_journal* journal, const char* name) {
  const void* data = nullptr;
  std::size_t size = 0;
  if (sd_journal_get_data(journal, name, &data, &size) < 0) return std::nullopt;
  std::string_view text(static_cast<const char*>(data), size);
  text.remove_prefix(std::min(text.size(), text.find('=') + 1));
  return std::string(cutToBytes(text, SystemLogRecord::kMaxTextBytes));
}

bool isOwn(const std::optional<std::string>& sender, const std::optional<std::string>& process) {
  return sender == "zorva" || process == std::to_string(::getpid());
}

}  // namespace

class LinuxSystemLogQueries::Query : public SystemLogQuery {
 public:
  int set(const std::string& key, const std::string& value, std::uint32_t operation) override {
    if (key != "SLQMessageID" || operation != (kNumeric | kGreater)) return ENOTSUP;
    above_ = std::max(above_, static_cast<std::uint32_t>(numberIn<std::int64_t>(value)));
    return 0;
  }
  std::uint32_t above() const { return above_; }

 private:
  std::uint32_t above_ = 0;
};

// Continues reading when all messages read before have been returned.
class LinuxSystemLogQueries::Response : public SystemLogResponse, private SystemLogMessage {
 public:
  Response(LinuxSystemLogQueries& queries, std::shared_ptr<sd_journal> journal, std::uint32_t above)
      : queries_(queries), journal_(std::move(journal)), reached_(above) {}

  const SystemLogMessage* next() override {
    do {
      const auto newer = std::find_if(queries_.messages_.begin(), queries_.messages_.end(),
                                      [this](const Message& each) { return each.id > reached_; });
      if (newer != queries_.messages_.end()) {
        message_ = *newer;
        reached_ = message_.id;
        return this;
      }
    } while (queries_.readNext(journal_.get()));
    return nullptr;
  }

 private:
  std::optional<std::string> field(const std::string& key) const override {
    if (key == "SLQMessageID") return std::to_string(message_.id);
    if (key == "Time") return std::to_string(message_.time);
    if (key == "Sender") return message_.sender;
    if (key == "PID") return message_.process;
    if (key == "Message") return message_.text;
    return std::nullopt;
  }

  LinuxSystemLogQueries& queries_;
  std::shared_ptr<sd_journal> journal_;
  std::uint32_t reached_;
  Message message_{};
};

std::unique_ptr<SystemLogQuery> LinuxSystemLogQueries::createQuery() {
  return std::make_unique<Query>();
}

std::unique_ptr<SystemLogResponse> LinuxSystemLogQueries::search(const SystemLogQuery& query) {
  // Opened for each search: journal files that were created, rotated or removed need not be
  // watched, and no journal file stays mapped between searches.
  auto journal = journal_.lock();
  if (!journal && !readsFile()) journal_ = journal = openJournal();
  return std::make_unique<Response>(*this, std::move(journal),
                                    static_cast<const Query&>(query).above());
}

// Files of a journal may be left from another service manager; its socket is not.
bool LinuxSystemLogQueries::readsFile() {
  return ::access(sources_.journalSocket.c_str(), F_OK) != 0 && file_.open();
}

std::shared_ptr<sd_journal> LinuxSystemLogQueries::openJournal() {
  sd_journal* opened = nullptr;
  const int result = sources_.journal.empty()
                         ? sd_journal_open(&opened, SD_JOURNAL_LOCAL_ONLY)
                         : sd_journal_open_directory(&opened, sources_.journal.c_str(), 0);
  if (result == -ENOSYS && !std::exchange(reported_, true)) {
    problems_.write("There is no system log to read: no journal, and no file of a syslog daemon (" +
                    sources_.files.front() + ", " + sources_.files.back() + ") that can be opened");
  }
  if (result < 0) return nullptr;
  std::shared_ptr<sd_journal> journal(opened, sd_journal_close);
  // Includes room for the field's name.
  sd_journal_set_data_threshold(opened, SystemLogRecord::kMaxTextBytes + 64);
  seekUnread(opened);
  return journal;
}

// Seeks so that the next step forward reaches the first unread entry.
void LinuxSystemLogQueries::seekUnread(sd_journal* journal) const {
  if (lastRead_.empty()) {
    // One step more than needed; if there are fewer entries, the skip ends at the first one.
    sd_journal_seek_tail(journal);
    const int steps = sd_journal_previous_skip(journal, kEarlier + 1);
    if (steps >= 0 && static_cast<std::uint64_t>(steps) <= kEarlier) sd_journal_seek_head(journal);
    return;
  }
  // The last entry may have been removed; then the next one has not been read.
  sd_journal_seek_cursor(journal, lastRead_.c_str());
  if (sd_journal_next(journal) > 0 && sd_journal_test_cursor(journal, lastRead_.c_str()) <= 0) {
    if (sd_journal_previous(journal) <= 0) sd_journal_seek_head(journal);
  }
}

// Reads one entry, which may not be a message. Returns false at the end.
bool LinuxSystemLogQueries::readNext(sd_journal* journal) {
  Message message;
  if (journal != nullptr) {
    if (!readEntry(journal, message)) return false;
  } else {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(clock_.now().time_since_epoch());
    auto record = file_.next(seconds.count());
    if (!record) return false;
    static_cast<SystemLogRecord&>(message) = std::move(*record);
  }
  if (isOwn(message.sender, message.process)) return true;
  message.time = std::min(message.time, kMaxTime);
  message.id = ++lastId_;
  messages_.push_back(std::move(message));
  if (messages_.size() > kKept) messages_.pop_front();
  return true;
}

bool LinuxSystemLogQueries::readEntry(sd_journal* journal, Message& message) {
  if (sd_journal_next(journal) <= 0) return false;
  char* cursor = nullptr;
  if (sd_journal_get_cursor(journal, &cursor) < 0) return false;
  lastRead_ = cursor;
  std::free(cursor);

  message.sender = fieldOf(journal, "SYSLOG_IDENTIFIER");
  if (!message.sender) message.sender = fieldOf(journal, "_COMM");
  message.process = fieldOf(journal, "_PID");
  if (!message.process) message.process = fieldOf(journal, "SYSLOG_PID");
  if (!message.process && fieldOf(journal, "_TRANSPORT") == "kernel") message.process = "0";
  message.text = fieldOf(journal, "MESSAGE");
  std::uint64_t microseconds = 0;
  sd_journal_get_realtime_usec(journal, &microseconds);
  message.time = static_cast<std::int64_t>(microseconds / 1'000'000);
  return true;
}

}  // namespace zorva
