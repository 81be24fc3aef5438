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
    facts();
    wakes();
    holders();
    processes();
    sleeps();
    states();
    radio();
    errors();
    return std::move(page_);
  }

 private:
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

  PageTable& table(std::string title, std::vector<PageTable::Column> columns) {
    page_.tables.push_back({std::move(title), std::move(columns), {}});
    return page_.tables.back();
  }

  void wakes() {
    const auto add = [&](PageTable& to, const std::vector<Tally>& tallies) {
      for (const Tally& tally : tallies) {
        to.rows.push_back({tally.name, number(tally.count), share(tally.count, summary_.wakes)});
      }
    };
    add(table("Wakes by reason",
              {{"Reason", Kind::Text}, {"Wakes", Kind::Count}, {"Share", Kind::Percent}}),
        summary_.wakeReasons);
    add(table("Wakes by the modem, by receiver",
              {{"For", Kind::Process}, {"Wakes", Kind::Count}, {"Share", Kind::Percent}}),
        summary_.wakeOwners);
  }

  void holders() {
    PageTable& to = table("Kept awake by", {{"Process", Kind::Process},
                                            {"Assertion", Kind::Text},
                                            {"Held", Kind::Seconds},
                                            {"Share", Kind::Percent},
                                            {"Times", Kind::Count},
                                            {"Longest", Kind::Seconds}});
    for (const Tally& holder : summary_.lane(Lane::Assertion)) {
      to.rows.push_back({holder.name, holder.detail + (holder.goesOn ? " (still)" : ""),
                         number(holder.seconds), share(holder.seconds, summary_.covered),
                         number(holder.count), number(holder.longest)});
    }
  }

  void processes() {
    PageTable& to = table("CPU time", {{"Process", Kind::Process},
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

  void sleeps() {
    PageTable& to =
        table(summary_.sleeps > summary_.longestSleeps.size() ? "The longest sleeps" : "Sleeps",
              {{"From", Kind::Time},
               {"Length", Kind::Seconds},
               {"Ended by", Kind::Text},
               {"For", Kind::Process}});
    for (const LogSummary::Sleep& sleep : summary_.longestSleeps) {
      to.rows.push_back({number(sleep.begin), number(sleep.end - sleep.begin), endOfSleep(sleep),
                         sleep.owner.empty() ? Cell() : Cell(sleep.owner)});
    }
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
    PageTable& to = table("Device and radio", {{"What", Kind::Text},
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
    PageTable& applications = table("Applications", {{"Application", Kind::Process},
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
          table("Traffic of all interfaces",
                {{"Direction", Kind::Text}, {"Amount", Kind::Bytes}, {"Per hour", Kind::Bytes}});
      const double hours = static_cast<double>(summary_.covered) / 3600;
      const auto add = [&](const char* direction, double bytes) {
        traffic.rows.push_back({direction, bytes, hours > 0 ? Cell(bytes / hours) : Cell()});
      };
      add("received", summary_.received);
      add("sent", summary_.sent);
    }
    PageTable& modem =
        table("Modem", {{"State", Kind::Text}, {"Time", Kind::Seconds}, {"Share", Kind::Percent}});
    std::int64_t all = 0;
    for (const auto& [state, milliseconds] : summary_.modem) all += milliseconds;
    for (const auto& [state, milliseconds] : summary_.modem) {
      modem.rows.push_back(
          {state, static_cast<double>(milliseconds) / 1000, share(milliseconds, all)});
    }
  }

  void errors() {
    PageTable& to =
        table("Errors", {{"Error", Kind::Text}, {"Times", Kind::Count}, {"First", Kind::Time}});
    std::uint64_t left = summary_.errorCount;
    for (const LogSummary::Error& error : summary_.errors) {
      to.rows.push_back({error.text, number(error.count), number(error.first)});
      left -= std::min(left, error.count);
    }
    if (left > 0) to.rows.push_back({"(of other kinds)", number(left), Cell()});
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
