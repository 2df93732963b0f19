# A Debian package of the programs, resources and desktop files:
#   cmake --preset release && cmake --build --preset release --target package
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mixdesk-tally)
set(CPACK_PACKAGE_VENDOR "Mixdesk Tally")
set(CPACK_PACKAGE_CONTACT "Mixdesk Tally developers <tally@mixdesk.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Tally light controller for the Mixdesk video production application")
set(CPACK_PACKAGE_DESCRIPTION
    "Polls Mixdesk for its shots four times a second and drives eight studio tally lights through a USB HID tally box, from a user-edited map of shots to lights.")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "shared-mime-info, desktop-file-utils")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
