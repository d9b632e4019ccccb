#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages the build, the tests and the reference server need,
# when any is missing. Idempotent.
set -euo pipefail
packages=(
    build-essential cmake ninja-build ccache pkg-config git curl
    qtbase5-dev libqt5websockets5-dev libqt5sql5-sqlite qtwebengine5-dev libqt5svg5-dev
    libssl-dev
    python3 python3-aiohttp python3-cryptography python3-pytest python3-pytest-aiohttp
    valgrind
    fonts-wqy-microhei xvfb xauth qttools5-dev-tools
    dbus dpkg-dev fakeroot file lintian desktop-file-utils appstream
)
missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
