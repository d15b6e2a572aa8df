#!/usr/bin/env bash
# Makes the 32-bit ARM sysroot that the preset armhf builds and runs against:
#   tools/armhf_sysroot.sh DIRECTORY
# The packages of group `sysroot` in packages.txt, and all that they depend on, are fetched from this
# machine's package sources and unpacked there. Nothing is installed, so root is not needed, and what
# the machine itself has in which version does not matter. Where the list and this file have not
# changed since, nothing is done.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
host_tools=/usr/lib/qt5/bin # of the machine's own qtbase5-dev-tools

fail() {
    echo "armhf_sysroot.sh: $*" >&2
    exit 1
}

if [ "${1:-}" = --help ]; then
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit
fi
[ $# -eq 1 ] || fail "usage: tools/armhf_sysroot.sh DIRECTORY"
for tool in moc rcc; do
    [ -x "$host_tools/$tool" ] || fail "no $host_tools/$tool: install qtbase5-dev"
done

sysroot=$(realpath -m "$1")
mapfile -t packages < <(awk '!/^#/ && $2 == "sysroot" { print $1 }' "$root/packages.txt")
[ ${#packages[@]} -gt 0 ] || fail "packages.txt lists nothing for group sysroot"
stamp="$sysroot/.complete"
wanted=$(printf '%s\n' "${packages[@]}" | cat - "${BASH_SOURCE[0]}" | sha256sum)
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$wanted" ]; then
    exit 0
fi

echo "Making the armhf sysroot in $sysroot" >&2
work="$sysroot.apt"
rm -rf "$sysroot" "$work"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work"/{state/lists,cache/archives}/partial
: >"$work/status" # as on a machine where nothing is installed: every dependency is fetched
apt=(apt-get -q
    -o APT::Architecture=armhf -o APT::Architectures=armhf
    -o Dir::State="$work/state" -o Dir::State::status="$work/status" -o Dir::Cache="$work/cache"
    -o APT::Sandbox::User=root -o APT::Install-Recommends=false -o Acquire::Languages=none
    -o Acquire::Retries=3)

# A source may know no armhf, or be out of step for the moment. What matters is whether the packages
# are found.
"${apt[@]}" update >"$work/log" 2>&1 || echo "Some package lists were not fetched" >&2
"${apt[@]}" install -y --download-only "${packages[@]}" >>"$work/log" 2>&1 || {
    tail -n 20 "$work/log" >&2
    fail "the armhf packages can't be fetched"
}

# Packages name /lib and /usr/lib: one folder, as on an installed system.
mkdir -p "$sysroot/usr/lib"
ln -s usr/lib "$sysroot/lib"
for archive in "$work"/cache/archives/*.deb; do
    dpkg-deb --extract "$archive" "$sysroot" || fail "${archive##*/} can't be unpacked"
done

# Links to places from the root on would lead out of the sysroot.
find "$sysroot" -type l -lname '/*' -printf '%P\t%l\n' | while IFS=$'\t' read -r link target; do
    ln -sfnr "$sysroot$target" "$sysroot/$link"
done

# libsensors can't read a folder through the emulator where the file system's offsets have 64 bits.
rm -rf "$sysroot/etc/sensors.d"

# Qt's CMake files look for these beside its libraries, and they run on this machine.
for tool in moc rcc; do
    ln -sfn "$host_tools/$tool" "$sysroot/usr/lib/qt5/bin/$tool"
done

for file in usr/lib/arm-linux-gnueabihf/libQt5Network.so lib/ld-linux-armhf.so.3; do
    [ -f "$sysroot/$file" ] || fail "no $file among what was unpacked"
done
echo "$wanted" >"$stamp"
