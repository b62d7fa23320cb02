# Sourced by ./run and ./test: what both need before they can start.

fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# install_missing GROUP...: installs the packages of packages.txt that are not there yet.
install_missing() {
    command -v dpkg-query >/dev/null || return 0  # Not Debian: the build will say what it lacks.
    local wanted missing
    wanted=$(awk -v groups=" $* " '!/^#/ && index(groups, " " $1 " ") {print $2}' "$root/packages.txt")
    # shellcheck disable=SC2086
    # A package of another architecture is called name:architecture, and is no substitute for ours.
    missing=$(comm -23 <(sort <<<"$wanted") \
        <(dpkg-query -W -f '${Status} ${Package} ${Architecture}\n' $wanted 2>/dev/null |
            awk -v ours="$(dpkg --print-architecture)" \
                '/^install ok installed/ {print $4 ":" $5; if ($5 == ours || $5 == "all") print $4}' | sort))
    [ -z "$missing" ] && return 0
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! sudo -n true 2>/dev/null; then
            fail "packages are missing; install them with
    sudo apt-get install --no-install-recommends $(echo $missing)"
        fi
        as_root=(sudo)
    fi
    echo "Installing $(echo $missing)" >&2
    "${as_root[@]}" apt-get update -qq >&2 || true
    # shellcheck disable=SC2086
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >&2 ||
        fail "apt-get could not install: $(echo $missing)"
}

# build PRESET [TARGET...]: configures once, then only builds. With tests=ON the tests are part of it.
build() {
    local preset=$1 folder="$root/build/$1" log
    shift
    mkdir -p "$folder"
    log="$folder/build.log"
    if [ ! -f "$folder/build.ninja" ] ||
        { [ "${tests:-OFF}" = ON ] && ! grep -q '^TESSALY_TESTS:BOOL=ON' "$folder/CMakeCache.txt"; }; then
        echo "Configuring ($preset)" >&2
        (cd "$root" && cmake --preset "$preset" -DTESSALY_TESTS="${tests:-OFF}") >"$log" 2>&1 ||
            { cat "$log" >&2; rm -f "$folder/build.ninja"; fail "cmake failed"; }
        echo "Building ($preset); the first time takes a few minutes" >&2
    fi
    ninja -C "$folder" "$@" >"$log" 2>&1 || { grep -vE '^\[[0-9]+/' "$log" | tail -n 60 >&2; fail "the build failed; all of it is in $log"; }
}
