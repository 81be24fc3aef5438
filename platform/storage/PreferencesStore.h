// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

/// Per-user, per-host preference domains, stored in property-list files.
class PreferencesStore {
 public:
  virtual ~PreferencesStore() = default;

  /// A domain ("com.vennor.zorva") of one user on the current host.
  struct Scope {
    std::string domain;
    std::string user;
  };

  /// The stored value, read from the file at each call, or nothing. A file that is missing,
  /// unreadable or damaged has no values. A value set since the last synchronize() is returned as
  /// set; one that it could not write is returned only while the file has no value for the key.
  virtual Value value(const Scope& scope, const std::string& key) = 0;

  /// Sets a value; synchronize() writes it to the file.
  virtual void setValue(const Scope& scope, const std::string& key, Value value) = 0;

  /// Writes the values that were set. The file is replaced as a whole or not at all, never through
  /// a planted link, and then belongs to the scope's user, if that user exists and the process may
  /// change owners. A damaged file is kept under another name, which the system log reports.
  /// Returns false if nothing could be written; the next call then tries again to write the values
  /// of the keys that the file still lacks.
  virtual bool synchronize(const Scope& scope) = 0;
};

}  // namespace zorva
