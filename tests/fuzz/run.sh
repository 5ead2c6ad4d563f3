#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer, UndefinedBehaviorSanitizer) in BUILD_DIR
# and runs each for FUZZ_SECONDS from the committed corpus, with the committed dictionary of its
# format. New inputs go to BUILD_DIR/corpus/<name>, findings to BUILD_DIR/findings/<name>/.
#   tests/fuzz/run.sh [name ...]     all targets when none is named
# Environment: FUZZ_SECONDS (600), FUZZ_MAX_LEN (65536), FUZZ_TIMEOUT (seconds one input may take,
# 10), BUILD_DIR (build-fuzz).
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${FUZZ_SECONDS:-600}
max_len=${FUZZ_MAX_LEN:-65536}
timeout=${FUZZ_TIMEOUT:-10}
build=${BUILD_DIR:-build-fuzz}
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in tests/fuzz/fuzz_*.cpp; do
        name=$(basename "$source" .cpp)
        targets+=("${name#fuzz_}")
    done
fi

./.ci/deps fuzz
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLATOPT_FUZZ=ON
cmake --build "$build" -j 2 --target "${targets[@]/#/fuzz_}"

status=0
for name in "${targets[@]}"; do
    mkdir -p "$build/corpus/$name" "$build/findings/$name"
    cat tests/fuzz/dict/numbers.dict "tests/fuzz/dict/$name.dict" >"$build/$name.dict"
    echo "== fuzz_$name: $seconds s"
    "$build/bin/fuzz_$name" -max_total_time="$seconds" -max_len="$max_len" -timeout="$timeout" \
        -dict="$build/$name.dict" -artifact_prefix="$build/findings/$name/" -print_final_stats=1 -close_fd_mask=3 \
        "$build/corpus/$name" "tests/fuzz/corpus/$name" 2>&1 | tee "$build/$name.log" | grep -E \
        '^#[0-9]+ +(INITED|DONE)|^(==|SUMMARY|stat::)|ERROR|Done' || status=1
done
if [ -n "$(find "$build/findings" -type f 2>/dev/null)" ]; then
    echo "Findings (copy each into tests/fuzz/corpus/<name>/ once it is fixed):"
    find "$build/findings" -type f
    status=1
fi
exit $status
