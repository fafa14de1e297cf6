# Shared by ./run and ./test: install what is missing, then configure and build incrementally.

# Debian 12 packages the project builds with: Qt with SVG for the pictures and Widgets for the
# viewer, Xvfb for the test that runs the viewer on a display; dpkg-dev (dpkg-shlibdeps) and file
# for the Debian package's dependencies, which cpack computes; for the lap library, Qt's SQLite
# and PostgreSQL drivers, and the PostgreSQL 15 server that its tests start a throwaway cluster
# of with pg_virtualenv (postgresql-common); xxHash's header for the library's file hash.
ZUM_PACKAGES=(cmake g++ ninja-build qt6-base-dev qt6-svg-dev xvfb xauth fonts-dejavu-core dpkg-dev
    file libqt6sql6-sqlite libqt6sql6-psql postgresql-15 postgresql-common libxxhash-dev)
# clang with libFuzzer and its sanitizer runtimes, for the fuzz targets (build-fuzz).
ZUM_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# zum_missing_packages PACKAGE...: prints those of the packages that are not installed.
zum_missing_packages() {
    local package
    for package in "$@"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
            echo "$package"
        fi
    done
}

# zum_ensure_packages [PACKAGE...]: installs those missing (the project's own by default).
zum_ensure_packages() {
    [ $# -gt 0 ] || set -- "${ZUM_PACKAGES[@]}"
    local missing
    mapfile -t missing < <(zum_missing_packages "$@")
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

# zum_build_fuzzers: the fuzz targets and their seed writer, built with clang, libFuzzer,
# AddressSanitizer and UndefinedBehaviorSanitizer into build-fuzz; nothing else of the project.
zum_build_fuzzers() {
    zum_configure build-fuzz -DCMAKE_CXX_COMPILER=clang++ -DZUM_BUILD_FUZZ=ON \
        -DZUM_BUILD_TESTS=OFF -DZUM_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=Debug \
        "-DCMAKE_CXX_FLAGS_DEBUG=-g -O1"
    cmake --build build-fuzz --parallel "$(nproc)" --target fuzzers
}
