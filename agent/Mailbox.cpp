#include "agent/Mailbox.h"

#include <algorithm>
#include <utility>

namespace vesk::agent {

void Mailbox::add(std::string op) {
  ops_.push_back(std::move(op));
  if (ops_.size() > limit) ops_.pop_front();
}

Mailbox::Found Mailbox::take(std::string_view op) {
  const auto found = std::find(ops_.begin(), ops_.end(), op);
  if (found == ops_.end()) return Found::no;
  ops_.erase(ops_.begin(), found + 1);
  return Found::yes;
}

}  // namespace vesk::agent
