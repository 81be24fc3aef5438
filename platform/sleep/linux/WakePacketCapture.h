// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-event.h>
#include <vector>

namespace zorva {

/// Catches the IPv4 packet that woke the system: the first one that came in after it resumed.
///
/// Between begin() and end(), which stand right before a sleep and right after it, each interface
/// has a packet socket that takes inbound IPv4 packets addressed to this host, their first 64 bytes
/// only. Of them the first that counts is kept and all others are dropped. Nothing is captured at
/// any other time, and an open capture keeps no system awake. Without the privilege to open packet
/// sockets, or without the interface, nothing is caught.
///
/// A packet counts when the kernel's time of its arrival, by the wall clock, is not before the time
/// of begin() plus the time slept since: those that came before the sleep are older, as the time
/// between begin() and the sleep is short. One that the loop delivered before the sleep never
/// counts. When the system has not slept, each packet since begin() counts. A wall clock that is
/// set while a capture is open can make the wrong packet count, or none: it is not corrected for.
class WakePacketCapture {
 public:
  static constexpr std::size_t kMaxLength = 64;

  struct Packet {
    std::size_t position = 0;         ///< of its interface among those that were given, from 0
    std::int64_t arrived = 0;         ///< nanoseconds since 1970-01-01 UTC
    std::vector<std::uint8_t> bytes;  ///< from the IPv4 header on, at most kLongest
  };

  /// Answers how long the system has slept since it booted, in nanoseconds.
  using SleepTime = std::function<std::int64_t()>;

  /// The loop must outlive the capture. The kernel's clocks give the time slept, unless another
  /// source is given, which is for tests.
  explicit WakePacketCapture(sd_event* event, SleepTime sleepTime = nullptr);
  WakePacketCapture(const WakePacketCapture&) = delete;  // the loop holds its address
  WakePacketCapture& operator=(const WakePacketCapture&) = delete;
  ~WakePacketCapture();

  /// Opens the capture on the interfaces, by their names; one that is open ends. `arrived` is
  /// called from the loop when a packet has come that end() would answer now: at most once before
  /// the sleep and once after it. It may end the capture.
  void begin(const std::vector<std::string>& interfaces, std::function<void()> arrived = nullptr);

  /// Closes the capture, and answers the first packet that counts, of those that have come until
  /// now on any interface.
  std::optional<Packet> end();

  /// Whether end() would answer a packet now.
  bool caught();

  /// Whether any interface is captured on.
  bool active() const { return !sockets_.empty(); }

 private:
  struct Socket;

  std::int64_t slept() const;
  void drain(Socket& socket);
  void keepFirst(std::optional<Packet>& kept, Packet packet);
  static int readable(sd_event_source*, int, std::uint32_t, void* socket);

  sd_event* event_;
  SleepTime sleepTime_;
  std::vector<std::unique_ptr<Socket>> sockets_;
  std::function<void()> arrived_;
  std::int64_t begin_ = 0;  ///< wall clock
  std::int64_t sleptAtBegin_ = 0;
  std::optional<Packet> awake_;  ///< the first of all
  std::optional<Packet> woke_;   ///< the first after the sleep
};

/// The text that the wake packet decoder reads: "Dlci 1 [pdp_0]: 45 00 00 3c", with the packet's
/// bytes in lower-case hexadecimal. Interfaces stand for channels: the first of those given to
/// begin() is channel 1 and pdp_0.
std::string wakeText(const WakePacketCapture::Packet& packet);

}  // namespace zorva
