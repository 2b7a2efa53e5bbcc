# The Linux platform, on private X servers where it needs one.
add_executable(linux_tests
  unit/platform/linux/LinuxProcessesTest.cpp
  unit/platform/linux/banner/OverlayShapesTest.cpp
  unit/platform/linux/keys/KeyPositionsTest.cpp
  unit/platform/linux/keys/Utf16JoinerTest.cpp
  unit/platform/linux/loop/IdleTimerTest.cpp
  unit/platform/linux/loop/QtMainQueueTest.cpp
  unit/platform/linux/loop/SilentBusTest.cpp
  unit/platform/linux/loop/ThreadQueueTest.cpp
  unit/platform/linux/picture/AreaScalerTest.cpp
  unit/platform/linux/picture/BitCostTest.cpp
  unit/platform/linux/picture/ChangeCostTest.cpp
  unit/platform/linux/picture/ChromaTest.cpp
  unit/platform/linux/picture/ComposingPlanTest.cpp
  unit/platform/linux/picture/ImagePainterTest.cpp
  unit/platform/linux/picture/LinkLoadTest.cpp
  unit/platform/linux/picture/MacroblockMarksTest.cpp
  unit/platform/linux/picture/MovingPlanTest.cpp
  unit/platform/linux/picture/Nv12ImageTest.cpp
  unit/platform/linux/picture/PicturePlanChangeTest.cpp
  unit/platform/linux/picture/PicturePlanRefinementTest.cpp
  unit/platform/linux/picture/PicturePlanKeyFrameTest.cpp
  unit/platform/linux/picture/PicturePlanStreamTest.cpp
  unit/platform/linux/picture/PicturePlanTest.cpp
  unit/platform/linux/picture/PixelRectTest.cpp
  unit/platform/linux/picture/QuantiserRangeTest.cpp
  unit/platform/linux/picture/ScreenEncoderMoveTest.cpp
  unit/platform/linux/picture/ScreenEncoderTest.cpp
  unit/platform/linux/picture/StreamLevelTest.cpp
  unit/platform/linux/picture/StreamNumbersTest.cpp
  unit/platform/linux/picture/X264EncoderReferenceTest.cpp
  unit/platform/linux/picture/X264EncoderTest.cpp
  unit/platform/linux/picture/X264SessionSettingsTest.cpp
  unit/platform/linux/picture/X264SessionTest.cpp
  unit/platform/linux/picture/composed/BlockComparisonTest.cpp
  unit/platform/linux/picture/composed/ComposedPictureTest.cpp
  unit/platform/linux/picture/composed/DigestTest.cpp
  unit/platform/linux/picture/composed/KeyFrameComposerTest.cpp
  unit/platform/linux/picture/composed/MoveSearchTest.cpp
  unit/platform/linux/picture/composed/MoveSliceTest.cpp
  unit/platform/linux/picture/composed/MovedQuantisersTest.cpp
  unit/platform/linux/picture/composed/MovedScreenTest.cpp
  unit/platform/linux/picture/composed/OriginTest.cpp
  unit/platform/linux/picture/composed/PatternTest.cpp
  unit/platform/linux/picture/composed/PictureComposerTest.cpp
  unit/platform/linux/picture/composed/RunsTest.cpp
  unit/platform/linux/picture/composed/SurroundingsTest.cpp
  unit/platform/linux/picture/composed/TinyEncoderTest.cpp
  unit/platform/linux/picture/h264/BitsTest.cpp
  unit/platform/linux/picture/h264/LevelTest.cpp
  unit/platform/linux/picture/h264/SliceTest.cpp
  unit/platform/linux/stream/SampleOutletTest.cpp
  unit/platform/linux/stream/StreamRunTest.cpp
  unit/platform/linux/stream/WatchedDisplaysTest.cpp
  unit/platform/linux/x11/alert/ServerTimeTest.cpp
  unit/platform/linux/x11/beneath/BareColourTest.cpp
  unit/platform/linux/x11/beneath/ClearedRootTest.cpp
  unit/platform/linux/x11/beneath/CoveredPartsTest.cpp
  unit/platform/linux/x11/beneath/DamageBeneathTest.cpp
  unit/platform/linux/x11/beneath/DisturbanceTest.cpp
  unit/platform/linux/x11/beneath/FrameColourTest.cpp
  unit/platform/linux/x11/beneath/FramesBeneathTest.cpp
  unit/platform/linux/x11/beneath/OwnWindowsTest.cpp
  unit/platform/linux/x11/beneath/TracesTest.cpp
  unit/platform/linux/x11/beneath/UnderneathTest.cpp
  unit/platform/linux/x11/beneath/WindowStackTest.cpp
  unit/platform/linux/x11/beneath/WindowsBeneathTest.cpp
  unit/platform/linux/x11/input/HeldRecordTest.cpp
  unit/platform/linux/x11/input/KeyLevelsTest.cpp
  unit/platform/linux/x11/input/KeyboardLayoutTest.cpp
  unit/platform/linux/x11/overlay/CompositorWatchTest.cpp
  unit/platform/linux/x11/screen/BackgroundBeneathTest.cpp
  unit/platform/linux/x11/screen/HiddenPointerTest.cpp
  unit/platform/linux/x11/screen/HoldBackTest.cpp
  unit/platform/linux/x11/screen/MonitorImagesTest.cpp
  unit/platform/linux/x11/screen/PaintedPointerTest.cpp
  unit/platform/linux/x11/screen/PointerWatchTest.cpp
  unit/platform/linux/x11/screen/ScreenGrabberTest.cpp
  unit/platform/linux/x11/screen/WholeRowsTest.cpp
  unit/platform/linux/x11/screen/XScreenCaptureTest.cpp
  unit/platform/linux/x11/server/XPermissionsTest.cpp
)
target_link_libraries(linux_tests PRIVATE
  linux_test_support Qt6::Widgets PkgConfig::XCB PkgConfig::XKBCOMMON)
vesk_discover_suites(linux_tests TIMEOUT 300)

# A toolkit's entry, to type into.
add_executable(qt_entry x11/receivers/QtEntry.cpp)
target_link_libraries(qt_entry PRIVATE vesk_options Qt6::Widgets)
if(VESK_SANITIZERS)
  # Nothing of it is the project's own: a sanitizer would see half of what Qt's threads do and take it
  # for a race.
  target_compile_options(qt_entry PRIVATE -fno-sanitize=all)
  target_link_options(qt_entry PRIVATE -fno-sanitize=all)
endif()

# The Wayland platform, on private compositors.
add_executable(wayland_tests
  support/WlImages.cpp
  support/WlLayer.cpp
  unit/support/WlWindowTest.cpp
  unit/platform/linux/wayland/beneath/OwnSurfacesTest.cpp
  unit/platform/linux/wayland/beneath/FillFromSurroundingsTest.cpp
  unit/platform/linux/wayland/beneath/PictureBeneathTest.cpp
  unit/platform/linux/wayland/beneath/UnblendTest.cpp
  unit/platform/linux/keys/HeldRecordTest.cpp
  unit/platform/linux/wayland/input/TextKeymapTest.cpp
  unit/platform/linux/wayland/input/WlEventPosterEndsTest.cpp
  unit/platform/linux/wayland/input/WlEventPosterKeysTest.cpp
  unit/platform/linux/wayland/input/WlEventPosterPointerTest.cpp
  unit/platform/linux/wayland/input/WlEventPosterReceiversTest.cpp
  unit/platform/linux/wayland/input/WlEventPosterTextTest.cpp
  unit/platform/linux/wayland/screen/LeftOutSurfacesTest.cpp
  unit/platform/linux/wayland/screen/OutputImagesTest.cpp
  unit/platform/linux/wayland/screen/UprightPixelsTest.cpp
  unit/platform/linux/wayland/screen/WlScreenCaptureTest.cpp
  unit/platform/linux/wayland/server/OutputAtTest.cpp
  unit/platform/linux/wayland/server/WlDisplaysTest.cpp
)
target_link_libraries(wayland_tests PRIVATE
  linux_test_support vesk_wayland_input vesk_wayland_screen)
target_compile_definitions(wayland_tests PRIVATE VESK_QT_ENTRY="$<TARGET_FILE:qt_entry>")
add_dependencies(wayland_tests qt_entry)
vesk_discover_suites(wayland_tests TIMEOUT 300)

# The platform by a portal, on a private desktop of GNOME's.
add_executable(portal_tests
  support/CastImages.cpp
  support/Mutter.cpp
  support/MutterCast.cpp
  support/MutterHand.cpp
  support/PictureNode.cpp
  support/PortalServices.cpp
  unit/support/MutterTest.cpp
  unit/platform/linux/portal/input/LayoutSymbolsTest.cpp
  unit/platform/linux/portal/input/PortalEventPosterEndsTest.cpp
  unit/platform/linux/portal/input/PortalEventPosterMonitorsTest.cpp
  unit/platform/linux/portal/input/PortalEventPosterReceiversTest.cpp
  unit/platform/linux/portal/input/PortalEventPosterTest.cpp
  unit/platform/linux/portal/input/SharedAreaTest.cpp
  unit/platform/linux/portal/overlay/ListedOverlaysTest.cpp
  unit/platform/linux/portal/screen/BufferContentsTest.cpp
  unit/platform/linux/portal/screen/KeptPictureTest.cpp
  unit/platform/linux/portal/screen/PaintedPointerTest.cpp
  unit/platform/linux/portal/screen/PointerNewsTest.cpp
  unit/platform/linux/portal/screen/PortalStreamTest.cpp
  unit/platform/linux/portal/screen/StreamBeneathTest.cpp
  unit/platform/linux/portal/screen/StreamImagesTest.cpp
  unit/platform/linux/portal/screen/StreamKindTest.cpp
  unit/platform/linux/portal/screen/StreamLifeTest.cpp
  unit/platform/linux/portal/screen/StreamPointerTest.cpp
  e2e/MessageBus.cpp
  unit/platform/linux/portal/session/OddPortalsTest.cpp
  unit/platform/linux/portal/session/OfferTest.cpp
  unit/platform/linux/portal/session/PortalSessionTest.cpp
  unit/platform/linux/portal/session/PretendedPortal.cpp
  unit/platform/linux/portal/session/RestoreTokenTest.cpp
  unit/platform/linux/portal/session/StrokeQueueTest.cpp
)
target_link_libraries(portal_tests PRIVATE
  linux_test_support vesk_portal_input vesk_portal_overlay vesk_portal_screen Qt6::DBus
  nlohmann_json::nlohmann_json)
add_executable(holding_portal unit/platform/linux/portal/input/holding_portal.cpp)
target_link_libraries(holding_portal PRIVATE vesk_portal_input vesk_options)
target_compile_definitions(portal_tests PRIVATE
  VESK_QT_ENTRY="$<TARGET_FILE:qt_entry>"
  VESK_HOLDING_PORTAL="$<TARGET_FILE:holding_portal>"
  VESK_TURN_MONITOR="${CMAKE_CURRENT_SOURCE_DIR}/support/turn_monitor.py")
add_dependencies(portal_tests holding_portal qt_entry)
if(VESK_SANITIZERS MATCHES thread)
  # Qt and PipeWire hand from thread to thread what its inline functions then read: the sanitizer
  # sees the reading, and not what the libraries do to make it safe.
  add_test(NAME StrokeQueueTest COMMAND portal_tests --gtest_brief=1 --gtest_filter=StrokeQueueTest.*)
else()
  vesk_discover_suites(portal_tests TIMEOUT 300 ENVIRONMENT "\"${vesk_kept_shaders}\"")
endif()

if(NOT VESK_SANITIZERS MATCHES thread)
  # The same and the Wayland platform's layers on KDE's compositor.
  add_executable(kwin_tests
    support/KWin.cpp
    support/PortalServices.cpp
    unit/platform/linux/kwin/HandsOnKWinTest.cpp
    unit/platform/linux/kwin/OverlaysOnKWinTest.cpp
    unit/platform/linux/kwin/SessionOnKWinTest.cpp)
  target_link_libraries(kwin_tests PRIVATE
    linux_test_support vesk_portal_input vesk_wayland_overlay Qt6::DBus Qt6::Widgets)
  target_compile_definitions(kwin_tests PRIVATE
    VESK_HOLDING_PORTAL="$<TARGET_FILE:holding_portal>")
  add_dependencies(kwin_tests holding_portal)
  vesk_discover_suites(kwin_tests TIMEOUT 300 ENVIRONMENT "\"${vesk_kept_shaders}\"")
endif()

# A person's hands and eyes for tests in other languages.
add_executable(wayland_hand e2e/wayland_hand.cpp support/WlHand.cpp)
target_link_libraries(wayland_hand PRIVATE linux_test_support vesk_wayland_server)
add_executable(pipewire_picture e2e/pipewire_picture.cpp)
target_link_libraries(pipewire_picture PRIVATE vesk_options PkgConfig::PIPEWIRE)
# The library's own macros are written in a compiler's dialect.
set_source_files_properties(e2e/pipewire_picture.cpp PROPERTIES
  COMPILE_OPTIONS $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-statement-expression>)

# Every picture of long streams of all sorts of content against the encoder's own; for an hour of
# them: picture_soak 60.
add_executable(picture_soak soak/picture_soak.cpp)
target_link_libraries(picture_soak PRIVATE linux_test_support)
if(VESK_SANITIZERS MATCHES "address")
  add_test(NAME picture_soak COMMAND picture_soak 2)
  set_tests_properties(picture_soak PROPERTIES TIMEOUT 600 COST 200)
endif()

if(NOT VESK_SANITIZERS MATCHES thread)
  # What the person sees on Wayland, and how they answer.
  add_executable(wayland_presence_tests
    support/WlHand.cpp
    support/WlPicture.cpp
    unit/platform/linux/wayland/alert/AlertKeysTest.cpp
    unit/platform/linux/wayland/alert/WlAlertLookTest.cpp
    unit/platform/linux/wayland/alert/WlAlertStageTest.cpp
    unit/platform/linux/wayland/overlay/LayerOverlayLookTest.cpp
    unit/platform/linux/wayland/overlay/LayerOverlayTest.cpp)
  target_link_libraries(wayland_presence_tests PRIVATE
    linux_test_support vesk_wayland_alert vesk_wayland_overlay Qt6::Widgets)
  gtest_discover_tests(wayland_presence_tests DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endif()
