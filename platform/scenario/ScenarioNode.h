// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/Date.h"
#include "platform/base/Value.h"

namespace zorva {

/// An error in a scenario, with a remedy: "FILE:LINE:COLUMN: ...".
class ScenarioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// An action of a scenario, checked and ready to run.
using ScenarioAction = std::function<void()>;

/// Data about a scenario's text as a whole.
struct ScenarioText {
  std::string name;  ///< of the file, for messages
  /// Every key that the reader accepted while it read this text.
  std::set<std::string> offeredKeys;
};

/// One value of a scenario's text, with its position. The accessors check the value: if it does not
/// fit, they throw a ScenarioError that gives the position.
class ScenarioNode {
 public:
  enum class Kind { Nothing, Scalar, List, Mapping };
  using Entry = std::pair<ScenarioNode, ScenarioNode>;
  using Duration = std::chrono::microseconds;

  /// The longest duration in a scenario: ten years.
  static constexpr Duration kMaxLength = std::chrono::hours(24 * 3652);

  /// Reads YAML: one document, at most 1 MiB and 32 levels deep, without aliases.
  static ScenarioNode parse(std::string_view yaml, const std::shared_ptr<ScenarioText>& text);

  bool isNothing() const { return kind_ == Kind::Nothing; }
  bool isScalar() const { return kind_ == Kind::Scalar; }
  bool isList() const { return kind_ == Kind::List; }
  bool isMapping() const { return kind_ == Kind::Mapping; }

  /// A text of at least one byte; every scalar is a text.
  const std::string& text() const;
  /// A scalar, which may be empty.
  const std::string& anyText() const;
  /// true or false.
  bool boolean() const;
  /// Rejects everything except true: for steps without parameters.
  void mark() const;
  /// A decimal number, or a hexadecimal one that starts with 0x.
  std::int64_t integer(std::int64_t least, std::int64_t most) const;
  /// The same for unsigned 64-bit numbers.
  std::uint64_t natural() const;
  double number(double least, double most) const;
  /// "01:30:00", "1h30m", "90s", "2d" or a number of seconds; never negative.
  Duration duration() const;
  /// The same, in seconds.
  double seconds() const { return std::chrono::duration<double>(duration()).count(); }
  /// "2026-11-16 14:00:00", in UTC, of the years 1970 to 2199.
  Date date() const;
  /// A value of any kind: a quoted scalar is a text; a plain one is a boolean, a number, a date or
  /// otherwise a text; one tagged !data is hexadecimal bytes.
  Value value() const;

  const std::vector<ScenarioNode>& list() const;
  /// The list's items, or this node itself if it is not a list.
  std::vector<ScenarioNode> oneOrMore() const;
  /// A mapping whose keys are the device's names; each key is a text and occurs once.
  const std::vector<Entry>& entries() const;

  /// A mapping whose keys are the scenario's own.
  class Keys {
   public:
    const ScenarioNode* find(std::string_view key) const;
    /// Rejects the mapping if the key is missing.
    const ScenarioNode& require(std::string_view key) const;

   private:
    friend class ScenarioNode;
    explicit Keys(const ScenarioNode& mapping) : mapping_(mapping) {}
    const ScenarioNode& mapping_;
  };
  /// Rejects any other key. The node must outlive the result.
  Keys keys(std::initializer_list<const char*> allowed) const;

  using Reader = std::function<ScenarioAction(const ScenarioNode&)>;
  struct Key {
    std::string name;
    Reader read;
  };
  /// Rejects any other key, and reads each one that is present. The actions run in the order of the
  /// text.
  ScenarioAction actions(const std::vector<Key>& allowed) const;

  /// Throws a ScenarioError about this node.
  [[noreturn]] void refuse(const std::string& what) const;

 private:
  friend class ScenarioTreeBuilder;
  ScenarioNode(Kind kind, int line, int column, std::shared_ptr<ScenarioText> text)
      : kind_(kind), line_(line), column_(column), source_(std::move(text)) {}

  void checkKeys(const std::vector<std::string>& allowed) const;
  Value plainValue() const;

  Kind kind_;
  int line_;    ///< from 1
  int column_;  ///< from 1
  std::shared_ptr<ScenarioText> source_;
  std::string scalar_;
  bool quoted_ = false;
  bool data_ = false;
  std::vector<ScenarioNode> items_;
  std::vector<Entry> entries_;
};

/// One action that runs all of them in turn.
ScenarioAction inTurn(std::vector<ScenarioAction> actions);
/// Reads each node; the actions run in the nodes' order.
ScenarioAction eachOf(const std::vector<ScenarioNode>& nodes, const ScenarioNode::Reader& read);
/// Reads each entry of a mapping whose keys are the device's names.
ScenarioAction eachEntryOf(
    const ScenarioNode& mapping,
    const std::function<ScenarioAction(const ScenarioNode& name, const ScenarioNode& value)>& read);

}  // namespace zorva
