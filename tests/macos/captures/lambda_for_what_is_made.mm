// refused: a lambda that is kept and captures this, a reference or a pointer
#include <functional>
#include <memory>
#include <utility>

struct Held {
  explicit Held(std::function<void()> given) : handler(std::move(given)) {}
  std::function<void()> handler;
};

std::unique_ptr<Held> counting() {
  const auto count = std::make_shared<int>(0);
#ifdef MISTAKE
  return std::make_unique<Held>([&] { ++*count; });
#else
  return std::make_unique<Held>([count] { ++*count; });
#endif
}
