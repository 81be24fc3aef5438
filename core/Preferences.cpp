// SPDX-License-Identifier: Apache-2.0
#include "core/Preferences.h"

#include <utility>

#include "platform/storage/PreferencesStore.h"

namespace zorva {
namespace {

const PreferencesStore::Scope& scope() {
  static const PreferencesStore::Scope ours{"com.vennor.zorva", "mobile"};
  return ours;
}

}  // namespace

Value CopyPreferenceValue(PreferencesStore& store, const std::string& key) {
  return store.value(scope(), key);
}

void SetPreferenceValue(PreferencesStore& store, const std::string& key, Value value) {
  store.setValue(scope(), key, std::move(value));
  store.synchronize(scope());
}

void RegisterPreferenceDefault(PreferencesStore& store, const std::string& key, Value value) {
  if (CopyPreferenceValue(store, key).isNothing()) {
    SetPreferenceValue(store, key, std::move(value));
  }
}

void RegisterPreferenceDefaults(PreferencesStore& store) {
  RegisterPreferenceDefault(store, kSecondsBeforeSignificantTimeTriggered, 1800.0);
  RegisterPreferenceDefault(store, kShowNMXContents, false);
  RegisterPreferenceDefault(store, kShouldQueryWiFiPowerUsage, false);
  RegisterPreferenceDefault(store, kRecordSyslog, true);
}

}  // namespace zorva
