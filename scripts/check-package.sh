#!/usr/bin/env bash
# Packs an already built build directory (./build by default) into the .deb and checks what a user
# would install: the file list, the dependencies, the desktop entry, the AppStream description,
# the icons, and the unpacked programs themselves. The package is written to BUILD/package/.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}
qml_dir=/usr/lib/x86_64-linux-gnu/qt6/qml

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt" 2>/dev/null || true)
[ -n "$version" ] || { echo "check-package: $build is not a configured build directory" >&2; exit 1; }
rm -f "$build"/package/brevio_*.deb
echo "+ cpack in $build"
if ! cpack --config "$build/CPackConfig.cmake" -B "$build/package" >"$scratch/cpack.log" 2>&1; then
    cat "$scratch/cpack.log" >&2
    exit 1
fi
deb="$build/package/brevio_${version}_amd64.deb"
[ -f "$deb" ] || { echo "FAIL: no $deb" >&2; exit 1; }
ls -l "$deb"
dpkg-deb -I "$deb"
dpkg-deb -c "$deb" >"$scratch/contents"
field() { dpkg-deb -f "$deb" "$1"; }

echo "+ the package holds the two programs and the desktop files, nothing else"
{
    echo ./usr/bin/brevio
    echo ./usr/bin/brevio-server
    echo ./usr/share/applications/brevio.desktop
    for size in 16 24 32 48 64 128 256 512; do
        echo "./usr/share/icons/hicolor/${size}x${size}/apps/brevio.png"
    done
    echo ./usr/share/icons/hicolor/scalable/apps/brevio.svg
    echo ./usr/share/metainfo/io.github.brevio.Brevio.metainfo.xml
} | sort >"$scratch/expected"
awk '$1 !~ /^d/ {print $6}' "$scratch/contents" | sort >"$scratch/actual"
diff -u "$scratch/expected" "$scratch/actual" || fail "unexpected file list (- missing, + extra)"
[ "$(field Package)" = brevio ] || fail "package name $(field Package)"
[ "$(field Version)" = "$version" ] || fail "version $(field Version), the project says $version"
[ "$(field Architecture)" = amd64 ] || fail "architecture $(field Architecture)"

echo "+ Depends: the shared libraries and every QML module the screens import"
depends_names=$(field Depends | sed 's/[,|]/\n/g' | sed 's/^ *//; s/ .*//')
for lib in libqt6core6 libqt6gui6 libqt6quick6 libqt6qml6 libqt6websockets6 libsodium23 libheif1; do
    grep -qx "$lib" <<<"$depends_names" || fail "Depends lacks $lib (dpkg-shlibdeps did not run?)"
done
# Each `import` of the app's QML maps to the package owning that module's qmldir.
imports=$(sed -n 's/^import \([A-Za-z.]*\).*/\1/p' app/views/qml/*.qml | sort -u | grep -vx Brevio || true)
for module in $imports; do
    qmldir="$qml_dir/${module//.//}/qmldir"
    owner=$(dpkg -S "$qmldir" 2>/dev/null | cut -d: -f1) || true
    if [ -z "$owner" ]; then
        fail "no installed package provides the QML module $module ($qmldir)"
    elif ! grep -qx "$owner" <<<"$depends_names"; then
        fail "the QML module $module comes with $owner, which Depends lacks"
    fi
done

echo "+ the programs are stripped"
mkdir "$scratch/root"
dpkg -x "$deb" "$scratch/root"
root="$scratch/root"
for program in brevio brevio-server; do
    if readelf -S "$root/usr/bin/$program" | grep -qE '\.symtab|\.debug_info'; then
        fail "usr/bin/$program still has symbols or debug information"
    fi
done

echo "+ desktop entry, AppStream description, icons"
desktop-file-validate "$root/usr/share/applications/brevio.desktop" ||
    fail "desktop-file-validate"
appstreamcli validate --no-net "$root/usr/share/metainfo/io.github.brevio.Brevio.metainfo.xml" ||
    fail "appstreamcli validate"
newest=$(sed -n 's/.*<release version="\([^"]*\)".*/\1/p' \
    "$root/usr/share/metainfo/io.github.brevio.Brevio.metainfo.xml" | head -1)
[ "$newest" = "$version" ] || fail "the metainfo's newest release is $newest, the package's $version"
entry() { sed -n "s/^$1=//p" "$root/usr/share/applications/brevio.desktop"; }
[ "$(entry Icon)" = brevio ] || fail "Icon=$(entry Icon)"
for size in 16 24 32 48 64 128 256 512; do
    png="$root/usr/share/icons/hicolor/${size}x${size}/apps/brevio.png"
    # Width and height are the big-endian words at bytes 16 and 20 of the PNG header.
    read -r w h < <(od -An -tu1 -j16 -N8 "$png" |
        awk '{print ($1*16777216+$2*65536+$3*256+$4), ($5*16777216+$6*65536+$7*256+$8)}')
    if [ "$w" != "$size" ] || [ "$h" != "$size" ]; then
        fail "the ${size}x${size} icon is ${w}x${h}"
    fi
done

echo "+ the unpacked programs run"
out=$("$root/usr/bin/brevio" --version) || fail "brevio --version exited $?"
echo "$out"
[[ "$out" == "Brevio $version "* ]] || fail "brevio --version printed '$out'"
out=$("$root/usr/bin/brevio-server" --help) || fail "brevio-server --help exited $?"
grep -q -- --listen <<<"$out" || fail "brevio-server --help printed no --listen"

echo "+ the window under Xvfb: its WM_CLASS matches StartupWMClass, it has the icon"
mkdir -p "$scratch/home/data" "$scratch/home/config" "$scratch/home/run"
chmod 700 "$scratch/home/run"
display_log="$scratch/display.log"
cat >"$scratch/on-display.sh" <<'SCRIPT'
# On the display: start the program (the staff demo, which loads the most screens), wait (up to a
# minute) for its first mapped window, print that window's class and icon, list the libraries the
# program has loaded.
program="$1" out="$2"
"$program" --demo staff >"$out.brevio" 2>&1 &
brevio=$!
window=""
for _ in $(seq 300); do
    for id in $(xwininfo -root -children | sed -n 's/^ *\(0x[0-9a-f]*\) .*/\1/p'); do
        xprop -id "$id" _NET_WM_PID | grep -q " = $brevio\$" || continue
        xwininfo -id "$id" | grep -q "Map State: IsViewable" || continue
        window=$id
        break 2
    done
    kill -0 "$brevio" 2>/dev/null || break
    sleep 0.2
done
if [ -n "$window" ]; then
    xprop -id "$window" WM_CLASS
    xprop -id "$window" _NET_WM_ICON | head -c 120
    echo
    awk '$6 ~ /\.so/ {print $6}' "/proc/$brevio/maps" | sort -u >"$out.maps"
fi
kill "$brevio" 2>/dev/null
wait "$brevio"
SCRIPT
HOME="$scratch/home" XDG_DATA_HOME="$scratch/home/data" XDG_CONFIG_HOME="$scratch/home/config" \
    XDG_RUNTIME_DIR="$scratch/home/run" dbus-run-session -- \
    xvfb-run -a -s "-screen 0 1280x800x24" bash "$scratch/on-display.sh" "$root/usr/bin/brevio" \
    "$scratch/run" >"$display_log" 2>&1 || true
cat "$display_log"
wm_class=$(sed -n 's/^WM_CLASS(STRING) = //p' "$display_log")
[ -n "$wm_class" ] || { fail "no Brevio window appeared"; cat "$scratch/run.brevio" >&2 || true; }
if [ -n "$wm_class" ]; then
    class=${wm_class##*, \"}
    class=${class%\"}
    [ "$class" = "$(entry StartupWMClass)" ] ||
        fail "the window's class is $class, the desktop entry says $(entry StartupWMClass)"
    grep -q '^_NET_WM_ICON(CARDINAL) = ' "$display_log" || fail "the window has no icon"
fi

echo "+ every library the running program loaded comes with a package Depends pulls in"
if [ -s "$scratch/run.maps" ]; then
    # The dependency closure from the package database (installed packages and the lists).
    # shellcheck disable=SC2086
    apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
        --no-replaces --no-enhances $depends_names 2>/dev/null |
        sed -n 's/^\([^ <][^ :]*\).*/\1/p' | sort -u >"$scratch/closure"
    while read -r lib; do
        # Debian 12 lists some libraries under /lib, which the merged /usr shows as /usr/lib.
        owner=$({ dpkg -S "$lib" || dpkg -S "${lib#/usr}"; } 2>/dev/null | head -1 | cut -d: -f1) ||
            true
        [ -n "$owner" ] || continue # the program itself, or a file no package ships
        # libX11 loads libXcursor (and so libXrender) for cursor themes only when it is there.
        case "$owner" in libxcursor1 | libxrender1) continue ;; esac
        grep -qx "$owner" "$scratch/closure" || fail "$lib ($owner) is not pulled in by Depends"
    done <"$scratch/run.maps"
else
    fail "the running program's libraries could not be read"
fi

echo "+ package: $(realpath "$deb") ($(stat -c %s "$deb") bytes)," \
    "Installed-Size $(field Installed-Size) KiB, unpacked $(du -sk "$root" | cut -f1) KiB"
if [ "$failures" -gt 0 ]; then
    echo "check-package: $failures check(s) failed" >&2
    exit 1
fi
echo "check-package: all checks passed"
