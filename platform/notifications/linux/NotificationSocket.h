// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/notifications/linux/NotificationDirectories.h"

namespace zorva {

/// The socket on which one daemon receives posts: "PID-NUMBER.socket" in its run directory.
///
/// A post is one datagram, "ZVN1" and the name. The kernel supplies the sender's credentials: only
/// posts of root and of this process's effective user are accepted.
class NotificationSocket {
 public:
  /// Creates the run directory if it is missing, and removes the sockets of dead daemons. Returns
  /// null on failure, with the reason in `problem`.
  static std::unique_ptr<NotificationSocket> make(const std::string& directory,
                                                  std::string& problem);
  NotificationSocket(const NotificationSocket&) = delete;
  NotificationSocket& operator=(const NotificationSocket&) = delete;
  /// Removes the socket from the directory.
  ~NotificationSocket();

  int descriptor() const { return socket_.get(); }

  /// Receives at most 64 pending datagrams, and returns their names in order. Datagrams of other
  /// users, and those that are not posts, are dropped. Never blocks.
  std::vector<std::string> takePosts();

 private:
  NotificationSocket(Descriptor directory, std::string name, Descriptor socket)
      : directory_(std::move(directory)), name_(std::move(name)), socket_(std::move(socket)) {}

  Descriptor directory_;
  std::string name_;
  Descriptor socket_;
};

/// The result of a post.
struct PostResult {
  int delivered = 0;  ///< daemons whose queue accepted it
  int full = 0;       ///< daemons of our own user whose queue is full
  std::string
      problem;  ///< why our own run directory cannot be used; empty if it can, or is missing
};

/// Posts the name to every reachable daemon, and removes the sockets of dead ones. Never blocks,
/// and sends nothing but the datagram to another user's socket.
PostResult postNotification(const NotificationDirectories& directories, const std::string& name);

}  // namespace zorva
