# The program as the application "Vesk Remote.app". The privacy settings know a program by its
# signature, so a build without a lasting identity has to be granted everything anew.
set(VESK_SIGNING_IDENTITY "" CACHE STRING "The identity to sign the bundle with; empty: none")
set_target_properties(vesk-remote PROPERTIES
  MACOSX_BUNDLE ON
  OUTPUT_NAME "Vesk Remote"
  MACOSX_BUNDLE_INFO_PLIST ${CMAKE_CURRENT_LIST_DIR}/Info.plist
  MACOSX_BUNDLE_GUI_IDENTIFIER com.vesk.tovarin.screen
  MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
  MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION})
if(VESK_SIGNING_IDENTITY)
  add_custom_command(TARGET vesk-remote POST_BUILD
    COMMAND codesign --force --options runtime --sign ${VESK_SIGNING_IDENTITY}
      $<TARGET_BUNDLE_DIR:vesk-remote>
    VERBATIM)
endif()
install(TARGETS vesk-remote BUNDLE DESTINATION /Applications)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/com.vesk.tovarin.screen.plist
  DESTINATION /Library/LaunchAgents)
