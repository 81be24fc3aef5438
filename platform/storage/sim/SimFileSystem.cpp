// SPDX-License-Identifier: Apache-2.0
#include "platform/storage/sim/SimFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace zorva {
namespace {

namespace fs = std::filesystem;

bool isPlainName(const std::string& name) {
  return !name.empty() && name.size() <= 255 && name != "." && name != ".." &&
         name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

// A path of the device that stays below its root.
std::string pathFrom(const ScenarioNode& node) {
  const std::string& path = node.text();
  bool fine = path.size() > 1 && path.size() <= 1024 && path.front() == '/';
  for (std::size_t start = 1; fine && start <= path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    fine = isPlainName(path.substr(start, end - start));
    start = end + 1;
  }
  if (!fine) node.refuse("write a whole path here, such as /Library/Logs/Faultbox/report.txt");
  return path;
}

}  // namespace

SimFileSystem::SimFileSystem(SimParts& parts, std::string root, SystemLog& systemLog)
    : files_(std::move(root)),
      systemLog_(systemLog),
      openForEventsFault_(parts.faults, "files.openForEvents"),
      makeEventQueueFault_(parts.faults, "files.makeEventQueue"),
      watchDirectoryFault_(parts.faults, "files.watchDirectory") {
  std::error_code none;
  for (fs::directory_iterator file(hostPath(kLogDirectory), none), end; !none && file != end;
       file.increment(none)) {
    foreign_.insert(file->path().string());
  }
  const auto write = [this](const ScenarioNode& node) -> ScenarioAction {
    const auto keys = node.keys({"path", "contents"});
    const auto* contents = keys.find("contents");
    return [this, path = pathFrom(keys.require("path")),
            text = contents ? contents->anyText() : std::string()] { writeFile(path, text); };
  };
  parts.sections.addStart("files",
                          [write](const ScenarioNode& node) { return eachOf(node.list(), write); });
  parts.sections.addStep("write_file", write);
  parts.sections.addStep("remove_file", [this](const ScenarioNode& node) -> ScenarioAction {
    return [this, path = pathFrom(node)] { removeFile(path); };
  });
  parts.sections.addStep("move_log", [this](const ScenarioNode& node) -> ScenarioAction {
    if (!isPlainName(node.text())) node.refuse("write a file name without a directory here");
    return [this, name = node.text()] { moveLog(name); };
  });
  parts.sections.addStep("remove_log", [this](const ScenarioNode& node) -> ScenarioAction {
    node.mark();
    return [this] { removeLog(); };
  });
}

void SimFileSystem::writeFile(const std::string& path, const std::string& contents) {
  const fs::path file = hostPath(path);
  std::error_code ignored;
  if (!fs::exists(file, ignored)) foreign_.insert(file.string());
  fs::create_directories(file.parent_path(), ignored);
  errno = 0;
  if (!(std::ofstream(file, std::ios::binary) << contents << std::flush)) {
    report("cannot write " + path, std::error_code(errno, std::generic_category()));
  }
}

void SimFileSystem::removeFile(const std::string& path) {
  std::error_code error;
  foreign_.erase(hostPath(path));
  if (fs::remove(hostPath(path), error)) return;
  if (!error) error = std::make_error_code(std::errc::no_such_file_or_directory);
  report("cannot remove " + path, error);
}

void SimFileSystem::moveLog(const std::string& newName) {
  const auto log = currentLog();
  if (!log) return;
  std::error_code error;
  fs::rename(*log, fs::path(hostPath(kLogDirectory)).parent_path() / newName, error);
  if (error) report("cannot move the log", error);
}

void SimFileSystem::removeLog() {
  const auto log = currentLog();
  std::error_code error;
  if (log && !fs::remove(*log, error)) report("cannot remove the log", error);
}

// The daemon's file is the one that neither existed at the start nor was written by the scenario.
// File times cannot be used: a whole scenario may run within one tick of the host's clock.
std::optional<std::string> SimFileSystem::currentLog() {
  std::error_code error;
  std::string log;
  for (fs::directory_iterator file(hostPath(kLogDirectory), error), end; !error && file != end;
       file.increment(error)) {
    if (file->path().extension() != ".zorva" || foreign_.contains(file->path().string())) continue;
    log = std::max(log, file->path().string());
  }
  if (!log.empty()) return log;
  report("there is no log", std::make_error_code(std::errc::no_such_file_or_directory));
  return std::nullopt;
}

void SimFileSystem::report(const std::string& problem, const std::error_code& error) {
  systemLog_.write("scenario: " + problem + ": " + error.message());
}

int SimFileSystem::openForEvents(const std::string& directory) {
  if (!openForEventsFault_.strikes()) return files_.openForEvents(directory);
  errno = EACCES;
  return -1;
}

int SimFileSystem::makeEventQueue() {
  if (!makeEventQueueFault_.strikes()) return files_.makeEventQueue();
  errno = EMFILE;
  return -1;
}

bool SimFileSystem::watchDirectory(int queue, int directory) {
  return !watchDirectoryFault_.strikes() && files_.watchDirectory(queue, directory);
}

}  // namespace zorva
