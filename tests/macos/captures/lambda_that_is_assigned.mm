// refused: a lambda that is kept and captures this, a reference or a pointer
#include <functional>
#include <memory>

struct Gate {
  std::function<void()> onClose;
};

void count(Gate& gate) {
  const auto count = std::make_shared<int>(0);
#ifdef MISTAKE
  gate.onClose = [&count] { ++*count; };
#else
  gate.onClose = [count] { ++*count; };
#endif
}
