# Sourced by run.sh, test.sh and bench.sh: installs what packages.txt lists for
# the groups given and is not there yet. Works as root or through sudo.
install_packages() {
    local wanted missing=() package group
    wanted=" $* "
    while read -r package group _; do
        case "$package" in '' | '#'*) continue ;; esac
        case "$wanted" in *" $group "*) ;; *) continue ;; esac
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done <"$root/packages.txt"
    [ ${#missing[@]} -eq 0 ] && return 0

    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    echo "Installing: ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

# Configures and builds a preset: build_preset PRESET [TARGET ...]
build_preset() {
    local preset=$1
    shift
    export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
    cmake --preset "$preset" -S "$root" >/dev/null
    cmake --build "$root/build/$preset" ${*:+--target "$@"}
}
