// SPDX-License-Identifier: Apache-2.0
#include "platform/sleep/linux/WakePacketCapture.h"

#include <algorithm>
#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"
#include "platform/kit/loop/ClockJumps.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
bool attachFilter(int socket) {
  sock_filter program[] = {
      // Addressed to this host: neither broadcast, nor multicast, nor sent by it.
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_HOST, 0, 4),
      // IPv4 by its own word too: the packet begins with its network header here.
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 0),
      BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0xf0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x40, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, WakePacketCapture::kMaxLength),
      BPF_STMT(BPF_RET | BPF_K, 0),
  };
  const sock_fprog filter{static_cast<unsigned short>(std::size(program)), program};
  return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) == 0;
}

// Where the kernel writes what comes in. A plain queue would do, but for the time of arrival: the
// kernel only stamps the packets of a queue from a moment after it was asked to, and gives an
// unstamped one the time at which it is read, which may be after the sleep. Into a ring it writes
// each packet with its time at once.
constexpr std::size_t kFrameSize = 256;  // holds the kernel's headers and kLongest bytes
constexpr std::size_t kBlocks = 16;      // of one page each

class Ring {
 public:
  explicit Ring(int socket) : blockSize_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    const int version = TPACKET_V2;
    tpacket_req request{};
    request.tp_block_size = static_cast<unsigned>(blockSize_);
    request.tp_block_nr = kBlocks;
    request.tp_frame_size = kFrameSize;
    request.tp_frame_nr = static_cast<unsigned>(frames());
    if (::setsockopt(socket, SOL_PACKET, PACKET_VERSION, &version, sizeof version) != 0 ||
        ::setsockopt(socket, SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) {
      return;
    }
    void* const memory =
        ::mmap(nullptr, kBlocks * blockSize_, PROT_READ | PROT_WRITE, MAP_SHARED, socket, 0);
    if (memory != MAP_FAILED) memory_ = static_cast<char*>(memory);
  }
  Ring(const Ring&) = delete;
  Ring& operator=(const Ring&) = delete;
  ~Ring() {
    if (memory_ != nullptr) ::munmap(memory_, kBlocks * blockSize_);
  }
  explicit operator bool() const { return memory_ != nullptr; }
  std::size_t frames() const { return kBlocks * blockSize_ / kFrameSize; }

  // Takes the next packet out; false when there is none.
  bool next(std::int64_t& arrived, std::vector<std::uint8_t>& bytes) {
    char* const frame = memory_ + next_ * kFrameSize;
    auto* const header = reinterpret_cast<tpacket2_hdr*>(frame);
    if ((__atomic_load_n(&header->tp_status, __ATOMIC_ACQUIRE) & TP_STATUS_USER) == 0) return false;
    arrived = std::int64_t{header->tp_sec} * kSecond + header->tp_nsec;
    const std::size_t at = std::min<std::size_t>(header->tp_net, kFrameSize);
    const std::size_t length = std::min<std::size_t>(header->tp_snaplen, kFrameSize - at);
    bytes.assign(frame + at, frame + at + length);
    __atomic_store_n(&header->tp_status, TP_STATUS_KERNEL, __ATOMIC_RELEASE);
    next_ = (next_ + 1) % frames();
    return true;
  }

 private:
  std::size_t blockSize_;
  char* memory_ = nullptr;
  std::size_t next_ = 0;
};

// Without a protocol a packet socket receives nothing before it is bound, and by then its filter
// stands.
Descriptor openSocket() {
  Descriptor socket(::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return socket && attachFilter(socket.get()) ? std::move(socket) : Descriptor();
}

bool bindTo(int socket, const std::string& interface) {
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ETH_P_IP);
  address.sll_ifindex = static_cast<int>(::if_nametoindex(interface.c_str()));
  // Index 0 would stand for all of them.
  return address.sll_ifindex != 0 &&
         ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

struct WakePacketCapture::Socket {
  WakePacketCapture& capture;
  std::size_t position;
  Descriptor descriptor;
  Ring ring{descriptor.get()};
  EventSource source = nullptr;  // ends before the descriptor is closed
};

WakePacketCapture::WakePacketCapture(sd_event* event, SleepTime sleepTime)
    : event_(event), sleepTime_(sleepTime ? std::move(sleepTime) : timeSlept) {}

WakePacketCapture::~WakePacketCapture() = default;

void WakePacketCapture::begin(const std::vector<std::string>& interfaces,
                              std::function<void()> arrived) {
  end();
  arrived_ = std::move(arrived);
  sleptAtBegin_ = sleepTime_();
  begin_ = clockTime(CLOCK_REALTIME);
  for (std::size_t position = 0; position < interfaces.size(); ++position) {
    Descriptor descriptor = openSocket();
    if (!descriptor) return;
    std::unique_ptr<Socket> socket(new Socket{*this, position, std::move(descriptor)});
    if (!socket->ring || !bindTo(socket->descriptor.get(), interfaces[position])) continue;
    sd_event_source* source = nullptr;
    if (sd_event_add_io(event_, &source, socket->descriptor.get(), EPOLLIN, readable,
                        socket.get()) >= 0) {
      socket->source.reset(source);
    }
    sockets_.push_back(std::move(socket));  // without a source end() still reads it
  }
}

std::optional<WakePacketCapture::Packet> WakePacketCapture::end() {
  for (const auto& socket : sockets_) drain(*socket);
  std::optional<Packet> first = std::move(slept() > 0 ? woke_ : awake_);
  sockets_.clear();
  awake_.reset();
  woke_.reset();
  arrived_ = nullptr;
  return first;
}

bool WakePacketCapture::caught() {
  for (const auto& socket : sockets_) drain(*socket);
  return (slept() > 0 ? woke_ : awake_).has_value();
}

// Since begin().
std::int64_t WakePacketCapture::slept() const {
  const std::int64_t slept = sleepTime_() - sleptAtBegin_;
  return slept < kMinSleep ? 0 : slept;
}

void WakePacketCapture::keepFirst(std::optional<Packet>& kept, Packet packet) {
  if (!kept || packet.arrived < kept->arrived) kept = std::move(packet);
}

void WakePacketCapture::drain(Socket& socket) {
  // No more than once around, also where packets come faster than they are read.
  for (std::size_t left = socket.ring.frames(); left > 0; --left) {
    Packet packet;
    packet.position = socket.position;
    if (!socket.ring.next(packet.arrived, packet.bytes)) return;
    // Asked for after it was received: what is received before the sleep never counts after it.
    const std::int64_t sleep = slept();
    if (sleep > 0 && packet.arrived >= begin_ + sleep) keepFirst(woke_, packet);
    if (packet.arrived >= begin_) keepFirst(awake_, std::move(packet));
  }
}

int WakePacketCapture::readable(sd_event_source*, int, std::uint32_t, void* socket) {
  Socket& from = *static_cast<Socket*>(socket);
  WakePacketCapture& capture = from.capture;
  // An interface that went down says so, again and again until it was heard.
  int error = 0;
  socklen_t length = sizeof error;
  ::getsockopt(from.descriptor.get(), SOL_SOCKET, SO_ERROR, &error, &length);
  const bool had = capture.slept() > 0 ? capture.woke_.has_value() : capture.awake_.has_value();
  capture.drain(from);
  const bool has = capture.slept() > 0 ? capture.woke_.has_value() : capture.awake_.has_value();
  if (has && !had && capture.arrived_) {
    const auto arrived = capture.arrived_;  // it may end the capture
    arrived();
  }
  return 0;
}

std::string wakeText(const WakePacketCapture::Packet& packet) {
  std::string text = formatText("Dlci %zu [pdp_%zu]:", packet.position + 1, packet.position);
  const std::size_t length = std::min(packet.bytes.size(), WakePacketCapture::kMaxLength);
  for (std::size_t i = 0; i < length; ++i) text += formatText(" %02x", packet.bytes[i]);
  return text;
}

}  // namespace zorva
