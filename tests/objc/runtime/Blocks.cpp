#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "objc/runtime/Runtime.h"

namespace {

constexpr int onHeap = 1 << 24;
constexpr int withHelpers = 1 << 25;
constexpr int global = 1 << 28;

// What a helper is asked to copy.
constexpr int object = 3;
constexpr int block = 7;
constexpr int variable = 8;
constexpr int kinds = 15;
constexpr int weak = 16;
constexpr int withinVariable = 128;

}  // namespace

using namespace vesk::objc;

extern "C" {
void* _NSConcreteStackBlock[32];
void* _NSConcreteGlobalBlock[32];
static void* concreteHeapBlock[32];
}

namespace vesk::objc {
namespace {

std::atomic_ref<int> countOf(Block* block) { return std::atomic_ref(block->references); }

void copyVariable(SharedVariable** to, SharedVariable* given) {
  SharedVariable* const from = given->forwarding;
  if ((from->flags & onHeap) != 0) {
    ++std::atomic_ref(from->flags);
    *to = from;
    return;
  }
  auto* const made = static_cast<SharedVariable*>(std::malloc(from->size));
  if (made == nullptr) throw std::bad_alloc();
  std::memcpy(made, from, (from->flags & withHelpers) != 0 ? sizeof(SharedVariable) : from->size);
  // One reference of the block's, one of the frame that it was made in.
  made->flags = from->flags | onHeap | 2;
  made->forwarding = made;
  from->forwarding = made;
  if ((from->flags & withHelpers) != 0) made->keep(made, from);
  *to = made;
}

void releaseVariable(SharedVariable* given) {
  constexpr int count = 0xffff;
  SharedVariable* const variable = given->forwarding;
  if ((variable->flags & onHeap) == 0) return;
  if ((--std::atomic_ref(variable->flags) & count) != 0) return;
  if ((variable->flags & withHelpers) != 0) variable->destroy(variable);
  std::free(variable);
}

}  // namespace

bool isBlock(const void* pointer) {
  const void* const isa = static_cast<const Block*>(pointer)->isa;
  return isa == _NSConcreteStackBlock || isa == _NSConcreteGlobalBlock || isa == concreteHeapBlock;
}

void* copyOf(const void* pointer) {
  auto* const from = static_cast<Block*>(const_cast<void*>(pointer));
  if (from == nullptr || (from->flags & global) != 0) return from;
  if ((from->flags & onHeap) != 0) {
    ++countOf(from);
    return from;
  }
  auto* const made = static_cast<Block*>(std::malloc(from->descriptor->size));
  if (made == nullptr) throw std::bad_alloc();
  std::memcpy(static_cast<void*>(made), from, from->descriptor->size);
  made->isa = concreteHeapBlock;
  made->flags |= onHeap;
  made->references = 1;
  if ((made->flags & withHelpers) != 0) made->descriptor->copy(made, from);
  return made;
}

void releaseBlock(const void* pointer) {
  auto* const released = static_cast<Block*>(const_cast<void*>(pointer));
  if (released == nullptr || (released->flags & onHeap) == 0) return;
  if (--countOf(released) != 0) return;
  if ((released->flags & withHelpers) != 0) released->descriptor->dispose(released);
  std::free(released);
}

}  // namespace vesk::objc

extern "C" {

void* _Block_copy(const void* pointer) { return copyOf(pointer); }
void _Block_release(const void* pointer) { releaseBlock(pointer); }
Object* objc_retainBlock(Object* pointer) { return static_cast<Object*>(copyOf(pointer)); }

void _Block_object_assign(void* to, const void* from, int flags) {
  auto* const given = const_cast<void*>(from);
  auto** const place = static_cast<void**>(to);
  // A variable that several blocks share holds nothing by itself.
  if ((flags & withinVariable) != 0 || (flags & weak) != 0) {
    *place = given;
  } else if ((flags & kinds) == variable) {
    copyVariable(static_cast<SharedVariable**>(to), static_cast<SharedVariable*>(given));
  } else if ((flags & kinds) == block) {
    *place = copyOf(from);
  } else if ((flags & kinds) == object) {
    *place = retain(static_cast<Object*>(given));
  }
}

void _Block_object_dispose(const void* from, int flags) {
  auto* const given = const_cast<void*>(from);
  if ((flags & withinVariable) != 0 || (flags & weak) != 0) return;
  if ((flags & kinds) == variable) {
    releaseVariable(static_cast<SharedVariable*>(given));
  } else if ((flags & kinds) == block) {
    releaseBlock(from);
  } else if ((flags & kinds) == object) {
    release(static_cast<Object*>(given));
  }
}
}
