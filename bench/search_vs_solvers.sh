#!/usr/bin/env bash
# search_vs_solvers.sh: latopt-search beside CBC and fplll's BKZ on market split instances.
#
#   bench/search_vs_solvers.sh [--m "3 4 5 6 7"] [--seeds N] [--timeout S] [--bin DIR]
#
#   --m        the numbers of equations (default "3 4 5 6 7"); n = 10 (m - 1) variables in {0, 1}
#   --seeds    instances per m, seeds 1 to N (default 6)
#   --timeout  wall seconds per run of each solver (default 60); a run still going is killed
#   --bin      the directory of latopt-search and latopt (default build-bench/bin;
#              `make bench-search` builds them in Release first)
#   LATOPT_ARGS  extra arguments of latopt-search, e.g. LATOPT_ARGS=--eprune=0
#
# Market split (Cornuejols and Dawande): m equations over n = 10 (m - 1) variables in {0, 1},
# coefficients uniform in [0, 99] (Python's random.Random(seed)), each right side the row sum
# halved and rounded down. Every instance is given to three solvers, one after the other:
# 1. `latopt-search PROG.opt --sol=1 $LATOPT_ARGS` in a fresh directory: a solution in PROG.sol
#    (also proved by `latopt PROG.sol`), or "No solution exists." on standard output.
# 2. `cbc PROG.lp sec S solve solu OUT` on the same instance as an LP file (binary variables, the
#    equations, a zero objective): "Optimal" with a solution, or "infeasible".
# 3. `fplll -a bkz -b 30` on the embedding with rows (2 e_i, 0, N a_i) for the variables and
#    (1, ..., 1, 1, N b), N = 10000: a 0-1 solution x gives the lattice vector (2x - 1, -1, 0), so
#    a reduced row (+-1, ..., +-1, 0, ..., 0) is decoded as x = (1 +- v) / 2. fplll cannot prove
#    that there is no solution: it has found one or not.
# Every solution is checked here (0-1 entries, A x = b, exact integers). A solution that fails the
# check, or a claim of infeasibility on an instance with a checked solution, is a FAULT: it is
# printed at once with the instance and the command that reproduces it, and the exit status is 1.
# An instance counts as feasible when some solver found a checked solution, as infeasible when
# latopt-search or CBC proved it, as unknown otherwise.
# Times are wall seconds of the whole process (a run killed at the timeout counts as the timeout,
# its maximum shown as ">S"); the CPU seconds (user + system) are logged beside them, since the
# machine may be shared. The raw per-instance lines and the instances stay in the work directory
# (mktemp -d), whose path is printed; the table goes to standard output.
# Needs python3, cbc (Debian: coinor-cbc) and fplll (fplll-tools); `.ci/deps bench` installs them.
set -euo pipefail

ms="3 4 5 6 7"
seeds=6
timeout=60
bin=build-bench/bin
usage() { echo "usage: $0 [--m \"3 4 5 6 7\"] [--seeds N] [--timeout S] [--bin DIR]" >&2; exit 1; }
while [ $# -gt 0 ]; do
    case "$1" in
    --m) [ $# -ge 2 ] || usage; ms=$2; shift 2 ;;
    --m=*) ms=${1#--m=}; shift ;;
    --seeds) [ $# -ge 2 ] || usage; seeds=$2; shift 2 ;;
    --seeds=*) seeds=${1#--seeds=}; shift ;;
    --timeout) [ $# -ge 2 ] || usage; timeout=$2; shift 2 ;;
    --timeout=*) timeout=${1#--timeout=}; shift ;;
    --bin) [ $# -ge 2 ] || usage; bin=$2; shift 2 ;;
    --bin=*) bin=${1#--bin=}; shift ;;
    *) usage ;;
    esac
done
for value in $ms "$seeds" "$timeout"; do
    [[ "$value" =~ ^[1-9][0-9]*$ ]] || { echo "search_vs_solvers: not a positive integer: $value" >&2; exit 1; }
done
for m in $ms; do
    [ "$m" -ge 2 ] || { echo "search_vs_solvers: m must be at least 2: $m" >&2; exit 1; }
done
for tool in "$bin/latopt-search" "$bin/latopt"; do
    [ -x "$tool" ] || { echo "search_vs_solvers: no executable at $tool" >&2; exit 1; }
done
for program in cbc fplll python3; do
    command -v "$program" >/dev/null || { echo "search_vs_solvers: $program is missing (.ci/deps bench)" >&2; exit 1; }
done
bin=$(cd "$bin" && pwd)
work=$(mktemp -d /tmp/search_vs_solvers.XXXXXX)
revision=$(git -C "$(dirname "$0")" describe --always --dirty 2>/dev/null || echo unknown)
echo "work directory: $work (log: $work/runs.log); source tree at $revision"

REVISION=$revision MS=$ms SEEDS=$seeds TIMEOUT=$timeout BIN=$bin WORK=$work LATOPT_ARGS=${LATOPT_ARGS:-} python3 - <<'PY'
import os, random, re, shlex, signal, statistics, subprocess, sys, time

ms = [int(m) for m in os.environ["MS"].split()]
seeds = int(os.environ["SEEDS"])
limit = float(os.environ["TIMEOUT"])
bin_dir, work = os.environ["BIN"], os.environ["WORK"]
latopt_args = shlex.split(os.environ["LATOPT_ARGS"])
N = 10000  # weight of the equation columns in the embedding for fplll
log = open(os.path.join(work, "runs.log"), "w")
faults = []


def loadavg():
    return open("/proc/loadavg").read().split()[0]


def instance(m, seed):
    rng = random.Random(seed)
    n = 10 * (m - 1)
    a = [[rng.randint(0, 99) for _ in range(n)] for _ in range(m)]
    return a, [sum(row) // 2 for row in a]


def solves(a, b, x):
    return (len(x) == len(a[0]) and all(v in (0, 1) for v in x)
            and all(sum(c * v for c, v in zip(row, x)) == bi for row, bi in zip(a, b)))


def bracket(v):
    return "[ " + " ".join(map(str, v)) + " ]"


def write_opt(path, a, b):
    n = len(a[0])
    with open(path, "w") as f:
        f.write("// market split, %d equations over %d variables in {0, 1}\n[ ]\n[ ]\n[\n" % (len(a), n))
        f.write("".join(bracket(row) + "\n" for row in a))
        f.write("]\n%s\n[ ]\n[ ]\n[ ]\n%s\n%s\n%s\n" % (bracket(b), bracket([0] * n), bracket([0] * n),
                                                      bracket([1] * n)))


def write_lp(path, a, b):
    n = len(a[0])
    with open(path, "w") as f:
        f.write("Minimize\n obj: 0 x1\nSubject To\n")
        for i, (row, bi) in enumerate(zip(a, b)):
            f.write(" e%d: %s = %d\n" % (i + 1, " + ".join("%d x%d" % (c, j + 1) for j, c in enumerate(row)), bi))
        f.write("Binary\n %s\nEnd\n" % " ".join("x%d" % (j + 1) for j in range(n)))


def write_embedding(path, a, b):
    n = len(a[0])
    rows = [[2 if k == j else 0 for k in range(n)] + [0] + [N * row[j] for row in a] for j in range(n)]
    rows.append([1] * n + [1] + [N * bi for bi in b])
    with open(path, "w") as f:
        f.write("[" + "\n".join("[" + " ".join(map(str, r)) + "]" for r in rows) + "]\n")


def run(command, cwd):
    """Runs command with the wall limit; returns (timed out, status, stdout, wall s, cpu s)."""
    out_path, err_path = os.path.join(cwd, "stdout.txt"), os.path.join(cwd, "stderr.txt")
    with open(out_path, "w") as out, open(err_path, "w") as err:
        start = time.perf_counter()
        process = subprocess.Popen(command, cwd=cwd, stdout=out, stderr=err, start_new_session=True)
        deadline, timed_out = start + limit, False
        while True:
            pid, status, usage = os.wait4(process.pid, os.WNOHANG)
            if pid:
                break
            if time.perf_counter() > deadline:
                timed_out = True
                os.killpg(process.pid, signal.SIGKILL)
                pid, status, usage = os.wait4(process.pid, 0)
                break
            time.sleep(0.005)
        wall = time.perf_counter() - start
    return timed_out, os.waitstatus_to_exitcode(status), open(out_path).read(), wall, usage.ru_utime + usage.ru_stime


def vectors(text):
    return [[int(t) for t in row.split()] for row in re.findall(r"\[([-0-9 \t]*)\]", text)]


def run_latopt(directory, a, b):
    os.makedirs(directory)
    write_opt(os.path.join(directory, "ms.opt"), a, b)
    command = [os.path.join(bin_dir, "latopt-search"), "ms.opt", "--sol=1"] + latopt_args
    timed_out, code, out, wall, cpu = run(command, directory)
    sol = os.path.join(directory, "ms.sol")
    records = [vectors(line.split("|")[0]) for line in open(sol)] if os.path.exists(sol) else []
    xs = [v[0] for v in records if v]
    # A rerun in the same directory would continue from the records of ms.sol.
    result = {"wall": wall, "cpu": cpu,
              "command": "cd %s && rm -f ms.sol ms.lat && %s" % (directory, shlex.join(command))}
    if timed_out:
        result["answer"] = "timeout"
    elif code != 0:
        result["answer"] = "error"
        result["detail"] = "status %d" % code
    elif "No solution exists." in out:
        result["answer"] = "infeasible"
        if xs:
            result["detail"] = "records written beside 'No solution exists.'"
    else:
        good = [x for x in xs if solves(a, b, x)]
        if good:
            result["answer"], result["x"] = "solution", good[0]
            # The tool's own proof of the file, beside the check here.
            proof = subprocess.run([os.path.join(bin_dir, "latopt"), "ms.sol"], cwd=directory,
                                   capture_output=True, text=True)
            if proof.returncode != 0:
                result["detail"] = "latopt ms.sol: status %d" % proof.returncode
        elif xs:
            result["answer"], result["x"] = "wrong", xs[0]
        else:
            tail = out.strip().splitlines()
            result["answer"] = "none"
            result["detail"] = tail[-1][:80] if tail else "no output"
    return result


def run_cbc(directory, a, b):
    os.makedirs(directory)
    write_lp(os.path.join(directory, "ms.lp"), a, b)
    command = ["cbc", "ms.lp", "sec", str(int(limit)), "solve", "solu", "solution.txt"]
    timed_out, code, out, wall, cpu = run(command, directory)
    result = {"wall": wall, "cpu": cpu, "command": "cd %s && %s" % (directory, shlex.join(command))}
    path = os.path.join(directory, "solution.txt")
    lines = open(path).read().splitlines() if os.path.exists(path) else []
    head = lines[0] if lines else ""
    if timed_out or head.startswith("Stopped on time"):
        result["answer"] = "timeout"
    elif code != 0 or not head:
        result["answer"] = "error"
        result["detail"] = "status %d, %s" % (code, head or "no solution file")
    elif "nfeasible" in head.split(" - ")[0]:
        result["answer"] = "infeasible"
    elif head.startswith("Optimal"):
        x = [0] * len(a[0])
        for line in lines[1:]:
            fields = line.split()
            if len(fields) >= 3 and re.fullmatch(r"x\d+", fields[1]):
                value = float(fields[2])
                x[int(fields[1][1:]) - 1] = round(value) if abs(value - round(value)) < 1e-6 else -1
        result["answer"] = "solution" if solves(a, b, x) else "wrong"
        result["x"] = x
    else:
        result["answer"] = "none"
        result["detail"] = head[:80]
    return result


def run_fplll(directory, a, b):
    os.makedirs(directory)
    write_embedding(os.path.join(directory, "embedding.txt"), a, b)
    command = ["fplll", "-a", "bkz", "-b", "30", "embedding.txt"]
    timed_out, code, out, wall, cpu = run(command, directory)
    result = {"wall": wall, "cpu": cpu, "command": "cd %s && %s" % (directory, shlex.join(command))}
    n, m = len(a[0]), len(a)
    if timed_out:
        result["answer"] = "timeout"
        return result
    if code != 0:
        result["answer"] = "error"
        result["detail"] = "status %d" % code
        return result
    result["answer"] = "not found"
    for v in vectors(out):
        if len(v) != n + 1 + m or any(v[n + 1:]) or any(abs(e) != 1 for e in v[:n + 1]):
            continue
        for sign in (1, -1):
            x = [(1 + sign * e) // 2 for e in v[:n]]
            if solves(a, b, x):
                result["answer"], result["x"] = "solution", x
                return result
    return result


solvers = [("latopt-search", run_latopt), ("cbc", run_cbc), ("fplll bkz-30", run_fplll)]
rows = []
log.write("# source tree %s, timeout %g s, LATOPT_ARGS=%s\n" % (os.environ["REVISION"], limit,
                                                                shlex.join(latopt_args)))
log.write("# m seed n class load-average | per solver: answer wall-s cpu-s (detail)\n")
for m in ms:
    for seed in range(1, seeds + 1):
        a, b = instance(m, seed)
        load, known = loadavg(), len(faults)
        results = {}
        for name, function in solvers:
            results[name] = function(os.path.join(work, "m%d_s%d" % (m, seed), name.split()[0]), a, b)
        found = [(name, r["x"]) for name, r in results.items() if r["answer"] == "solution"]
        proved_empty = [name for name, r in results.items() if r["answer"] == "infeasible"]
        label = "m=%d seed=%d" % (m, seed)
        for name, r in results.items():
            if r["answer"] == "wrong":
                faults.append("%s: %s wrote x = %s, which is not a 0-1 solution of A x = b; reproduce: %s"
                              % (label, name, bracket(r["x"]), r["command"]))
            if r["answer"] == "error" or "detail" in r and r["answer"] in ("solution", "infeasible"):
                faults.append("%s: %s: %s; reproduce: %s" % (label, name, r.get("detail", ""), r["command"]))
        if found and proved_empty:
            for name in proved_empty:
                results[name]["contradicted"] = True
                faults.append("%s: %s proved infeasibility, but %s found x = %s; reproduce: %s"
                              % (label, name, found[0][0], bracket(found[0][1]), results[name]["command"]))
        kind = "feasible" if found else "infeasible" if proved_empty else "unknown"
        line = "%d %d %d %s %s | " % (m, seed, 10 * (m - 1), kind, load) + " | ".join(
            "%s %s %.3f %.3f%s" % (name, r["answer"].replace(" ", "-"), r["wall"], r["cpu"],
                                   " (%s)" % r["detail"] if "detail" in r else "")
            for name, r in results.items())
        log.write(line + "\n")
        log.flush()
        print(line, file=sys.stderr)
        for fault in faults[known:]:
            print("*** FAULT: " + fault, file=sys.stderr)
        rows.append((m, kind, results))


def cell(runs, answered):
    walls = [min(r["wall"], limit) for r in runs]
    late = any(r["answer"] == "timeout" for r in runs)
    top = ">%g" % limit if late else "%.2f" % max(walls)
    cpu = statistics.median(r["cpu"] for r in runs)
    return " %5s %7.2f %7s %6.2f " % ("%d/%d" % (answered, len(runs)), statistics.median(walls), top, cpu)


def table(groups, title):
    print(title)
    print("%-15s %3s %4s %4s %4s |" % ("", "", "", "", "") + "|".join(" %-28s" % name for name, _ in solvers))
    print("%-15s %3s %4s %4s %4s |" % ("m", "n", "feas", "infs", "unkn") +
          "|".join([" %5s %7s %7s %6s " % ("ans", "median", "max", "cpu")] * len(solvers)))
    for key, group in groups:
        m = group[0][0]
        kinds = [kind for _, kind, _ in group]
        cells = []
        for name, _ in solvers:
            runs = [results[name] for _, _, results in group]
            wanted = ("solution",) if name.startswith("fplll") else ("solution", "infeasible")
            cells.append(cell(runs, sum(1 for r in runs if r["answer"] in wanted and "contradicted" not in r)))
        print("%-15s %3d %4d %4d %4d |" % (key, 10 * (m - 1), kinds.count("feasible"), kinds.count("infeasible"),
                                           kinds.count("unknown")) + "|".join(cells))


print()
print("market split, seeds 1..%d, timeout %g s per run, LATOPT_ARGS=%s; load average %s at the end"
      % (seeds, limit, shlex.join(latopt_args) or "(none)", open("/proc/loadavg").read().split()[:3]))
print("ans: runs that answered within the timeout (a checked solution or an uncontradicted proof of infeasibility;")
print("for fplll, a checked solution); median and max of the wall seconds (a timeout counts as %g s)," % limit)
print("cpu: median of the CPU seconds (user + system) of the same runs")
table([(str(m), [r for r in rows if r[0] == m]) for m in ms], "\nper m:")
by_kind = [("%d %s" % (m, kind), [r for r in rows if r[0] == m and r[1] == kind])
           for m in ms for kind in ("feasible", "infeasible", "unknown")]
table([g for g in by_kind if g[1]], "\nper m and answer:")
print("\nlog: %s" % os.path.join(work, "runs.log"))
if faults:
    print("\n%d FAULT(S):" % len(faults))
    for fault in faults:
        print("*** FAULT: " + fault)
    sys.exit(1)
print("no fault: every solution checked, no answer contradicts another")
PY
