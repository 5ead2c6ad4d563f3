#!/usr/bin/env bash
# read_bench.sh: times the tool on programs whose numbers are long or many.
#
#   bench/read_bench.sh [path/to/latopt]        (default: build-bench/bin/latopt; `make bench-read`)
#
# 1. A program of about 1 MB of ordinary numbers: 100 variables, 1,150 inequations whose entries are
#    integers, fractions with a denominator that divides a power of ten, and short decimals (a
#    fixed seed), all of which come down to long double, with an empty solution file.
# 2. The example program with its first lower bound spelt as a decimal of L random digits behind
#    "0.", for L = 30,000, 60,000 and 120,000, and the growth t(2L)/t(L) of each doubling against 4,
#    the ratio of quadratic growth.
# 3. Tokens of 1,000,000 characters of each kind that once nested the parser deeply (dots, commas,
#    colons, colon pairs, signs, slashes, exponent letters, a mixture), in the program and in a
#    record of the solution file.
# Each run's wall time is the fastest of REPEAT (default 3) runs, with its exit status; no run may
# end through a signal (exit status 1 if one does). The goals: the 1 MB program in well under a
# second, growth no worse than quadratic.
set -euo pipefail

tool=${1:-build-bench/bin/latopt}
repeat=${REPEAT:-3}
[ -x "$tool" ] || { echo "read_bench: no executable at $tool" >&2; exit 1; }
tool=$(cd "$(dirname "$tool")" && pwd)/$(basename "$tool")
work=$(mktemp -d "${TMPDIR:-/tmp}/read_bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
cd "$work"

python3 - <<'EOF'
import random
random.seed(20261123)
def number():
    kind = random.randrange(3)
    if kind == 0: return str(random.randint(-999999, 999999))
    if kind == 1: return f"{random.randint(-9999, 9999)}/{random.choice((2, 4, 5, 8, 16, 25))}"
    return f"{random.randint(-999, 999)}.{random.randint(0, 999):03d}1"
n, m = 100, 1150
rows = "\n".join("[ " + " ".join(number() for _ in range(n)) + " ]" for _ in range(m))
lu = "[ " + " ".join("-inf" for _ in range(m)) + " ]"
ru = "[ " + " ".join(str(random.randint(1000000, 9999999)) for _ in range(m)) + " ]"
zeros = "[ " + " ".join("0" for _ in range(n)) + " ]"
fives = "[ " + " ".join("5" for _ in range(n)) + " ]"
open("ordinary.opt", "w").write(f"[ -inf ]\n[\n[ {' '.join('1' for _ in range(n))} ]\n]\n[ ]\n[ ]\n[\n{rows}\n]\n{lu}\n{ru}\n{zeros}\n{zeros}\n{fives}\n")
open("ordinary.sol", "w").write("")
example = "[ -inf ]\n[\n[ 2 3 1 ]\n]\n[\n[ 1 1 1 ]\n]\n[ 6 ]\n[\n[ 1 -1 0 ]\n]\n[ 1 ]\n[ 4 ]\n[ 0 0 0 ]\n[ {} 0 0 ]\n[ 5 5 3 ]\n"
record = "[ 3 0 3 ] | 9 | [ 9 ] | 0 | 12 | --beta=20 --sol=1 | 2.2.3\n"
for digits in (30000, 60000, 120000):
    token = "0." + "".join(random.choice("0123456789") for _ in range(digits - 1)) + "1"
    open(f"decimal{digits}.opt", "w").write(example.format(token))
    open(f"decimal{digits}.sol", "w").write(record)
L = 1000000
def repeated(piece): return piece * (L // len(piece))
kinds = {"dots": "." * (L - 1) + "5", "commas": "1" + "," * (L - 2) + "5", "colons": ":" * (L - 3) + "1/2",
         "colon_pairs": repeated(":1"), "signs": "-" * (L - 1) + "3", "slashes": "/" * (L - 1) + "5",
         "exponent_letters": "1" + "e" * (L - 1), "mixture": repeated("1.2/3:4-5,")}
for kind, token in kinds.items():
    open(f"opt_{kind}.opt", "w").write(example.format(token))
    open(f"opt_{kind}.sol", "w").write(record)
    open(f"sol_{kind}.opt", "w").write(example.format("0"))
    open(f"sol_{kind}.sol", "w").write(record + f"[ {token} 0 3 ] | 9 | [ 9 ] | 0 | 1 | --sol=1 | 2.2.3\n")
EOF

signalled=0
# time_run NAME: the fastest wall time of REPEAT runs on fresh copies of NAME.opt and NAME.sol.
time_run() {
    local best="" status=0
    for ((i = 0; i < repeat; ++i)); do
        rm -rf run && mkdir run && cp "$1.opt" run/prog.opt && cp "$1.sol" run/prog.sol
        local start end
        start=$(date +%s.%N)
        set +e
        (cd run && "$tool" prog.sol >/dev/null 2>&1)
        status=$?
        set -e
        end=$(date +%s.%N)
        local took
        took=$(echo "$end - $start" | bc)
        if [ -z "$best" ] || [ "$(echo "$took < $best" | bc)" = 1 ]; then best=$took; fi
    done
    [ "$status" -gt 128 ] && signalled=1
    printf '%-28s %8.3f s  status %d\n' "$1" "$best" "$status"
    last=$best
}

echo "== 1 MB of ordinary numbers ($(wc -c <ordinary.opt) bytes)"
time_run ordinary
echo "== one long decimal"
previous=""
for digits in 30000 60000 120000; do
    time_run "decimal$digits"
    [ -n "$previous" ] && printf '    growth on doubling: %.2f (quadratic: 4)\n' "$(echo "$last / $previous" | bc -l)"
    previous=$last
done
echo "== tokens of 1,000,000 characters"
repeat=1
for kind in dots commas colons colon_pairs signs slashes exponent_letters mixture; do
    time_run "opt_$kind"
    time_run "sol_$kind"
done
[ "$signalled" = 0 ] || { echo "read_bench: a run ended through a signal" >&2; exit 1; }
