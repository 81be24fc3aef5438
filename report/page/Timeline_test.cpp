// SPDX-License-Identifier: Apache-2.0
#include "report/page/Timeline.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

#include "report/page/PageLines.h"
#include "report/page/PageWriter.h"

namespace zorva {
namespace {

TEST(TimelineClock, ContinuesWhereTheLogsTimeGoesBackOrLeaps) {
  TimelineClock clock;
  clock.advance(1000);
  clock.advance(5000);
  clock.advance(1400);
  clock.wentBack(5000, 1400);  // an hour to the west
  clock.advance(2400);
  EXPECT_EQ(clock.at(1400), 5000);
  EXPECT_EQ(clock.at(2400), 6000);
  EXPECT_EQ(clock.at(1300), 4900) << "what began before, by the new clock";
  clock.advance(2400 + 20 * 86400);
  EXPECT_EQ(clock.end(), 6000 + 20 * 86400) << "a long sleep is shown as it was";
  const LogTime set = 2400 + 20 * 86400 + 40 * 365 * 86400LL;
  clock.advance(set);
  clock.advance(3000);  // placed before the leap until wentBack() reports it
  EXPECT_EQ(clock.at(set), 6000 + 20 * 86400 + TimelineClock::kShownSilence);
  EXPECT_EQ(clock.at(2400), 6000);
  EXPECT_EQ(clock.end(), clock.at(set));
  ASSERT_EQ(clock.stretches().size(), 3U);
  EXPECT_EQ(clock.stretches()[1].jump, -3600);
  EXPECT_EQ(set - clock.at(set), -clock.stretches()[2].shift);
}

TEST(TimelineStores, StayBoundedAndLoseNoExtreme) {
  std::mt19937 random(1);
  CurveStore curve;
  double least = 1e9, greatest = -1e9;
  for (int i = 0; i < 300000; ++i) {
    const double value = static_cast<double>(random() % 1000000) / 7;
    least = std::min(least, value);
    greatest = std::max(greatest, value);
    curve.add(1700000000 + i * 3, value);
  }
  const auto points = curve.points();
  EXPECT_LE(points.size(), 2 * CurveStore::kMaxBuckets);
  EXPECT_GT(points.size(), CurveStore::kMaxBuckets / 2);
  double kept = -1e9, lost = 1e9;
  for (std::size_t i = 0; i < points.size(); ++i) {
    kept = std::max(kept, points[i].value);
    lost = std::min(lost, points[i].value);
    ASSERT_LE(points[i > 0 ? i - 1 : 0].at, points[i].at);
  }
  EXPECT_EQ(kept, greatest);
  EXPECT_EQ(lost, least);

  IntervalStore<Work> work;
  std::int64_t all = 0, busiest = 0;
  for (int i = 0; i < 99999; ++i) {
    work.add(i * 60, i * 60 + 60, Work{i % 7 + 3, {{1, 5, i % 7 + 2}, {2, 6, 1}}, 0});
    all += i % 7 + 3;
  }
  for (const auto& [begin, end, amount] : work.intervals()) {
    all -= amount.amount;
    busiest += amount.busiest.front().amount;
    EXPECT_EQ(amount.busiest.front().name, 1U);
  }
  EXPECT_EQ(all, 0);
  EXPECT_GT(busiest, 0);
  EXPECT_LT(work.intervals().size(), IntervalStore<Work>::kMaximum);
}

// For all kinds of spans: many of the same, or all different, short or long.
TEST(TimelineStores, MergedSpansKeepTheirCountAndDuration) {
  for (const std::uint32_t kinds : {1U, 40U, 1000000U}) {
    std::mt19937 random(kinds);
    SpanStore lane;
    std::map<std::uint32_t, std::pair<std::uint64_t, std::int64_t>> reported, kept;
    for (std::uint32_t i = 0; i < 120000; ++i) {
      TimelineSpan span;
      span.begin = i * 5;
      span.end = span.begin + (i % 1000 == 0 ? 40000 : random() % 5);
      span.held = span.end - span.begin;
      span.who = static_cast<std::uint32_t>(random() % kinds);
      const std::uint32_t of = kinds == 40 ? span.who : 0;
      ++reported[of].first;
      reported[of].second += span.held;
      lane.add(span);
    }
    std::size_t longOnes = 0;
    const auto& spans = lane.finish();
    for (const TimelineSpan& span : spans) {
      auto& [count, held] = kept[kinds == 40 ? span.who : 0];
      count += span.count;
      held += span.held;
      if (span.count == 1 && span.held == 40000) ++longOnes;
    }
    EXPECT_EQ(kept, reported) << kinds;
    EXPECT_LE(spans.size(), SpanStore::kMaximum);
    EXPECT_EQ(spans.size() + lane.merged(), 120000U);
    EXPECT_EQ(longOnes, 120U) << "what is long is not hidden among short ones";
  }
}

TEST(TextTable, IsBoundedAndCutsBetweenCharacters) {
  TextTable texts;
  const std::uint32_t first = texts.numberOf("first");
  for (std::size_t i = 0; i < 2 * TextTable::kMaximum; ++i) texts.numberOf(std::to_string(i));
  EXPECT_EQ(texts.numberOf("first"), first);
  EXPECT_EQ(texts.numberOf("new"), texts.numberOf("newer"));
  EXPECT_LE(texts.texts().size(), TextTable::kMaximum + 1);
  TextTable cut;
  std::string umlauts = "x";
  for (int i = 0; i < 200; ++i) umlauts += "\u00e4";
  const std::string& shown = cut.texts()[cut.numberOf(umlauts)];
  EXPECT_TRUE(shown.ends_with("\u00e4\u2026")) << shown;
  EXPECT_LE(shown.size(), TextTable::kMaxLength);
}

TEST(PageLines, BeginAChunkWhereThePositionsDo) {
  std::string page;
  PageLines lines(page);
  lines.add("a\n", 7, 100);
  lines.add("b\n", 8, 101);
  lines.add("c\n", 30, 90);
  lines.finish();
  ASSERT_EQ(lines.chunks().size(), 2U);
  EXPECT_EQ(lines.chunks()[1].first, 30U);
  EXPECT_EQ(lines.chunks()[1].at, 90);
  EXPECT_EQ(lines.end(), 31U);
}

TEST(PageWriter, BoundsTheAccountWithoutLosingAnyOfIt) {
  PageSummary summary;
  summary.account.parts = {{"Display", "", true, 0, false},
                           {"Application", "</script>", false, 0.5, true}};
  const int count = 3 * static_cast<int>(PageWriter::kMaxIntervals) + 1;
  for (int i = 0; i < count; ++i) {
    summary.account.intervals.push_back(
        {i * 10, i * 10 + 10, 2, {{static_cast<std::uint32_t>(i % 2), 1}}});
  }
  summary.sleeps = {{5, 1.5, std::nullopt, 90}};
  std::string page;
  PageWriter(page).finish(summary);
  page.erase(0, page.find("\"account\":"));
  EXPECT_EQ(page.find("\"uncertain\":true,\"error\":0.5}]") < page.find("</script>"), true);
  EXPECT_NE(page.find("\"sleeps\":[[5,1.5,null,90]]"), page.npos);
  // Four of the intervals in each: 8 percent, 2 of it by either part.
  EXPECT_NE(page.find("\"intervals\":[[0,40,8,0,2,1,2],[40,80,8,0,2,1,2],"), page.npos);
  EXPECT_NE(page.find(",[120000,120010,2,0,1]]}"), page.npos);
}

}  // namespace
}  // namespace zorva
