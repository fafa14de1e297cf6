#!/usr/bin/env bash
# Builds the tests that start threads with ThreadSanitizer (build-tsan/) and runs them: the
# bounded channel, the import with its worker thread, and the command-line host that loads the
# plug-in. Any data race or lock-order inversion fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh
zum_ensure_packages

tests=(tst_boundedchannel tst_import tst_damagedfiles tst_damagedcontents tst_ibtlaps
    tst_readerfiles tst_scenarios tst_importqueue tst_librarydialog)

export ZUM_IBT_SAMPLES="${ZUM_IBT_SAMPLES:-$PWD/../shared/ibt}"
export QT_QPA_PLATFORM=offscreen

sanitizer="-fsanitize=thread"
# -O1 keeps the instrumented import of the long sessions short.
zum_configure build-tsan -DCMAKE_BUILD_TYPE=Debug -DZUM_BUILD_BENCH=OFF \
    "-DCMAKE_CXX_FLAGS_DEBUG=-g -O1" "-DCMAKE_CXX_FLAGS=$sanitizer" \
    "-DCMAKE_EXE_LINKER_FLAGS=$sanitizer" "-DCMAKE_SHARED_LINKER_FLAGS=$sanitizer" \
    "-DCMAKE_MODULE_LINKER_FLAGS=$sanitizer"
cmake --build build-tsan --parallel "$(nproc)" --target "${tests[@]}" ibt-laps iRPluginImport

# QProcess starts the tools with a vfork-like clone that shares the test's memory: the
# sanitizer's note that a process with threads forked lands in the test itself, whose next
# thread it would then refuse as one started by a forked child (die_after_fork).
options="halt_on_error=1 second_deadlock_stack=1 die_after_fork=0"
TSAN_OPTIONS="$options suppressions=$PWD/scripts/tsan.supp" \
    ctest --test-dir build-tsan --output-on-failure --parallel "$(nproc)" \
    -R "^($(IFS='|'; echo "${tests[*]}"))\$"
