#!/usr/bin/env bash
# tool_bench.sh: times whole runs of the tool on large solution files.
#
#   bench/tool_bench.sh [path/to/latopt]        (default: build-bench/bin/latopt; `make bench-tool`)
#
# 1. Generates, with the awk program below (a Park-Miller generator with a fixed seed, so the
#    files are the same on every machine and with every awk), one program prog.opt: 30 integer
#    variables, 10 equations Ag x = bg with Ag = [ C | I ], so that the first 20 variables are free
#    and the last 10 follow from them; 5 inequations (x1 + x2 <= 12, three two-sided rows and one
#    with ru = inf); two targets, the first minimised (-inf), the second near the finite value 5.
# 2. Generates solution files of 5,000, 20,000 and 80,000 records. Of every ten records one
#    fails (in turn a bound, an equation, the inequation x1 + x2 <= 12) and two repeat the x of an
#    earlier valid record: half of those with the same params (some as identical lines, some with
#    other seconds and version), half with other params. Seconds (a quarter -1), params and
#    versions vary; the targets take few values, so that many records tie on the norms and the
#    order looks further. A failing record is always followed by a valid one: the check pass
#    doesn't look at the record that moves into the place of a removed one. All figures in the
#    lines are the right ones, so the records the pass doesn't look at still sort as if checked.
# 3. Runs the tool on a fresh copy of each file (it rewrites the file) REPEAT times, once if a run
#    takes more than a minute, and prints the fastest wall time with the CPU time (user + system)
#    and the peak memory of that run (/usr/bin/time; without it the wall time alone, from date),
#    then t(80k)/t(20k) against the ratio of n log n, 4 * ln(80000)/ln(20000) = 4.56.
# 4. Checks each run: status 0, nothing on standard error; the rewritten file holds one line per
#    valid record unique by (x, params), sorted by target norm and then slack norm, without two
#    lines of equal (x, params); the report holds one entry per valid unique x; every repetition
#    writes the same file and the same report. Exit status 1 if a check fails.
#
# Environment: SIZES (default "5000 20000 80000"; the growth ratio needs 20000 and 80000),
# REPEAT (default 3), TIMEOUT (default 900: seconds after which a run is stopped, with coreutils'
# timeout; the larger files are then left out), KEEP=1 keeps the work directory and prints its name.
# The goals: 20,000 records in under 2 seconds, and time growing no faster than n log n from
# 20,000 to 80,000 records. A missed goal is reported but doesn't change the exit status.
set -euo pipefail

tool=${1:-build-bench/bin/latopt}
sizes=${SIZES:-5000 20000 80000}
repeat=${REPEAT:-3}
limit=${TIMEOUT:-900}
[ -x "$tool" ] || { echo "tool_bench: no executable at $tool" >&2; exit 1; }
tool=$(cd "$(dirname "$tool")" && pwd)/$(basename "$tool")

work=$(mktemp -d "${TMPDIR:-/tmp}/tool_bench.XXXXXX")
if [ "${KEEP:-0}" = 1 ]; then
    echo "work directory: $work"
else
    trap 'rm -rf "$work"' EXIT
fi

# generate N DIR: writes DIR/prog.opt, DIR/prog.sol with N records and DIR/expect with two
# numbers: the valid records unique by (x, params) and the valid records unique by x.
generate() {
    awk -v N="$1" -v DIR="$2" '
    function rnd(lo, hi) { seed = (seed * 48271) % 2147483647; return lo + seed % (hi - lo + 1) }
    function abs(v) { return v < 0 ? -v : v }
    function vec(a, n,    s, j) { s = "["; for (j = 1; j <= n; ++j) s = s " " a[j]; return s " ]" }
    # Free variables y = x1..x20 inside their bounds with x1 + x2 <= 12; x21..x30 from the equations.
    function validFree(    j) {
        for (j = 1; j <= FREE; ++j) x[j] = rnd(-10, 10)
        if (x[1] + x[2] > 12) x[2] = 12 - x[1]
    }
    function dependent(    i, j, s) {
        for (i = 1; i <= EQ; ++i) {
            s = bg[i]
            for (j = 1; j <= FREE; ++j) s -= C[i, j] * x[j]
            x[FREE + i] = s
        }
    }
    function params() { return "--beta=" (10 + 2 * rnd(0, 25)) " --sol=" rnd(1, 5) }
    function seconds() { return rnd(1, 4) == 1 ? -1 : rnd(0, 200000) }
    function version() { return VERSIONS[rnd(1, 5)] }
    # The line of x with its right figures: targetNorm = t1 + |t2 - 5|, slackNorm = |t2 - 5|.
    function line(xs, p, s, v,    i, j, t, out) {
        for (i = 1; i <= 2; ++i) { t[i] = 0; for (j = 1; j <= NV; ++j) t[i] += At[i, j] * x[j] }
        out = xs " | " (t[1] + abs(t[2] - 5)) " | [ " t[1] " " t[2] " ] | " abs(t[2] - 5) " | " s " | " p
        return v == "" ? out : out " | " v
    }
    BEGIN {
        seed = 20240611; NV = 30; FREE = 20; EQ = 10; NI = 5
        split("2.2.3 2.2.1 2.10 2.1.9", VERSIONS, " "); VERSIONS[5] = ""
        # The program. x0 is one solution; bg = Ag x0.
        for (j = 1; j <= NV; ++j) x0[j] = rnd(-10, 10)
        if (x0[1] + x0[2] > 12) x0[2] = 12 - x0[1]
        for (i = 1; i <= EQ; ++i) {
            bg[i] = x0[FREE + i]; width = 0
            for (j = 1; j <= FREE; ++j) { C[i, j] = rnd(-2, 2); bg[i] += C[i, j] * x0[j]; width += 10 * abs(C[i, j]) }
            # |x_(20+i)| <= |bg_i| + sum_j |C_ij| |x_j|, and |x_j| <= 11 also for the records off bounds.
            rx[FREE + i] = abs(bg[i]) + width + 25
        }
        for (j = 1; j <= FREE; ++j) rx[j] = 10
        # Targets on the free variables with coefficients -1..1: few distinct norms, so that many
        # records tie on them and the order has to look further.
        for (i = 1; i <= 2; ++i) for (j = 1; j <= NV; ++j) At[i, j] = j <= FREE ? rnd(-1, 1) : 0
        for (j = 1; j <= NV; ++j) Au[1, j] = j <= 2 ? 1 : 0
        lu[1] = "-inf"; ru[1] = 12
        for (i = 2; i <= NI; ++i) {
            box = 0
            for (j = 1; j <= NV; ++j) { Au[i, j] = rnd(-3, 3); box += abs(Au[i, j]) * rx[j] }
            lu[i] = -box; ru[i] = i == NI ? "inf" : box
        }
        opt = DIR "/prog.opt"
        print "// Generated by bench/tool_bench.sh: 30 variables, 10 equations, 5 inequations, 2 targets." > opt
        print "[ -inf 5 ]" > opt
        print "[" > opt; for (i = 1; i <= 2; ++i) { for (j = 1; j <= NV; ++j) r[j] = At[i, j]; print vec(r, NV) > opt }; print "]" > opt
        print "[" > opt
        for (i = 1; i <= EQ; ++i) { for (j = 1; j <= FREE; ++j) r[j] = C[i, j]; for (j = 1; j <= EQ; ++j) r[FREE + j] = i == j; print vec(r, NV) > opt }
        print "]" > opt; print vec(bg, EQ) > opt
        print "[" > opt; for (i = 1; i <= NI; ++i) { for (j = 1; j <= NV; ++j) r[j] = Au[i, j]; print vec(r, NV) > opt }; print "]" > opt
        print vec(lu, NI) > opt; print vec(ru, NI) > opt
        for (j = 1; j <= NV; ++j) { r[j] = 0; l[j] = -rx[j] }
        print vec(r, NV) > opt; print vec(l, NV) > opt; print vec(rx, NV) > opt
        close(opt)

        # The records.
        sol = DIR "/prog.sol"; bases = 0; duplicates = 0; failing = 0
        for (n = 1; n <= N; ++n) {
            if (n % 10 == 5) {
                kind = failing++ % 3
                if (kind == 0) { validFree(); x[1] = 11; x[2] = rnd(-10, 1); dependent() }  # bound
                else if (kind == 1) { validFree(); dependent(); x[FREE + 1] += 1 }        # equation
                else { validFree(); x[1] = 10; x[2] = 10; dependent() }                   # x1 + x2 <= 12
                print line(vec(x, NV), params(), seconds(), version()) > sol
                continue
            }
            if (n % 5 == 2) {
                k = rnd(1, bases); xs = baseX[k]; p = baseP[k]
                variant = duplicates++ % 4
                if (variant == 0) { print baseLine[k] > sol; continue }
                if (variant >= 2) { do q = params(); while (q == p); p = q }
                split(substr(xs, 3, length(xs) - 4), x, " ")
            } else {
                do { validFree(); dependent(); xs = vec(x, NV) } while (xs in seen)
                seen[xs] = 1; p = params()
            }
            ln = line(xs, p, seconds(), version())
            print ln > sol
            if (n % 5 != 2) { ++bases; baseX[bases] = xs; baseP[bases] = p; baseLine[bases] = ln }
            if (!((xs, p) in pairs)) { pairs[xs, p] = 1; ++pairCount }
            if (!(xs in uniqueX)) { uniqueX[xs] = 1; ++xCount }
        }
        close(sol)
        print pairCount, xCount > (DIR "/expect")
    }'
}

# check DIR OUT ERR STATUS: the checks of step 4 on one run; prints what fails, returns 1 then.
check() {
    local dir=$1 out=$2 err=$3 status=$4 pairs xs lines entries bad=0
    read -r pairs xs <"$dir/expect"
    [ "$status" = 0 ] || { echo "  FAIL: exit status $status"; bad=1; }
    [ -s "$err" ] && { echo "  FAIL: standard error: $(head -c 200 "$err")"; bad=1; }
    lines=$(wc -l <"$dir/prog.sol")
    [ "$lines" = "$pairs" ] || { echo "  FAIL: $lines lines in the file, $pairs valid unique (x, params)"; bad=1; }
    entries=$(grep -c '^x = ' "$out" || true)
    [ "$entries" = "$xs" ] || { echo "  FAIL: $entries report entries, $xs valid unique x"; bad=1; }
    # The first three faults of each kind are shown.
    awk -F ' [|] ' '
        function fault(kind, text) { if (++faults[kind] <= 3) print "  FAIL: line " NR " " text; bad = 1 }
        { key = $1 SUBSEP $6
          if (key in seen) fault("repeat", "repeats (x, params) of line " seen[key])
          seen[key] = NR
          if (NR > 1 && ($2 + 0 < tn || ($2 + 0 == tn && $4 + 0 < sn)))
              fault("order", "is out of order (norms " $2 ", " $4 " after " tn ", " sn ")")
          tn = $2 + 0; sn = $4 + 0 }
        END { exit bad }' "$dir/prog.sol" || bad=1
    return $bad
}

timer=""
[ -x /usr/bin/time ] && timer=/usr/bin/time
# A run beyond the time limit is stopped; the larger files are then left out.
limiter=()
command -v timeout >/dev/null && limiter=(timeout "$limit")
printf '%-8s %9s %8s %14s %11s %15s\n' records "wall (s)" "cpu (s)" "peak memory" "file lines" "report entries"
declare -A wall cpu
failed=0
for n in $sizes; do
    dir=$work/n$n
    mkdir -p "$dir"
    generate "$n" "$dir"
    cp "$dir/prog.sol" "$dir/input.sol"
    best="" bestMem="" bestCpu="" stopped=0
    for ((r = 1; r <= repeat; ++r)); do
        cp "$dir/input.sol" "$dir/prog.sol"
        status=0
        if [ -n "$timer" ]; then
            "$timer" -o "$dir/time" -f '%e %U %S %M' "${limiter[@]}" "$tool" "$dir/prog.sol" >"$dir/out" \
                2>"$dir/err" || status=$?
            read -r seconds user system memory < <(tail -n 1 "$dir/time")
            cpu=$(awk -v u="$user" -v s="$system" 'BEGIN { printf "%.2f", u + s }')
        else
            start=$(date +%s.%N)
            "${limiter[@]}" "$tool" "$dir/prog.sol" >"$dir/out" 2>"$dir/err" || status=$?
            seconds=$(awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN { printf "%.2f", b - a }')
            memory="?" cpu="?"
        fi
        if [ ${#limiter[@]} -gt 0 ] && [ "$status" = 124 ]; then
            stopped=1
            break
        fi
        if [ "$r" = 1 ]; then
            check "$dir" "$dir/out" "$dir/err" "$status" || failed=1
            cp "$dir/prog.sol" "$dir/first.sol"
            cp "$dir/out" "$dir/first.out"
        elif ! cmp -s "$dir/prog.sol" "$dir/first.sol" || ! cmp -s "$dir/out" "$dir/first.out"; then
            echo "  FAIL: repetition $r wrote another file or report than the first"
            failed=1
        fi
        if [ -z "$best" ] || awk -v a="$seconds" -v b="$best" 'BEGIN { exit !(a < b) }'; then
            best=$seconds bestMem=$memory bestCpu=$cpu
        fi
        # A run of more than a minute isn't repeated: the noise is small against it.
        awk -v a="$seconds" 'BEGIN { exit !(a > 60) }' && break
    done
    if [ "$stopped" = 1 ] && [ -z "$best" ]; then
        printf '%-8s %9s   stopped after the time limit (TIMEOUT=%s); larger files left out\n' "$n" "> $limit" "$limit"
        wall[$n]=stopped cpu[$n]=stopped
        break
    fi
    wall[$n]=$best cpu[$n]=$bestCpu
    printf '%-8s %9s %8s %11s KB %11s %15s\n' "$n" "$best" "$bestCpu" "$bestMem" "$(wc -l <"$dir/first.sol")" \
        "$(grep -c '^x = ' "$dir/first.out" || true)"
done

# The goals, by wall time and by CPU time: on a machine shared with other work the wall time
# also holds the waits for a core, the CPU time doesn't.
listed() { [[ " $sizes " == *" $1 "* ]]; }
measured() { [ -n "${wall[$1]:-}" ] && [ "${wall[$1]}" != stopped ]; }
if listed 20000 && ! measured 20000; then
    echo "20000 records in under 2 s: MISSED, stopped after the time limit of $limit s"
elif listed 20000; then
    awk -v w="${wall[20000]}" -v c="${cpu[20000]}" 'BEGIN {
        printf "20000 records in under 2 s: wall %.2f s %s", w, w < 2 ? "met" : "MISSED"
        if (c != "?") printf ", cpu %.2f s %s", c, c < 2 ? "met" : "MISSED"
        printf "\n" }'
fi
if listed 20000 && listed 80000 && ! measured 80000; then
    echo "growth no faster than n log n from 20000 to 80000: MISSED, stopped after the time limit of $limit s"
elif listed 20000 && listed 80000; then
    awk -v w1="${wall[20000]}" -v w2="${wall[80000]}" -v c1="${cpu[20000]}" -v c2="${cpu[80000]}" '
        function growth(name, a, b) {
            if (a == "?" || a + 0 <= 0) return
            printf "  %s t(80000)/t(20000) = %.2f: %s\n", name, b / a, b / a <= limit ? "met" : "MISSED"
        }
        BEGIN {
            limit = 4 * log(80000) / log(20000)
            printf "growth no faster than n log n, 4 * ln(80000)/ln(20000) = %.2f:\n", limit
            growth("wall", w1, w2); growth("cpu ", c1, c2) }'
fi
[ "$failed" = 0 ] || { echo "tool_bench: a check failed" >&2; exit 1; }
