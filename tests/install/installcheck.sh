#!/usr/bin/env bash
# Installs the project as a user, a packager or another project would, outside the build
# tree, and runs what was installed from a folder of its own with an empty environment: only
# the install itself can lead the tools to their libraries and the plug-in.
#
#   installcheck.sh prefix     cmake --install into a temporary DESTDIR, then the tools
#   installcheck.sh deb        the Debian package: file list, control data, then the tools
#                              unpacked from it
#   installcheck.sh sdk        a host built against the installed CMake package ZumSdk
#
# The build's facts come in the environment (tests/install/CMakeLists.txt sets them): the
# build folder, the install prefix and folders under it, the plug-in's file name, the
# package's name, version and prefix, and what the consumer project is built with.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/run"
# Flying laps in the generated practice session; out and in lap come with them.
flying_laps=2

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# run TOOL ARGUMENT...: TOOL from the work folder, with nothing in the environment that could
# help it find a library or a plug-in.
run() {
    (cd "$work/run" && env -i PATH=/usr/bin:/bin "$@")
}

# install_into ROOT: cmake --install with DESTDIR=ROOT; prints the prefix's folder under ROOT.
install_into() {
    DESTDIR=$1 cmake --install "$ZUM_BUILD_DIR" >"$work/install.log" \
        || { cat "$work/install.log" >&2; fail "cmake --install"; }
    echo "$1$ZUM_PREFIX"
}

# check_relative_runpath BINARY: its library search path starts from its own folder and
# names nothing of the build tree.
check_relative_runpath() {
    local runpath
    runpath=$(readelf -d "$1" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]$/\1/p')
    [[ $runpath == '$ORIGIN'* && $runpath != *"$ZUM_BUILD_DIR"* ]] \
        || fail "$1: library search path '$runpath' is not relative to the binary"
}

# check_installed_tools PREFIX: the installed ibt-write writes a session, the installed
# ibt-laps loads the installed plug-in and shows the laps the build tree's ibt-laps shows;
# without that plug-in it says where it looked, and --plugin still points elsewhere.
check_installed_tools() {
    local prefix=$1
    local bin=$prefix/$ZUM_BINDIR plugins=$prefix/$ZUM_PLUGINDIR
    local binary
    for binary in "$bin/ibt-write" "$bin/ibt-laps" "$plugins/$ZUM_PLUGIN_FILE"; do
        [ -f "$binary" ] || fail "$binary was not installed"
        check_relative_runpath "$binary"
    done

    run "$bin/ibt-write" --quiet --scenario practice --laps "$flying_laps" practice.ibt \
        || fail "the installed ibt-write could not write a session"
    local version
    version=$(run "$bin/ibt-laps" --version) || fail "the installed ibt-laps --version failed"
    grep -q '^plug-in: ' <<<"$version" || fail "ibt-laps --version names no plug-in: $version"

    local laps expected
    laps=$(run "$bin/ibt-laps" practice.ibt 2>"$work/stderr") \
        || { cat "$work/stderr" >&2; fail "the installed ibt-laps could not import the session"; }
    grep -q '^Lap  Stint/lap  Lap time  Completed  Kind ' <<<"$laps" \
        || fail "no lap table in the installed ibt-laps' output: $laps"
    grep -q '  flying  ' <<<"$laps" || fail "no flying lap in: $laps"
    expected=$(cd "$work/run" && "$ZUM_BUILD_DIR/bin/ibt-laps" practice.ibt 2>/dev/null)
    [ "$laps" = "$expected" ] || fail "the installed ibt-laps shows other laps than the build's:
$laps
--- the build's:
$expected"

    # Only the installed plug-in can have been loaded: without it the tool fails and names it.
    mv "$plugins" "$plugins.away"
    if run "$bin/ibt-laps" practice.ibt >/dev/null 2>"$work/stderr"; then
        fail "ibt-laps imported without its installed plug-in"
    fi
    grep -qF "cannot load the import plug-in $plugins/$ZUM_PLUGIN_FILE" "$work/stderr" \
        || fail "ibt-laps does not name the installed plug-in it missed: $(cat "$work/stderr")"
    laps=$(run "$bin/ibt-laps" --plugin "$plugins.away/$ZUM_PLUGIN_FILE" practice.ibt 2>/dev/null) \
        || fail "ibt-laps --plugin did not load the plug-in it names"
    [ "$laps" = "$expected" ] || fail "ibt-laps --plugin shows other laps: $laps"
    mv "$plugins.away" "$plugins"
    echo "$prefix: ibt-write and ibt-laps run, and ibt-laps loads the installed plug-in"
}

check_prefix() {
    check_installed_tools "$(install_into "$work/root")"
}

check_deb() {
    cpack -G DEB --config "$ZUM_BUILD_DIR/CPackConfig.cmake" -B "$work/package" \
        >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log" >&2; fail "cpack -G DEB"; }
    local packages=("$work"/package/*.deb)
    [ ${#packages[@]} -eq 1 ] && [ -f "${packages[0]}" ] || fail "cpack wrote ${packages[*]}"
    local deb=${packages[0]}

    local value
    # field NAME: the package's control field NAME.
    field() { dpkg-deb --field "$deb" "$1"; }
    [ "$(field Package)" = "$ZUM_PACKAGE_NAME" ] || fail "Package: $(field Package)"
    [[ $(field Version) == "$ZUM_VERSION"-* ]] || fail "Version: $(field Version)"
    [ "$(field Architecture)" = "$(dpkg --print-architecture)" ] \
        || fail "Architecture: $(field Architecture)"
    [[ $(field Maintainer) == *'<'*'@'*'>' ]] || fail "Maintainer: $(field Maintainer)"
    [ -n "$(field Description)" ] || fail "no Description"
    local depends names
    depends=$(field Depends)
    # The packages' names alone, one per line.
    names=$(sed 's/ ([^)]*)//g; s/, /\n/g' <<<"$depends")
    for value in libc6 libstdc++6 libqt6core6 libqt6gui6 libqt6widgets6 libqt6svg6 \
        fonts-dejavu-core; do
        grep -qxF "$value" <<<"$names" || fail "Depends lacks $value: $depends"
    done
    if grep -qxF "$ZUM_PACKAGE_NAME" <<<"$names"; then
        fail "the package depends on itself: $depends"
    fi

    local contents path
    contents=$(dpkg-deb --contents "$deb" | awk '{ print $6 }')
    for path in "$ZUM_BINDIR/ibt-laps" "$ZUM_BINDIR/ibt-write" "$ZUM_BINDIR/ibt-view" \
        share/applications/ibt-view.desktop share/icons/hicolor/scalable/apps/ibt-view.svg \
        "$ZUM_PLUGINDIR/$ZUM_PLUGIN_FILE" "$ZUM_LIBDIR/libzumsdk.so.$ZUM_VERSION" \
        "$ZUM_INCLUDEDIR/plugininterfaceimport.h" "$ZUM_CMAKEDIR/ZumSdkConfig.cmake"; do
        grep -qxF ".$ZUM_PACKAGE_PREFIX/$path" <<<"$contents" \
            || fail "the package lacks $ZUM_PACKAGE_PREFIX/$path: $contents"
    done
    if grep -E '/(tst_|bench_|fuzz)' <<<"$contents"; then
        fail "the package holds tests, benchmarks or fuzz targets"
    fi

    dpkg-deb -x "$deb" "$work/root"
    # The menu entry starts the installed viewer by name, with its icon.
    local entry=$work/root$ZUM_PACKAGE_PREFIX/share/applications/ibt-view.desktop
    grep -qx 'Exec=ibt-view %F' "$entry" && grep -qx 'Icon=ibt-view' "$entry" \
        && grep -qx 'Type=Application' "$entry" || fail "the desktop entry: $(cat "$entry")"
    check_installed_tools "$work/root$ZUM_PACKAGE_PREFIX"
    echo "$(basename "$deb"): $depends"
}

check_sdk() {
    local prefix
    prefix=$(install_into "$work/root")
    cmake -S "$ZUM_CONSUMER_DIR" -B "$work/consumer" -G "$ZUM_CMAKE_GENERATOR" \
        -DCMAKE_CXX_COMPILER="$ZUM_CXX_COMPILER" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_PREFIX_PATH="$prefix" -DZUM_SDK_VERSION="$ZUM_VERSION" \
        >"$work/consumer.log" 2>&1 \
        && cmake --build "$work/consumer" >>"$work/consumer.log" 2>&1 \
        || { cat "$work/consumer.log" >&2; fail "a project could not build against ZumSdk"; }
    grep -qxF "ZumSdk_DIR:PATH=$prefix/$ZUM_CMAKEDIR" "$work/consumer/CMakeCache.txt" \
        || fail "the consumer found another ZumSdk: $(grep ZumSdk_DIR "$work/consumer/CMakeCache.txt")"

    run "$prefix/$ZUM_BINDIR/ibt-write" --quiet --scenario practice --laps "$flying_laps" \
        practice.ibt || fail "the installed ibt-write could not write a session"
    local received laps samples
    received=$(run "$work/consumer/zum-consumer" "$prefix/$ZUM_PLUGINDIR/$ZUM_PLUGIN_FILE" \
        practice.ibt 2>&1) || fail "the consumer could not import the session: $received"
    # The installed ibt-laps' lap count, and its lap table's samples (the column before the
    # last, Start) joined on one line.
    laps=$(run "$prefix/$ZUM_BINDIR/ibt-laps" practice.ibt 2>/dev/null)
    samples=$(awk '/^---/ { table = 1; next } table && !NF { exit }
        table { printf " %s", $(NF - 1) }' <<<"$laps")
    laps=$(sed -n 's/^Laps: *//p' <<<"$laps")
    grep -qx "laps: $laps" <<<"$received" || fail "the consumer received other laps: $received"
    grep -qx "samples:$samples" <<<"$received" \
        || fail "the consumer's laps hold other samples than ibt-laps shows ($samples): $received"
    grep -qx "timed: $flying_laps" <<<"$received" || fail "the consumer's laps: $received"
    echo "a host built against the installed ZumSdk imports the session: $received"
}

case ${1:-} in
prefix) check_prefix ;;
deb) check_deb ;;
sdk) check_sdk ;;
*) fail "usage: installcheck.sh prefix|deb|sdk" ;;
esac
