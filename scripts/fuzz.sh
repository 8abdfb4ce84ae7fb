#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz/) with clang-16, AddressSanitizer and UndefinedBehaviorSanitizer
# into build-fuzz, then fuzzes each target for a fixed time, seeded from fuzz/corpus.
# Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
#   SECONDS  per target (default 60); TARGET is collada, scenario or session (default: all three)
# Inputs found while fuzzing go to build-fuzz/corpus/TARGET (the committed corpus is only read);
# a crashing input is written to build-fuzz/artifacts/ and the script fails.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(collada scenario session)

bash "$root/scripts/setup.sh" clang-16 libclang-rt-16-dev
dir="$root/build-fuzz"
launcher=()
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++-16 \
  -DORRERY_FUZZ=ON -DORRERY_BENCHMARKS=OFF "${launcher[@]}" >/dev/null
cmake --build "$dir" -j"${ORRERY_JOBS:-2}" --target orrery-fuzz-targets

mkdir -p "$dir/artifacts"
for target in "${targets[@]}"; do
  case "$target" in
    collada) seeds="$root/fuzz/corpus/collada" dict="$root/fuzz/collada.dict" ;;
    scenario|session) seeds="$root/fuzz/corpus/scenario" dict="$root/fuzz/scenario.dict" ;;
    *) echo "fuzz: unknown target '$target' (collada, scenario, session)" >&2; exit 2 ;;
  esac
  mkdir -p "$dir/corpus/$target"
  echo "fuzz: $target for ${seconds} s" >&2
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  LSAN_OPTIONS=suppressions="$root/fuzz/lsan.supp":print_suppressions=0 \
    "$dir/fuzz/orrery-fuzz-$target" "$dir/corpus/$target" "$seeds" -dict="$dict" \
    -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 \
    -artifact_prefix="$dir/artifacts/$target-" 2>"$dir/$target.log" || {
      tail -n 60 "$dir/$target.log" >&2
      echo "fuzz: $target failed; see $dir/$target.log and $dir/artifacts/" >&2
      exit 1
    }
  grep -E "^stat::number_of_executed_units|^stat::peak_rss_mb|^#[0-9]+.*DONE" "$dir/$target.log" >&2 || true
done
