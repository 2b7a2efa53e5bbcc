# Every library, from Debian's packages; scripts/setup lists the packages by name.
find_package(nlohmann_json 3.11 REQUIRED)
find_package(Threads REQUIRED)

if(NOT APPLE)
  find_package(Boost 1.74 REQUIRED)
  find_package(PkgConfig REQUIRED)
  find_package(Qt6 6.4 REQUIRED COMPONENTS DBus Widgets)
  pkg_check_modules(XCB REQUIRED IMPORTED_TARGET
    xcb xcb-composite xcb-damage xcb-randr xcb-render xcb-res xcb-shape xcb-shm xcb-xfixes xcb-xinput
    xcb-xkb xcb-xtest)
  pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3>=0.3.65)
  # Means nothing to this system's C library, and keeps precompiled headers from being used.
  get_target_property(options PkgConfig::PIPEWIRE INTERFACE_COMPILE_OPTIONS)
  list(REMOVE_ITEM options -D_REENTRANT)
  set_target_properties(PkgConfig::PIPEWIRE PROPERTIES INTERFACE_COMPILE_OPTIONS "${options}")
  pkg_check_modules(XKBCOMMON REQUIRED IMPORTED_TARGET xkbcommon xkbcommon-x11)
  pkg_check_modules(WAYLAND_CLIENT REQUIRED IMPORTED_TARGET wayland-client)
  pkg_check_modules(WAYLAND_CURSOR REQUIRED IMPORTED_TARGET wayland-cursor)
  pkg_check_modules(X264 REQUIRED IMPORTED_TARGET x264)
  pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)
  # Debian's libyuv brings no description of itself.
  find_path(YUV_INCLUDE libyuv.h REQUIRED)
  find_library(YUV_LIBRARY yuv REQUIRED)
  add_library(Yuv::Yuv UNKNOWN IMPORTED)
  set_target_properties(Yuv::Yuv PROPERTIES
    IMPORTED_LOCATION ${YUV_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${YUV_INCLUDE})
endif()

if(VESK_BUILD_TESTS)
  find_package(GTest REQUIRED)
  if(NOT APPLE)
    pkg_check_modules(OPENH264 REQUIRED IMPORTED_TARGET openh264)
    find_package(ZLIB REQUIRED)
  endif()
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
endif()
if(VESK_BUILD_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
