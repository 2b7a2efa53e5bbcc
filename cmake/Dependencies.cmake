# Every library, from Debian's packages; scripts/setup lists the packages by name.
find_package(nlohmann_json 3.11 REQUIRED)
find_package(Threads REQUIRED)

if(NOT APPLE)
  find_package(PkgConfig REQUIRED)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)
  pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-randr xcb-shape xcb-xfixes)
endif()

if(VESK_BUILD_TESTS)
  find_package(GTest REQUIRED)
  if(NOT APPLE)
    pkg_check_modules(XCB_TEST REQUIRED IMPORTED_TARGET xcb-xtest)
  endif()
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
endif()
