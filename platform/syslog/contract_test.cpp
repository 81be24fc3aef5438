// SPDX-License-Identifier: Apache-2.0
// What queries of the system log promise, on the simulated handset and over journal files.

#include <gtest/gtest.h>
#include <vector>

#include "platform/assemble/SimHandset.h"
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
  JournalFilesForTest journal;
  LinuxSystemLogQueries queries{journal.directory()};
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

}  // namespace
}  // namespace zorva
