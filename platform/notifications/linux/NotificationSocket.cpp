// SPDX-License-Identifier: Apache-2.0
#include "platform/notifications/linux/NotificationSocket.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/base/RenameToNew.h"
#include "platform/base/Text.h"
#include "platform/kit/files/DirectoryEntries.h"

namespace zorva {
namespace {

constexpr std::string_view kMark = "ZVN1";
constexpr std::string_view kSuffix = ".socket";
constexpr int kMaxAtOnce = 64;
constexpr int kMaxDaemons = 1000;  // with the same process id in different PID namespaces

Descriptor newSocket() {
  return Descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

// Paths through a descriptor: they always fit, and their target cannot be replaced.
sockaddr_un addressOf(int descriptor, const std::string& below = {}) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = formatText("/proc/self/fd/%d", descriptor) + below;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

template <class Call>
bool withAddress(Call call, int socket, const sockaddr_un& address) {
  return call(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// Reads the directory from its start, even if it was read before.
void forEachName(int directory, const std::function<void(const std::string&)>& visit) {
  alignas(KernelDirectoryEntry) char buffer[4096];
  if (::lseek(directory, 0, SEEK_SET) == 0) forEachEntry(directory, buffer, visit);
}

// A socket connected to the daemon of the entry; invalid if there is none. The socket of a dead
// daemon is removed.
Descriptor connectTo(int directory, const std::string& entry, uid_t owner) {
  if (entry.starts_with('.') || !entry.ends_with(kSuffix)) return {};
  const Descriptor file(::openat(directory, entry.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status;
  // A hard link to another user's socket is not a daemon of this directory's user.
  if (!file || ::fstat(file.get(), &status) != 0 || !S_ISSOCK(status.st_mode) ||
      status.st_uid != owner) {
    return {};
  }
  Descriptor socket = newSocket();
  if (socket && withAddress(::connect, socket.get(), addressOf(file.get()))) return socket;
  if (errno == ECONNREFUSED) ::unlinkat(directory, entry.c_str(), 0);
  return {};
}

void removeDead(int directory) {
  forEachName(directory,
              [&](const std::string& entry) { connectTo(directory, entry, ::geteuid()); });
}

void postIn(int directory, uid_t owner, const std::string& datagram, PostResult& result) {
  forEachName(directory, [&](const std::string& entry) {
    const Descriptor socket = connectTo(directory, entry, owner);
    if (!socket) return;
    if (::send(socket.get(), datagram.data(), datagram.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0) {
      ++result.delivered;
    } else if (errno == EAGAIN && owner == ::geteuid()) {
      ++result.full;
    }
  });
}

// A user's run directory may contain anything; it is used only if it belongs to the user.
void postToUser(int users, const std::string& user, const std::string& datagram,
                PostResult& result) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor runtime(::openat(users, user.c_str(), kFlags));
  const Descriptor directory(runtime ? ::openat(runtime.get(), "zorva", kFlags) : -1);
  struct stat outer, inner;
  if (directory && ::fstat(runtime.get(), &outer) == 0 && ::fstat(directory.get(), &inner) == 0 &&
      outer.st_uid == inner.st_uid) {
    postIn(directory.get(), inner.st_uid, datagram, result);
  }
}

// Whether the message's sender is accepted. Descriptors sent along are closed.
bool acceptSender(msghdr& message) {
  std::optional<uid_t> sender;
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
       part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET) continue;
    if (part->cmsg_type == SCM_CREDENTIALS && part->cmsg_len >= CMSG_LEN(sizeof(ucred))) {
      ucred credentials;
      std::memcpy(&credentials, CMSG_DATA(part), sizeof credentials);
      sender = credentials.uid;
    } else if (part->cmsg_type == SCM_RIGHTS) {
      for (std::size_t at = CMSG_LEN(0); at + sizeof(int) <= part->cmsg_len; at += sizeof(int)) {
        int descriptor;
        std::memcpy(&descriptor, reinterpret_cast<char*>(part) + at, sizeof descriptor);
        ::close(descriptor);
      }
    }
  }
  return sender && (*sender == 0 || *sender == ::geteuid());
}

}  // namespace

std::unique_ptr<NotificationSocket> NotificationSocket::make(const std::string& path,
                                                             std::string& problem) {
  Descriptor directory = openRunDirectory(path, MissingDirectory::Make, problem);
  if (!directory) return nullptr;
  removeDead(directory.get());

  Descriptor socket = newSocket();
  const int on = 1;
  // Bound under a hidden name first: for a moment in bind() the entry exists but refuses
  // connections, and a poster would take it for the socket of a dead daemon.
  const std::string hidden = formatText(".%d-%d.new", ::getpid(), socket.get());
  ::unlinkat(directory.get(), hidden.c_str(), 0);
  // SO_PASSCRED is set before the socket has a name: an earlier message would have no credentials.
  // The mode is that of the socket's entry.
  if (socket && ::setsockopt(socket.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0 &&
      ::fchmod(socket.get(), 0600) == 0 &&
      withAddress(::bind, socket.get(), addressOf(directory.get(), "/" + hidden))) {
    for (int number = 0; number < kMaxDaemons; ++number) {
      const std::string name = formatText("%d-%d", ::getpid(), number) + std::string(kSuffix);
      if (renameToNew(directory.get(), hidden.c_str(), directory.get(), name.c_str()) == 0) {
        return std::unique_ptr<NotificationSocket>(
            new NotificationSocket(std::move(directory), name, std::move(socket)));
      }
      if (errno != EEXIST) break;
    }
  }
  problem = formatText("Cannot create a socket in '%s': %s", path.c_str(), std::strerror(errno));
  ::unlinkat(directory.get(), hidden.c_str(), 0);
  return nullptr;
}

NotificationSocket::~NotificationSocket() {
  ::unlinkat(directory_.get(), name_.c_str(), 0);
}

std::vector<std::string> NotificationSocket::takePosts() {
  std::vector<std::string> names;
  for (int count = 0; count < kMaxAtOnce; ++count) {
    char buffer[256];
    iovec content{buffer, sizeof buffer};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred)) + CMSG_SPACE(16 * sizeof(int))];
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t length = ::recvmsg(descriptor(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) break;
    if (!acceptSender(message) || (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) continue;
    std::string_view text(buffer, static_cast<std::size_t>(length));
    if (!text.starts_with(kMark)) continue;
    text.remove_prefix(kMark.size());
    if (isNotificationName(text)) names.emplace_back(text);
  }
  return names;
}

PostResult postNotification(const NotificationDirectories& directories, const std::string& name) {
  PostResult result;
  const std::string datagram = std::string(kMark) + name;
  if (!isNotificationName(name)) {
    result.problem = "'" + safeText(name) + "' is not a valid notification name";
    return result;
  }
  const Descriptor own = openRunDirectory(directories.own, MissingDirectory::Fail, result.problem);
  if (own) postIn(own.get(), ::geteuid(), datagram, result);
  if (!directories.users.empty()) {
    const Descriptor users(
        ::open(directories.users.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (users) {
      forEachName(users.get(), [&](const std::string& user) {
        if (!user.starts_with('.')) postToUser(users.get(), user, datagram, result);
      });
    }
  }
  return result;
}

}  // namespace zorva
