// SPDX-License-Identifier: Apache-2.0
// What queries of the system log promise, on the simulated handset and over journal files.

#include <gtest/gtest.h>
#include <vector>

#include "platform/assemble/SimHandset.h"
#include "platform/base/Text.h"
#include "platform/syslog/linux/LinuxSystemLogQueries.h"
#include "platform/testing/JournalFiles.h"

namespace zorva {
namespace {

using OptionalText = std::optional<std::string>;
using Texts = std::vector<std::string>;

struct SimWorld {
  SimHandset handset;
  SystemLogQueries& queries = handset.systemLogQueries();
  int second = 0;
  static bool works() { return true; }
  void append(const OptionalText& sender, const OptionalText& pid, const std::string& text) {
    const Date time{std::chrono::seconds(JournalFilesForTest::kStart + ++second)};
    handset.systemLogQueries().append({sender, pid, text, time});
  }
};
struct LinuxWorld {
  SimHandset handset;  // its clock and system log
  JournalFilesForTest journal;
  LinuxSystemLogQueries queries{handset.platform().clock,
                                handset.platform().systemLog,
                                {journal.directory(), "/dev/null", {}}};
  static bool works() { return JournalFilesForTest::canWrite(); }
  void append(const OptionalText& sender, const OptionalText& pid, const std::string& text) {
    // A field that holds a line end: its length, little-endian, and its bytes.
    const std::string length{static_cast<char>(text.size()), 0, 0, 0, 0, 0, 0, 0};
    journal.entry((text.find('\n') == text.npos ? "MESSAGE=" : "MESSAGE\n" + length) + text +
                  (sender ? "\nSYSLOG_IDENTIFIER=" + *sender : "") + (pid ? "\n_PID=" + *pid : ""));
    journal.write();
  }
};

template <typename World>
class SystemLogQueriesContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!World::works()) GTEST_SKIP() << "no tool writes journal files here";
  }
  // The texts of the messages whose ids are above all of these.
  Texts found(const Texts& above = {}) {
    const auto query = queries_.createQuery();
    for (const auto& id : above) EXPECT_EQ(query->set("SLQMessageID", id, 0x82), 0) << id;
    EXPECT_NE(query->set("Sender", "b", 0x82), 0) << "and no condition more";
    const auto response = queries_.search(*query);
    Texts texts;
    while (const SystemLogMessage* message = response->next()) {
      texts.push_back(*message->field("Message"));
      lastId_ = *message->field("SLQMessageID");
    }
    EXPECT_EQ(response->next(), nullptr);
    return texts;
  }
  World world_;
  SystemLogQueries& queries_ = world_.queries;
  std::string lastId_;
};
using Worlds = testing::Types<SimWorld, LinuxWorld>;
TYPED_TEST_SUITE(SystemLogQueriesContract, Worlds);

TYPED_TEST(SystemLogQueriesContract, MatchingMessagesComeTheOldestFirst) {
  EXPECT_EQ(this->found(), Texts());
  for (const char* text : {"one", "two"}) this->world_.append("mediad", "45", text);
  EXPECT_EQ(this->found(), Texts({"one", "two"}));
  const std::string two = this->lastId_;
  this->world_.append("mediad", "45", "three");
  EXPECT_EQ(this->found({two}), Texts{"three"});
  EXPECT_EQ(this->found({two, "0"}), Texts{"three"}) << "both conditions hold";
  EXPECT_EQ(this->found({"-4294967295"}), this->found({"1"})) << "the same bits";
  EXPECT_EQ(this->found({"-1"}), Texts()) << "the largest id";
  const auto first = this->queries_.search(*this->queries_.createQuery());
  const auto second = this->queries_.search(*this->queries_.createQuery());
  for (const char* text : {"one", "two", "three"}) {
    EXPECT_EQ(first->next()->field("Message"), text);
    EXPECT_EQ(second->next()->field("Message"), text);
  }
}

TYPED_TEST(SystemLogQueriesContract, MessagesHaveTheirFieldsAndNoOthers) {
  this->world_.append("a=b %s", "7", "x\n\xff\x1b");
  this->world_.append(std::nullopt, std::nullopt, "");
  const auto response = this->queries_.search(*this->queries_.createQuery());
  std::vector<OptionalText> fields;
  for (int second = 1; second <= 2; ++second) {
    const SystemLogMessage* message = response->next();
    ASSERT_TRUE(message);
    EXPECT_EQ(this->queries_.parseTime(*message->field("Time")),
              JournalFilesForTest::kStart + second);
    for (const char* key : {"Sender", "PID", "Message", "Host"}) {
      fields.push_back(message->field(key));
    }
  }
  EXPECT_EQ(fields, (std::vector<OptionalText>{"a=b %s", "7", "x\n\xff\x1b", std::nullopt,
                                               std::nullopt, std::nullopt, "", std::nullopt}));
  for (const char* none : {"", "today", "-5", "12 o'clock"}) {
    EXPECT_EQ(this->queries_.parseTime(none), 0) << none;
  }
  EXPECT_LE(this->queries_.parseTime("9223372036854775807"), 253402300799) << "in the year 9999";
}

class LinuxSystemLogQueriesTest : public SystemLogQueriesContract<LinuxWorld> {
 protected:
  void append(int first, int last) {
    for (int i = first; i <= last; ++i) {
      world_.journal.entry(formatText("SYSLOG_IDENTIFIER=mediad\n_PID=45\nMESSAGE=%d", i));
    }
    world_.journal.write();
  }
  // "ID TIME SENDER[PID] MESSAGE" of at most so many messages above the id.
  Texts lines(const char* above) {
    Texts lines;
    const auto query = queries_.createQuery();
    EXPECT_EQ(query->set("SLQMessageID", above, 0x82), 0);
    const auto response = queries_.search(*query);
    while (const SystemLogMessage* message = lines.size() < 257 ? response->next() : nullptr) {
      const auto text = [&](const char* key) { return safeText(textOrNull(message->field(key))); };
      lines.push_back(text("SLQMessageID") + " " + text("Time") + " " + text("Sender") + "[" +
                      text("PID") + "] " + text("Message").substr(0, 60));
    }
    return lines;
  }
};

TEST_F(LinuxSystemLogQueriesTest, ReadsThreeHundredMessagesInTwoFetches) {
  EXPECT_EQ(lines("0"), Texts()) << "without a journal";
  std::filesystem::create_directories(world_.journal.directory());
  std::ofstream(world_.journal.directory() + "/0.journal") << "no journal";
  EXPECT_EQ(lines("0"), Texts());
  append(1, 400);
  Texts first = lines("0");
  ASSERT_EQ(first.size(), LinuxSystemLogQueries::kEarlier);
  EXPECT_EQ(first.front().substr(first.front().rfind(' ')), " 145");
  EXPECT_EQ(first.back().substr(first.back().rfind(' ')), " 400");
  EXPECT_EQ(lines("246"), Texts(first.end() - 10, first.end())) << "the same once more";

  append(401, 700);
  first = lines("256");
  ASSERT_EQ(first.size(), 257u);
  EXPECT_EQ(first.front(), "257 1763300401 mediad[45] 401");
  EXPECT_EQ(first.back(), "513 1763300657 mediad[45] 657");
  const Texts second = lines("513");
  ASSERT_EQ(second.size(), 43u);
  EXPECT_EQ(second.front(), "514 1763300658 mediad[45] 658");
  EXPECT_EQ(second.back(), "556 1763300700 mediad[45] 700");
  EXPECT_EQ(lines("556"), Texts());

  // Files that are gone take nothing of what is new with them.
  for (const char* file : {"1", "2"})
    unlink((world_.journal.directory() + "/" + file + ".journal").c_str());
  append(701, 702);
  EXPECT_EQ(lines("556"),
            Texts({"557 1763300701 mediad[45] 701", "558 1763300702 mediad[45] 702"}));
}

TEST_F(LinuxSystemLogQueriesTest, TellsWhatAnEntryHas) {
  const std::string own = std::to_string(getpid());
  const std::vector<std::string> all{
      "SYSLOG_IDENTIFIER=wifid\n_COMM=other\n_PID=7\nSYSLOG_PID=8\nMESSAGE=a=b %s",
      "_COMM=conf\nSYSLOG_PID=8\nMESSAGE=",
      "SYSLOG_IDENTIFIER=kernel\n_TRANSPORT=kernel\nMESSAGE=up",
      "SYSLOG_IDENTIFIER=zorva\n_PID=1\nMESSAGE=another Zorva's",
      "SYSLOG_IDENTIFIER=cat\n_PID=" + own + "\nMESSAGE=our own", "PRIORITY=3",
      // Bytes that make a field binary: its length, little-endian, and the bytes.
      "_COMM=d\n_PID=9\nMESSAGE\n" + std::string("\4\0\0\0\0\0\0\0", 8) + "x\n\xff\x1b",
      "_COMM=d\n_PID=9\nMESSAGE=" + std::string(100000, 'y')};
  for (const std::string& fields : all) world_.journal.entry(fields);
  world_.journal.write();
  EXPECT_EQ(lines("0"), Texts({"1 1763300001 wifid[7] a=b %s", "2 1763300002 conf[8] ",
                               "3 1763300003 kernel[0] up", "4 1763300006 (null)[(null)] (null)",
                               "5 1763300007 d[9] x\\x0a\uFFFD\\x1b",
                               "6 1763300008 d[9] " + std::string(60, 'y')}));
}

TEST(SyslogFile, ReadsTheLinesOfEverySyslogDaemon) {
  setenv("TZ", "CET-1", 1);
  const std::int64_t now = 1767225600;  // 2026-01-01 00:00:00 UTC
  const auto shown = [&](std::string_view line) {
    const auto record = parseSyslogLine(line, now);
    return record ? std::to_string(record->time - now) + " " + textOrNull(record->sender) + "[" +
                        textOrNull(record->process) + "] " + *record->text
                  : "none";
  };
  EXPECT_EQ(shown("Jan  1 01:00:07 phone crond[45]: a: b"), "7 crond[45] a: b");
  EXPECT_EQ(shown("Dec 31 01:00:00 phone kernel: [ 1.2] up"), "-86400 kernel[0] [ 1.2] up");
  EXPECT_EQ(shown("Jan  2 12:00:00 phone a: last year's"), "-31410000 a[(null)] last year's");
  EXPECT_EQ(shown("Jan  1 01:00:00 phone user.notice mobile: hi"), "0 mobile[(null)] hi");
  EXPECT_EQ(shown("Jan  1 01:00:00 crond[45]: no host"), "0 crond[45] no host");
  EXPECT_EQ(shown("2026-01-01T02:30:00.123456+02:00 pc a[1]: x"), "1800 a[1] x");
  EXPECT_EQ(shown("2026-01-01T00:00:01Z pc no tag here"), "1 (null)[(null)] no tag here");
  EXPECT_EQ(shown("2026-01-01T01:00:01 pc a/b(c)[7]: "), "1 a/b(c)[7] ");
  for (const char* none :
       {"", "word", "Jan  1 01:00", "Foo  1 01:00:00 pc a: b", "2026-01-01 pc"}) {
    EXPECT_EQ(shown(none), "none") << none;
  }
  unsetenv("TZ");
}

TEST(SyslogFile, IsFollowedThroughRotation) {
  SimHandset handset;
  const DirectoryForTest directory;
  const std::string path = directory / "messages";
  LinuxSystemLogQueries queries(
      handset.platform().clock, handset.platform().systemLog,
      {directory / "journal", directory / "no-socket", {directory / "none", path}});
  const auto append = [&](int first, int last, const char* end = "\n") {
    std::ofstream file(path, std::ios::app);
    for (int i = first; i <= last; ++i) file << "2026-01-01T00:00:00Z pc a[1]: " << i << end;
  };
  std::string above = "0";
  const auto found = [&] {
    const auto query = queries.createQuery();
    EXPECT_EQ(query->set("SLQMessageID", above, 0x82), 0);
    const auto response = queries.search(*query);
    Texts texts;
    while (const SystemLogMessage* message = response->next()) {
      texts.push_back(*message->field("Message"));
      above = *message->field("SLQMessageID");
    }
    return texts;
  };
  EXPECT_EQ(found(), Texts()) << "no file";
  append(1, 300);
  const Texts first = found();
  ASSERT_EQ(first.size(), LinuxSystemLogQueries::kEarlier);
  EXPECT_EQ(first.front() + " " + first.back(), "45 300");
  std::ofstream(path, std::ios::app) << "2026-01-01T00:00:00Z pc zorva[1]: our own\n";
  append(301, 301);
  append(302, 302, "");
  EXPECT_EQ(found(), Texts{"301"}) << "no half line";
  append(0, 0);  // the rest of that line
  std::filesystem::rename(path, path + ".0");
  append(303, 303);
  EXPECT_EQ(found(), Texts({"3022026-01-01T00:00:00Z pc a[1]: 0", "303"}));
  std::filesystem::resize_file(path, 0);
  append(4, 4, ".\n");
  EXPECT_EQ(found(), Texts{"4."}) << "truncated";
  std::ofstream(path, std::ios::app) << std::string(40000, 'x') << "\n";
  append(5, 5);
  EXPECT_EQ(found(), Texts{"5"});
}

}  // namespace
}  // namespace zorva
