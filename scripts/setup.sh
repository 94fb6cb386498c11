#!/usr/bin/env bash
# Installs what KELP needs to build, test and run on a Debian machine.
# Quiet and quick when everything is already there.
set -euo pipefail
packages=(cmake make g++ qt6-base-dev qt6-serialport-dev qt6-charts-dev qt6-svg-dev libqt6opengl6-dev libgl-dev
          libgtest-dev qt6-qpa-plugins xvfb xauth fonts-dejavu-core clang libclang-rt-14-dev
          librsvg2-bin desktop-file-utils appstream dpkg-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
