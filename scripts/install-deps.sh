#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing Skeda need.
# Idempotent: when everything is there it only asks dpkg and returns.
set -euo pipefail

packages=(
  # build
  cmake g++ make ninja-build
  qtbase5-dev qtbase5-dev-tools qtdeclarative5-dev libqt5x11extras5-dev
  # headers only: Qt's per-item cache record and its re-sort after removals
  qtbase5-private-dev
  # Qt Linguist's lrelease and its CMake macros, for the message catalogues
  qttools5-dev qttools5-dev-tools
  libx11-dev libxext-dev
  # run time: the pen popup's QML modules and a font with CJK glyphs
  qml-module-qtquick2 qml-module-qtquick-layouts qml-module-qtquick-window2
  fonts-wqy-microhei
  # a virtual X server, real input and X tools for the tests and the headless run
  xvfb xauth xdotool x11-utils x11-xserver-utils xcompmgr imagemagick
  # RandR, for the test of a screen that changes size
  libxrandr-dev
  # X-Resource, for the test of what the launcher's connection holds
  libxres-dev
  # libFuzzer: clang and its runtime
  clang libclang-rt-14-dev
  # a headless Wayland desktop for the Wayland tests: sway with XWayland,
  # grim for its pictures, and what the tests' virtual pointer client is
  # built with
  sway xwayland grim libwayland-dev libwayland-bin pkg-config
  # the native Wayland board: LayerShellQt, its shell integration and Qt's
  # wayland platform
  liblayershellqtinterface-dev layer-shell-qt qtwayland5
  # the launcher's 128x128 icon, rendered from its SVG at build time
  librsvg2-bin
)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
