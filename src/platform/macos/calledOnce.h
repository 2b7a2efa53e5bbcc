#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace vesk::mac {

/// `function` for its first call; further ones, of copies too, do nothing. For a completion that a
/// framework may have taken before it throws: then both say how it went. Thread: any.
template <typename... Arguments>
std::function<void(Arguments...)> calledOnce(std::function<void(Arguments...)> function) {
  return [function = std::move(function),
          called = std::make_shared<std::atomic<bool>>(false)](Arguments... arguments) {
    if (!called->exchange(true)) function(std::forward<Arguments>(arguments)...);
  };
}

}  // namespace vesk::mac
