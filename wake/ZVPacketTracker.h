// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/NotificationCenter.h"
#include "platform/processes/ProcessInformation.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// Determines which packet, call or message woke the device, and which process owns the packet's
/// socket.
///
///     [PacketDecoder] version=IPv4; length=60; ttl=56; protocol=TCP; source=192.0.2.7;
///     destination=10.2.3.4; source_port=993; dest_port=49152; seq=1; ack=2; offset=5; window=512;
///     control=xxxAPxxx;
///     [PacketTracker] process=demo; path=/usr/bin/demo; pid=211; tcp_status=ESTABLISHED;
///     local=10.2.3.4:49152; remote=192.0.2.7:993;
///
/// The sockets are those right before the last sleep: every "ZVDeviceWillSleepNotification" takes a
/// new snapshot. Problems with a text or a process go to the system log, one line each, never to
/// the log.
///
/// Wake texts are untrusted bytes, read as UTF-8. A character is a code point; each byte that is
/// not part of well-formed UTF-8 counts as one character U+FFFD. Literals are matched ignoring the
/// case of ASCII letters. Any part of a text that is written to a body or to the system log passes
/// safeText first.
class ZVPacketTracker {
 public:
  /// Category and body of each entry to write, "PacketDecoder" before "PacketTracker".
  using Bodies = std::vector<std::pair<std::string, std::string>>;

  static constexpr std::int32_t kBasebandWake = 1;  ///< wake types of analyzePacketType
  static constexpr std::int32_t kWiFiWake = 2;

  static constexpr std::int32_t kDataPacket = 1;  ///< baseband wake kinds
  static constexpr std::int32_t kIncomingCall = 2;
  static constexpr std::int32_t kIncomingSMS = 3;
  static constexpr std::int32_t kOtherChannel = 4;

  /// Returned for a field that cannot be read.
  static constexpr std::uint32_t kUnreadable = 0xFFFFFFFF;

  /// All three arguments must outlive the tracker.
  ZVPacketTracker(NotificationCenter& notifications, SystemLog& systemLog,
                  ProcessInformation& processes);
  ZVPacketTracker(const ZVPacketTracker&) = delete;
  ZVPacketTracker& operator=(const ZVPacketTracker&) = delete;

  /// Appends the line of the socket with this local port, in host order, to the body of
  /// "PacketTracker" that is being built. Returns 0, or -1 if the last snapshot has no such socket.
  int findProcessWithPort(std::int32_t port);

  /// Takes a new snapshot of every process's sockets. After a failure the part already read is
  /// kept.
  void buildFDTable(const Notification& notification);

  /// Lists all processes into Pids, which grows as needed. Returns their number, or -1.
  int getPids();

  /// Lists the process's descriptors into Fds, which holds at least its number of open files
  /// afterwards: their number, or -1, also for a process that has none.
  int getFdsWithPid(proc_taskallinfo information, pid_t pid);

  /// The packet of a Wi-Fi wake text in hexadecimal digits, or nothing.
  std::optional<std::string> getPacketWoW(std::optional<std::string_view> text);

  /// The packet of a baseband wake text in hexadecimal digits, with the kind kDataPacket. For the
  /// other kinds returns an empty text, and adds the status field to the body of "PacketDecoder"
  /// that is being built. If the text is rejected, returns nothing and leaves the kind unchanged.
  std::optional<std::string> getPacketBasebandDlci(std::optional<std::string_view> text,
                                                   std::int32_t* kind);

  /// Both return the destination port and add the fields of the header at the start of the packet
  /// text to the body of "PacketDecoder" that is being built. If the text is too short they return
  /// 0 and add no field.
  std::uint16_t udpParse(std::string_view text);
  std::uint16_t tcpParse(std::string_view text);

  /// Reads the big-endian field of `length` bytes (1, 2 or 4) at the cursor, an index of
  /// characters, and moves the cursor past it. A field ends early at a character that is not a
  /// hexadecimal digit. If there is no such field, returns kUnreadable and leaves the cursor
  /// unchanged. The text is a packet text: one byte per character.
  std::uint32_t hexStrtolOffsetLength(std::optional<std::string_view> text, std::uint32_t* cursor,
                                      std::uint32_t length);

  /// Decodes a wake text and looks up the owner of its packet. Returns nothing if the text is
  /// rejected.
  std::optional<Bodies> analyzePacketType(std::optional<std::string_view> text, std::int32_t type);

 private:
  // A buffer of plain records that only grows, and reports when it cannot.
  template <typename Entry>
  class Buffer {
   public:
    bool absent() const { return !entries_; }
    bool grow(std::int32_t bytes) {
      // At least one byte: an empty allocation may return no buffer.
      void* grown = std::realloc(entries_.get(), static_cast<std::size_t>(bytes > 0 ? bytes : 1));
      if (grown == nullptr) return false;
      static_cast<void>(entries_.release());
      entries_.reset(static_cast<Entry*>(grown));
      return true;
    }
    std::span<Entry> room(std::int32_t bytes) {
      return {entries_.get(), static_cast<std::size_t>(bytes) / sizeof(Entry)};
    }

   private:
    struct Free {
      void operator()(Entry* entries) const { std::free(entries); }
    };
    std::unique_ptr<Entry, Free> entries_;
  };

  bool growPids(std::int64_t bytes);
  // False ends the whole snapshot.
  bool addProcess(pid_t pid);
  bool addSocket(pid_t pid, std::int32_t descriptor, const std::string& owner);
  std::optional<std::string> checkedPacket(std::string packet);
  std::uint16_t decodeHeaders(std::string_view packet);

  SystemLog& systemLog_;
  ProcessInformation& processes_;

  std::string processLog_;  ///< the body of "PacketTracker" that is being built
  std::string packetLog_;   ///< the body of "PacketDecoder"
  /// the socket lines of the last snapshot, by local port in decimal
  std::unordered_map<std::string, std::string> processFDs_;
  socket_fdinfo si_;         ///< of every query
  std::int32_t NbPids_ = 0;  ///< room in Pids, in bytes
  std::int32_t NbFds_ = 0;   ///< room in Fds, in bytes
  Buffer<std::int32_t> Pids_;
  Buffer<proc_fdinfo> Fds_;

  Registration willSleep_;
};

}  // namespace zorva
