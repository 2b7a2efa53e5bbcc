#pragma once

#include <exception>
#include <string>
#include <utility>

namespace vesk {

/// A capture that cannot begin; the message is a plain sentence for the person at the screen.
class CaptureError final : public std::exception {
 public:
  explicit CaptureError(std::string text) : message(std::move(text)) {}

  const char* what() const noexcept override { return message.c_str(); }

  std::string message;
};

}  // namespace vesk
