# Desktop integration on Linux: launcher, tally map MIME type, icon and the
# udev rule that gives the desktop user access to the tally box.
if(APPLE)
  return()
endif()

set(desktop_dir ${CMAKE_SOURCE_DIR}/resources/desktop)
# The launcher and the application icon go by the program's reverse-domain
# id, the one its AppStream metadata and its window (for the desktop to
# match it to its launcher) use too.
set(TALLY_APPLICATION_ID io.github.mixdesktally.MixdeskTally)
install(FILES ${desktop_dir}/${TALLY_APPLICATION_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${desktop_dir}/mixdesk-tally-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
        RENAME mixdesk-tally.xml)
install(FILES ${desktop_dir}/mixdesk-tally.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps
        RENAME ${TALLY_APPLICATION_ID}.svg)
install(FILES ${desktop_dir}/mixdesk-tally.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/mimetypes
        RENAME application-x-mixdesk-tally-map.svg)

# udev reads rules from /usr/lib/udev/rules.d (or /lib/udev/rules.d): keep
# them under lib/ of the prefix, outside the multiarch libdir.
install(FILES ${desktop_dir}/70-mixdesk-tally.rules DESTINATION lib/udev/rules.d)
