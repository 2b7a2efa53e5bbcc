#include "platform/linux/wayland/server/OutputList.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace vesk::wayland::server {
namespace {

constexpr std::uint32_t outputVersion = 4;
constexpr std::uint32_t managerVersion = 3;

bool isOutput(const Global& global) { return global.interface == wl_output_interface.name; }

bool isTurned(wl_output_transform transform) {
  return transform == WL_OUTPUT_TRANSFORM_90 || transform == WL_OUTPUT_TRANSFORM_270 ||
         transform == WL_OUTPUT_TRANSFORM_FLIPPED_90 ||
         transform == WL_OUTPUT_TRANSFORM_FLIPPED_270;
}

}  // namespace

PixelSize Output::pixels() const {
  return isTurned(transform) ? PixelSize{mode.height, mode.width} : mode;
}

double Output::scale() const {
  return area.width > 0 ? static_cast<double>(pixels().width) / area.width : 1;
}

Rect desktopArea(const std::vector<Output>& outputs) {
  Rect whole = outputs.front().area;
  for (const auto& output : outputs) {
    const Rect& area = output.area;
    const double right = std::max(whole.origin.x + whole.width, area.origin.x + area.width);
    const double bottom = std::max(whole.origin.y + whole.height, area.origin.y + area.height);
    whole.origin = {std::min(whole.origin.x, area.origin.x),
                    std::min(whole.origin.y, area.origin.y)};
    whole.width = right - whole.origin.x;
    whole.height = bottom - whole.origin.y;
  }
  return whole;
}

/// What has been told of an output is taken for true once the compositor says that it is all.
struct OutputList::Entry {
  OutputList& list;
  Proxy<wl_output> proxy;
  Proxy<zxdg_output_v1> xdg = nullptr;
  Output told{};
  std::optional<Output> known = std::nullopt;

  void listen();
  void listenToArea(zxdg_output_manager_v1* manager);

  void accept() {
    if (told.mode.width <= 0 || told.area.width <= 0 || known == told) return;
    known = told;
    if (list.onChange) list.onChange();
  }
};

void OutputList::Entry::listen() {
  static constexpr wl_output_listener listener{
      [](void* self, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
         std::int32_t, const char*, const char*, std::int32_t transform) {
        static_cast<Entry*>(self)->told.transform = static_cast<wl_output_transform>(transform);
      },
      [](void* self, wl_output*, std::uint32_t flags, std::int32_t width, std::int32_t height,
         std::int32_t) {
        if ((flags & WL_OUTPUT_MODE_CURRENT) != 0)
          static_cast<Entry*>(self)->told.mode = {width, height};
      },
      [](void* self, wl_output*) { static_cast<Entry*>(self)->accept(); },
      [](void* self, wl_output*, std::int32_t scale) {
        static_cast<Entry*>(self)->told.bufferScale = scale;
      },
      [](void*, wl_output*, const char*) {},
      [](void*, wl_output*, const char*) {}};
  wl_output_add_listener(proxy.get(), &listener, this);
}

/// Older compositors end the description by an event of its own, newer ones by the output's.
void OutputList::Entry::listenToArea(zxdg_output_manager_v1* manager) {
  xdg.reset(zxdg_output_manager_v1_get_xdg_output(manager, proxy.get()));
  static constexpr zxdg_output_v1_listener listener{
      [](void* self, zxdg_output_v1*, std::int32_t x, std::int32_t y) {
        static_cast<Entry*>(self)->told.area.origin = {static_cast<double>(x),
                                                       static_cast<double>(y)};
      },
      [](void* self, zxdg_output_v1*, std::int32_t width, std::int32_t height) {
        static_cast<Entry*>(self)->told.area.width = width;
        static_cast<Entry*>(self)->told.area.height = height;
      },
      [](void* self, zxdg_output_v1*) { static_cast<Entry*>(self)->accept(); },
      [](void*, zxdg_output_v1*, const char*) {}, [](void*, zxdg_output_v1*, const char*) {}};
  zxdg_output_v1_add_listener(xdg.get(), &listener, this);
}

OutputList::OutputList(Connection& connection)
    : connection_(connection),
      manager_(connection.bind<zxdg_output_manager_v1>(zxdg_output_manager_v1_interface,
                                                       managerVersion)) {
  if (!connection_ || manager_ == nullptr) return;
  for (const auto& global : std::vector(connection_.globals())) add(global);
  connection_.onOffered = [this](const Global& global) { add(global); };
  connection_.onGone = [this](const Global& global) { remove(global); };
  connection_.settle(Connection::Clock::now() + Connection::patience);
}

OutputList::~OutputList() {
  connection_.onOffered = nullptr;
  connection_.onGone = nullptr;
}

void OutputList::add(const Global& global) {
  if (!isOutput(global)) return;
  auto* const proxy = connection_.bind<wl_output>(global, wl_output_interface, outputVersion);
  auto& entry = entries_.emplace_back(new Entry{*this, Proxy<wl_output>(proxy)});
  entry->told.id = global.name;
  entry->listen();
  entry->listenToArea(manager_.get());
}

void OutputList::remove(const Global& global) {
  if (!isOutput(global)) return;
  std::erase_if(entries_, [&](const auto& entry) { return entry->told.id == global.name; });
  if (onChange) onChange();
}

std::vector<Output> OutputList::current() const {
  std::vector<Output> all;
  for (const auto& entry : entries_) {
    if (entry->known) all.push_back(*entry->known);
  }
  return all;
}

std::optional<Output> OutputList::find(DisplayId id) const {
  const auto all = current();
  const auto found = std::ranges::find(all, id, &Output::id);
  return found == all.end() ? std::nullopt : std::optional(*found);
}

std::optional<Output> OutputList::main(DisplayId watched) const {
  if (const auto found = find(watched)) return found;
  const auto all = current();
  if (all.empty()) return std::nullopt;
  const auto atOrigin =
      std::ranges::find_if(all, [](const Output& output) { return output.area.origin == Point{}; });
  return atOrigin == all.end() ? all.front() : *atOrigin;
}

wl_output* OutputList::proxy(DisplayId id) const {
  const auto found =
      std::ranges::find_if(entries_, [&](const auto& entry) { return entry->told.id == id; });
  return found == entries_.end() ? nullptr : (*found)->proxy.get();
}

}  // namespace vesk::wayland::server
