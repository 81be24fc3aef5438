// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/bus/LinuxBus.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/epoll.h>
#include <sys/stat.h>
#include <utility>

#include "platform/base/Descriptor.h"
#include "platform/base/Text.h"
#include "platform/kit/bus/EffectiveUser.h"

namespace zorva {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::hours kMaxBetweenEnds{1};
// A socket is there a moment before it can be connected to, and that moment's end is no event. So
// a socket that has just changed and refuses is tried again, a few times.
constexpr int kMaxRefusals = 4;
constexpr std::chrono::milliseconds kAfterRefusal{20};

constexpr const char* kDriver = "org.freedesktop.DBus";
constexpr const char* kDriverPath = "/org/freedesktop/DBus";
constexpr const char* kLocal = "org.freedesktop.DBus.Local";
constexpr const char* kLocalPath = "/org/freedesktop/DBus/Local";

int hexDigit(char digit) {
  if (isDigit(digit)) return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// The path of the first socket in the file system that the address names ("unix:path=/run/a%20b"),
// or nothing.
std::optional<std::string> socketPath(std::string_view address) {
  constexpr std::string_view kKey = "path=";
  std::size_t at = address.find("unix:");
  if (at == address.npos) return std::nullopt;
  address = address.substr(at + 5);
  address = address.substr(0, address.find(';'));
  at = address.find(kKey);
  if (at == address.npos || (at > 0 && address[at - 1] != ',')) return std::nullopt;
  address = address.substr(at + kKey.size());
  address = address.substr(0, address.find(','));
  std::string path;
  for (std::size_t i = 0; i < address.size(); ++i) {
    const int high = address[i] == '%' && i + 2 < address.size() ? hexDigit(address[i + 1]) : -1;
    const int low = high >= 0 ? hexDigit(address[i + 2]) : -1;
    if (low >= 0) i += 2;
    path += low >= 0 ? static_cast<char>(high * 16 + low) : address[i];
  }
  return path;
}

struct SlotRelease {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

bool isAbsence(const sd_bus_error* error) {
  return sd_bus_error_has_name(error, SD_BUS_ERROR_SERVICE_UNKNOWN) ||
         sd_bus_error_has_name(error, SD_BUS_ERROR_NAME_HAS_NO_OWNER);
}

}  // namespace

struct LinuxBus::Match : std::enable_shared_from_this<Match> {
  std::string rule;
  SignalHandler handler;
  std::unique_ptr<sd_bus_slot, SlotRelease> slot;
  bool removed = false;

  static int received(sd_bus_message* signal, void* self, sd_bus_error*) {
    const auto match = static_cast<Match*>(self)->shared_from_this();
    if (!match->removed) match->handler(signal);
    return 0;
  }
};

struct LinuxBus::Question : std::enable_shared_from_this<Question> {
  Answered answered;
  std::unique_ptr<sd_bus_slot, SlotRelease> slot;

  static int received(sd_bus_message* answer, void* self, sd_bus_error*) {
    const auto question = static_cast<Question*>(self)->shared_from_this();
    const auto answered = std::exchange(question->answered, nullptr);
    if (!answered) return 0;
    if (const sd_bus_error* error = sd_bus_message_get_error(answer)) {
      answered({isAbsence(error) ? Outcome::Absent : Outcome::Failed, nullptr});
    } else {
      answered({Outcome::Answered, BusMessage(sd_bus_message_ref(answer))});
    }
    return 0;
  }
};

struct LinuxBus::Subscriptions {
  std::vector<std::shared_ptr<Match>> matches;
  std::vector<std::shared_ptr<Question>> questions;
  bool left = false;  ///< to the end of the connection
};

std::string LinuxBus::systemAddress() {
  const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
  return address && *address ? address : "unix:path=/run/dbus/system_bus_socket";
}

LinuxBus::LinuxBus(sd_event* event, std::string address, std::chrono::microseconds timeLimit,
                   std::chrono::microseconds betweenEnds)
    : event_(event),
      address_(std::move(address)),
      timeLimit_(timeLimit),
      firstBetweenEnds_(betweenEnds),
      subscriptions_(std::make_shared<Subscriptions>()),
      ended_(event, [this] { ended(); }),
      betweenEnds_(betweenEnds) {
  connect();
  LinuxBus* const self[] = {this};
  // A bus that takes its time is left to the loop.
  settle(
      self, [this] { return !connecting(); }, timeLimit_);
}

LinuxBus::LinuxBus(sd_event* event, User user, const std::string& socket,
                   std::chrono::microseconds timeLimit, std::chrono::microseconds betweenEnds)
    : event_(event),
      address_("unix:path=" + socket),
      user_(user),
      timeLimit_(timeLimit),
      firstBetweenEnds_(betweenEnds),
      subscriptions_(std::make_shared<Subscriptions>()),
      ended_(event, [this] { ended(); }),
      betweenEnds_(betweenEnds) {
  connect();
}

LinuxBus::~LinuxBus() {
  sd_bus_close(bus_.get());  // or each match would be taken back by a call
  for (const auto& match : subscriptions_->matches) {
    match->removed = true;
    match->slot.reset();
  }
  for (const auto& question : subscriptions_->questions) question->slot.reset();
}

bool LinuxBus::connected() const {
  return bus_ && sd_bus_is_ready(bus_.get()) > 0;
}

bool LinuxBus::connecting() const {
  return bus_ && sd_bus_is_open(bus_.get()) > 0 && !connected();
}

// Opens a connection; what follows comes from the loop. Negative when that fails: -ENOENT and
// -ECONNREFUSED when no process listens at the address, -EAGAIN when too many wait there.
int LinuxBus::start() {
  sd_bus* bus = nullptr;
  if (const int made = sd_bus_new(&bus); made < 0) return made;
  BusPointer owned(bus);
  if (sd_bus_set_address(bus, address_.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 ||
      (user_ && sd_bus_negotiate_fds(bus, 0) < 0) || sd_bus_set_connected_signal(bus, 1) < 0 ||
      sd_bus_set_method_call_timeout(bus, static_cast<std::uint64_t>(timeLimit_.count())) < 0 ||
      sd_bus_match_signal(bus, nullptr, kLocal, kLocalPath, kLocal, "Connected", onConnected,
                          this) < 0 ||
      sd_bus_match_signal(bus, nullptr, kLocal, kLocalPath, kLocal, "Disconnected", onDisconnected,
                          this) < 0) {
    return -EINVAL;
  }
  if (const int started = user_ ? startAsUser(bus) : sd_bus_start(bus); started < 0) return started;
  if (const int attached = sd_bus_attach_event(bus, event_, SD_EVENT_PRIORITY_NORMAL);
      attached < 0) {
    return attached;
  }
  bus_ = std::move(owned);
  return 0;
}

// The directory is the user's, and what root connects to must not be of the user's choice: so the
// socket is opened without following a link, and connected to through its descriptor. The kernel
// notes the caller's user when the connection is made, which happens in here.
int LinuxBus::startAsUser(sd_bus* bus) {
  const auto path = socketPath(address_);
  const Descriptor socket(path ? ::open(path->c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC) : -1);
  struct stat status;
  if (!socket || ::fstat(socket.get(), &status) != 0) return -ENOENT;
  if (!S_ISSOCK(status.st_mode) || status.st_uid != user_->id) return -EACCES;
  const std::string address = formatText("unix:path=/proc/self/fd/%d", socket.get());
  if (sd_bus_set_address(bus, address.c_str()) < 0) return -EINVAL;
  const EffectiveUser user(user_->id);
  return user.switched() ? sd_bus_start(bus) : -EPERM;
}

void LinuxBus::settle(std::span<LinuxBus* const> buses, const std::function<bool()>& condition,
                      std::chrono::microseconds timeLimit) {
  const auto deadline = steady_clock::now() + timeLimit;
  for (;;) {
    std::vector<pollfd> descriptors;
    for (LinuxBus* const each : buses) {
      sd_bus* const bus = each->bus_.get();
      int processed = bus != nullptr ? 1 : 0;
      while (processed > 0 && steady_clock::now() < deadline) {
        processed = sd_bus_process(bus, nullptr);
      }
      if (processed < 0) each->ended_.request();
      if (bus == nullptr || processed < 0) continue;
      const int events = sd_bus_get_events(bus);
      descriptors.push_back({sd_bus_get_fd(bus), static_cast<short>(std::max(events, 0)), 0});
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline - steady_clock::now());
    if (condition() || left.count() <= 0 || descriptors.empty()) return;
    const timespec wait{left.count() / 1'000'000, left.count() % 1'000'000 * 1000};
    if (::ppoll(descriptors.data(), descriptors.size(), &wait, nullptr) < 0) return;
  }
}

void LinuxBus::connect() {
  later_.reset();
  if (bus_) return;
  int result = start();
  if (result < 0 && !socketWatch_) {
    if (!watchSocket()) return;
    refusals_ = 0;
    result = start();  // it may have come before the watch
  }
  if (bus_) {
    socketWatch_.reset();
    mounts_.reset();
  } else if (refusals_ > 0 && refusals_ < kMaxRefusals) {
    connectLater(kAfterRefusal * (1 << (2 * refusals_)));
    ++refusals_;
  } else if (result == -EAGAIN) {
    backOff();  // that there is room again is no event
  }
}

void LinuxBus::backOff() {
  connectLater(betweenEnds_);
  betweenEnds_ = std::min<std::chrono::microseconds>(2 * betweenEnds_, kMaxBetweenEnds);
}

void LinuxBus::socketChanged() {
  refusals_ = 1;
  betweenEnds_ = firstBetweenEnds_;
  connect();
}

bool LinuxBus::watchSocket() {
  const auto path = socketPath(address_);
  if (!path) return false;
  if (user_ && !mounts_) watchMounts();
  socketWatch_.emplace(event_, *path, LinuxPathWatch::Of::Entry, [this] { socketChanged(); });
  return true;
}

// A user's runtime directory is made first, and then a file system is mounted on it. What watches
// the directory below is not told.
void LinuxBus::watchMounts() {
  Descriptor mounts(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
  sd_event_source* source = nullptr;
  if (!mounts || sd_event_add_io(event_, &source, mounts.get(), EPOLLPRI, onMount, this) < 0) {
    return;
  }
  mounts_.reset(source);
  if (sd_event_source_set_io_fd_own(source, 1) >= 0) mounts.release();
}

int LinuxBus::onMount(sd_event_source*, int, std::uint32_t, void* self) {
  auto* bus = static_cast<LinuxBus*>(self);
  bus->watchSocket();
  bus->socketChanged();
  return 0;
}

void LinuxBus::connectLater(std::chrono::microseconds delay) {
  if (auto source = startTimer(event_, CLOCK_MONOTONIC, delay, onLater, this)) {
    later_ = std::move(source);
  }
}

int LinuxBus::onLater(sd_event_source*, std::uint64_t, void* self) {
  static_cast<LinuxBus*>(self)->connect();
  return 0;
}

int LinuxBus::onConnected(sd_bus_message*, void* self, sd_bus_error*) {
  auto* bus = static_cast<LinuxBus*>(self);
  bus->readySince_ = steady_clock::now();
  for (const auto& match : bus->subscriptions_->matches) bus->install(*match);
  bus->observers_.notify();
  return 0;
}

int LinuxBus::onDisconnected(sd_bus_message*, void* self, sd_bus_error*) {
  // The connection is still in the middle of its own work.
  static_cast<LinuxBus*>(self)->ended_.request();
  return 0;
}

void LinuxBus::ended() {
  for (const auto& match : subscriptions_->matches) match->slot.reset();
  for (const auto& question : subscriptions_->questions) question->slot.reset();
  subscriptions_->questions.clear();
  bus_.reset();
  hangs_ = false;
  const auto now = steady_clock::now();
  const bool lasted = readySince_ && now - *readySince_ >= firstBetweenEnds_;
  // One that takes calls and never answers gives up by itself, but not soon.
  const bool again = lastEnd_ && (!readySince_ || now - *lastEnd_ < 2 * betweenEnds_);
  lastEnd_ = now;
  readySince_.reset();
  if (again && !lasted) {
    backOff();
  } else {
    betweenEnds_ = firstBetweenEnds_;
    connect();
  }
  observers_.notify();
}

void LinuxBus::install(Match& match) {
  // Without a handler for the answer a refused match would end the connection.
  const auto ignore = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus_.get(), &slot, match.rule.c_str(), Match::received, ignore,
                             &match) >= 0) {
    match.slot.reset(slot);
  }
}

// Ready to be sent, or none.
BusMessage LinuxBus::makeCall(const char* service, const char* path, const char* interface,
                              const char* member, const Arguments& arguments) {
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus_.get(), &message, service, path, interface, member) < 0) {
    return nullptr;
  }
  BusMessage call(message);
  if (sd_bus_message_set_auto_start(message, 0) < 0 || (arguments && arguments(message) < 0)) {
    return nullptr;
  }
  return call;
}

void LinuxBus::send(const char* service, const char* path, const char* interface,
                    const char* member, const Arguments& arguments) {
  if (!connected()) return;
  const BusMessage call = makeCall(service, path, interface, member, arguments);
  if (!call || sd_bus_message_set_expect_reply(call.get(), 0) < 0) return;
  sd_bus_send(bus_.get(), call.get(), nullptr);
}

// After a call that took too long: did this service time out, or is the whole bus stuck? Each entry
// of a snapshot asks another service, and all of them together would hold the loop up for far
// longer than one.
void LinuxBus::checkForHang() {
  const auto question = [this] { return makeCall(kDriver, kDriverPath, kDriver, "GetId", {}); };
  if (const BusMessage first = question();
      !first || sd_bus_call(bus_.get(), first.get(), 0, nullptr, nullptr) != -ETIMEDOUT) {
    return;
  }
  const BusMessage second = question();
  hangs_ = second &&
           sd_bus_call_async(bus_.get(), nullptr, second.get(), onAnswer, this, UINT64_MAX) >= 0;
}

int LinuxBus::onAnswer(sd_bus_message*, void* self, sd_bus_error*) {
  auto* bus = static_cast<LinuxBus*>(self);
  // Also called when the connection ends, which has its own news.
  if (std::exchange(bus->hangs_, false) && bus->connected()) bus->observers_.notify();
  return 0;
}

LinuxBus::Reply LinuxBus::call(const char* service, const char* path, const char* interface,
                               const char* member, const Arguments& arguments) {
  if (!connected()) return {Outcome::Absent, nullptr};
  if (hangs_) return {Outcome::Failed, nullptr};
  const BusMessage call = makeCall(service, path, interface, member, arguments);
  if (!call) return {Outcome::Failed, nullptr};
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* answer = nullptr;
  const int called = sd_bus_call(bus_.get(), call.get(), 0, &error, &answer);
  const bool absent = isAbsence(&error) || !connected();
  sd_bus_error_free(&error);
  if (called == -ETIMEDOUT && connected()) checkForHang();
  if (called < 0) return {absent ? Outcome::Absent : Outcome::Failed, nullptr};
  return {Outcome::Answered, BusMessage(answer)};
}

Registration LinuxBus::ask(const char* service, const char* path, const char* interface,
                           const char* member, Answered answered, const Arguments& arguments) {
  if (!connected()) return {};
  const BusMessage call = makeCall(service, path, interface, member, arguments);
  const auto question = std::make_shared<Question>();
  question->answered = std::move(answered);
  sd_bus_slot* slot = nullptr;
  if (!call ||
      sd_bus_call_async(bus_.get(), &slot, call.get(), Question::received, question.get(), 0) < 0) {
    return {};
  }
  question->slot.reset(slot);
  std::erase_if(subscriptions_->questions, [](const auto& each) { return !each->answered; });
  subscriptions_->questions.push_back(question);
  return Registration([subscriptions = subscriptions_, question] {
    question->answered = nullptr;
    question->slot.reset();
    std::erase(subscriptions->questions, question);
  });
}

Registration LinuxBus::observeConnection(std::function<void()> changed) {
  return observers_.add(std::move(changed));
}

Registration LinuxBus::observeSignals(std::string rule, SignalHandler handler) {
  const auto match = std::make_shared<Match>();
  match->rule = std::move(rule);
  match->handler = std::move(handler);
  subscriptions_->matches.push_back(match);
  if (connected()) install(*match);
  return Registration([subscriptions = subscriptions_, match] {
    match->removed = true;
    if (subscriptions->left) return;
    match->slot.reset();
    std::erase(subscriptions->matches, match);
  });
}

void LinuxBus::leaveMatches() {
  subscriptions_->left = true;
}

Registration LinuxBus::observeService(const std::string& service, std::function<void()> changed) {
  return observeSignals(
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
          service + "'",
      [changed = std::move(changed)](sd_bus_message*) { changed(); });
}

}  // namespace zorva
