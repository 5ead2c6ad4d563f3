#!/usr/bin/env bash
# gate_overhead.sh: what the candidate gate costs a reduction. Times `latopt-lab reduce P.opt --ld
# --sol=0` on generated programs with every row the reduction touches offered to the gate
# (--offers=1) and without offers (--offers=0), side by side, and prints the ratio on/off.
#
#   bench/gate_overhead.sh [path/to/latopt-lab]   (default: build-bench/bin/latopt-lab;
#                                                  `make bench-gate` builds it first)
#
# The programs: n variables in [0, w], k inequations a x within 3 of the value at a random point
# of the box, coefficients uniform in [1, C], no targets, from a fixed seed. Whole processes, the
# least CPU time (user + system, less sensitive to the load of a shared machine than wall time)
# of REPEAT runs; each run starts without a .sol file. The goal is a ratio of at most 2.
# Needs python3. Environment: REPEAT (default 3), SEED (default 20261123).
set -euo pipefail

lab=${1:-build-bench/bin/latopt-lab}
[ -x "$lab" ] || { echo "gate_overhead: no executable at $lab" >&2; exit 1; }
command -v python3 >/dev/null || { echo "gate_overhead: python3 is missing" >&2; exit 1; }
work=$(mktemp -d /tmp/gate_overhead.XXXXXX)
trap 'rm -rf "$work"' EXIT
seed=${SEED:-20261123}
repeat=${REPEAT:-3}

# name n w k C
programs=("box40x1_c99 40 1 2 99" "box40x3_c1e6 40 3 3 1000000" "box60x1_c1e4 60 1 2 10000")

generate() { # file n w k C
    python3 - "$@" "$seed" <<'PY'
import random, sys
path, n, w, k, c, seed = sys.argv[1], *map(int, sys.argv[2:])
random.seed(seed)
rows = [[random.randint(1, c) for _ in range(n)] for _ in range(k)]
point = [random.randint(0, w) for _ in range(n)]
values = [sum(a * x for a, x in zip(row, point)) for row in rows]
text = lambda v: "[ " + " ".join(map(str, v)) + " ]"
with open(path, "w") as f:
    f.write("[ ] [ ] [ ] [ ]\n[ " + " ".join(text(r) for r in rows) + " ]\n")
    f.write(text([v - 3 for v in values]) + "\n" + text([v + 3 for v in values]) + "\n")
    f.write(text([0] * n) + "\n" + text([0] * n) + "\n" + text([w] * n) + "\n")
PY
}

best_time() { # file offers -> the least CPU seconds (user + system) of REPEAT runs; the counts of
               # the last run in $work/out
    python3 - "$lab" "$1" "$2" "$repeat" "$work/out" <<'PY'
import os, resource, subprocess, sys
lab, program, offers, repeat, out = sys.argv[1], sys.argv[2], sys.argv[3], int(sys.argv[4]), sys.argv[5]
best = None
for _ in range(repeat):
    for suffix in (".sol", ".lat"):
        if os.path.exists(program[:-4] + suffix):
            os.remove(program[:-4] + suffix)
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    with open(out, "w") as f:
        subprocess.run([lab, "reduce", program, "--ld", "--sol=0", "--offers=" + offers], stdout=f, check=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    cpu = after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime
    best = cpu if best is None else min(best, cpu)
print(best)
PY
}

printf "%-14s %8s %8s %9s %9s %6s\n" program offered accepted "off (cpu)" "on (cpu)" ratio
for spec in "${programs[@]}"; do
    read -r name n w k c <<<"$spec"
    file="$work/$name.opt"
    generate "$file" "$n" "$w" "$k" "$c"
    off=$(best_time "$file" 0)
    on=$(best_time "$file" 1)
    offered=$(awk '/^offered/ {print $2}' "$work/out")
    accepted=$(awk '/^accepted/ {print $2}' "$work/out")
    printf "%-14s %8s %8s %9.3f %9.3f %6.2f\n" "$name" "$offered" "$accepted" "$off" "$on" \
        "$(python3 -c "print($on / $off)")"
done
