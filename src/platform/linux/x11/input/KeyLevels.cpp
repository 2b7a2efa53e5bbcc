#include "platform/linux/x11/input/KeyLevels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <set>
#include <tuple>

#include "platform/linux/x11/server/Xkb.h"

namespace vesk::x11::input {
namespace {

/// Shift, and the two that the third and fifth levels are commonly reached by.
constexpr XModifiers ofText = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_3 | XCB_MOD_MASK_5;

std::vector<KeyType::Entry> reachedByText(const KeyType& type) {
  std::vector<KeyType::Entry> reached;
  std::set<XModifiers> seen;
  const auto add = [&](KeyType::Entry entry) {
    // Where a virtual modifier has no key, entries of the same modifiers can follow each other: the
    // first one counts.
    if (!seen.insert(entry.modifiers).second) return;
    if (std::ranges::find(reached, entry.level, &KeyType::Entry::level) == reached.end())
      reached.push_back(entry);
  };
  for (const auto& entry : type.entries)
    if ((entry.modifiers & ~ofText) == 0 && entry.level < type.width) add(entry);
  add({});
  std::ranges::stable_sort(
      reached, {}, [](const KeyType::Entry& entry) { return std::popcount(entry.modifiers); });
  return reached;
}

KeyType keyTypeOf(const xcb_xkb_key_type_t& wire) {
  KeyType type{.width = wire.numLevels, .entries = {}};
  for (auto entries = xcb_xkb_key_type_map_iterator(&wire); entries.rem > 0;
       xcb_xkb_kt_map_entry_next(&entries)) {
    if (entries.data->active != 0)
      type.entries.push_back({entries.data->mods_mask, entries.data->level});
  }
  return type;
}

/// The keys of one request as it carries them.
class WireKeys {
 public:
  void add(const KeyLevels& levels, std::span<const xcb_keysym_t> symbols) {
    xcb_xkb_key_sym_map_t key{};
    std::vector<xcb_keysym_t> row;
    if (!symbols.empty()) {
      std::ranges::fill(key.kt_index, levels.type);
      key.groupInfo = 1;
      key.width = levels.width;
      row.resize(levels.width, XCB_NO_SYMBOL);
      for (std::size_t i = 0; i < std::min(symbols.size(), levels.reached.size()); ++i)
        row[levels.reached[i].level] = symbols[i];
    }
    key.nSyms = static_cast<std::uint16_t>(row.size());
    append(&key, sizeof(key));
    append(row.data(), row.size() * sizeof(row[0]));
    ++keys_;
    symbols_ += row.size();
  }

  std::size_t keys() const { return keys_; }

  xcb_void_cookie_t sendFrom(xcb_keycode_t first, const server::Connection& connection) const {
    const auto* setup = xcb_get_setup(connection.get());
    return xcb_xkb_set_map_checked(
        connection.get(), server::coreKeyboard, XCB_XKB_MAP_PART_KEY_SYMS, 0, setup->min_keycode,
        setup->max_keycode, 0, 0, first, static_cast<std::uint8_t>(keys_),
        static_cast<std::uint16_t>(symbols_), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        bytes_.data());
  }

 private:
  void append(const void* data, std::size_t size) {
    if (size == 0) return;
    const auto* bytes = static_cast<const std::byte*>(data);
    bytes_.insert(bytes_.end(), bytes, bytes + size);
  }

  std::vector<std::byte> bytes_;
  std::size_t keys_ = 0;
  std::size_t symbols_ = 0;
};

/// Every request makes every program read the map anew, so neighbours share one. What lies between
/// others is left out of it: their keyboards may differ there.
std::vector<xcb_void_cookie_t> send(const server::Connection& connection, const KeyLevels& levels,
                                    const KeySymbols& symbols) {
  std::vector<xcb_void_cookie_t> sent;
  for (auto next = symbols.begin(); next != symbols.end();) {
    const xcb_keycode_t first = next->first;
    WireKeys keys;
    for (; next != symbols.end() && next->first == first + keys.keys(); ++next)
      keys.add(levels, next->second);
    sent.push_back(keys.sendFrom(first, connection));
  }
  return sent;
}

}  // namespace

KeyLevels mostLevels(std::span<const KeyType> types) {
  const auto goodness = [](const KeyLevels& levels) {
    return std::tuple(levels.reached.size(), -static_cast<int>(levels.width));
  };
  KeyLevels best = KeyLevels::single();
  for (std::size_t i = 0; i < types.size(); ++i) {
    KeyLevels levels{.type = static_cast<std::uint8_t>(i),
                     .width = types[i].width,
                     .reached = reachedByText(types[i])};
    if (goodness(levels) > goodness(best)) best = std::move(levels);
  }
  return best;
}

std::vector<KeyType> keyTypes(const server::Connection& connection) {
  const auto request =
      xcb_xkb_get_map(connection.get(), server::coreKeyboard, XCB_XKB_MAP_PART_KEY_TYPES, 0, 0, 0,
                      0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  const server::ReplyPtr<xcb_xkb_get_map_reply_t> reply(
      xcb_xkb_get_map_reply(connection.get(), request, nullptr));
  if (reply == nullptr || (reply->present & XCB_XKB_MAP_PART_KEY_TYPES) == 0) return {};
  xcb_xkb_get_map_map_t map{};
  xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                             reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                             reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                             reply->totalVModMapKeys, reply->present, &map);
  std::vector<KeyType> types;
  for (auto type = xcb_xkb_get_map_map_types_rtrn_iterator(reply.get(), &map); type.rem > 0;
       xcb_xkb_key_type_next(&type))
    types.push_back(keyTypeOf(*type.data));
  return types;
}

bool mapKeys(const server::Connection& connection, const KeyLevels& levels,
             const KeySymbols& symbols) {
  bool taken = true;
  // The answer about the last one is there when those about the others are.
  auto requests = send(connection, levels, symbols);
  std::ranges::reverse(requests);
  for (const auto request : requests) {
    const server::ReplyPtr<xcb_generic_error_t> error(xcb_request_check(connection.get(), request));
    taken = taken && error == nullptr;
  }
  return taken;
}

void unmapKeys(const server::Connection& connection, std::span<const xcb_keycode_t> keycodes) {
  KeySymbols nothing;
  for (const auto keycode : keycodes) nothing[keycode];
  for (const auto request : send(connection, KeyLevels::single(), nothing))
    xcb_discard_reply(connection.get(), request.sequence);
}

}  // namespace vesk::x11::input
