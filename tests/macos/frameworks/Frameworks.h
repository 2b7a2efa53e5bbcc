#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <CoreMedia/CoreMedia.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Stand-ins for the C frameworks of a Mac, so that what this project's Mac platform does with them
/// can be run and looked at on Linux. They count references, record what is posted, and answer what
/// the test tells them to.
namespace vesk::fakes::mac {

/// Anything that is counted. Thread: any.
struct Object {
  Object() { ++alive; }
  virtual ~Object() { --alive; }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  std::atomic<long> references = 1;
  static inline std::atomic<int> alive = 0;
};

struct Boolean final : Object {
  explicit Boolean(bool given) : value(given) {}
  bool value;
};

struct Dictionary final : Object {
  std::map<const void*, const void*> entries;
};

struct Array final : Object {
  std::vector<const void*> elements;
};

struct EventSource final : Object {
  CGEventSourceStateID state{};
};

/// What is known of an event; what was never set is empty.
struct EventFields {
  CGEventType type{};
  CGPoint location{};
  std::optional<CGMouseButton> button = std::nullopt;
  std::optional<CGKeyCode> key = std::nullopt;
  std::optional<bool> down = std::nullopt;
  std::optional<int> lines = std::nullopt;
  std::optional<CGEventFlags> flags = std::nullopt;
  std::map<CGEventField, std::int64_t> fields = {};
  std::u16string text = {};
  bool hasSource = false;
};

struct Event final : Object {
  EventFields fields;
};

struct BlockBuffer final : Object {
  std::vector<std::uint8_t> bytes;
  OSStatus copyStatus = 0;
};

struct Format final : Object {
  std::vector<std::vector<std::uint8_t>> sets;
  std::optional<std::size_t> unreadable;  ///< the index of a set that cannot be had
};

/// Its parts live as long as the test says.
struct SampleBuffer final : Object {
  BlockBuffer* data = nullptr;
  Array* attachments = nullptr;
  Format* format = nullptr;
};

/// What the system does and has been asked; reset by every test.
struct System {
  std::vector<EventFields> posted;
  std::vector<CGEventTapLocation> taps;
  int sources = 0;
  bool refusesEvents = false;
  CGPoint pointer{};

  CGRect bounds{};
  std::size_t pixelsWide = 0;
  std::size_t pixelsHigh = 0;
  std::optional<std::pair<std::size_t, std::size_t>> mode;

  bool mayRecord = false;
  int recordRequests = 0;
  bool trusted = false;
  std::vector<bool> trustPrompts;
  std::map<CGEventSourceStateID, std::set<CGKeyCode>> heldKeys;

  CMTime now{};

  std::deque<char> pools;        ///< autorelease pools that are open
  bool poolsInDisorder = false;  ///< one was closed that was not the last to be opened
  int questionsWithoutPool = 0;  ///< about permissions
};

System& system();

/// Held while an event is posted.
inline std::mutex postedMutex;

/// The same object as a framework's reference.
template <typename Ref>
Ref as(const Object& object) {
  return reinterpret_cast<Ref>(const_cast<Object*>(&object));
}

}  // namespace vesk::fakes::mac
