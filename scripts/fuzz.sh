#!/usr/bin/env bash
# Fuzzes the import with libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer:
#
#   scripts/fuzz.sh [TARGET] [SECONDS]
#
# TARGET is import (the whole import of a file), sessiontext (the session text alone),
# streams (the data model's stream formats) or all, the default: each in turn. SECONDS is
# the time for each target, 600 by default. One target runs at a time, in one process.
#
# Installs clang and libFuzzer when missing, builds the targets into build-fuzz/, writes their
# seeds (generated files, and the start of each recorded file in ZUM_IBT_SAMPLES or
# ../shared/ibt when there are any) and fuzzes. The corpus grows in fuzz/corpus/TARGET/ and
# findings land in fuzz/findings/TARGET/, neither under version control. A finding becomes a
# test; its input goes to fuzz/regressions/TARGET/, which every replay of the corpus runs.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/common.sh

usage() {
    echo "usage: scripts/fuzz.sh [import|sessiontext|streams|all] [SECONDS]" >&2
    exit 2
}

all=(import sessiontext streams)
case "${1:-all}" in
all) targets=("${all[@]}") ;;
import | sessiontext | streams) targets=("$1") ;;
*) usage ;;
esac
seconds=${2:-600}
[[ "$seconds" =~ ^[1-9][0-9]*$ ]] || usage

zum_ensure_packages "${ZUM_PACKAGES[@]}" "${ZUM_FUZZ_PACKAGES[@]}"
zum_build_fuzzers >/dev/null
export ZUM_IBT_SAMPLES="${ZUM_IBT_SAMPLES:-$PWD/../shared/ibt}"
seeds=build-fuzz/fuzz/seeds
build-fuzz/bin/fuzz-seeds "$seeds"

export LSAN_OPTIONS="suppressions=$PWD/scripts/lsan.supp:print_suppressions=0"
# A session text of the simulator's is a few dozen KiB, and the import reads a file's start
# as a seed: longer inputs only slow the search down.
declare -A options=(
    [import]="-dict=fuzz/dictionaries/ibt.dict -max_len=65536"
    [sessiontext]="-dict=fuzz/dictionaries/ibt.dict -max_len=65536"
    [streams]="-dict=fuzz/dictionaries/streams.dict -max_len=4096"
)

status=0
for target in "${targets[@]}"; do
    corpus=fuzz/corpus/$target
    findings=fuzz/findings/$target
    log=build-fuzz/fuzz/$target.log
    mkdir -p "$corpus" "$findings"
    inputs=("$corpus" "$seeds/$target")
    [ -d "fuzz/regressions/$target" ] && inputs+=("fuzz/regressions/$target")

    echo "fuzzing $target for $seconds s (log: $log)"
    result=0
    # shellcheck disable=SC2086 # the options are words
    build-fuzz/bin/fuzz_"$target" ${options[$target]} -max_total_time="$seconds" \
        -timeout=30 -print_final_stats=1 -artifact_prefix="$findings/" \
        "${inputs[@]}" >"$log" 2>&1 || result=$?
    case $result in
    0) outcome="no finding" ;;
    72)
        outcome="interrupted before its time, no finding so far"
        status=1
        ;;
    *)
        outcome="FINDING: $(grep -E 'ERROR:|Test unit written to' "$log" | tr '\n' ' ' || true)"
        status=1
        ;;
    esac
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    coverage=$(grep -E '^#[0-9]+' "$log" | tail -n 1 | grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+' || true)
    echo "$target: ${executions:-?} executions, ${rate:-?} exec/s, ${coverage:-no coverage line}; $outcome"
done
exit $status
