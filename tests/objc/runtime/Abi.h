#pragma once

/// What the compiler writes into a program for classes, messages and blocks, and reads of what is
/// here: the layout is its own (`-fobjc-runtime=gnustep-2.0`), and only the names are ours.
namespace vesk::objc {

using Implementation = void (*)();

struct Selector {
  const char* name;  ///< once loaded, the same address for the same name
  const char* types;
};

struct Method {
  Implementation implementation;
  Selector* selector;
  const char* types;
};

/// The methods follow it.
struct MethodList {
  MethodList* next;
  int count;
  long methodSize;
};

struct Ivar {
  const char* name;
  const char* type;
  int* offset;  ///< before the class is loaded, counted from the end of the class above
  unsigned size;
  unsigned flags;
};

/// The instance variables follow it.
struct IvarList {
  int count;
  long ivarSize;
};

struct Class {
  Class* isa;
  Class* above;
  const char* name;
  long version;
  unsigned long info;
  long instanceSize;  ///< before the class is loaded, its own part alone, and negative
  IvarList* ivars;
  MethodList* methods;
  void* table;  ///< a `MethodTable`, once it is loaded
  void* unused[5];
  void* extra;
  long abiVersion;
  void* properties;
};

struct Category {
  const char* name;
  const char* className;
  MethodList* instanceMethods;
  MethodList* classMethods;
  void* protocols;
  void* properties;
  void* classProperties;
};

struct Object {
  Class* isa;
};

struct Super {
  Object* receiver;
  Class* above;
};

struct Slot {
  Class* owner;
  Class* cachedFor;
  const char* types;
  int version;
  Implementation method;
};

/// Where the parts of a program lie. A part that would be empty holds one element of zeros.
struct Load {
  unsigned long version;
  Selector* selectors;
  Selector* selectorsEnd;
  Class** classes;
  Class** classesEnd;
  Class** classReferences;
  Class** classReferencesEnd;
  Category* categories;
  Category* categoriesEnd;
};

struct BlockDescriptor {
  unsigned long reserved;
  unsigned long size;
  void (*copy)(void* to, const void* from);
  void (*dispose)(const void* block);
};

struct Block {
  void* isa;
  int flags;
  int references;
  void (*invoke)();
  BlockDescriptor* descriptor;
};

/// A variable of the kind __block.
struct SharedVariable {
  void* isa;
  SharedVariable* forwarding;
  int flags;
  unsigned size;
  void (*keep)(SharedVariable* to, SharedVariable* from);
  void (*destroy)(SharedVariable* variable);
};

}  // namespace vesk::objc
