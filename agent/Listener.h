#pragma once

#include <sys/types.h>

#include <string>

#include "platform/Descriptor.h"

namespace vesk::agent {

/// The socket at which the program finds the agent.
///
/// Thread: one. Owns: the listening socket and its file, which is gone at the end of the object's
/// life, unless somebody has put another one in its place. Everybody may connect: the agent is
/// usually root, the program runs as the person at the screen. Fails: the constructor throws
/// std::runtime_error with a sentence when it cannot listen, also when another agent answers there;
/// a socket that nobody answers at any more is replaced.
class Listener {
 public:
  explicit Listener(std::string path);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  int descriptor() const { return socket_.get(); }

  /// The next waiting program, in non-blocking mode; none when it has given up meanwhile.
  Descriptor accept() const;

 private:
  void bind();
  void removeStaleSocket() const;

  std::string path_;
  Descriptor socket_;
  dev_t device_ = 0;  ///< with `file_`: which file is ours
  ino_t file_ = 0;
};

}  // namespace vesk::agent
