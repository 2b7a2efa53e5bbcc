#pragma once

#include <map>
#include <string>

#include "objc/runtime/Abi.h"

/// As much of an Objective-C runtime as the Mac's sources need to run in tests: classes,
/// categories, messages, counted references, weak ones, autorelease pools, blocks and exceptions.
///
/// Every class is loaded before `main`, and nothing changes one afterwards, so that messages need
/// no lock. Thread: any. Fails: a message that nobody answers ends the process; a reference
/// that is let go of too often is a use of freed memory, which AddressSanitizer tells of.
namespace vesk::objc {

/// A new object, its C++ parts constructed, with one reference.
Object* makeObject(Class* of);

/// The end of an object's C++ parts and of its memory.
void destroyObject(Object* object);

bool isKind(const Class* of, const Class* kind);
bool isObject(const void* pointer);
Class* classOf(Object* object);
Class* classNamed(const char* name);
Implementation implementationOf(Class* of, const char* selector);

Object* retain(Object* object);
void release(Object* object);

long references(Object* object);

/// How many objects there are of exactly that class.
long aliveOf(const std::string& className);

/// The same of every class that has any.
std::map<std::string, long> census();

/// How many objects the pools of this thread will let go of.
std::size_t waitingInPools();

void* copyOf(const void* block);
void releaseBlock(const void* block);

/// Blocks have no class that messages could be sent to.
bool isBlock(const void* object);

/// Objects of this class are part of the program and are never counted.
bool isStatic(const Class* of);

}  // namespace vesk::objc
