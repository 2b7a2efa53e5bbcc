# Shows the alert and the banner at a test's command.
add_executable(presence_window e2e/presence_window.cpp)
target_link_libraries(presence_window PRIVATE
  vesk_core vesk_platform vesk_options Qt6::Widgets PkgConfig::XCB)

# Real X servers with window managers and compositors, and a hand for the person's.
add_library(desktop_support STATIC
  e2e/AlertObserver.cpp
  e2e/DesktopManager.cpp
  e2e/MessageBus.cpp
  e2e/PresenceDesktop.cpp
  e2e/PresenceWindow.cpp)
target_compile_definitions(desktop_support PRIVATE
  VESK_PRESENCE_WINDOW="$<TARGET_FILE:presence_window>")
target_link_libraries(desktop_support PUBLIC linux_test_support PkgConfig::XCB)
add_dependencies(desktop_support presence_window)

# Alert and banner there.
add_executable(presence_tests
  e2e/AlertClicksTest.cpp
  e2e/AlertKeysTest.cpp
  e2e/AlertLookTest.cpp
  e2e/AlertOnScreenTest.cpp
  e2e/AlertScaleTest.cpp
  e2e/AlertThemeTest.cpp
  e2e/BannerLookTest.cpp
  e2e/BannerOnScreenTest.cpp
  unit/platform/linux/alert/AlertColoursTest.cpp
  unit/platform/linux/alert/AlertDialogTest.cpp
  unit/platform/linux/alert/AlertTextTest.cpp
  unit/platform/linux/alert/DarkStyleTest.cpp
  unit/platform/linux/banner/BoundedTextTest.cpp
  unit/platform/linux/alert/QtAlertsTest.cpp
  unit/platform/linux/banner/StripPictureTest.cpp
  unit/platform/linux/x11/overlay/XOverlayTest.cpp)
target_link_libraries(presence_tests PRIVATE desktop_support Qt6::Widgets)
target_compile_definitions(presence_tests PRIVATE
  VESK_APPEARANCE_PORTAL="${CMAKE_CURRENT_SOURCE_DIR}/e2e/appearance_portal.py")
# Early: they wait more than they work, and leave the processors to what is compiled for the Mac then.
gtest_discover_tests(presence_tests TEST_FILTER -*AfterAMinute
  DISCOVERY_TIMEOUT 60 PROPERTIES LABELS e2e TIMEOUT 120 COST 55 ENVIRONMENT "${vesk_kept_shaders}")
gtest_discover_tests(presence_tests TEST_FILTER *AfterAMinute TEST_LIST minute_tests
  DISCOVERY_TIMEOUT 60 PROPERTIES LABELS e2e TIMEOUT 120 COST 60 ENVIRONMENT "${vesk_kept_shaders}")

# The picture without the program's own windows, compared with a desktop that never had them.
add_executable(left_out_tests
  e2e/LeftOutInMotionTest.cpp
  e2e/LeftOutTest.cpp
  e2e/LeftOutVideoTest.cpp
  e2e/ScreenPixels.cpp
  e2e/StoppedCaptureTest.cpp
  e2e/TwinDesktops.cpp)
target_link_libraries(left_out_tests PRIVATE desktop_support)
gtest_discover_tests(left_out_tests
  DISCOVERY_TIMEOUT 60 PROPERTIES LABELS e2e TIMEOUT 120 ENVIRONMENT "${vesk_kept_shaders}")

# The streams of every kind of content, seen by three decoders, a browser's among them.
add_executable(decoders_tests
  e2e/Browser.cpp
  e2e/DecodersTest.cpp
  e2e/RecordedStream.cpp
  e2e/StreamDecoders.cpp
  ${PROJECT_SOURCE_DIR}/bench/rates/Content.cpp
  ${PROJECT_SOURCE_DIR}/bench/rates/Glyphs.cpp
  ${PROJECT_SOURCE_DIR}/bench/rates/Texture.cpp)
target_include_directories(decoders_tests PRIVATE ${PROJECT_SOURCE_DIR}/bench)
target_link_libraries(decoders_tests PRIVATE linux_test_support)
# They paint every sample of hundreds of pictures, which takes most of the test's time in a build
# without optimization.
set_source_files_properties(
  ${PROJECT_SOURCE_DIR}/bench/rates/Content.cpp
  ${PROJECT_SOURCE_DIR}/bench/rates/Texture.cpp
  PROPERTIES COMPILE_OPTIONS "$<$<CONFIG:Debug>:-O2>" SKIP_PRECOMPILE_HEADERS ON)
# All streams together: a browser takes long to start. In a namespace, with which all of it ends.
add_test(NAME decoders COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/e2e/run_isolated
  $<TARGET_FILE:decoders_tests>)
set_tests_properties(decoders PROPERTIES LABELS e2e TIMEOUT 300 COST 90)

# The system's own Python: the binding for screen readers is a Debian package.
add_test(NAME AlertAccessibility COMMAND dbus-run-session -- /usr/bin/python3
  ${CMAKE_CURRENT_SOURCE_DIR}/e2e/alert_accessibility.py $<TARGET_FILE:presence_window>)
set_tests_properties(AlertAccessibility PROPERTIES LABELS e2e TIMEOUT 120)

# The viewer's hands on real X servers, felt by real programs.
add_executable(x11_hands_tests
  x11/EventRecorder.cpp
  x11/ForeignTextTest.cpp
  x11/GateTest.cpp
  x11/HeldTest.cpp
  x11/LatencyTest.cpp
  x11/LayoutTest.cpp
  x11/ModifiersTest.cpp
  x11/QuestionedWindow.cpp
  x11/ReaderTest.cpp
  x11/Receivers.cpp
  x11/RecorderTest.cpp
  x11/Session.cpp
  x11/ShortcutsTest.cpp
  x11/TextTest.cpp
)
add_executable(holding_hands x11/receivers/HoldingHands.cpp x11/Session.cpp support/Patience.cpp
  support/TemporaryFolder.cpp support/XServer.cpp support/managesWindows.cpp)
target_include_directories(holding_hands PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(holding_hands PRIVATE vesk_core vesk_platform vesk_options GTest::gtest
  PkgConfig::XCB PkgConfig::XKBCOMMON)
add_dependencies(x11_hands_tests qt_entry holding_hands)
target_compile_definitions(x11_hands_tests PRIVATE
  VESK_HOLDING_HANDS="$<TARGET_FILE:holding_hands>"
  VESK_QT_ENTRY="$<TARGET_FILE:qt_entry>")
target_link_libraries(x11_hands_tests PRIVATE linux_test_support PkgConfig::XCB PkgConfig::XKBCOMMON)
gtest_discover_tests(x11_hands_tests TEST_FILTER -ForeignTextTest.*
  DISCOVERY_TIMEOUT 60 PROPERTIES LABELS e2e TIMEOUT 120)
# Alone: they measure how fast text gets through, and load the machine by themselves where they want
# it loaded.
gtest_discover_tests(x11_hands_tests TEST_FILTER ForeignTextTest.* TEST_LIST foreign_text_tests
  DISCOVERY_TIMEOUT 60 PROPERTIES LABELS e2e RUN_SERIAL ON TIMEOUT 300)
