# tally_configure_mac_bundle(<target>)
#
# Makes the GUI executable a macOS application bundle: Info.plist from
# resources/macos/Info.plist.in, and the shot query compiled from its
# AppleScript source with osacompile at build time into
# Contents/Resources/query_shots.scpt, where the program looks it up through
# its main bundle. Does nothing on other systems.
#
# A bundle is installed as a whole; the caller's install rule needs a
# BUNDLE destination next to its RUNTIME one:
#   install(TARGETS <target> BUNDLE DESTINATION . RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
function(tally_configure_mac_bundle target)
  if(NOT APPLE)
    return()
  endif()

  find_program(TALLY_OSACOMPILE osacompile REQUIRED)
  set(script_source ${PROJECT_SOURCE_DIR}/resources/macos/query_shots.applescript)
  set(compiled_script ${CMAKE_CURRENT_BINARY_DIR}/query_shots.scpt)
  add_custom_command(
    OUTPUT ${compiled_script}
    COMMAND ${TALLY_OSACOMPILE} -o ${compiled_script} ${script_source}
    DEPENDS ${script_source}
    COMMENT "Compiling the query_shots script"
    VERBATIM)
  # Listed as a source of the target so that the bundle step copies it into
  # Contents/Resources; the property is read in this directory, which is the
  # target's own.
  target_sources(${target} PRIVATE ${compiled_script})
  set_source_files_properties(${compiled_script} PROPERTIES
    GENERATED TRUE
    MACOSX_PACKAGE_LOCATION Resources)

  set_target_properties(${target} PROPERTIES
    MACOSX_BUNDLE TRUE
    MACOSX_BUNDLE_INFO_PLIST ${PROJECT_SOURCE_DIR}/resources/macos/Info.plist.in
    MACOSX_BUNDLE_BUNDLE_NAME "Mixdesk Tally"
    MACOSX_BUNDLE_GUI_IDENTIFIER com.mixdesk.MixdeskTally
    MACOSX_BUNDLE_SHORT_VERSION_STRING ${PROJECT_VERSION}
    MACOSX_BUNDLE_BUNDLE_VERSION ${PROJECT_VERSION}
    MACOSX_BUNDLE_COPYRIGHT "Mixdesk Tally developers"
    OUTPUT_NAME "Mixdesk Tally")
endfunction()
