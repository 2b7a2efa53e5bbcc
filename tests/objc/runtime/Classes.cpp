#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "objc/runtime/Runtime.h"

namespace vesk::objc {
namespace {

using MethodTable = std::unordered_map<const char*, Implementation>;

/// Of classes whose objects are written into the program, by the compiler or by hand.
constexpr std::string_view staticClasses[] = {"NSConstantString", "VeskTaggedString", "VeskBoolean",
                                              "VeskMainQueue"};
constexpr unsigned long metaFlag = 1;
constexpr unsigned long staticFlag = 1UL << 32;

struct Registry {
  std::unordered_set<std::string_view> names;
  std::unordered_map<std::string_view, Class*> classes;
  std::unordered_set<const void*> known;  ///< classes and their metaclasses
};

/// Never destroyed: threads may outlive what the end of the program takes apart.
Registry& registry() {
  static Registry& only = *new Registry;
  return only;
}

const char* unique(const char* name) { return registry().names.insert(name).first->data(); }

void add(MethodTable& table, const MethodList* list) {
  for (; list != nullptr; list = list->next) {
    const auto* const methods = reinterpret_cast<const Method*>(list + 1);
    for (int i = 0; i < list->count; ++i) {
      table[unique(methods[i].selector->name)] = methods[i].implementation;
    }
  }
}

MethodTable& tableOf(Class* of) { return *static_cast<MethodTable*>(of->table); }

/// Where the class above is larger than the compiler knew, everything moves up.
void placeIvars(Class* loaded) {
  constexpr long alignment = 16;
  const long end = loaded->above == nullptr ? 0 : loaded->above->instanceSize;
  const long start = (end + alignment - 1) / alignment * alignment;
  loaded->instanceSize = start - loaded->instanceSize;
  if (loaded->ivars == nullptr) return;
  auto* const ivars = reinterpret_cast<Ivar*>(loaded->ivars + 1);
  for (int i = 0; i < loaded->ivars->count; ++i) *ivars[i].offset += static_cast<int>(start);
}

void load(Class* loaded) {
  if (loaded->table != nullptr) return;
  if (loaded->above != nullptr) load(loaded->above);
  Class* const meta = loaded->isa;
  meta->above = loaded->above == nullptr ? loaded : loaded->above->isa;
  meta->isa = loaded->above == nullptr ? meta : loaded->above->isa->isa;
  for (Class* each : {loaded, meta}) {
    each->table = new MethodTable;
    add(tableOf(each), each->methods);
    registry().known.insert(each);
  }
  placeIvars(loaded);
  for (const auto name : staticClasses) {
    if (name == loaded->name) loaded->info |= staticFlag;
  }
  registry().classes[loaded->name] = loaded;
}

Implementation found(const Class* of, const char* selector) {
  for (; of != nullptr; of = of->above) {
    const auto& table = *static_cast<const MethodTable*>(of->table);
    if (const auto method = table.find(selector); method != table.end()) return method->second;
  }
  return nullptr;
}

Implementation answer(const Class* of, const Selector* selector) {
  if (const auto method = found(of, selector->name)) return method;
  const char kind = (of->info & metaFlag) != 0 ? '+' : '-';
  std::fprintf(stderr, "%c[%s %s] is not implemented\n", kind, of->name, selector->name);
  std::abort();
}

Object* nothing(Object*, Selector*) { return nullptr; }

}  // namespace

bool isStatic(const Class* of) { return (of->info & (metaFlag | staticFlag)) != 0; }

bool isKind(const Class* of, const Class* kind) {
  while (of != nullptr && of != kind) of = of->above;
  return of != nullptr;
}

bool isObject(const void* pointer) {
  return isBlock(pointer) || registry().known.contains(static_cast<const Object*>(pointer)->isa);
}

/// Short texts are written into the reference itself, whose lowest bits then say so.
Class* classOf(Object* object) {
  constexpr std::uintptr_t tag = 7;
  static Class* const tagged = classNamed("VeskTaggedString");
  return (reinterpret_cast<std::uintptr_t>(object) & tag) != 0 ? tagged : object->isa;
}

Class* classNamed(const char* name) {
  const auto entry = registry().classes.find(name);
  return entry == registry().classes.end() ? nullptr : entry->second;
}

Implementation implementationOf(Class* of, const char* selector) {
  const auto method = tableOf(of).find(unique(selector));
  return method == tableOf(of).end() ? nullptr : method->second;
}

}  // namespace vesk::objc

using namespace vesk::objc;

extern "C" {

void __objc_load(Load* program) {
  for (auto* each = program->selectors; each < program->selectorsEnd; ++each) {
    if (each->name != nullptr) each->name = unique(each->name);
  }
  for (auto* each = program->classes; each < program->classesEnd; ++each) {
    if (*each != nullptr) load(*each);
  }
  for (auto* each = program->categories; each < program->categoriesEnd; ++each) {
    if (each->name == nullptr) continue;
    Class* const extended = classNamed(each->className);
    add(tableOf(extended), each->instanceMethods);
    add(tableOf(extended->isa), each->classMethods);
  }
}

/// Messages to nil are answered by zero; where that does not fit a register, the compiler sends
/// none.
Slot* objc_msg_lookup_sender(Object** receiver, Selector* selector, Object*) {
  thread_local Slot slot{};
  slot.method = *receiver == nullptr ? reinterpret_cast<Implementation>(nothing)
                                     : answer(classOf(*receiver), selector);
  return &slot;
}

Implementation objc_msg_lookup_super(Super* super, Selector* selector) {
  return answer(super->above, selector);
}

void objc_enumerationMutation(Object*) {
  std::fputs("a collection was changed while it was gone through\n", stderr);
  std::abort();
}
}
