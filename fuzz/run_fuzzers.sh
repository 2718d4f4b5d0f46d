#!/usr/bin/env bash
# Runs each fuzz target of a libFuzzer build for a bounded time, one after the other on one core,
# and prints per target its executions, coverage (cov: edges, ft: features), corpus size and finds.
#
#   fuzz/run_fuzzers.sh BUILD_DIR SECONDS [TARGET...]
#
# A target starts from its corpus (fuzz/corpus/<name>, where new inputs are kept), its seeds
# (fuzz/seeds/<name>) and the inputs that once found bugs (tests/data/fuzz/<name>). What crashes,
# hangs or leaks goes to fuzz/artifacts/<name>/: fix the bug, then move the input to
# tests/data/fuzz/<name>/, where `make test` replays it. Exits 1 when any target found something.
# A run counts as hung after 60 s: the first use of a fallback face under ASan on a busy
# two-core machine has taken 30 s of waiting on fontconfig.
set -u
build=$1
seconds=$2
shift 2
cd "$(dirname "$0")/.."
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for source in fuzz/*_fuzzer.cc; do
    name=$(basename "$source" _fuzzer.cc)
    targets+=("$name")
  done
fi

mkdir -p "$build/fuzz-logs"
summary=()
found=0
for name in "${targets[@]}"; do
  mkdir -p "fuzz/corpus/$name" "fuzz/artifacts/$name"
  kept=()
  [ -d "tests/data/fuzz/$name" ] && kept+=("tests/data/fuzz/$name")
  log="$build/fuzz-logs/$name.log"
  echo "== fuzz_$name for ${seconds}s (log: $log)"
  LSAN_OPTIONS="suppressions=$PWD/fuzz/lsan.supp" "$build/fuzz_$name" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="fuzz/artifacts/$name/" "fuzz/corpus/$name" "fuzz/seeds/$name" "${kept[@]}" >"$log" 2>&1
  status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  coverage=$(grep -E '^#[0-9]+' "$log" | grep -oE 'cov: [0-9]+ ft: [0-9]+' | tail -1)
  corpus=$(find "fuzz/corpus/$name" -type f | wc -l)
  finds=$(find "fuzz/artifacts/$name" -type f | wc -l)
  [ "$status" -ne 0 ] && found=1
  [ "$finds" -gt 0 ] && found=1
  summary+=("$(printf '%-16s %10s runs  %-22s corpus %5s  finds %s  exit %s' \
    "$name" "${runs:-?}" "${coverage:-cov: ?}" "$corpus" "$finds" "$status")")
done

echo
printf '%s\n' "${summary[@]}"
exit $found
