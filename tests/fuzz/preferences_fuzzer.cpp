// SPDX-License-Identifier: Apache-2.0
// The user may put anything into the preferences file. For any contents, its values are returned, a
// value that is set can be read again and leaves the rest unchanged, and a file that is not a
// preferences file is kept aside byte for byte.
//
// An input is a byte for the length of a key and for whether the file lies on a disk, that key, and
// the file.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>

#include "platform/storage/PosixFileSystem.h"
#include "platform/storage/PropertyList.h"
#include "platform/storage/PropertyListPreferences.h"
#include "platform/testing/TemporaryDirectory.h"
#include "tests/fuzz/Require.h"

namespace zorva {
namespace {

struct Place : AccountDatabase, SystemLog {
  std::optional<Ids> idsOfUser(const std::string&) override { return std::nullopt; }
  std::optional<std::string> nameOfUser(uid_t) override { return std::nullopt; }
  void write(std::string_view) override {}
  std::string contents(const std::string& suffix) const {
    std::ifstream file(path + suffix, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const PreferencesStore::Scope scope{"com.vennor.zorva", "mobile"};
  const std::string name = "var/mobile/Library/Preferences/com.vennor.zorva.plist";
  DirectoryForTest root;
  const std::string path = root / name;
  PosixFileSystem files{root / ""};
};

// Without what a file cannot hold: empty entries, and fractions of a second.
Value storable(const Value& value) {
  if (const auto date = value.date()) return Date(std::chrono::floor<std::chrono::seconds>(*date));
  if (const auto* list = value.list()) {
    Value::List kept;
    for (const Value& item : *list) {
      if (!item.isNothing()) kept.push_back(storable(item));
    }
    return kept;
  }
  if (const auto* dictionary = value.dictionary()) {
    Dictionary kept;
    for (const auto& [key, item] : *dictionary) {
      if (!item.isNothing()) kept.set(key, storable(item));
    }
    return kept;
  }
  return std::isnan(value.real()) ? Value("not a number") : value;  // NaN does not equal itself
}

// The values of our keys in the list, one after another.
constexpr const char* kKeys[] = {"a", "b", "ZVRecordSyslog"};
Value::List valuesOf(const PropertyList& list, const std::string& but) {
  Value::List values;
  for (const char* key : kKeys) values.push_back(key == but ? Value() : storable(list.value(key)));
  return values;
}

void check(Place& place, const std::string& key, const std::string& text, bool onDisk) {
  auto list = PropertyList::parse(text);
  const bool refused = !list;
  if (refused) list.emplace();
  const Value::List before = valuesOf(*list, key);
  const Value old = storable(list->value(key));
  Value::List all = before;
  all.push_back(key);
  const Value set = storable(all);
  const auto reads = [&](const PropertyList& written, const Value& value) {
    const auto again = PropertyList::parse(written.text());
    REQUIRE(again && valuesOf(*again, key) == before && storable(again->value(key)) == value);
  };
  reads(*list, old);
  list->set(key, set);
  reads(*list, set);
  if (onDisk) {
    place.root.write(place.name, text);
    PropertyListPreferences store(place.files, place, place);
    REQUIRE(storable(store.value(place.scope, key)) == old);
    store.setValue(place.scope, key, set);
    REQUIRE(store.synchronize(place.scope) && place.contents("") == list->text());
    REQUIRE(!refused || place.contents(".damaged-1") == text);
    REQUIRE(::unlink((place.path + ".damaged-1").c_str()) == (refused ? 0 : -1));
  }
  list->set(key, {});
  reads(*list, {});
}

}  // namespace
}  // namespace zorva

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static zorva::Place place;
  if (size == 0) return 0;
  const std::size_t length = std::min<std::size_t>(data[0] / 2, size - 1);
  // A key ends at its first NUL.
  const std::string key = std::string(data + 1, data + 1 + length).c_str();
  zorva::check(place, key, std::string(data + 1 + length, data + size), data[0] % 2);
  return 0;
}
