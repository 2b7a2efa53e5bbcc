#include "support/WlWindow.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "platform/linux/wayland/server/OutputList.h"
#include "support/Patience.h"

namespace vesk::testing {
namespace {

constexpr std::uint32_t compositorVersion = 4;
constexpr std::size_t bytesPerPixel = 4;

std::size_t pixelCount(PixelSize size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

}  // namespace

/// Pixels that the compositor may be looking at.
struct WlWindow::Buffer {
  Buffer(wl_shm* shm, PixelSize pixels) : size(pixels), count(pixelCount(pixels)) {
    const auto bytes = count * bytesPerPixel;
    const Descriptor file(::memfd_create("window", MFD_CLOEXEC));
    if (::ftruncate(file.get(), static_cast<off_t>(bytes)) != 0)
      throw std::runtime_error("no memory for a window");
    void* const memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no memory for a window");
    data = static_cast<std::uint32_t*>(memory);
    const wayland::server::Proxy<wl_shm_pool> pool(
        wl_shm_create_pool(shm, file.get(), static_cast<std::int32_t>(bytes)));
    const auto width = static_cast<std::int32_t>(size.width);
    proxy.reset(wl_shm_pool_create_buffer(
        pool.get(), 0, width, static_cast<std::int32_t>(size.height),
        width * static_cast<std::int32_t>(bytesPerPixel), WL_SHM_FORMAT_XRGB8888));
    static constexpr wl_buffer_listener listener{
        [](void* self, wl_buffer*) { static_cast<Buffer*>(self)->isFree = true; }};
    wl_buffer_add_listener(proxy.get(), &listener, this);
  }
  ~Buffer() { ::munmap(data, count * bytesPerPixel); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  PixelSize size;
  std::size_t count;
  std::uint32_t* data = nullptr;
  wayland::server::Proxy<wl_buffer> proxy;
  bool isFree = true;
};

WlWindow::WlWindow(WlWindowLook look) : look_(std::move(look)), wake_(::eventfd(0, EFD_CLOEXEC)) {
  if (!connection_) throw std::runtime_error("no compositor");
  compositor_.reset(connection_.bind<wl_compositor>(wl_compositor_interface, compositorVersion));
  shm_.reset(connection_.bind<wl_shm>(wl_shm_interface, 1));
  shell_.reset(connection_.bind<xdg_wm_base>(xdg_wm_base_interface, 1));
  show();
  thread_ = std::thread([this] { run(); });
  std::unique_lock lock(mutex_);
  const bool isShown = waitLocked(lock, [this] {
    const bool isPlaced = look_.place == WlWindowLook::Place::floating || isFullScreen_;
    return isPlaced && !canvas_.empty() && frame_ == nullptr;
  });
  lock.unlock();
  if (isShown) return;
  hang();
  throw std::runtime_error("the window is not shown");
}

WlWindow::~WlWindow() { hang(); }

void WlWindow::hang() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  const std::uint64_t one = 1;
  if (::write(wake_.get(), &one, sizeof(one)) < 0) return;
  thread_.join();
}

void WlWindow::goOn() {
  std::uint64_t woken = 0;
  if (::read(wake_.get(), &woken, sizeof(woken)) < 0) return;
  isOver_ = false;
  thread_ = std::thread([this] { run(); });
}

void WlWindow::show() {
  surface_.reset(wl_compositor_create_surface(compositor_.get()));
  wl_surface_set_buffer_scale(surface_.get(), look_.scale);
  xdgSurface_.reset(xdg_wm_base_get_xdg_surface(shell_.get(), surface_.get()));
  toplevel_.reset(xdg_surface_get_toplevel(xdgSurface_.get()));
  listenToShell();
  xdg_toplevel_set_app_id(toplevel_.get(), look_.name.c_str());
  xdg_toplevel_set_title(toplevel_.get(), look_.name.c_str());
  if (look_.place == WlWindowLook::Place::fullScreen) {
    wayland::server::OutputList outputs(connection_);
    xdg_toplevel_set_fullscreen(toplevel_.get(),
                                look_.output == 0 ? nullptr : outputs.proxy(look_.output));
    connection_.flush();
  } else {
    // Compositors that tile leave windows of a fixed size floating.
    const auto width = static_cast<std::int32_t>(look_.size.width);
    const auto height = static_cast<std::int32_t>(look_.size.height);
    xdg_toplevel_set_min_size(toplevel_.get(), width, height);
    xdg_toplevel_set_max_size(toplevel_.get(), width, height);
  }
  wl_surface_commit(surface_.get());
  connection_.flush();
}

void WlWindow::listenToShell() {
  static constexpr xdg_wm_base_listener ping{
      [](void*, xdg_wm_base* shell, std::uint32_t serial) { xdg_wm_base_pong(shell, serial); }};
  xdg_wm_base_add_listener(shell_.get(), &ping, this);
  static constexpr xdg_surface_listener configured{
      [](void* self, xdg_surface*, std::uint32_t serial) {
        static_cast<WlWindow*>(self)->configure(serial);
      }};
  xdg_surface_add_listener(xdgSurface_.get(), &configured, this);
  static constexpr xdg_toplevel_listener told{
      [](void* self, xdg_toplevel*, std::int32_t width, std::int32_t height, wl_array* states) {
        auto& window = *static_cast<WlWindow*>(self);
        window.told_ = {width, height};
        const std::span all(static_cast<const std::uint32_t*>(states->data),
                            states->size / sizeof(std::uint32_t));
        window.isFullScreen_ = std::ranges::find(all, XDG_TOPLEVEL_STATE_FULLSCREEN) != all.end();
      },
      [](void*, xdg_toplevel*) {}, [](void*, xdg_toplevel*, std::int32_t, std::int32_t) {},
      [](void*, xdg_toplevel*, wl_array*) {}};
  xdg_toplevel_add_listener(toplevel_.get(), &told, this);
}

void WlWindow::configure(std::uint32_t serial) {
  xdg_surface_ack_configure(xdgSurface_.get(), serial);
  const bool isTold = look_.place == WlWindowLook::Place::fullScreen && told_.width > 0;
  const PixelSize points = isTold ? told_ : look_.size;
  const PixelSize pixels{points.width * look_.scale, points.height * look_.scale};
  if (pixels != size_) resize(pixels);
  commit({0, 0, static_cast<std::int32_t>(size_.width), static_cast<std::int32_t>(size_.height)});
}

void WlWindow::resize(PixelSize size) {
  const auto before = std::exchange(canvas_, std::vector(pixelCount(size), look_.colour));
  const auto old = std::exchange(size_, size);
  const auto kept = std::min(old.width, size.width);
  for (std::int64_t y = 0; y < std::min(old.height, size.height); ++y)
    std::copy_n(before.begin() + y * old.width, kept, canvas_.begin() + y * size.width);
}

WlWindow::Buffer& WlWindow::freeBuffer() {
  std::erase_if(buffers_,
                [&](const auto& buffer) { return buffer->isFree && buffer->size != size_; });
  const auto found =
      std::ranges::find_if(buffers_, [](const auto& buffer) { return buffer->isFree; });
  return found != buffers_.end()
             ? **found
             : *buffers_.emplace_back(std::make_unique<Buffer>(shm_.get(), size_));
}

void WlWindow::commit(const picture::PixelRect& changed) {
  auto& buffer = freeBuffer();
  buffer.isFree = false;
  std::ranges::copy(canvas_, buffer.data);
  wl_surface_attach(surface_.get(), buffer.proxy.get(), 0, 0);
  wl_surface_damage_buffer(surface_.get(), changed.x, changed.y, changed.width, changed.height);
  static constexpr wl_callback_listener shown{[](void* self, wl_callback*, std::uint32_t) {
    static_cast<WlWindow*>(self)->frame_.reset();
  }};
  frame_.reset(wl_surface_frame(surface_.get()));
  wl_callback_add_listener(frame_.get(), &shown, this);
  wl_surface_commit(surface_.get());
  connection_.flush();
}

void WlWindow::fill(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                    std::uint32_t rgb) {
  paint({x, y, width, height}, std::vector(pixelCount({width, height}), rgb));
}

void WlWindow::paint(const picture::PixelRect& area, std::span<const std::uint32_t> pixels) {
  const std::lock_guard lock(mutex_);
  const bool isInside =
      area.x >= 0 && area.y >= 0 && area.right() <= size_.width && area.bottom() <= size_.height;
  if (!isInside) throw std::runtime_error("painted beside the window");
  for (std::int64_t row = 0; row < area.height; ++row) {
    std::copy_n(pixels.begin() + row * area.width, area.width,
                canvas_.begin() + (area.y + row) * size_.width + area.x);
  }
  commit(area);
  connection_.settle(wayland::server::Connection::Clock::now() +
                     std::chrono::milliseconds(patience()));
}

PixelSize WlWindow::size() const {
  const std::lock_guard lock(mutex_);
  return size_;
}

std::uint32_t WlWindow::pixel(std::int64_t x, std::int64_t y) const {
  const std::lock_guard lock(mutex_);
  return canvas_.at(static_cast<std::size_t>(y * size_.width + x));
}

bool WlWindow::waitUntilShown() const {
  std::unique_lock lock(mutex_);
  return waitLocked(lock, [this] { return frame_ == nullptr; });
}

WlSeen WlWindow::seen() const {
  const std::lock_guard lock(mutex_);
  return log_.seen();
}

void WlWindow::forget() {
  const std::lock_guard lock(mutex_);
  log_.seen().events.clear();
  log_.seen().text.clear();
}

bool WlWindow::waitFor(const std::function<bool(const WlSeen&)>& isDone) const {
  std::unique_lock lock(mutex_);
  return waitLocked(lock, [&] { return isDone(log_.seen()); });
}

void WlWindow::settle() {
  const std::lock_guard lock(mutex_);
  connection_.settle(wayland::server::Connection::Clock::now() +
                     std::chrono::milliseconds(patience()));
  changed_.notify_all();
}

template <typename Condition>
bool WlWindow::waitLocked(std::unique_lock<std::mutex>& lock, Condition isDone) const {
  return changed_.wait_for(lock, std::chrono::milliseconds(patience()), isDone);
}

/// Waits without the lock, so that others can ask and paint meanwhile.
void WlWindow::run() {
  std::array<pollfd, 2> readable{{{connection_.descriptor(), POLLIN, 0}, {wake_.get(), POLLIN, 0}}};
  while (true) {
    ::poll(readable.data(), readable.size(), -1);
    const std::lock_guard lock(mutex_);
    const bool stands = !isOver_ && connection_.dispatch();
    connection_.flush();
    changed_.notify_all();
    if (!stands) return;
  }
}

}  // namespace vesk::testing
