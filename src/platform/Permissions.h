#pragma once

namespace vesk {

/// Thread: any. Owns: nothing. Fails: a question that cannot be asked is answered with "no".
/// What this desktop lets the program do. Every answer is the state at the moment of the call.
class Permissions {
 public:
  virtual ~Permissions() = default;

  /// Whether the screen may be recorded. Never prompts.
  virtual bool preflightScreenCaptureAccess() = 0;

  /// Lets the system put its screen-recording request to the person, where it has one. Returns at
  /// once with the present state.
  virtual bool requestScreenCaptureAccess() = 0;

  /// Whether input events may be posted. Never prompts.
  virtual bool isProcessTrusted() = 0;

  /// The same question, letting the system put its accessibility request to the person, where it
  /// has one and trust is missing. Returns at once with the present state.
  virtual bool isProcessTrustedWithPrompt() = 0;
};

}  // namespace vesk
