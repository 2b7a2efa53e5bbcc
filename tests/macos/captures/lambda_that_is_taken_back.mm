// refused: a lambda that is kept and captures this, a reference or a pointer
#include <functional>

struct Gate {
  std::function<void()> onClose;
};

class Guard {
 public:
  explicit Guard(Gate& gate) : gate_(gate) {
#ifdef MISTAKE
    gate_.onClose = [this] { ++closed_; };
#else
    // captures: the destructor takes it back.
    gate_.onClose = [this] { ++closed_; };
#endif
  }
  ~Guard() { gate_.onClose = nullptr; }

 private:
  Gate& gate_;
  int closed_ = 0;
};

void guard(Gate& gate) { const Guard guarding(gate); }
