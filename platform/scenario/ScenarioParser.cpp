// SPDX-License-Identifier: Apache-2.0
#include <sstream>
#include <vector>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include "platform/base/Text.h"
#include "platform/scenario/ScenarioNode.h"

namespace zorva {

// Builds the tree from the parser's events instead of using the library's own tree: this keeps
// repeated keys and all positions, and can reject depth and aliases while parsing.
class ScenarioTreeBuilder : public YAML::EventHandler {
 public:
  explicit ScenarioTreeBuilder(std::shared_ptr<ScenarioText> text) : text_(std::move(text)) {}

  ScenarioNode takeRoot() { return std::move(root_.at(0)); }

  void OnDocumentStart(const YAML::Mark& mark) override {
    if (!root_.empty()) at(mark).refuse("a scenario is one document; remove this one");
  }
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t) override {
    // The parser places an omitted value at the next token; the key's position is more useful.
    if (!open_.empty() && open_.back().key.size() == 1) {
      const ScenarioNode& key = open_.back().key.front();
      add(ScenarioNode(ScenarioNode::Kind::Nothing, key.line_, key.column_, text_));
    } else {
      add(at(mark));
    }
  }

  void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override {
    at(mark).refuse("aliases are not supported; write the value out");
  }

  void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t,
                const std::string& scalar) override {
    ScenarioNode node = at(mark, ScenarioNode::Kind::Scalar);
    node.scalar_ = scalar;
    node.quoted_ = tag == "!" || tag == "tag:yaml.org,2002:str";
    node.data_ = tag == "!data";
    if (!node.data_ && !node.quoted_) refuseTag(node, tag);
    add(std::move(node));
  }

  void OnSequenceStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t,
                       YAML::EmitterStyle::value) override {
    open(at(mark, ScenarioNode::Kind::List), tag);
  }
  void OnSequenceEnd() override { close(); }

  void OnMapStart(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t,
                  YAML::EmitterStyle::value) override {
    open(at(mark, ScenarioNode::Kind::Mapping), tag);
  }
  void OnMapEnd() override { close(); }

 private:
  static constexpr std::size_t kDeepest = 32;

  // A list or mapping that has not ended yet; `key` is a mapping's key until its value follows.
  struct Open {
    ScenarioNode node;
    std::vector<ScenarioNode> key;
  };

  ScenarioNode at(const YAML::Mark& mark,
                  ScenarioNode::Kind kind = ScenarioNode::Kind::Nothing) const {
    return ScenarioNode(kind, mark.line + 1, mark.column + 1, text_);
  }

  static void refuseTag(const ScenarioNode& node, const std::string& tag) {
    if (tag.empty() || tag == "?") return;
    node.refuse("the tag \"" + safeText(tag) + "\" is unknown; only !data and !!str are supported");
  }

  void open(ScenarioNode node, const std::string& tag) {
    refuseTag(node, tag);
    if (open_.size() == kDeepest) {
      node.refuse("too deeply nested; at most " + std::to_string(kDeepest) + " levels are read");
    }
    open_.push_back({std::move(node), {}});
  }

  void close() {
    ScenarioNode node = std::move(open_.back().node);
    open_.pop_back();
    add(std::move(node));
  }

  void add(ScenarioNode node) {
    if (open_.empty()) {
      root_.push_back(std::move(node));
      return;
    }
    Open& parent = open_.back();
    if (parent.node.isList()) {
      parent.node.items_.push_back(std::move(node));
    } else if (parent.key.empty()) {
      if (!node.isScalar()) node.refuse("a key must be a text");
      parent.key.push_back(std::move(node));
    } else {
      parent.node.entries_.emplace_back(std::move(parent.key.front()), std::move(node));
      parent.key.clear();
    }
  }

  std::shared_ptr<ScenarioText> text_;
  std::vector<ScenarioNode> root_;
  std::vector<Open> open_;
};

ScenarioNode ScenarioNode::parse(std::string_view yaml, const std::shared_ptr<ScenarioText>& text) {
  constexpr std::size_t kMaxSize = std::size_t{1} << 20;
  const ScenarioNode start(Kind::Nothing, 1, 1, text);
  if (yaml.size() > kMaxSize) start.refuse("the scenario is too large; at most 1 MiB is read");
  std::istringstream stream{std::string(yaml)};
  ScenarioTreeBuilder builder(text);
  try {
    YAML::Parser parser(stream);
    if (!parser.HandleNextDocument(builder)) start.refuse("the scenario is empty");
    parser.HandleNextDocument(builder);  // the builder rejects a second one
  } catch (const YAML::Exception& error) {
    const bool placed = !error.mark.is_null();
    ScenarioNode(Kind::Nothing, placed ? error.mark.line + 1 : 1,
                 placed ? error.mark.column + 1 : 1, text)
        .refuse("this is not valid YAML: " + safeText(error.msg));
  }
  return builder.takeRoot();
}

}  // namespace zorva
