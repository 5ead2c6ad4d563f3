#!/usr/bin/env bash
# lll_vs_fplll.sh: times latopt-reduce against fplll's LLL on the same lattices, side by side.
#
#   bench/lll_vs_fplll.sh [path/to/latopt-reduce]   (default: build-bench/bin/latopt-reduce;
#                                                    `make bench-lll` builds it first)
#
# 1. Generates the inputs with fplll's latticegen and a fixed seed: knapsack lattices ("r d 30",
#    d x (d + 1), 30-bit numbers) and q-ary lattices ("q d d/2 25 b", d x d, q of 25 bits) at
#    d = 20, 40, 60; for the exact fallback knapsack lattices of 100 bits at d = 20 and 40, whose
#    entries don't fit a long double, so that latopt-reduce works on exact lattice data.
# 2. Times whole processes on the same file, the best of REPEAT runs: `latopt-reduce FILE` against
#    `fplll -a lll -d 0.999999999 FILE` (the 100-bit rows against `fplll -a lll -m proved -d
#    0.999999999 FILE`, fplll's exact-arithmetic variant).
# 3. Checks both outputs: status 0; d rows of the input's length; the same lattice as the input
#    (equal Gram determinants, and every latopt row an integer combination of fplll's rows).
#    The column |b1|^2 compares the first rows: latopt's squared length over fplll's.
# 4. Prints the table with the ratio latopt/fplll of the times. The goal for the long double rows
#    is a ratio of at most 1.5; a missed goal is reported, a failed check sets exit status 1.
# Needs latticegen and fplll (Debian: fplll-tools; `.ci/deps bench` installs them) and python3.
# Environment: REPEAT (default 3), SEED (default 20261123), KEEP=1 keeps the work directory.
set -euo pipefail

tool=${1:-build-bench/bin/latopt-reduce}
[ -x "$tool" ] || { echo "lll_vs_fplll: no executable at $tool" >&2; exit 1; }
for program in latticegen fplll python3; do
    command -v "$program" >/dev/null || { echo "lll_vs_fplll: $program is missing (.ci/deps bench)" >&2; exit 1; }
done
tool=$(cd "$(dirname "$tool")" && pwd)/$(basename "$tool")
work=$(mktemp -d /tmp/lll_vs_fplll.XXXXXX)
[ "${KEEP:-0}" = 1 ] && echo "work directory: $work" || trap 'rm -rf "$work"' EXIT
seed=${SEED:-20261123}

cases=()
for d in 20 40 60; do
    latticegen -randseed "$seed" r "$d" 30 >"$work/knapsack30_$d.txt"
    latticegen -randseed "$seed" q "$d" $((d / 2)) 25 b >"$work/qary25_$d.txt"
    cases+=("knapsack30_$d:fast" "qary25_$d:fast")
done
for d in 20 40; do
    latticegen -randseed "$seed" r "$d" 100 >"$work/knapsack100_$d.txt"
    cases+=("knapsack100_$d:proved")
done

REPEAT=${REPEAT:-3} python3 - "$tool" "$work" "${cases[@]}" <<'PY'
import os, subprocess, sys, time
from fractions import Fraction

tool, work, cases = sys.argv[1], sys.argv[2], sys.argv[3:]
repeat = int(os.environ["REPEAT"])

def read(text):
    rows = []
    for line in text.replace("[", " [ ").replace("]", " ] ").split("["):
        numbers = line.replace("]", " ").split()
        if numbers:
            rows.append([int(x) for x in numbers])
    return rows

def best(command):
    times, last = [], None
    for _ in range(repeat):
        start = time.perf_counter()
        last = subprocess.run(command, capture_output=True, text=True)
        times.append(time.perf_counter() - start)
    return min(times), last

def gram_det(rows):
    # Fraction-free elimination (Bareiss) on the Gram matrix: exact in integers.
    a = [[sum(x * y for x, y in zip(r, s)) for s in rows] for r in rows]
    n, prev, sign = len(a), 1, 1
    for k in range(n):
        p = next((i for i in range(k, n) if a[i][k] != 0), None)
        if p is None:
            return 0
        if p != k:
            a[k], a[p], sign = a[p], a[k], -sign
        for i in range(k + 1, n):
            for j in range(k + 1, n):
                a[i][j] = (a[k][k] * a[i][j] - a[i][k] * a[k][j]) // prev
        prev = a[k][k]
    return sign * prev

def in_lattice(rows, basis):
    # Solve x basis = row on columns where basis is regular (Gauss-Jordan in fractions), then
    # check that x is integral and reproduces the whole row.
    d, n = len(basis), len(basis[0])
    a = [[Fraction(basis[i][j]) for i in range(d)] + [Fraction(r[j]) for r in rows] for j in range(n)]
    pivots, r = [], 0
    for c in range(d):
        p = next((i for i in range(r, n) if a[i][c] != 0), None)
        if p is None:
            return False
        a[r], a[p] = a[p], a[r]
        pivot = a[r][c]
        a[r] = [x / pivot for x in a[r]]
        for i in range(n):
            if i != r and a[i][c] != 0:
                f = a[i][c]
                a[i] = [x - f * y for x, y in zip(a[i], a[r])]
        r += 1
    for k, row in enumerate(rows):
        x = [a[i][d + k] for i in range(d)]
        if any(v.denominator != 1 for v in x):
            return False
        if [sum(int(x[i]) * basis[i][j] for i in range(d)) for j in range(n)] != row:
            return False
        if any(a[i][d + k] != 0 for i in range(d, n)):
            return False
    return True

print("%-14s %4s %10s %10s %7s %9s  %s" % ("lattice", "d", "latopt s", "fplll s", "ratio", "|b1|^2", "check"))
failed, missed = False, []
for case in cases:
    name, mode = case.split(":")
    path = os.path.join(work, name + ".txt")
    source = read(open(path).read())
    d, n = len(source), len(source[0])
    ours_time, ours = best([tool, path])
    fplll_command = ["fplll", "-a", "lll", "-d", "0.999999999"] + (["-m", "proved"] if mode == "proved" else [])
    theirs_time, theirs = best(fplll_command + [path])
    problems = []
    if ours.returncode != 0:
        problems.append("latopt status %d: %s" % (ours.returncode, ours.stderr.strip()[:200]))
    if theirs.returncode != 0:
        problems.append("fplll status %d" % theirs.returncode)
    b_ours, b_theirs = read(ours.stdout), read(theirs.stdout)
    for who, rows in (("latopt", b_ours), ("fplll", b_theirs)):
        if len(rows) != d or any(len(r) != n for r in rows):
            problems.append("%s: not %d rows of %d" % (who, d, n))
    if not problems:
        volume = gram_det(source)
        if gram_det(b_ours) != volume or gram_det(b_theirs) != volume:
            problems.append("Gram determinants differ")
        elif not in_lattice(b_ours, b_theirs):
            problems.append("latopt's rows are not in fplll's lattice")
    ratio = ours_time / theirs_time
    first = (Fraction(sum(x * x for x in b_ours[0]), sum(x * x for x in b_theirs[0]))
             if not problems else Fraction(0))
    note = "ok" if not problems else "FAILED: " + "; ".join(problems)
    if ours.stderr.strip() and not problems:
        note += " (" + ours.stderr.strip().splitlines()[-1][:80] + ")"
    print("%-14s %4d %10.3f %10.3f %7.2f %9.3f  %s" % (name.split("_")[0], d, ours_time, theirs_time, ratio,
                                                       float(first), note))
    failed = failed or bool(problems)
    if mode == "fast" and ratio > 1.5:
        missed.append("%s d=%d: %.2f" % (name.split("_")[0], d, ratio))
print("100-bit rows: fplll -m proved (exact arithmetic) beside latopt-reduce's exact lattice data.")
print("goal (long double rows) ratio <= 1.5: " + ("met" if not missed else "missed at " + ", ".join(missed)))
sys.exit(1 if failed else 0)
PY
