#!/usr/bin/env bash
# Installs the Debian 12 packages Brevio builds with. Idempotent and non-interactive; uses sudo
# only when not already root.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config git
    qt6-base-dev qt6-websockets-dev libgl-dev
    qt6-declarative-dev qml6-module-qtquick qml6-module-qtqml qml6-module-qtquick-controls
    qml6-module-qtquick-templates qml6-module-qtquick-layouts qml6-module-qtquick-window
    qml6-module-qtqml-workerscript qml6-module-qttest qml6-module-qtquick-dialogs
    qml6-module-qt-labs-folderlistmodel
    qt6-qpa-plugins fonts-dejavu-core fonts-noto-color-emoji
    libqt6svg6 xvfb xauth dbus-daemon dbus-bin
    libboost-json1.81-dev libsodium-dev libheif-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    tzdata clang-format
    librsvg2-bin dpkg-dev file desktop-file-utils appstream x11-utils
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ "${#missing[@]}" -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    echo "Installing: ${missing[*]}"
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get update -qq
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
