// SPDX-License-Identifier: Apache-2.0
#include "core/NotificationCenter.h"

#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace zorva {
namespace {

using Calls = std::vector<std::string>;

TEST(NotificationCenter, CallsObserversOfTheNameAndSenderInOrder) {
  NotificationCenter centre;
  Calls calls;
  const int mine = 0;
  const int other = 0;
  const auto any = centre.observe("a", [&](const Notification& n) {
    calls.push_back(n.sender == &mine ? "any"
                                      : std::any_cast<const char*>(n.userInformation.at("key")));
  });
  const auto filtered = centre.observe(
      "a", [&](const Notification&) { calls.push_back("mine"); }, &mine);
  centre.post("a", &mine);
  centre.post("a", &other, {{"key", "other"}});
  centre.post("c");
  EXPECT_EQ(calls, (Calls{"any", "mine", "other"}));
}

TEST(NotificationCenter, ObserversCanBeAddedAndRemovedDuringAPost) {
  NotificationCenter centre;
  Calls calls;
  Registration first;
  Registration second;
  Registration added;
  first = centre.observe("a", [&](const Notification&) {
    calls.push_back("first");
    first.reset();   // itself, while it is being called
    second.reset();  // one that has not been called yet
    added = centre.observe("a", [&](const Notification&) { calls.push_back("added"); });
  });
  second = centre.observe("a", [&](const Notification&) { calls.push_back("second"); });
  const auto third = centre.observe("a", [&](const Notification&) { calls.push_back("third"); });
  centre.post("a");
  EXPECT_EQ(calls, (Calls{"first", "third"}));
  centre.post("a");
  EXPECT_EQ(calls, (Calls{"first", "third", "third", "added"}));
}

}  // namespace
}  // namespace zorva
