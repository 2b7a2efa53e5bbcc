#pragma once

#include "platform/Descriptor.h"

namespace vesk {

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) into a readable
/// descriptor, so that they are dealt with between other things. No blocking call is cut short by
/// one. Also keeps SIGPIPE from ending the process: a reader that is gone is an ordinary error
/// here.
///
/// Thread: the main one; at most one object at a time. Owns: the pipe. Fails: throws
/// std::system_error when the system has no pipe to give.
class SignalPipe {
 public:
  SignalPipe();
  ~SignalPipe();
  SignalPipe(const SignalPipe&) = delete;
  SignalPipe& operator=(const SignalPipe&) = delete;

  /// Readable once such a signal has come.
  int descriptor() const { return in_.get(); }

 private:
  Descriptor in_;
  Descriptor out_;
};

}  // namespace vesk
