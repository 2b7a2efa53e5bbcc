# What of the Mac platform is C++ alone runs on Linux, against stand-ins for the frameworks.
set(here ${CMAKE_CURRENT_LIST_DIR})
set(mac ${PROJECT_SOURCE_DIR}/src/platform/macos)
add_executable(mac_portable_tests
  ${mac}/MacClock.cpp
  ${mac}/MacDisplays.cpp
  ${mac}/MacEventPoster.cpp
  ${mac}/MacPermissions.cpp
  ${mac}/StreamCallbacks.cpp
  ${mac}/attachment.cpp
  ${mac}/dictionaryOf.cpp
  ${mac}/encodedSampleOf.cpp
  ${here}/../unit/platform/macos/StreamCallbacksTest.cpp
  ${here}/frameworks/CoreFoundation.cpp
  ${here}/frameworks/CoreGraphics.cpp
  ${here}/frameworks/CoreMedia.cpp
  ${here}/frameworks/Permissions.cpp
  ${here}/frameworks/Runtime.cpp
  ${here}/unit/EncodedSampleOfTest.cpp
  ${here}/unit/MacDesktopTest.cpp
  ${here}/unit/MacEventPosterTest.cpp
)
target_include_directories(mac_portable_tests SYSTEM PRIVATE ${here}/declarations)
target_link_libraries(mac_portable_tests PRIVATE test_support)
