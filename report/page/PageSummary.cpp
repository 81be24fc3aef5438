// SPDX-License-Identifier: Apache-2.0
#include "report/page/PageSummary.h"

#include <algorithm>

namespace zorva {
namespace {

using Cell = PageTable::Cell;
using Kind = PageTable::Kind;
using Tally = LogSummary::Tally;

Cell number(std::integral auto value) {
  return static_cast<double>(value);
}

Cell share(double part, double whole) {
  return whole > 0 ? Cell(100 * part / whole) : Cell();
}

Cell share(std::integral auto part, std::integral auto whole) {
  return share(static_cast<double>(part), static_cast<double>(whole));
}

class Writer {
 public:
  Writer(const LogSummary& summary, const Answer& answer, const LogReading& reading)
      : summary_(summary), answer_(answer), reading_(reading) {}

  PageSummary write() {
    for (const std::string& file : reading_.files) {
      const std::string name = file == "-" ? "standard input" : file.substr(file.rfind('/') + 1);
      page_.title += (page_.title.empty() ? "" : ", ") + name;
    }
    verdict();
    account();
    facts();
    wakes();
    holders();
    processes();
    sleeps();
    states();
    radio();
    events();
    return std::move(page_);
  }

 private:
  void verdict() {
    page_.verdict = answer_.verdict;
    for (const Finding& finding : answer_.findings) {
      // Of what the verdict tells, it shows the figures.
      const auto told = std::ranges::find_if(page_.verdict, [&](const std::string& sentence) {
        return sentence.find(finding.sentence) != sentence.npos;
      });
      page_.findings.push_back(
          {told == page_.verdict.end()
               ? capitalized(finding.sentence) + " (" + percentText(finding.percent) + ")."
               : *told,
           finding.figures, finding.from, finding.to});
    }
  }

  void account() {
    PageSummary::Account& to = page_.account;
    to.wattHoursPerPercent = answer_.wattHoursPerPercent.value_or(0);
    for (const Account::Name& part : answer_.account.parts()) {
      const AccountPart* const whole = answer_.whole.find(part.cause, part.name);
      const bool named = part.cause == Cause::Process || part.cause == Cause::Together;
      PageSummary::Account::Part& shown = to.parts.emplace_back();
      shown.what = named ? (part.cause == Cause::Process ? "Process" : "Together")
                         : capitalized(causeText(part.cause, ""));
      if (named) shown.name = part.name;
      shown.measured = part.measured;
      if (whole == nullptr) continue;
      if (whole->percent > 0) shown.error = whole->error / whole->percent;
      shown.uncertain = whole->uncertain;
    }
    for (Account::Interval& interval : answer_.account.intervals()) {
      to.intervals.push_back(
          {interval.begin, interval.end, interval.used, std::move(interval.parts)});
    }
    for (const LogSummary::Sleep& sleep : summary_.longestSleeps) {
      const Account::Charge used = answer_.account.asleep(sleep.begin, sleep.end);
      const LogTime seconds = sleep.end - sleep.begin;
      PageSummary::SleepEnergy& energy = page_.sleeps.emplace_back();
      energy.begin = sleep.begin;
      if (used.seconds * 10 >= seconds * 9) {
        energy.used = used.percent;
        if (answer_.wattHoursPerPercent) {
          energy.wattHours = used.percent * *answer_.wattHoursPerPercent;
        }
      }
      if (sleep.hardware && seconds > 0) {
        energy.deepShare = 100 * static_cast<double>(std::min(*sleep.hardware, seconds)) /
                           static_cast<double>(seconds);
      }
    }
  }

  void facts() {
    page_.facts = batterySentences(summary_, answer_);
    if (summary_.isEmpty()) page_.facts.emplace_back("There is no entry.");
    if (summary_.wakes > 0) {
      const double hours = static_cast<double>(summary_.covered) / 3600;
      page_.facts.push_back(
          counted(summary_.wakes, "wake", "wakes") +
          (hours > 0 ? ", " + figure(static_cast<double>(summary_.wakes) / hours) + " per hour."
                     : "."));
    }
    if (summary_.interruptionCount > 0) {
      page_.facts.push_back(counted(summary_.interruptionCount, "interruption", "interruptions") +
                            " of the log: the clock was set, or nothing was logged.");
    }
    if (reading_.counts.damaged > 0) {
      page_.facts.push_back(counted(reading_.counts.damaged, "line is", "lines are") +
                            " damaged or foreign, and marked as errors on the timeline.");
    }
  }

  // `inView` names the calculation of its rows for a part of the log.
  PageTable& table(std::string title, std::string inView, std::vector<PageTable::Column> columns) {
    page_.tables.push_back({std::move(title), std::move(columns), {}, std::move(inView)});
    return page_.tables.back();
  }

  void wakes() {
    const auto add = [&](PageTable& to, const std::vector<Tally>& tallies) {
      for (const Tally& tally : tallies) {
        to.rows.push_back({tally.name, number(tally.count), share(tally.count, summary_.wakes)});
      }
    };
    add(table("Wakes by reason", "wakeReasons",
              {{"Reason", Kind::Text}, {"Wakes", Kind::Count}, {"Share", Kind::Percent}}),
        summary_.wakeReasons);
    add(table("Wakes by the modem, by receiver", "wakeOwners",
              {{"For", Kind::Process}, {"Wakes", Kind::Count}, {"Share", Kind::Percent}}),
        summary_.wakeOwners);
  }

  void holders() {
    PageTable& to = table("Kept awake by", "holders",
                          {{"Process", Kind::Process},
                           {"Assertion", Kind::Text},
                           {"Awake", Kind::Seconds},
                           {"Share", Kind::Percent},
                           {"Held", Kind::Seconds},
                           {"Times", Kind::Count},
                           {"Longest", Kind::Seconds}});
    for (const Tally& holder : holdersByTimeAwake(summary_)) {
      to.rows.push_back({holder.name, holder.detail + (holder.goesOn ? " (still)" : ""),
                         number(holder.awake), share(holder.awake, summary_.covered),
                         number(holder.seconds), number(holder.count), number(holder.longest)});
    }
  }

  void processes() {
    PageTable& to = table("CPU time", "processes",
                          {{"Process", Kind::Process},
                           {"Used", Kind::Seconds},
                           {"Share", Kind::Percent},
                           {"Of one CPU", Kind::Percent}});
    std::int64_t all = 0;
    for (const auto& [name, seconds] : summary_.processes) all += seconds;
    for (const auto& [name, seconds] : summary_.processes) {
      to.rows.push_back(
          {name, number(seconds), share(seconds, all), share(seconds, summary_.processSeconds)});
    }
  }

  // The page has every sleep on its timeline, and so calculates these rows for the whole log, too.
  void sleeps() {
    table("Sleeps", "sleeps",
          {{"From", Kind::Time},
           {"Length", Kind::Seconds},
           {"Used", Kind::Percent},
           {"Energy", Kind::WattHours},
           {"Power", Kind::Watts},
           {"Deep", Kind::Percent},
           {"Ended by", Kind::Text},
           {"For", Kind::Process}});
  }

  void states() {
    struct Named {
      Lane lane;
      const char* name;
    };
    static constexpr Named kStates[] = {
        {Lane::Display, "Display"},    {Lane::Audio, "Audio"},
        {Lane::Call, "Call"},          {Lane::Data, "Data"},
        {Lane::Registered, "Network"}, {Lane::WiFi, "Wi-Fi"},
        {Lane::Charging, "Charger"},   {Lane::Bluetooth, "Bluetooth"},
        {Lane::Location, "Location"},  {Lane::Thermal, "Thermal level"}};
    PageTable& to = table("Device and radio", "states",
                          {{"What", Kind::Text},
                           {"State", Kind::Text},
                           {"Time", Kind::Seconds},
                           {"Share", Kind::Percent},
                           {"Times", Kind::Count}});
    const auto add = [&](const std::string& name, const std::string& detail, const Tally& tally) {
      to.rows.push_back({name, detail.empty() ? Cell() : Cell(detail), number(tally.seconds),
                         share(tally.seconds, summary_.covered), number(tally.count)});
    };
    for (const auto& [lane, name] : kStates) {
      for (const Tally& tally : summary_.lane(lane)) {
        add(name,
            tally.name + (tally.name.empty() || tally.detail.empty() ? "" : " ") + tally.detail,
            tally);
      }
    }
    PageTable& applications = table("Applications", "applications",
                                    {{"Application", Kind::Process},
                                     {"Mode", Kind::Text},
                                     {"Time", Kind::Seconds},
                                     {"Share", Kind::Percent},
                                     {"Times", Kind::Count}});
    for (const Tally& tally : summary_.lane(Lane::Application)) {
      applications.rows.push_back({tally.name, tally.detail, number(tally.seconds),
                                   share(tally.seconds, summary_.covered), number(tally.count)});
    }
  }

  void radio() {
    if (summary_.traffic) {
      PageTable& traffic =
          table("Traffic of all interfaces", "traffic",
                {{"Direction", Kind::Text}, {"Amount", Kind::Bytes}, {"Per hour", Kind::Bytes}});
      const double hours = static_cast<double>(summary_.covered) / 3600;
      const auto add = [&](const char* direction, double bytes) {
        traffic.rows.push_back({direction, bytes, hours > 0 ? Cell(bytes / hours) : Cell()});
      };
      add("received", summary_.received);
      add("sent", summary_.sent);
    }
    PageTable& modem =
        table("Modem", "modem",
              {{"State", Kind::Text}, {"Time", Kind::Seconds}, {"Share", Kind::Percent}});
    std::int64_t all = 0;
    for (const auto& [state, milliseconds] : summary_.modem) all += milliseconds;
    for (const auto& [state, milliseconds] : summary_.modem) {
      modem.rows.push_back(
          {state, static_cast<double>(milliseconds) / 1000, share(milliseconds, all)});
    }
  }

  // Every error and event is on the timeline.
  void events() {
    table("Errors", "errors",
          {{"Category", Kind::Text},
           {"Error", Kind::Text},
           {"Times", Kind::Count},
           {"First", Kind::Time},
           {"Last", Kind::Time}});
    table("Events", "events",
          {{"Category", Kind::Text},
           {"Event", Kind::Text},
           {"Times", Kind::Count},
           {"First", Kind::Time},
           {"Last", Kind::Time}});
  }

  const LogSummary& summary_;
  const Answer& answer_;
  const LogReading& reading_;
  PageSummary page_;
};

}  // namespace

PageSummary pageSummary(const LogSummary& summary, const Answer& answer,
                        const LogReading& reading) {
  return Writer(summary, answer, reading).write();
}

}  // namespace zorva
