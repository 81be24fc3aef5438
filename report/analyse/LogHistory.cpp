// SPDX-License-Identifier: Apache-2.0
#include "report/analyse/LogHistory.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/base/Text.h"
#include "report/analyse/CounterList.h"
#include "report/analyse/LaneEntries.h"
#include "report/analyse/OpenSpans.h"
#include "report/analyse/WakeEntries.h"

namespace zorva {
namespace {

// Seconds in which entries of other loggers may come in between, while the device falls asleep and
// while it wakes up.
constexpr LogTime kFallingAsleep = 10;
constexpr LogTime kWakingUp = 10;
// Seconds between entries of one moment: the clock is read for each.
constexpr LogTime kSameMoment = 2;
constexpr std::size_t kMaxProcesses = 999;
constexpr std::size_t kMaxUnits = 100;

}  // namespace

class LogHistory::Tracker {
 public:
  explicit Tracker(LogHistorySink& sink) : sink_(sink), spans_(sink) {
    for (const auto& [category, handler] : handlers()) {
      const EntryFormat* const format = entryFormat(category);
      handlers_[static_cast<std::size_t>(format - logFormat().data())] = handler;
    }
    for (std::size_t i = 0; i < logFormat().size(); ++i) {
      lanes_[i] = laneHandlerOf(logFormat()[i].category);
    }
  }

  void add(const LogRecord& record) {
    const LogPosition position = position_++;
    if (record.piece == LogPiece::Version) restarted_ = true;
    if (!record.isTimed()) return;
    LogTime time = record.time;
    if (last_ && time < last_->time && last_->time - time <= kSameMoment) time = last_->time;
    const LogMark now{time, position};
    if (record.category == "Config" && !(last_ && spans_.inSnapshot(time))) restarted_ = true;
    passTo(now);
    const Handler handler = handlerOf(record);
    if (wake_ && handler != &Tracker::decoded && handler != &Tracker::tracked &&
        handler != &Tracker::complaint && handler != &Tracker::suspended) {
      deliverWake();
    }
    if (asleep() && handler != &Tracker::wakeUp && handler != &Tracker::sleepStep) seenAsleep(now);
    last_ = now;
    record_ = &record;
    if (handler != nullptr) {
      (this->*handler)(now);
    } else if (record.format != nullptr) {
      writeLanes(now);
    }
  }

  void settle() { deliverWake(); }

  const OpenSpans& spans() const { return spans_; }

  void finish() {
    deliverWake();
    if (last_) spans_.loseAll(*last_);
    last_.reset();
  }

 private:
  using Handler = void (Tracker::*)(const LogMark&);

  // The handler of each category. Other categories contain nothing that is kept here.
  static std::span<const std::pair<std::string_view, Handler>> handlers() {
    static constexpr std::pair<std::string_view, Handler> kAll[] = {
        {"Accessory", &Tracker::moment},
        {"Assertion", &Tracker::assertion},
        {"Baseband State Durations", &Tracker::modemStates},
        {"Energy", &Tracker::energy},
        {"Locale", &Tracker::locale},
        {"NMX Event", &Tracker::moment},
        {"NMXN", &Tracker::moment},
        {"Network", &Tracker::network},
        {"PacketDecoder", &Tracker::decoded},
        {"PacketTracker", &Tracker::tracked},
        {"ProcessMonitor", &Tracker::processes},
        {"Skyvault Event", &Tracker::moment},
        {"Sleep", &Tracker::sleepStep},
        {"Suspend", &Tracker::suspended},
        {"Syncward Event", &Tracker::moment},
        {"Wake", &Tracker::wakeUp},
        {"Work", &Tracker::work},
        {"Zorva", &Tracker::complaint},
    };
    return kAll;
  }

  std::size_t indexOf(const LogRecord& record) const {
    return static_cast<std::size_t>(record.format - formats_);
  }

  Handler handlerOf(const LogRecord& record) const {
    return record.format == nullptr ? nullptr : handlers_[indexOf(record)];
  }

  void writeLanes(const LogMark& now) {
    const LaneHandler handler = lanes_[indexOf(*record_)];
    if (handler == nullptr) return;
    split();
    handler({*fields_, now, spans_, sink_, key_});
  }

  // Decides whether the log continues at this entry or starts again.
  void passTo(const LogMark& now) {
    if (!last_) {
      spans_.beginAt(now);
    } else if (std::exchange(restarted_, false)) {
      restart(now);
    } else if (now.time < last_->time) {
      deliverWake();
      stray_.reset();
      const LogMark last = *last_;
      spans_.continueAt(last, now);
      sink_.interruption(last.time, now.time, now.position);
      // The counters continue: the time of their last sample is moved into the new time.
      const LogTime leap = now.time - last.time;
      for (auto* const sampled : samples()) {
        if (*sampled) **sampled += leap;
      }
    }
    restarted_ = false;
    spans_.passTime(now.time);
  }

  void restart(const LogMark& now) {
    deliverWake();
    const LogTime silence = now.time - last_->time;
    const auto since = spans_.asleepSince();
    const bool slept = since && now.time > *since + kFallingAsleep;
    if (silence >= 0 && silence <= kMaxSilence && !slept) {
      spans_.beginSnapshot(*last_, now.time);
      return;
    }
    stray_.reset();
    spans_.loseAll(*last_);
    sink_.interruption(last_->time, now.time, now.position);
    spans_.beginAt(now);
    forgetSamples();
  }

  void forgetSamples() {
    for (CounterList* const counters : {&processes_, &modem_, &energy_, &work_}) counters->forget();
    interfaces_.clear();
    for (auto* const sampled : samples()) sampled->reset();
  }

  std::array<std::optional<LogTime>*, 5> samples() {
    return {&sampled_, &modemSampled_, &energySampled_, &workSampled_, &trafficSampled_};
  }

  bool asleep() const { return spans_.asleepSince().has_value(); }

  // Handles an entry between falling asleep and waking up. It may belong to either. If more entries
  // follow, the wake was not seen.
  void seenAsleep(const LogMark& now) {
    if (now.time <= *spans_.asleepSince() + kFallingAsleep && !stray_) return;
    if (!stray_) {
      stray_ = now;
    } else if (now.time > stray_->time + kWakingUp) {
      loseSleep();
    }
  }

  void loseSleep() {
    if (stray_) spans_.lose(Lane::Asleep, *stray_);
    stray_.reset();
  }

  // Many entries repeat the previous one of their category: its fields are reused.
  struct Split {
    std::string body;
    std::vector<LogField> fields;  // of that body
  };

  void split() {
    Split& last = splits_[indexOf(*record_)];
    if (last.body != record_->body || last.fields.empty()) {
      last.body = record_->body;
      LogRecord copy = *record_;
      copy.body = last.body;
      splitFields(copy, last.fields);
    }
    fields_ = &last.fields;
  }

  std::string_view value(std::string_view key) const { return valueOf(*fields_, key); }
  std::int64_t integer(std::string_view key) const { return integerOf(*fields_, key); }

  void sleepStep(const LogMark& now) {
    split();
    const std::string_view event = value("event");
    if (event == "will_not_sleep") {
      spans_.off(Lane::Asleep, {}, now);
      moment(now);
    }
    // A step towards the next sleep, but the end of the last one is not in the log.
    const auto since = spans_.asleepSince();
    if (since && now.time > *since + kFallingAsleep) {
      if (!stray_) stray_ = now;
      loseSleep();
    }
    if (event == "will_sleep") {
      stray_.reset();
      spans_.on(Lane::Asleep, {}, now);
      sink_.fallsAsleep(now.time);
    }
  }

  void wakeUp(const LogMark& now) {
    split();
    stray_.reset();
    wake_.emplace(now.time, spans_.asleepSince(), *fields_, now.position);
    if (asleep()) slept_ = sleepEnd_ = now.time;
    spans_.off(Lane::Asleep, {}, now);
  }

  // A sleep that was not announced is known from its record only.
  void suspended(const LogMark& now) {
    split();
    LogField asleep;
    asleep.value = value("asleep");
    const LogTime seconds =
        std::clamp<LogTime>(asleep.seconds().value_or(0), 0, now.time - spans_.start());
    const bool failed = value("result") == "failed";
    const bool announced = slept_ && now.time - *slept_ <= kWakingUp;
    if (!failed && seconds > 0 && !announced && !this->asleep()) {
      const LogTime begin = std::max(now.time - seconds, std::min(sleepEnd_, now.time));
      sleepEnd_ = now.time;
      sink_.span(
          {Lane::Asleep, begin, now.time, true, true, {}, 0, {}, now.position, now.position});
      if (wake_) wake_->setAsleepSince(begin);
    }
    slept_.reset();
    deliverWake();
    const auto known = [&](std::string_view key) {
      const std::string_view text = value(key);
      return text.starts_with('<') ? std::string_view() : text;
    };
    LogField hardware;
    hardware.value = value("hardware");
    auto deepest = hardware.seconds();
    if (deepest) deepest = std::clamp<LogTime>(*deepest, 0, seconds);
    sink_.suspended({now.time, seconds, deepest, known("mode"), failed, known("failed_step"),
                     known("failed_device"), known("blocked_by"), now.position});
  }

  void decoded(const LogMark& now) {
    if (belongsToWake(now)) wake_->addDecoded(*fields_);
  }

  void tracked(const LogMark& now) {
    if (belongsToWake(now)) wake_->addTracked(*fields_);
  }

  bool belongsToWake(const LogMark& now) {
    if (wake_ && now.time > wake_->time() + kSameMoment) deliverWake();
    if (!wake_) return false;
    split();
    return true;
  }

  void deliverWake() {
    if (!wake_) return;
    wake_->reportTo(sink_);
    wake_.reset();
  }

  void assertion(const LogMark& now) {
    split();
    const std::string_view what = value("state");
    LogField age;
    age.value = value("held_for");
    const LogTime since = now.time - age.seconds().value_or(0);
    key_.assign(value("pid")).append(" ").append(value("name"));
    const LogState state{key_, value("process"), integer("pid"), value("name")};
    if (what == "created") {
      spans_.assertionCreated(state, now);
    } else if (what == "released") {
      spans_.assertionReleased(state, since, now);
    } else if (what == "held") {
      spans_.assertionHeld(state, since, now);
    }
  }

  const std::vector<ProcessUse>& usesOf(const std::vector<CounterList::Growth>& growths) {
    uses_.clear();
    for (const auto& [key, seconds] : growths) {
      // "name(pid)"; the name may contain parentheses, too.
      const std::size_t open = key.rfind('(');
      if (open == key.npos || !key.ends_with(')')) continue;
      std::int64_t pid = 0;
      std::from_chars(key.data() + open + 1, key.data() + key.size() - 1, pid);
      uses_.push_back({key.substr(0, open), pid, seconds});
    }
    return uses_;
  }

  void processes(const LogMark& now) {
    const auto& growths = processes_.next(record_->body);
    if (sampled_) {
      sink_.processes(*sampled_, now.time, usesOf(growths), now.position);
      const auto gone = processes_.goneGrowths();
      if (!gone.empty()) sink_.processesEnded(*sampled_, now.time, usesOf(gone));
    }
    sampled_ = now.time;
  }

  void energy(const LogMark& now) {
    grown_.clear();
    for (const auto& [key, tenths] : energy_.next(record_->body)) {
      grown_.push_back({key, static_cast<double>(tenths) / 10});
    }
    if (energySampled_) sink_.energy(*energySampled_, now.time, grown_);
    energySampled_ = now.time;
  }

  // What a unit had used when it went is from then on in the figure of a unit around it, which has
  // not used it since the sample before.
  void work(const LogMark& now) {
    grown_.clear();
    for (const auto& [key, tenths] : work_.next(record_->body)) {
      grown_.push_back({key, static_cast<double>(tenths) / 10});
    }
    auto gone = static_cast<double>(work_.gone()) / 10;
    std::ranges::sort(grown_, std::greater(), &Growth::amount);
    for (Growth& growth : grown_) {
      if (!growth.name.ends_with(".slice") && !growth.name.starts_with("session")) continue;
      const double moved = std::min(gone, growth.amount);
      growth.amount -= moved;
      gone -= moved;
    }
    std::erase_if(grown_, [](const Growth& growth) { return growth.amount < 0.05; });
    if (workSampled_) sink_.work(*workSampled_, now.time, grown_);
    workSampled_ = now.time;
  }

  // Interfaces list what they have received and sent since they exist: "wlan0=512b/64b".
  void network(const LogMark& now) {
    TrafficUse use;
    split();
    for (const LogField& field : *fields_) {
      const std::size_t slash = field.value.find("b/");
      if (field.key.empty() || slash == field.value.npos || !field.value.ends_with('b')) continue;
      std::int64_t received = 0;
      std::int64_t sent = 0;
      const char* const text = field.value.data();
      std::from_chars(text, text + slash, received);
      std::from_chars(text + slash + 2, text + field.value.size(), sent);
      constexpr std::int64_t kMost = std::int64_t{1} << 53;
      if (received < 0 || received > kMost || sent < 0 || sent > kMost) continue;
      const auto [found, added] = interfaces_.try_emplace(std::string(field.key), 0);
      const std::int64_t before = std::exchange(found->second, received + sent);
      const std::int64_t growth = received + sent - before;
      if (added || growth <= 0 || field.key.starts_with("lo")) continue;
      const bool modem = field.key.starts_with("pdp_ip") || field.key.starts_with("wwan");
      (modem ? use.modem : use.others) += static_cast<double>(growth);
    }
    if (trafficSampled_) sink_.traffic(*trafficSampled_, now.time, use);
    trafficSampled_ = now.time;
    writeLanes(now);
  }

  void modemStates(const LogMark& now) {
    states_.clear();
    for (const auto& [state, amount] : modem_.next(record_->body))
      states_.push_back({state, amount});
    if (modemSampled_) sink_.modem(*modemSampled_, now.time, states_, now.position);
    modemSampled_ = now.time;
  }

  void moment(const LogMark& now) { reportMoment(now, false); }

  void reportMoment(const LogMark& now, bool isError) {
    sink_.moment({now.time, record_->category, trimmed(record_->body), isError, now.position});
  }

  // A push message of unknown format is not an error.
  void complaint(const LogMark& now) {
    reportMoment(now, !record_->body.starts_with('{') && !record_->body.starts_with('('));
  }

  // Each snapshot contains the locale. Only a new one is reported.
  void locale(const LogMark& now) {
    if (!locale_.empty() && locale_ != record_->body) moment(now);
    locale_ = record_->body;
  }

  LogHistorySink& sink_;
  OpenSpans spans_;
  const EntryFormat* const formats_ = logFormat().data();
  // Indexed by format.
  std::vector<Handler> handlers_ = std::vector<Handler>(logFormat().size());
  std::vector<LaneHandler> lanes_ = std::vector<LaneHandler>(logFormat().size());
  const LogRecord* record_ = nullptr;
  std::vector<Split> splits_ = std::vector<Split>(logFormat().size());
  const std::vector<LogField>* fields_ = nullptr;
  std::string key_;

  LogPosition position_ = 0;
  std::optional<LogMark> last_;
  bool restarted_ = false;
  std::optional<WakeEntries> wake_;
  std::optional<LogMark> stray_;  // the first entry that came while asleep
  CounterList processes_{"", kMaxProcesses};
  CounterList modem_{" ms"};
  CounterList energy_{" J", SIZE_MAX, true};
  CounterList work_{"", kMaxUnits, true};
  std::unordered_map<std::string, std::int64_t> interfaces_;  // bytes of each
  std::optional<LogTime> sampled_;
  std::optional<LogTime> modemSampled_;
  std::optional<LogTime> energySampled_;
  std::optional<LogTime> workSampled_;
  std::optional<LogTime> trafficSampled_;
  std::optional<LogTime> slept_;  // when the last announced sleep ended, until its record
  LogTime sleepEnd_ = std::numeric_limits<LogTime>::min();  // of any sleep
  std::vector<Growth> grown_;
  std::vector<ProcessUse> uses_;
  std::vector<ModemUse> states_;
  std::string locale_;
};

LogHistory::LogHistory(LogHistorySink& sink) : tracker_(std::make_unique<Tracker>(sink)) {}
LogHistory::~LogHistory() = default;

void LogHistory::add(const LogRecord& record) {
  tracker_->add(record);
}

void LogHistory::settle() {
  tracker_->settle();
}

void LogHistory::finish() {
  tracker_->finish();
}

std::vector<LogSpan> LogHistory::lasting(Lane lane) const {
  return tracker_->spans().lasting(lane);
}

bool LogHistory::knows(Lane lane) const {
  return tracker_->spans().knows(lane);
}

}  // namespace zorva
