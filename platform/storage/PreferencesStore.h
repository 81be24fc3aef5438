// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

/// Per-user, per-host preference domains, kept in property-list files.
class PreferencesStore {
 public:
  virtual ~PreferencesStore() = default;

  /// Whose settings: the domain ("com.vennor.zorva") of one user on the current host.
  struct Scope {
    std::string domain;
    std::string user;
  };

  /// The stored value, read anew from the file, or nothing. A file that is missing, unreadable or
  /// damaged has no values. What was set since the last synchronize() is answered as it was set;
  /// what that could not write is answered only while the file has no value for the key.
  virtual Value value(const Scope& scope, const std::string& key) = 0;

  /// Sets a value; it reaches the file with synchronize().
  virtual void setValue(const Scope& scope, const std::string& key, Value value) = 0;

  /// Writes what was set. The file is replaced whole or not at all, never through a planted link,
  /// and belongs to the scope's user afterwards where that user exists and the process may give
  /// files away. A damaged file is kept aside under another name, which the system log reports.
  /// Returns false when nothing could be written; what was set is then tried again with the
  /// next call, where the file has got no value of its own by then.
  virtual bool synchronize(const Scope& scope) = 0;
};

}  // namespace zorva
