#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running need, when
# they are missing. Safe to run again: it does nothing when all are present.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang pkg-config
  qt6-base-dev qt6-base-dev-tools libgl-dev
  qt6-websockets-dev qt6-httpserver-dev
  libhidapi-dev libudev-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth fonts-dejavu-core
  obs-studio
  desktop-file-utils libxml2-utils shared-mime-info
  dpkg-dev file
)

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
