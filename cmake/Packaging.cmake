# A Debian package of the programs, resources, desktop files and
# documentation:
#   cmake --preset release && cmake --build --preset release --target package
# (or cpack -G DEB in build/release). The stand-in for Mixdesk goes in under
# the name mixdesk-standin (see UserDocumentation.cmake), so the package never
# owns /usr/bin/mixdesk.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mixdesk-tally)
set(CPACK_PACKAGE_VENDOR "Mixdesk Tally")
set(CPACK_PACKAGE_CONTACT "Mixdesk Tally developers <tally@mixdesk.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tally light controller for video switchers")
# Debian wants the long description in lines of at most 80 characters; CPack
# puts the summary line above it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Mixdesk Tally shows camera operators and presenters which camera is live
and which is in preview. It follows one video switcher (Mixdesk, OBS Studio,
a Blackmagic ATEM, vMix, or anything that sends TSL UMD tally), works out
from a user-edited map of shots to lights which of eight lights to light,
and drives every output at once: a USB HID tally box, a web page that turns
phones into tally lights, TSL UMD displays, MQTT, DMX lights over Art-Net or
sACN, and a vMix-compatible tally feed. It comes with tallyctl, a
command-line companion that runs the same update cycle without a window,
and stand-ins for Mixdesk, ATEM and vMix (mixdesk-standin, atem-standin,
vmix-standin) for trying it out.")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Opened when the first MQTT client is made rather than linked, so the
# loader's list of needed libraries, from which the rest is worked out, does
# not name it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libmosquitto1")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "shared-mime-info, desktop-file-utils")
# Control files with the modes Debian tools expect (0644, scripts 0755).
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Installed programs carry no debugging symbols; a debug build still has
# them in the build tree.
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
