# Sourced by run.sh, test.sh and bench.sh: their help, the packages of packages.txt, and the build.

# print_usage SCRIPT: the comment at the head of the script.
print_usage() {
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$1"
}

# with_package_manager COMMAND ...: runs the command as root. If another package manager is running, as
# at a machine's first boot, it waits, at most PACKAGES_WAIT_S seconds (600).
with_package_manager() {
    local as_root=() errors status=0 deadline=$((SECONDS + ${PACKAGES_WAIT_S:-600})) said=
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    errors=$(mktemp)
    until "${as_root[@]}" "$@" >&2 2>"$errors"; do
        status=$?
        if ! grep -qiE 'could not get lock|unable to (acquire|lock)|is locked by' "$errors"; then
            break
        fi
        if [ "$SECONDS" -ge "$deadline" ]; then
            echo "Gave up: the package manager is still busy" >&2
            break
        fi
        [ -n "$said" ] || echo "Waiting for another package manager: $(head -n 1 "$errors")" >&2
        said=yes status=0
        sleep 2
    done
    cat "$errors" >&2
    rm -f "$errors"
    return "$status"
}

# install_packages GROUP ...: installs the packages of these groups in packages.txt that are missing,
# unless the machine has the command that one is for from elsewhere.
# Works as root or through sudo.
install_packages() {
    local wanted missing=() package group command
    wanted=" $* "
    while read -r package group command _; do
        case "$package" in '' | '#'*) continue ;; esac
        case "$wanted" in *" $group "*) ;; *) continue ;; esac
        [ -n "$command" ] && command -v "$command" >/dev/null && continue
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done <"$root/packages.txt"
    [ ${#missing[@]} -eq 0 ] && return 0

    echo "Installing: ${missing[*]}" >&2
    with_package_manager apt-get update -qq
    with_package_manager env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# build_preset PRESET [TARGET ...]: configures and builds a preset.
build_preset() {
    local preset=$1
    shift
    export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
    cmake --preset "$preset" -S "$root" >/dev/null
    cmake --build "$root/build/$preset" ${*:+--target "$@"}
}
