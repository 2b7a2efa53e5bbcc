#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "objc/runtime/Runtime.h"

namespace vesk::objc {
namespace {

/// Stands before every object; keeps its alignment.
struct alignas(16) Header {
  std::atomic<long> references{1};
};

Header& headerOf(Object* object) { return *(reinterpret_cast<Header*>(object) - 1); }

struct Books {
  std::mutex mutex;
  std::map<std::string, long> alive;
  std::unordered_map<Object*, std::set<Object**>> weak;
  std::unordered_map<Object*, std::map<const void*, Object*>> associated;
};

Books& books() {
  static Books& only = *new Books;
  return only;
}

void note(const Class* of, long change) {
  const std::lock_guard lock(books().mutex);
  books().alive[of->name] += change;
}

using Step = Object* (*)(Object*, Selector*);

void construct(Class* of, Object* object) {
  if (of == nullptr) return;
  construct(of->above, object);
  const auto step = reinterpret_cast<Step>(implementationOf(of, ".cxx_construct"));
  if (step != nullptr) step(object, nullptr);
}

bool isCounted(Object* object) {
  constexpr std::uintptr_t tag = 7;
  if (object == nullptr || (reinterpret_cast<std::uintptr_t>(object) & tag) != 0) return false;
  return !isStatic(object->isa);
}

/// While an object is taken apart it may be handed around, and that neither keeps nor ends it.
constexpr long dying = 1L << 40;

bool isDying(Object* object) {
  const long count = headerOf(object).references;
  return count <= 0 || count > dying / 2;
}

/// Weak references see nothing from here on; what reads one right now has the object still, or not.
void forgetWeak(Object* object) {
  const std::lock_guard lock(books().mutex);
  headerOf(object).references = dying;
  const auto entry = books().weak.find(object);
  if (entry == books().weak.end()) return;
  for (Object** reference : entry->second) *reference = nullptr;
  books().weak.erase(entry);
}

/// What an object was made to hold ends behind it.
void releaseAssociated(Object* object) {
  std::map<const void*, Object*> held;
  {
    const std::lock_guard lock(books().mutex);
    auto entry = books().associated.extract(object);
    if (!entry.empty()) held = std::move(entry.mapped());
  }
  for (const auto& each : held) release(each.second);
}

void dealloc(Object* object) {
  static Selector selector{nullptr, nullptr};
  for (Class* of = object->isa; of != nullptr; of = of->above) {
    const auto method = implementationOf(of, "dealloc");
    if (method == nullptr) continue;
    reinterpret_cast<void (*)(Object*, Selector*)>(method)(object, &selector);
    return;
  }
}

/// The autorelease pools of a thread, one inside the other.
struct Pools {
  ~Pools() { popTo(0); }
  void popTo(std::size_t size) {
    while (waiting.size() > size) {
      Object* const object = waiting.back();
      waiting.pop_back();
      release(object);
    }
  }
  std::vector<Object*> waiting;
};
thread_local Pools pools;

}  // namespace

Object* makeObject(Class* of) {
  const auto size = static_cast<std::size_t>(of->instanceSize);
  void* const memory = std::calloc(1, sizeof(Header) + size);
  if (memory == nullptr) throw std::bad_alloc();
  auto* const object = reinterpret_cast<Object*>(new (memory) Header + 1);
  object->isa = of;
  construct(of, object);
  note(of, 1);
  return object;
}

void destroyObject(Object* object) {
  for (Class* of = object->isa; of != nullptr; of = of->above) {
    const auto step = reinterpret_cast<Step>(implementationOf(of, ".cxx_destruct"));
    if (step != nullptr) step(object, nullptr);
  }
  releaseAssociated(object);
  note(object->isa, -1);
  std::free(&headerOf(object));
}

Object* retain(Object* object) {
  if (object == nullptr) return nullptr;
  if (isCounted(object)) {
    if (isBlock(object)) return static_cast<Object*>(copyOf(object));
    ++headerOf(object).references;
  }
  return object;
}

void release(Object* object) {
  if (!isCounted(object)) return;
  if (isBlock(object)) return releaseBlock(object);
  if (--headerOf(object).references > 0) return;
  forgetWeak(object);
  dealloc(object);
}

long references(Object* object) {
  return isCounted(object) ? headerOf(object).references.load() : -1;
}

long aliveOf(const std::string& className) {
  const std::lock_guard lock(books().mutex);
  const auto entry = books().alive.find(className);
  return entry == books().alive.end() ? 0 : entry->second;
}

std::map<std::string, long> census() {
  const std::lock_guard lock(books().mutex);
  auto counts = books().alive;
  std::erase_if(counts, [](const auto& entry) { return entry.second == 0; });
  return counts;
}

std::size_t waitingInPools() { return pools.waiting.size(); }

}  // namespace vesk::objc

using namespace vesk::objc;

extern "C" {

Object* objc_retain(Object* object) { return retain(object); }
void objc_release(Object* object) { release(object); }

Object* objc_autorelease(Object* object) {
  if (isCounted(object)) pools.waiting.push_back(object);
  return object;
}

Object* objc_retainAutorelease(Object* object) { return objc_autorelease(retain(object)); }
Object* objc_autoreleaseReturnValue(Object* object) { return objc_autorelease(object); }
Object* objc_retainAutoreleaseReturnValue(Object* object) { return objc_retainAutorelease(object); }
Object* objc_retainAutoreleasedReturnValue(Object* object) { return retain(object); }
Object* objc_unsafeClaimAutoreleasedReturnValue(Object* object) { return object; }

void* objc_autoreleasePoolPush() { return reinterpret_cast<void*>(pools.waiting.size()); }
void objc_autoreleasePoolPop(void* pool) { pools.popTo(reinterpret_cast<std::size_t>(pool)); }

/// Of the policies, the one that retains.
void objc_setAssociatedObject(Object* object, const void* key, Object* value, std::uintptr_t) {
  retain(value);
  Object* before = nullptr;
  {
    const std::lock_guard lock(books().mutex);
    before = std::exchange(books().associated[object][key], value);
  }
  release(before);
}

void objc_storeStrong(Object** place, Object* object) {
  Object* const before = *place;
  *place = retain(object);
  release(before);
}

Object* objc_storeWeak(Object** place, Object* object) {
  const std::lock_guard lock(books().mutex);
  auto& weak = books().weak;
  if (*place != nullptr && weak.contains(*place)) weak[*place].erase(place);
  if (isCounted(object) && isDying(object)) object = nullptr;
  if (isCounted(object)) weak[object].insert(place);
  return *place = object;
}

Object* objc_initWeak(Object** place, Object* object) {
  *place = nullptr;
  return objc_storeWeak(place, object);
}

void objc_destroyWeak(Object** place) { objc_storeWeak(place, nullptr); }

Object* objc_loadWeakRetained(Object** place) {
  const std::lock_guard lock(books().mutex);
  Object* const object = *place;
  if (!isCounted(object)) return object;
  auto& references = headerOf(object).references;
  long now = references;
  while (now > 0 && now < dying / 2 && !references.compare_exchange_weak(now, now + 1)) {
  }
  return now > 0 && now < dying / 2 ? object : nullptr;
}

Object* objc_loadWeak(Object** place) { return objc_autorelease(objc_loadWeakRetained(place)); }

void objc_copyWeak(Object** to, Object** from) {
  Object* const object = objc_loadWeakRetained(from);
  objc_initWeak(to, object);
  release(object);
}

void objc_moveWeak(Object** to, Object** from) {
  objc_copyWeak(to, from);
  objc_destroyWeak(from);
}
}
