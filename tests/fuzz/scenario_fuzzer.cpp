// SPDX-License-Identifier: Apache-2.0
// People type scenarios, and their texts stand for names from strangers. Any input is rejected at a
// place in the file, or runs to its end with the same result each time, and the entries that the
// loggers write can be shown.
//
// An input is the scenario.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "apps/DefaultLoggers.h"
#include "core/ZorvaMain.h"
#include "platform/assemble/Scenario.h"
#include "platform/assemble/SimHandset.h"
#include "tests/fuzz/Log.h"

namespace zorva {
namespace {

// "f:3:14: what is wrong", in one line, with the place in the text or near its end.
void checkRefusal(const std::string& message, const std::string& text) {
  int line = 0, column = 0, read = 0;
  REQUIRE(std::sscanf(message.c_str(), "f:%d:%d: %n", &line, &column, &read) == 2 && read > 0);
  REQUIRE(safeText(message) == message && message.size() > static_cast<std::size_t>(read));
  const auto ends =
      std::count_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; });
  REQUIRE(line > 0 && line <= ends + 1 && column > 0);
  // The library counts a bad byte as U+FFFD, and the bytes after the end that it looks for.
  REQUIRE(static_cast<std::size_t>(column) <= 3 * text.size() + 8);
}

// The log, or nothing if the scenario is rejected.
std::string run(const std::string& text) {
  static const int log = ::memfd_create("log", MFD_CLOEXEC);
  SimHandset handset;
  try {
    Scenario::read(text, "f", handset).begin(handset);
  } catch (const ScenarioError& error) {
    checkRefusal(error.what(), text);
    return {};
  }
  std::fflush(stdout);
  const Descriptor terminal(::dup(STDOUT_FILENO));
  ::dup2(log, STDOUT_FILENO);
  char name[] = "zorva";
  char* const arguments[] = {name, nullptr};
  ZorvaMain(1, arguments, {[&handset] { return &handset.platform(); }}, defaultLoggers());
  ::dup2(terminal.get(), STDOUT_FILENO);
  std::string written = takeText(log);
  checkLog(written);
  for (const std::string& line : handset.systemLog().takeLines()) written += line + "\n";
  return written;
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zorva;
  const std::string text(data, data + size);
  const std::string written = run(text);
  REQUIRE(written.empty() || run(text) == written);
  return 0;
}
