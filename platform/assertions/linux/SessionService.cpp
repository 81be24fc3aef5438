// SPDX-License-Identifier: Apache-2.0
#include "platform/assertions/linux/SessionService.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "platform/base/Text.h"
#include "platform/kit/bus/BusMessages.h"
#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr int kMaxDoublings = 10;  // an hour and a half between questions that fail

constexpr const char* kDriver = "org.freedesktop.DBus";
constexpr const char* kDriverPath = "/org/freedesktop/DBus";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

constexpr const char* kGnome = "org.gnome.SessionManager";
constexpr const char* kGnomePath = "/org/gnome/SessionManager";
constexpr const char* kGnomeInhibitor = "org.gnome.SessionManager.Inhibitor";
// Of an inhibitor; the others are for logging out, switching users and mounting media.
constexpr std::uint32_t kInhibitsSleep = 4;
constexpr std::uint32_t kInhibitsIdle = 8;
// The reason that it gives the login manager.
constexpr const char* kOnBehalf = "user session inhibited";

constexpr const char* kKde = "org.kde.Solid.PowerManagement.PolicyAgent";
constexpr const char* kKdePath = "/org/kde/Solid/PowerManagement/PolicyAgent";

// At the end of a whole character.
std::string limited(const std::string& text) {
  std::size_t length = std::min(text.size(), SessionService::kMaxText);
  while (length > 0 && length < text.size() && (text[length] & 0xC0) == 0x80) --length;
  return text.substr(0, length);
}

// A process's real user; nothing when there is no such process.
std::optional<uid_t> userOf(std::uint32_t pid) {
  constexpr std::string_view kField = "\nUid:\t";
  const auto status = readAttribute(formatText("/proc/%u/status", pid));
  const std::size_t at = status ? status->find(kField) : std::string::npos;
  if (at == std::string::npos) return std::nullopt;
  const std::string_view user = std::string_view(*status).substr(at + kField.size());
  return parseNumber<uid_t>(user.substr(0, user.find('\t')));
}

}  // namespace

SessionService::SessionService(Parts parts, const char* name)
    : parts_(std::move(parts)), name_(name) {
  observed_.push_back(parts_.bus.observeConnection([this] { restart(); }));
  observed_.push_back(parts_.bus.observeService(name_, [this] { restart(); }));
}

void SessionService::observe(const std::string& path, const std::string& interface,
                             const std::string& member, const std::string& argument) {
  std::string rule = formatText("type='signal',sender='%s',path='%s',interface='%s',member='%s'",
                                name_, path.c_str(), interface.c_str(), member.c_str());
  if (!argument.empty()) rule += ",arg0='" + argument + "'";
  observed_.push_back(parts_.bus.observeSignals(rule, [this](sd_bus_message*) { request(); }));
}

// The service, or the whole bus, has come, gone or changed hands.
void SessionService::restart() {
  questions_.clear();
  waiting_ = 0;
  pid_ = 0;
  failures_ = 0;
  asked_.reset();
  later_.reset();
  inhibitors_.clear();
  if (parts_.bus.connected()) begin();
  if (!asking()) parts_.changed();
}

void SessionService::request() {
  if (asking()) {
    again_ = true;
    return;
  }
  if (failed()) return;  // it is asked again anyway, and not too soon
  const auto now = steady_clock::now();
  const auto next = asked_ ? *asked_ + parts_.limits.between : now;
  if (next <= now) {
    begin();
  } else if (!later_) {
    later(std::chrono::duration_cast<microseconds>(next - now));
  }
}

void SessionService::begin() {
  later_.reset();
  asked_ = steady_clock::now();
  again_ = false;
  failing_ = false;
  found_.clear();
  questions_.clear();
  if (pid_ == 0) askForProcess();
  askAll();
}

void SessionService::askForProcess() {
  pose(
      kDriver, kDriverPath, kDriver, "GetConnectionUnixProcessID",
      [this](LinuxBus::Outcome outcome, sd_bus_message* answer) {
        std::uint32_t pid = 0;
        // The bus is the user's, too.
        if (outcome == LinuxBus::Outcome::Answered && sd_bus_message_read(answer, "u", &pid) > 0 &&
            userOf(pid) == parts_.user) {
          pid_ = static_cast<pid_t>(pid);
        }
      },
      [this](sd_bus_message* call) { return sd_bus_message_append(call, "s", name_); });
}

void SessionService::ask(const char* path, const char* interface, const char* member,
                         std::function<void(LinuxBus::Outcome, sd_bus_message*)> answered,
                         const LinuxBus::Arguments& arguments) {
  pose(name_, path, interface, member, std::move(answered), arguments);
}

void SessionService::pose(const char* service, const char* path, const char* interface,
                          const char* member,
                          std::function<void(LinuxBus::Outcome, sd_bus_message*)> answered,
                          const LinuxBus::Arguments& arguments) {
  auto question = parts_.bus.ask(
      service, path, interface, member,
      [this, answered = std::move(answered)](LinuxBus::Reply reply) {
        answered(reply.outcome, reply.message.get());
        if (--waiting_ == 0) finish();
      },
      arguments);
  if (!question) return;
  questions_.push_back(std::move(question));
  ++waiting_;
}

void SessionService::finish() {
  for (SessionInhibitor& each : found_) {
    const auto before =
        std::find_if(inhibitors_.begin(), inhibitors_.end(),
                     [&](const SessionInhibitor& other) { return other.key == each.key; });
    each.lock.pid = static_cast<std::uint32_t>(pid_);
    each.start = before != inhibitors_.end() ? before->start : parts_.clock.now();
  }
  if (failing_) found_.clear();
  // A service may list one twice.
  std::set<std::string> keys;
  std::erase_if(found_,
                [&](const SessionInhibitor& each) { return !keys.insert(each.key).second; });
  inhibitors_ = std::exchange(found_, {});
  failures_ = failing_ ? failures_ + 1 : 0;
  if (failing_) later(parts_.limits.retry * (1 << std::min(failures_ - 1, kMaxDoublings)));
  if (again_) request();
  parts_.changed();
}

void SessionService::later(microseconds delay) {
  if (auto source = startTimer(parts_.event, CLOCK_MONOTONIC, delay, onLater, this)) {
    later_ = std::move(source);
  }
}

int SessionService::onLater(sd_event_source*, std::uint64_t, void* self) {
  static_cast<SessionService*>(self)->begin();
  return 0;
}

SessionInhibitor SessionService::inhibitor(std::string what, const std::string& who,
                                           const std::string& why, std::string key) const {
  SessionInhibitor result;
  result.lock.what = std::move(what);
  result.lock.who = limited(who);
  result.lock.why = limited(why);
  result.lock.mode = "block";
  result.lock.user = parts_.user;
  result.key = std::move(key);
  return result;
}

GnomeSessionManager::GnomeSessionManager(const Parts& parts)
    : SessionService(parts, kGnome), user_(parts.user) {
  observe(kGnomePath, kGnome, "InhibitorAdded");
  observe(kGnomePath, kGnome, "InhibitorRemoved");
}

bool GnomeSessionManager::holds(const LogindInhibitor& lock) const {
  return pid() != 0 && lock.pid == static_cast<std::uint32_t>(pid()) && lock.user == user_ &&
         lock.why == kOnBehalf;
}

bool GnomeSessionManager::inhibitsSleep() const {
  return std::any_of(inhibitors().begin(), inhibitors().end(), [](const SessionInhibitor& each) {
    return each.lock.what.starts_with("sleep");
  });
}

void GnomeSessionManager::askAll() {
  ask(kGnomePath, kGnome, "GetInhibitors",
      [this](LinuxBus::Outcome outcome, sd_bus_message* answer) {
        if (outcome == LinuxBus::Outcome::Absent) return;
        if (outcome == LinuxBus::Outcome::Failed ||
            !enterContainer(answer, SD_BUS_TYPE_ARRAY, "o")) {
          return fail();
        }
        const char* path = nullptr;
        for (std::size_t i = 0; i < kMaxInhibitors && sd_bus_message_read(answer, "o", &path) > 0;
             ++i) {
          // An inhibitor does not change, and its path is not used again.
          const auto known =
              std::find_if(inhibitors().begin(), inhibitors().end(),
                           [&](const SessionInhibitor& each) { return each.key == path; });
          if (known != inhibitors().end()) {
            found_.push_back(*known);
          } else {
            askFor(path);
          }
        }
      });
}

// One that is released meanwhile has no answers; its removal is a further signal.
void GnomeSessionManager::askFor(const std::string& path) {
  const auto details = std::make_shared<Details>();
  details->path = path;
  const auto answered = [this, details](int read) {
    if (read <= 0 || ++details->answers < 3) return;
    const bool sleep = (details->flags & kInhibitsSleep) != 0;
    const bool idle = (details->flags & kInhibitsIdle) != 0;
    if (!sleep && !idle) return;
    found_.push_back(inhibitor(sleep ? idle ? "sleep:idle" : "sleep" : "idle", details->application,
                               details->reason, details->path));
  };
  const auto text = [answered](const std::shared_ptr<std::string>& into) {
    return [answered, into](LinuxBus::Outcome outcome, sd_bus_message* answer) {
      const char* value = nullptr;
      if (outcome != LinuxBus::Outcome::Answered) return;
      const int read = sd_bus_message_read(answer, "s", &value);
      if (read > 0) *into = value;
      answered(read);
    };
  };
  ask(path.c_str(), kGnomeInhibitor, "GetAppId",
      text(std::shared_ptr<std::string>(details, &details->application)));
  ask(path.c_str(), kGnomeInhibitor, "GetReason",
      text(std::shared_ptr<std::string>(details, &details->reason)));
  ask(path.c_str(), kGnomeInhibitor, "GetFlags",
      [answered, details](LinuxBus::Outcome outcome, sd_bus_message* answer) {
        if (outcome != LinuxBus::Outcome::Answered) return;
        answered(sd_bus_message_read(answer, "u", &details->flags));
      });
}

KdePolicyAgent::KdePolicyAgent(Parts parts) : SessionService(std::move(parts), kKde) {
  observe(kKdePath, kKde, "InhibitionsChanged");
  observe(kKdePath, kProperties, "PropertiesChanged", kKde);
}

void KdePolicyAgent::askAll() {
  ask(
      kKdePath, kProperties, "Get",
      [this](LinuxBus::Outcome outcome, sd_bus_message* answer) {
        if (outcome == LinuxBus::Outcome::Answered) return readActive(answer);
        if (outcome == LinuxBus::Outcome::Absent) return;
        // Older ones have no such property, and their list does not say what is inhibited.
        ask(kKdePath, kKde, "ListInhibitions",
            [this](LinuxBus::Outcome listed, sd_bus_message* list) {
              if (listed == LinuxBus::Outcome::Answered) return readList(list);
              if (listed == LinuxBus::Outcome::Failed) fail();
            });
      },
      [](sd_bus_message* call) {
        return sd_bus_message_append(call, "ss", kKde, "ActiveInhibitions");
      });
}

void KdePolicyAgent::readActive(sd_bus_message* answer) {
  if (!enterContainer(answer, SD_BUS_TYPE_VARIANT, "a(ssssu)") ||
      !enterContainer(answer, SD_BUS_TYPE_ARRAY, "(ssssu)")) {
    return fail();
  }
  const char *what, *who, *why, *mode;
  std::uint32_t flags = 0;
  while (found_.size() < kMaxInhibitors &&
         sd_bus_message_read(answer, "(ssssu)", &what, &who, &why, &mode, &flags) > 0) {
    LogindInhibitor lock;
    lock.what = limited(what);
    lock.mode = mode;
    if (lock.keepsAwake()) add(lock.what, who, why);
  }
}

// A list of pairs; its type has been described and sent in different ways.
void KdePolicyAgent::readList(sd_bus_message* answer) {
  const char* contents = nullptr;
  char type = 0;
  if (sd_bus_message_peek_type(answer, &type, &contents) <= 0 || type != SD_BUS_TYPE_ARRAY) {
    return fail();
  }
  const std::string pair = contents;
  const bool texts = pair == "as";
  if ((!texts && pair != "(ss)" && pair != "{ss}") ||
      !enterContainer(answer, SD_BUS_TYPE_ARRAY, pair.c_str())) {
    return fail();
  }
  const char inner = texts            ? SD_BUS_TYPE_ARRAY
                     : pair == "(ss)" ? SD_BUS_TYPE_STRUCT
                                      : SD_BUS_TYPE_DICT_ENTRY;
  while (found_.size() < kMaxInhibitors && enterContainer(answer, inner, texts ? "s" : "ss")) {
    const char *who = "", *why = "";
    if (sd_bus_message_read(answer, "s", &who) < 0 || sd_bus_message_read(answer, "s", &why) < 0 ||
        sd_bus_message_exit_container(answer) < 0) {
      return fail();
    }
    add("", who, why);
  }
}

// Equal ones are told apart by their number.
void KdePolicyAgent::add(const std::string& what, const std::string& who, const std::string& why) {
  SessionInhibitor added = inhibitor(what, who, why, {});
  const auto equal =
      std::count_if(found_.begin(), found_.end(),
                    [&](const SessionInhibitor& other) { return other.lock == added.lock; });
  added.key =
      formatText("%ld\n%s\n%s\n", static_cast<long>(equal), what.c_str(), added.lock.who.c_str()) +
      added.lock.why;
  found_.push_back(std::move(added));
}

void KdePolicyAgent::findMirrors(const std::vector<LogindInhibitor>& locks) {
  std::set<std::pair<std::string, std::string>> held;
  for (const LogindInhibitor& lock : locks) held.emplace(limited(lock.who), limited(lock.why));
  std::set<std::pair<std::string, std::string>> mirrors;
  for (const SessionInhibitor& each : inhibitors()) {
    const std::pair texts(each.lock.who, each.lock.why);
    if (held.contains(texts) || mirrors_.contains(texts)) mirrors.insert(texts);
  }
  mirrors_ = std::move(mirrors);
}

bool KdePolicyAgent::mirrors(const SessionInhibitor& inhibitor) const {
  return mirrors_.contains({inhibitor.lock.who, inhibitor.lock.why});
}

}  // namespace zorva
