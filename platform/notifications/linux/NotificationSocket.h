// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/notifications/linux/NotificationDirectories.h"

namespace zorva {

/// The socket on which one daemon hears what is posted: "PID-NUMBER.socket" in its run directory.
///
/// A post is one datagram, "ZVN1" and the name. The kernel vouches for the sender: only root and
/// the effective user of this process are heard.
class NotificationSocket {
 public:
  /// Makes the run directory where it is missing, and clears it of the sockets of dead daemons.
  /// Nothing on failure, with the reason in `problem`.
  static std::unique_ptr<NotificationSocket> make(const std::string& directory,
                                                  std::string& problem);
  NotificationSocket(const NotificationSocket&) = delete;
  NotificationSocket& operator=(const NotificationSocket&) = delete;
  /// Removes the socket from the directory.
  ~NotificationSocket();

  int descriptor() const { return socket_.get(); }

  /// Takes what has arrived, at most 64 datagrams, and returns the names in order. What comes from
  /// another user or is no post of a name is dropped. Never blocks.
  std::vector<std::string> takePosts();

 private:
  NotificationSocket(Descriptor directory, std::string name, Descriptor socket)
      : directory_(std::move(directory)), name_(std::move(name)), socket_(std::move(socket)) {}

  Descriptor directory_;
  std::string name_;
  Descriptor socket_;
};

/// What became of a post.
struct PostResult {
  int delivered = 0;  ///< daemons whose queue took it
  int full = 0;       ///< daemons of our own user that do not empty their queue
  std::string
      problem;  ///< why the own run directory cannot be used; empty when it is fine or missing
};

/// Posts the name to every daemon within reach, and removes the sockets of dead ones. Never blocks,
/// and a socket of another user gets no more than the datagram.
PostResult postNotification(const NotificationDirectories& directories, const std::string& name);

}  // namespace zorva
