#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running need, when
# they are missing. Safe to run again: it does nothing when all are present.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang pkg-config
  qt6-base-dev qt6-base-dev-tools libgl-dev
  qt6-websockets-dev qt6-httpserver-dev
  # The desktop's secret store for the OBS password; its tests run a GNOME
  # Keyring on a session bus of their own and look into it with secret-tool.
  qtkeychain-qt6-dev gnome-keyring dbus-daemon dbus-bin libsecret-tools
  # The MQTT output's client library; its tests run a real broker, check it
  # with the Mosquitto command-line clients and make a test CA with openssl.
  libmosquitto-dev mosquitto mosquitto-clients openssl
  libhidapi-dev libudev-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth fonts-dejavu-core
  obs-studio
  desktop-file-utils libxml2-utils shared-mime-info
  dpkg-dev file
  nodejs
  # The include layering check (tests/layering) is a python3 script.
  python3
  # An ATEM client written by others, which the ATEM stand-in is checked
  # against (tests/tools/atem).
  python3-pyatem
  lintian appstream groff-base bash-completion
  # QR codes of the web page's addresses; zbarimg reads them back in tests.
  libqrencode-dev zbar-tools
  chromium
  # Receivers of the DMX output written by others: olad (read back with
  # curl) and tshark, which decodes Art-Net and sACN.
  ola tshark curl
  # Tests fill a small mounted file system and run the query as another user.
  mount util-linux
)
# The TSL interop tests run an npm package under node. Some builds of node
# bring npm along; Debian packages it apart.
if ! command -v npm >/dev/null 2>&1; then
  packages+=(npm)
fi

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
