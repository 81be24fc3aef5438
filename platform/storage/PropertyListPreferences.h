// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/storage/FileSystem.h"
#include "platform/storage/PreferencesStore.h"
#include "platform/storage/SafePath.h"
#include "platform/system/AccountDatabase.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// Preference domains in XML property lists: domain "com.vennor.zorva" of the user "mobile" is the
/// device's file "/var/mobile/Library/Preferences/com.vennor.zorva.plist".
///
/// The directory belongs to the user, while the process is often root. Therefore the user's links
/// are not followed, a file with more than one link is not read, and only new files of our own are
/// written to or change their owner. Unknown keys, and values of unknown kinds, are kept.
///
/// A file of more than 1 MiB, a binary one, and anything except a regular file count as damaged.
/// They are renamed to "NAME.damaged-1", "-2" and so on up to 100; beyond that they stay, and
/// nothing is written any more.
class PropertyListPreferences : public PreferencesStore {
 public:
  PropertyListPreferences(const FileSystem& files, AccountDatabase& accounts, SystemLog& systemLog)
      : files_(files), accounts_(accounts), systemLog_(systemLog) {}

  Value value(const Scope& scope, const std::string& key) override;
  void setValue(const Scope& scope, const std::string& key, Value value) override;
  bool synchronize(const Scope& scope) override;

 private:
  std::optional<std::string> pathOf(const Scope& scope) const;
  struct Unwritten {
    Dictionary set;     ///< since the last attempt to write
    Dictionary failed;  ///< could not be written; used only if the file has no value
  };
  bool write(const Scope& scope, const std::string& path, const Unwritten& unwritten);
  bool keepAside(const DirectoryEntry& entry, const std::string& path);

  const FileSystem& files_;
  AccountDatabase& accounts_;
  SystemLog& systemLog_;
  std::map<std::string, Unwritten> unwritten_;  // by the device's path
};

}  // namespace zorva
