#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ with clang in build-fuzz, then runs each, one after the
# other, for FUZZ_SECONDS (default 60) on a fresh copy of its seed corpus, and prints per target
# the inputs executed and the findings (crash, leak, timeout or out-of-memory inputs; a target
# stops at its first). FUZZ_JOBS (default 1) compile jobs. Exits non-zero on any finding.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${FUZZ_SECONDS:-60}
jobs=${FUZZ_JOBS:-1}
build=build-fuzz

CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELP_FUZZ=ON \
    -DKELP_FUZZ_SANITIZERS=fuzzer,address,undefined -DKELP_TESTS=OFF >/dev/null
cmake --build "$build" -j "$jobs" --target kelp_fuzz

summary=()
total=0
for source in fuzz/fuzz_*.cpp; do
    target=$(basename "$source" .cpp)
    run="$build/fuzz-runs/$target"
    rm -rf "$run"
    mkdir -p "$run/corpus" "$run/findings"
    cp fuzz/corpus/"$target"/* "$run/corpus/"
    echo "== $target: ${seconds}s"
    "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
        -artifact_prefix="$run/findings/" "$run/corpus" >"$run/log" 2>&1 || true
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$run/log" | tail -1)
    findings=$(find "$run/findings" -type f | wc -l)
    total=$((total + findings))
    summary+=("$(printf '%-20s %12s %9s' "$target" "${executions:-?}" "$findings")")
    if [ "$findings" -gt 0 ]; then
        grep -E 'property broken|ERROR:|runtime error|SUMMARY' "$run/log" | head -5 || true
        find "$run/findings" -type f
    fi
done

echo
printf '%-20s %12s %9s\n' target executions findings
printf '%s\n' "${summary[@]}"
echo "Logs, corpora and findings: $build/fuzz-runs/"
[ "$total" -eq 0 ]
