// SPDX-License-Identifier: Apache-2.0
#include "platform/syslog/sim/SimSystemLogQueries.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/base/Text.h"

namespace zorva {

class SimSystemLogQueries::Query : public SystemLogQuery {
 public:
  static constexpr int kNotSupported = 1;

  explicit Query(SimFaultPoint& setFault) : setFault_(setFault) {}

  int set(const std::string& key, const std::string& value, std::uint32_t operation) override {
    if (const auto struck = setFault_.struckResult<int>()) return *struck;
    if (key != "SLQMessageID" || operation != (kNumeric | kGreater)) return kNotSupported;
    const auto id = static_cast<std::uint32_t>(std::strtoll(value.c_str(), nullptr, 10));
    above_ = std::max(above_.value_or(0), id);
    return 0;
  }

  bool matches(std::uint32_t id) const { return !above_ || id > *above_; }

 private:
  SimFaultPoint& setFault_;
  std::optional<std::uint32_t> above_;
};

// The messages that matched at the time of the search.
class SimSystemLogQueries::Response : public SystemLogResponse, private SystemLogMessage {
 public:
  explicit Response(std::vector<Fields> messages) : messages_(std::move(messages)) {}

  const SystemLogMessage* next() override {
    return ++reached_ <= messages_.size() ? this : nullptr;
  }

 private:
  std::optional<std::string> field(const std::string& key) const override {
    const Fields& fields = messages_[reached_ - 1];
    const auto found = fields.find(key);
    if (found == fields.end()) return std::nullopt;
    return found->second;
  }

  std::vector<Fields> messages_;
  std::size_t reached_ = 0;
};

SimSystemLogQueries::SimSystemLogQueries(SimParts& parts, const Clock& clock)
    : clock_(clock),
      setFault_(parts.faults, "systemLogQueries.set", Query::kNotSupported),
      searchFault_(parts.faults, "systemLogQueries.search") {
  const auto readMessage = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"sender", "pid", "message", "time", "id"});
    const auto textOf = [&](const char* key) -> std::optional<std::string> {
      const ScenarioNode* given = keys.find(key);
      if (given == nullptr) return std::nullopt;
      return given->anyText();
    };
    Message message{textOf("sender"), textOf("pid"), textOf("message")};
    if (const auto* given = keys.find("time")) message.time = given->date();
    if (const auto* given = keys.find("id")) {
      message.id = static_cast<std::uint32_t>(given->integer(1, UINT32_MAX));
    }
    return [this, message] { append(message); };
  };
  parts.sections.addStart("system_log", [readMessage](const ScenarioNode& node) {
    return eachOf(node.list(), readMessage);
  });
  parts.sections.addStep("system_log", [readMessage](const ScenarioNode& node) {
    return eachOf(node.oneOrMore(), readMessage);
  });
}

std::unique_ptr<SystemLogQuery> SimSystemLogQueries::createQuery() {
  return std::make_unique<Query>(setFault_);
}

std::unique_ptr<SystemLogResponse> SimSystemLogQueries::search(const SystemLogQuery& query) {
  if (searchFault_.strikes()) return nullptr;
  std::vector<Fields> matching;
  for (const auto& [id, fields] : messages_) {
    if (static_cast<const Query&>(query).matches(id)) matching.push_back(fields);
  }
  return std::make_unique<Response>(std::move(matching));
}

std::int64_t SimSystemLogQueries::parseTime(const std::string& text) {
  return std::clamp<std::int64_t>(parseNumber<std::int64_t>(text).value_or(0), 0, kMaxTime);
}

void SimSystemLogQueries::append(const Message& message) {
  lastId_ = message.id.value_or(lastId_ + 1);
  Fields fields{{"SLQMessageID", std::to_string(lastId_)},
                {"Time", std::to_string(secondsSinceEpoch(message.time.value_or(clock_.now())))}};
  if (message.sender) fields["Sender"] = *message.sender;
  if (message.process) fields["PID"] = *message.process;
  if (message.text) fields["Message"] = *message.text;
  messages_.emplace_back(lastId_, std::move(fields));
}

}  // namespace zorva
