#include "platform/linux/portal/input/PersonsSeat.h"

namespace vesk::portal::input {

const LayoutSymbols& PersonsSeat::symbols() {
  auto* const keymap = seat_.keymap();
  if (keymap != mapped_.get()) {
    symbols_ = LayoutSymbols(keymap);
    mapped_.reset(xkb_keymap_ref(keymap));
  }
  return symbols_;
}

}  // namespace vesk::portal::input
