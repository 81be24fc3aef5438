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
/// The directory belongs to the user while the process is often root, so the user's links are not
/// followed, a file that has a second name somewhere is not read, and nothing but new files of our
/// own is ever written to or given away. Unknown keys, and values of unknown kinds, survive
/// the rewriting.
///
/// A file of more than 1 MiB, a binary one, and anything but a regular file count as damaged. They
/// are kept aside as "NAME.damaged-1", "-2" and so on up to 100; after that they stay and nothing
/// is written any more.
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
    Dictionary failed;  ///< could not be written; counts only where the file has no value
  };
  bool write(const Scope& scope, const std::string& path, const Unwritten& unwritten);
  bool keepAside(const DirectoryEntry& entry, const std::string& path);

  const FileSystem& files_;
  AccountDatabase& accounts_;
  SystemLog& systemLog_;
  std::map<std::string, Unwritten> unwritten_;  // by the device's path
};

}  // namespace zorva
