# Shared by ./run and ./test: install what is missing, then configure and build incrementally.

# Debian 12 packages the project builds with.
ZUM_PACKAGES=(cmake g++ ninja-build qt6-base-dev fonts-dejavu-core)

zum_ensure_packages() {
    local missing=()
    local package
    for package in "${ZUM_PACKAGES[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -eq 0 ]; then
        echo "Installing missing packages: ${missing[*]}" >&2
        DEBIAN_FRONTEND=noninteractive apt-get update -qq
        DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
    else
        echo "Missing packages: ${missing[*]}. Install them with:" >&2
        echo "  sudo apt-get update && sudo apt-get install -y --no-install-recommends ${missing[*]}" >&2
        return 1
    fi
}

# zum_configure DIR [cmake arguments...]: configures DIR once, and again only when the
# arguments change (new sanitizer flags, say); later builds reuse it.
zum_configure() {
    local dir=$1
    shift
    local arguments="$*" stored
    stored=$(cat "$dir/zum-configure-arguments" 2>/dev/null || true)
    if [ ! -f "$dir/CMakeCache.txt" ] || [ "$stored" != "$arguments" ]; then
        cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
        printf '%s' "$arguments" >"$dir/zum-configure-arguments"
    fi
}

# zum_build DIR [cmake arguments...]: configures DIR once, then builds what changed.
zum_build() {
    zum_configure "$@"
    cmake --build "$1" --parallel "$(nproc)"
}
