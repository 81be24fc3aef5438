// SPDX-License-Identifier: Apache-2.0
#include "platform/syslog/linux/LinuxSystemLogQueries.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

#include "platform/base/Text.h"
#include "platform/testing/JournalFiles.h"

namespace zorva {
namespace {

using Lines = std::vector<std::string>;

class LinuxSystemLogQueriesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!JournalFilesForTest::canWrite()) GTEST_SKIP() << "no tool writes journal files here";
  }

  void entries(int first, int last) {
    for (int i = first; i <= last; ++i) {
      journal_.entry(formatText("SYSLOG_IDENTIFIER=mediad\n_PID=45\nMESSAGE=%d", i));
    }
    journal_.write();
  }

  // "ID TIME SENDER[PID] MESSAGE" of at most so many messages above the id.
  Lines found(LinuxSystemLogQueries& queries, const char* above, int most = 257) {
    Lines lines;
    const auto query = queries.createQuery();
    EXPECT_EQ(query->set("SLQMessageID", above, 0x82), 0);
    const auto response = queries.search(*query);
    while (most-- > 0) {
      const SystemLogMessage* message = response->next();
      if (!message) break;
      const auto text = [&](const char* key) { return safeText(textOrNull(message->field(key))); };
      lines.push_back(text("SLQMessageID") + " " + text("Time") + " " + text("Sender") + "[" +
                      text("PID") + "] " + text("Message").substr(0, 60));
    }
    return lines;
  }

  JournalFilesForTest journal_;
  LinuxSystemLogQueries queries_{journal_.directory()};
};

TEST_F(LinuxSystemLogQueriesTest, ReadsThreeHundredMessagesInTwoFetches) {
  EXPECT_EQ(found(queries_, "0"), Lines()) << "without a journal";
  std::filesystem::create_directories(journal_.directory());
  std::ofstream(journal_.directory() + "/0.journal") << "no journal";
  EXPECT_EQ(found(queries_, "0"), Lines());
  entries(1, 400);
  Lines first = found(queries_, "0");
  ASSERT_EQ(first.size(), LinuxSystemLogQueries::kEarlier);
  EXPECT_EQ(first.front().substr(first.front().rfind(' ')), " 145");
  EXPECT_EQ(first.back().substr(first.back().rfind(' ')), " 400");
  EXPECT_EQ(found(queries_, "246"), Lines(first.end() - 10, first.end())) << "the same once more";

  entries(401, 700);
  first = found(queries_, "256");
  ASSERT_EQ(first.size(), 257u);
  EXPECT_EQ(first.front(), "257 1763300401 mediad[45] 401");
  EXPECT_EQ(first.back(), "513 1763300657 mediad[45] 657");
  const Lines second = found(queries_, "513");
  ASSERT_EQ(second.size(), 43u);
  EXPECT_EQ(second.front(), "514 1763300658 mediad[45] 658");
  EXPECT_EQ(second.back(), "556 1763300700 mediad[45] 700");
  EXPECT_EQ(found(queries_, "556"), Lines());

  // Files that are gone take nothing of what is new with them.
  for (const char* file : {"1", "2"})
    unlink((journal_.directory() + "/" + file + ".journal").c_str());
  entries(701, 702);
  EXPECT_EQ(found(queries_, "556"),
            Lines({"557 1763300701 mediad[45] 701", "558 1763300702 mediad[45] 702"}));
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
  for (const std::string& fields : all) journal_.entry(fields);
  journal_.write();
  EXPECT_EQ(
      found(queries_, "0"),
      Lines({"1 1763300001 wifid[7] a=b %s", "2 1763300002 conf[8] ", "3 1763300003 kernel[0] up",
             "4 1763300006 (null)[(null)] (null)", "5 1763300007 d[9] x\\x0a\uFFFD\\x1b",
             "6 1763300008 d[9] " + std::string(60, 'y')}));
}

}  // namespace
}  // namespace zorva
