#include "platform/syslog/linux/LinuxSystemLogQueries.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

#include "platform/base/Text.h"
#include "platform/testing/TemporaryDirectory.h"

namespace zorva {
namespace {

constexpr const char* kWriter = "/lib/systemd/systemd-journal-remote";
using Lines = std::vector<std::string>;

class LinuxSystemLogQueriesTest : public testing::Test {
 protected:
  void SetUp() override {
    if (access(kWriter, X_OK) != 0) GTEST_SKIP() << kWriter << " is not there";
  }

  // One entry in the journal's export form, a second after the one before.
  void entry(const std::string& fields) {
    ++second_;
    unwritten_ += formatText(
                      "__REALTIME_TIMESTAMP=%d500000\n"
                      "__MONOTONIC_TIMESTAMP=%d500000\n"
                      "_BOOT_ID=0123456789abcdef0123456789abcdef\n",
                      1763300000 + second_, second_) +
                  fields + "\n\n";
  }
  void entries(int first, int last) {
    for (int i = first; i <= last; ++i) {
      entry(formatText("SYSLOG_IDENTIFIER=mediad\n_PID=45\nMESSAGE=%d", i));
    }
  }
  // By the journal's own tool, into a file of its own.
  void write() {
    std::filesystem::create_directories(directory_ / "journal");
    const std::string file = directory_ / formatText("journal/%d.journal", ++files_);
    FILE* tool = popen((std::string(kWriter) + " -o " + file + " - 2>/dev/null").c_str(), "w");
    fwrite(unwritten_.data(), 1, unwritten_.size(), tool);
    EXPECT_EQ(pclose(tool), 0);
    unwritten_.clear();
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

  DirectoryForTest directory_;
  LinuxSystemLogQueries queries_{directory_ / "journal"};
  std::string unwritten_;
  int second_ = 0;
  int files_ = 0;
};

TEST_F(LinuxSystemLogQueriesTest, ReadsThreeHundredMessagesInTwoFetches) {
  EXPECT_EQ(found(queries_, "0"), Lines()) << "without a journal";
  directory_.write("journal/0.journal", "no journal");
  EXPECT_EQ(found(queries_, "0"), Lines());
  entries(1, 400);
  write();
  Lines first = found(queries_, "0");
  ASSERT_EQ(first.size(), LinuxSystemLogQueries::kEarlier);
  EXPECT_EQ(first.front().substr(first.front().rfind(' ')), " 145");
  EXPECT_EQ(first.back().substr(first.back().rfind(' ')), " 400");
  EXPECT_EQ(found(queries_, "246"), Lines(first.end() - 10, first.end())) << "the same once more";

  entries(401, 700);
  write();
  first = found(queries_, "256");
  ASSERT_EQ(first.size(), 257u);
  EXPECT_EQ(first.front(), "257 1763300401 mediad[45] 401");
  EXPECT_EQ(first.back(), "513 1763300657 mediad[45] 657");
  const Lines second = found(queries_, "513");
  ASSERT_EQ(second.size(), 43u);
  EXPECT_EQ(second.front(), "514 1763300658 mediad[45] 658");
  EXPECT_EQ(second.back(), "556 1763300700 mediad[45] 700");
  EXPECT_EQ(found(queries_, "556"), Lines());
  EXPECT_EQ(found(queries_, "-2"), Lines()) << "the id 4294967294";

  // Files that are gone take nothing of what is new with them.
  for (const char* file : {"1", "2"}) unlink((directory_ / "journal/" + file + ".journal").c_str());
  entries(701, 702);
  write();
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
  for (const std::string& fields : all) entry(fields);
  write();
  EXPECT_EQ(
      found(queries_, "0"),
      Lines({"1 1763300001 wifid[7] a=b %s", "2 1763300002 conf[8] ", "3 1763300003 kernel[0] up",
             "4 1763300006 (null)[(null)] (null)", "5 1763300007 d[9] x\\x0a\uFFFD\\x1b",
             "6 1763300008 d[9] " + std::string(60, 'y')}));

  EXPECT_NE(queries_.createQuery()->set("Sender", "wifid", 0x82), 0);
  for (const char* none : {"", "today", "-5"}) EXPECT_EQ(queries_.parseTime(none), 0) << none;
  EXPECT_EQ(queries_.parseTime("9223372036854775807"), 253402300799);
}

}  // namespace
}  // namespace zorva
