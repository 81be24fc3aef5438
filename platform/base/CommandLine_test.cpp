// SPDX-License-Identifier: Apache-2.0
#include "platform/base/CommandLine.h"

#include <gtest/gtest.h>

namespace zorva {
namespace {

// The options and operands read, in their order, or how the program ends.
std::string read(const std::vector<std::string>& arguments, bool hasRest = false) {
  std::string taken;
  bool json = false;
  const auto take = [&taken](const std::string& value) {
    taken += "out=" + value + " ";
    return value == "bad" ? "'bad' is wrong." : "";
  };
  std::vector<std::string> operands, rest;
  const auto end = readCommandLine(
      {"p", "Help.\n", {{"output", 'o', "a file", take}, commandSwitch("json", json)}, "; no"},
      arguments, operands, hasRest ? &rest : nullptr);
  if (end) return std::to_string(end->status) + " " + end->output + end->error;
  if (json) taken += "json ";
  for (const std::string& operand : operands) taken += operand + " ";
  for (const std::string& each : rest) taken += "rest:" + each + " ";
  return taken;
}

TEST(CommandLine, OptionsCanBeAnywhereWithValuesInFourForms) {
  EXPECT_EQ(read({}), "");
  EXPECT_EQ(read({"a", "-o", "1", "-o2", "b", "--output", "-3", "--output=4", "-", "--json"}),
            "out=1 out=2 out=-3 out=4 json a b - ");
  EXPECT_EQ(read({"a", "--", "--json", "--", "b"}), "a --json -- b ");
  EXPECT_EQ(read({"a", "--", "--json", "b"}, true), "a rest:--json rest:b ");
}

TEST(CommandLine, TheFirstErrorOrEndingOptionCounts) {
  const auto wrong = [](const std::string& what) {
    return "2 p: " + what + " Try 'p --help' for more information.\n";
  };
  EXPECT_EQ(read({"--bogus", "-h"}), wrong("unknown option --bogus; no."));
  EXPECT_EQ(read({"-x"}), wrong("unknown option -x; no."));
  EXPECT_EQ(read({"--a\nb"}), wrong("unknown option --a\\x0ab; no."));
  EXPECT_EQ(read({"--json=1"}), wrong("--json has no value."));
  for (const char* const last : {"-o", "--output", "--output="}) {
    EXPECT_EQ(read({last}), wrong("-o needs a file."));
  }
  EXPECT_EQ(read({"-obad"}), wrong("'bad' is wrong."));
  for (const char* const help : {"-h", "--help"}) EXPECT_EQ(read({"a", help, "-x"}), "0 Help.\n");
  EXPECT_TRUE(read({"--version"}).starts_with("0 p "));
}

}  // namespace
}  // namespace zorva
