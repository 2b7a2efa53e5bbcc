#pragma once

namespace vesk::agent {

/// A connection that anybody on this machine may have made.
class PageGuest {
 public:
  virtual ~PageGuest() = default;

  /// Makes room for others; nothing for the viewer whose key was right.
  virtual void showOut() = 0;

  /// The agent ends.
  virtual void end() = 0;
};

}  // namespace vesk::agent
