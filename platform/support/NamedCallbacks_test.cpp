#include "platform/support/NamedCallbacks.h"

#include <gtest/gtest.h>
#include <optional>

namespace zorva {
namespace {

TEST(NamedCallbacks, MayChangeInsideCall) {
  std::optional<NamedCallbacks> callbacks(std::in_place);
  std::string calls;
  Registration first, second, late;
  first = callbacks->add("a", [&](std::string_view) {
    calls += "first ";
    first.reset();
    second.reset();
    late = callbacks->add("a", [&](std::string_view) {
      calls += "late ";
      callbacks.reset();
    });
  });
  second = callbacks->add("a", [&](std::string_view) { calls += "second "; });
  Registration nested = callbacks->add("a", [&](std::string_view name) {
    calls += "nested ";
    nested.reset();
    callbacks->call(name);
  });
  callbacks->call("b");
  callbacks->call("a");
  EXPECT_EQ(calls, "first nested late ");
  EXPECT_FALSE(callbacks);
  late.reset();  // after the end of what it was registered with
}

}  // namespace
}  // namespace zorva
