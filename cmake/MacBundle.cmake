# Brindle.app. Put together by hand: the programs lie side by side, where they find each other and
# all count as the bundle's (preferences and notifications go by its identifier); and the file system
# does not tell "Brindle" from "brindle", so the bundle's executable cannot bear the bundle's name.
set(BRINDLE_TEAM "" CACHE STRING "Apple developer team, for the entitlements of a signed release")
set(packaging ${CMAKE_SOURCE_DIR}/packaging/macos)
set(bundle ${CMAKE_BINARY_DIR}/Brindle.app)
set(programs ${bundle}/Contents/MacOS)

configure_file(${packaging}/Info.plist.in ${bundle}/Contents/Info.plist)
configure_file(${packaging}/Brindle-direct.entitlements.in ${CMAKE_BINARY_DIR}/Brindle-direct.entitlements)

# Signed ad hoc, the nested programs first. Without the hardened runtime, under which an ad-hoc
# program may not load libraries that others have signed; a release is signed anew.
set(sign codesign --force --sign - --entitlements ${packaging}/Brindle-dev.entitlements)
add_custom_target(bundle ALL
  COMMAND ${CMAKE_COMMAND} -E make_directory ${programs}
  COMMAND ${CMAKE_COMMAND} -E copy
    $<TARGET_FILE:brindle> $<TARGET_FILE:brindle-keeper> $<TARGET_FILE:brindle-desktop> $<TARGET_FILE:brindle-unseal> ${programs}
  COMMAND ${CMAKE_COMMAND} -E copy_directory
    ${BRINDLE_SAMPLE_FRAMES} ${bundle}/Contents/Resources/sample_frames
  COMMAND ${CMAKE_COMMAND} -E copy
    ${BRINDLE_SOUNDS}/alarm.wav ${BRINDLE_SOUNDS}/chirp.wav ${bundle}/Contents/Resources
  COMMAND plutil -lint ${bundle}/Contents/Info.plist ${packaging}/Brindle-dev.entitlements
  COMMAND ${sign} ${programs}/brindle-keeper
  COMMAND ${sign} ${programs}/brindle-unseal
  COMMAND ${sign} ${programs}/brindle
  COMMAND ${sign} ${bundle}
  DEPENDS alarm_sounds brindle brindle-keeper brindle-desktop brindle-unseal
  COMMENT "Putting Brindle.app together" VERBATIM)
