// Draws what the benchmark shows on the X server that DISPLAY names, in a window over all of it:
// still, typing, scrolling, video, a window that is dragged, or a pointer that moves, until it is
// killed; after SIGUSR1 the picture stands still. Prints when each letter that is typed has reached
// the screen.

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// Set by SIGUSR1: draw no more, so that a picture can be compared with the screen.
volatile std::sig_atomic_t frozen = 0;

using namespace std::chrono_literals;

class Screen {
 public:
  Screen() : connection_(xcb_connect(nullptr, nullptr)) {
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen->root;
    width_ = screen->width_in_pixels;
    height_ = screen->height_in_pixels;
    depth_ = screen->root_depth;
    window_ = xcb_generate_id(connection_);
    const std::array<std::uint32_t, 3> values{0xf4f4f4, 1, emptyCursor()};
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, root_, 0, 0,
                      screen->width_in_pixels, screen->height_in_pixels, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_CURSOR, values.data());
    xcb_map_window(connection_, window_);
    gc_ = xcb_generate_id(connection_);
    xcb_create_gc(connection_, gc_, window_, 0, nullptr);
    pixels_.resize(static_cast<std::size_t>(width_ * height_));
  }

  int width() const { return width_; }
  int height() const { return height_; }
  std::uint32_t& at(int x, int y) { return pixels_[static_cast<std::size_t>(y * width_ + x)]; }

  void letter(int column, int line, unsigned shape) {
    for (int y = 0; y < 18; ++y) {
      for (int x = 0; x < 9; ++x) {
        const bool body = y > 3 && y < 15 && x < 7 && shape != 0;
        const bool stroke = x / 2 == static_cast<int>(shape >> 3 & 3) ||
                            y / 2 == static_cast<int>(shape >> 5 & 7) ||
                            (x + y) / 2 == static_cast<int>(shape >> 8 & 7);
        at(column * 9 + x, line * 18 + y) = body && stroke ? 0x202020 : 0xf4f4f4;
      }
    }
  }

  /// One line of words, as wide as a paragraph's line is; or none, between paragraphs.
  void words(int line, std::mt19937& random) {
    const int columns = width_ / 9;
    constexpr int margin = 6;
    const bool blank = random() % 7 == 0;
    const int end =
        margin + static_cast<int>(random() % static_cast<unsigned>(columns - 2 * margin));
    int left = static_cast<int>(random() % 9) + 1;
    for (int column = 0; column < columns; ++column) {
      const bool letterHere = !blank && column >= margin && column < end && left > 0;
      letter(column, line, letterHere ? static_cast<unsigned>(random()) | 1U : 0U);
      if (--left < 0) left = static_cast<int>(random() % 9) + 1;
    }
  }

  void show(int left, int top, int width, int height) { showOn(window_, left, top, width, height); }

  /// Puts rows to the server, in pieces that fit into a request.
  void showOn(xcb_drawable_t drawable, int left, int top, int width, int height) {
    std::vector<std::uint32_t> piece;
    const int rows = std::max(1, 60'000 / width);
    for (int y = top; y < top + height; y += rows) {
      const int count = std::min(rows, top + height - y);
      piece.clear();
      for (int row = y; row < y + count; ++row) {
        piece.insert(piece.end(), &at(left, row), &at(left, row) + width);
      }
      xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, gc_,
                    static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(count),
                    static_cast<std::int16_t>(left), static_cast<std::int16_t>(y), 0, depth_,
                    static_cast<std::uint32_t>(piece.size() * 4),
                    reinterpret_cast<const std::uint8_t*>(piece.data()));
    }
    xcb_flush(connection_);
  }

  void scroll(int by) {
    xcb_copy_area(connection_, window_, window_, gc_, 0, static_cast<std::int16_t>(by), 0, 0,
                  static_cast<std::uint16_t>(width_), static_cast<std::uint16_t>(height_ - by));
  }

  /// Waits until the server has drawn everything.
  void finish() {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  }

  void showPointer() {
    const auto font = xcb_generate_id(connection_);
    xcb_open_font(connection_, font, 6, "cursor");
    const xcb_cursor_t cursor = xcb_generate_id(connection_);
    constexpr std::uint16_t arrow = 2;
    xcb_create_glyph_cursor(connection_, cursor, font, font, arrow, arrow + 1, 0, 0, 0, 0xffff,
                            0xffff, 0xffff);
    xcb_change_window_attributes(connection_, window_, XCB_CW_CURSOR, &cursor);
  }

  /// A window of words in front of the page.
  void showWindow(int width, int height, std::mt19937& random) {
    windowWidth_ = width;
    windowHeight_ = height;
    front_ = xcb_generate_id(connection_);
    // It shows what the page would show there if it were another one.
    const xcb_pixmap_t words = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, depth_, words, root_, static_cast<std::uint16_t>(width),
                      static_cast<std::uint16_t>(height));
    const auto page = pixels_;
    for (int line = 0; line <= height / 18; ++line) this->words(line, random);
    showOn(words, 0, 0, width, height);
    pixels_ = page;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, front_, window_, 0, 0,
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXMAP,
                      &words);
    xcb_map_window(connection_, front_);
    xcb_flush(connection_);
  }

  /// The page is drawn again where the window was.
  void moveWindow(int x, int y) {
    const std::array<std::uint32_t, 2> values{static_cast<std::uint32_t>(x),
                                              static_cast<std::uint32_t>(y)};
    xcb_configure_window(connection_, front_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                         values.data());
    if (windowX_ >= 0) show(windowX_, windowY_, windowWidth_, windowHeight_);
    windowX_ = x;
    windowY_ = y;
    xcb_flush(connection_);
  }

  void movePointer(int x, int y) {
    xcb_warp_pointer(connection_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<std::int16_t>(x),
                     static_cast<std::int16_t>(y));
    xcb_flush(connection_);
  }

 private:
  /// The picture is compared with the screen as others read it, which is without a pointer.
  xcb_cursor_t emptyCursor() {
    const xcb_pixmap_t nothing = xcb_generate_id(connection_);
    xcb_create_pixmap(connection_, 1, nothing, root_, 1, 1);
    const xcb_gcontext_t context = xcb_generate_id(connection_);
    const std::uint32_t zero = 0;
    xcb_create_gc(connection_, context, nothing, XCB_GC_FOREGROUND, &zero);
    const xcb_rectangle_t all{0, 0, 1, 1};
    xcb_poly_fill_rectangle(connection_, nothing, context, 1, &all);
    const xcb_cursor_t cursor = xcb_generate_id(connection_);
    xcb_create_cursor(connection_, cursor, nothing, nothing, 0, 0, 0, 0, 0, 0, 0, 0);
    return cursor;
  }

  xcb_connection_t* connection_;
  xcb_window_t root_;
  xcb_window_t window_;
  xcb_gcontext_t gc_;
  xcb_window_t front_ = XCB_NONE;
  int windowX_ = -1;
  int windowY_ = -1;
  int windowWidth_ = 0;
  int windowHeight_ = 0;
  int width_;
  int height_;
  std::uint8_t depth_;
  std::vector<std::uint32_t> pixels_;
};

/// One kind of content, drawn step by step.
class Content {
 public:
  explicit Content(std::string kind) : kind_(std::move(kind)) {
    for (int line = 0; line < lines_; ++line) screen_.words(line, random_);
    screen_.show(0, 0, screen_.width(), screen_.height());
    if (kind_ == "pointer") screen_.showPointer();
    if (kind_ == "dragging") screen_.showWindow(900, 600, random_);
  }

  /// Draws the next step; how long it stands.
  std::chrono::milliseconds draw() {
    const int step = step_++;
    if (kind_ == "typing") return type(step);
    if (kind_ == "scrolling") return scroll();
    if (kind_ == "pointer") return movePointer(step);
    if (kind_ == "dragging") return drag(step);
    if (kind_ == "video") return play(step);
    return 1h;
  }

 private:
  std::chrono::milliseconds type(int step) {
    const int column = step % columns_;
    const int line = lines_ / 2 + step / columns_ % 4;
    screen_.letter(column, line, static_cast<unsigned>(random_()));
    screen_.show(column * 9, line * 18, 9, 18);
    screen_.finish();
    std::printf(
        "%.6f\n",
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count());
    std::fflush(stdout);
    return 100ms;
  }

  std::chrono::milliseconds scroll() {
    screen_.words(lines_ - 1, random_);
    screen_.scroll(18);
    screen_.show(0, (lines_ - 1) * 18, screen_.width(), 18);
    return 33ms;
  }

  std::chrono::milliseconds movePointer(int step) {
    const double angle = step * 0.05;
    screen_.movePointer(static_cast<int>(screen_.width() / 2 + 400 * std::cos(angle)),
                        static_cast<int>(screen_.height() / 2 + 300 * std::sin(angle)));
    return 20ms;
  }

  std::chrono::milliseconds drag(int step) {
    const double angle = step * 0.05;
    screen_.moveWindow(static_cast<int>((screen_.width() - 900) / 2.0 + 200 * std::cos(angle)),
                       static_cast<int>((screen_.height() - 600) / 2.0 + 200 * std::sin(angle)));
    return 33ms;
  }

  std::chrono::milliseconds play(int step) {
    for (int y = 0; y < screen_.height(); ++y) {
      for (int x = 0; x < screen_.width(); ++x) {
        const auto wave = static_cast<std::uint32_t>((x + step * 6) / 3 + (y * 2 + step * 3) / 5);
        screen_.at(x, y) = (wave & 0xff) << 16 | ((wave * 2) & 0xff) << 8 | ((x ^ y) >> 3 & 0xff);
      }
    }
    screen_.show(0, 0, screen_.width(), screen_.height());
    return 20ms;
  }

  std::string kind_;
  Screen screen_;
  std::mt19937 random_{1};
  int columns_ = screen_.width() / 9;
  int lines_ = screen_.height() / 18;
  int step_ = 0;
};

}  // namespace

int main(int argc, char* argv[]) {
  std::signal(SIGUSR1, [](int) { frozen = 1; });
  Content content(argc > 1 ? argv[1] : "still");
  std::this_thread::sleep_for(3s);
  for (;;) std::this_thread::sleep_for(frozen != 0 ? 1h : content.draw());
}
