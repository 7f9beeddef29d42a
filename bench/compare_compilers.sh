#!/bin/sh
# Times 'gpc compile' as a whole process beside luac and tcc on the same program in their languages, in turns, and prints
# ratios. Median and least of wall time and of processor time; "nothing" is /bin/true, the least that a process costs on
# this machine. Usage: bench/compare_compilers.sh [BUILD_DIRECTORY] [ROUNDS]
set -eu

build=${1:-build/release}
rounds=${2:-200}
lua=$(command -v luac5.4 || command -v luac || true)
tcc=$(command -v tcc || true)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$build/bin/ferrylink_gpc_write_sources" "$work"
exec python3 - "$build/bin/gpc" "$lua" "$tcc" "$work" "$rounds" <<'PYTHON'
import os, statistics, sys, time

gpc, lua, tcc, work, rounds = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4], int(sys.argv[5])


def run(arguments):
    """Seconds of wall time and of processor time of one process; posix_spawn keeps our own share small."""
    begin = time.perf_counter()
    process = os.posix_spawn(arguments[0], arguments, os.environ)
    _, status, usage = os.wait4(process, 0)
    took = time.perf_counter() - begin
    if status != 0:
        sys.exit("failed: " + " ".join(arguments))
    return took, usage.ru_utime + usage.ru_stime


def commands(name):
    result = {"gpc": [gpc, "compile", f"{work}/{name}.gpc", "-o", f"{work}/{name}.gbc", "--stamp", "1"]}
    if lua:
        result["luac"] = [lua, "-o", f"{work}/{name}.luac", f"{work}/{name}.lua"]
    if tcc:
        result["tcc"] = [tcc, "-c", f"{work}/{name}.c", "-o", f"{work}/{name}.o"]
    result["nothing"] = ["/bin/true"]
    return result


def compare(name, count):
    times = {}
    chosen = commands(name)
    for _ in range(count):
        for compiler, arguments in chosen.items():
            times.setdefault(compiler, []).append(run(arguments))
    sizes = {"gpc": "gpc", "luac": "lua", "tcc": "c"}
    columns = [("wall median", 0, statistics.median), ("wall least", 0, min), ("cpu median", 1, statistics.median)]
    print(f"{name}: {count} runs each, in turns; ms, and what part of it gpc takes")
    for compiler, taken in times.items():
        row = f"  {compiler:8}"
        for title, index, pick in columns:
            value = pick([sample[index] for sample in taken]) * 1000
            ours = pick([sample[index] for sample in times["gpc"]]) * 1000
            row += f" {title} {value:7.2f} ({ours / value:4.2f})  "
        if compiler in sizes:
            row += f" {os.path.getsize(f'{work}/{name}.{sizes[compiler]}')} bytes of source"
        print(row)


compare("full_slot", rounds)
compare("long", max(rounds // 10, 5))
PYTHON
