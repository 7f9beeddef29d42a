#!/bin/sh
# Times 'gpc compile' as a whole process beside luac and tcc on the same program in their languages, in turns, and prints
# medians and ratios. Usage: bench/compare_compilers.sh [BUILD_DIRECTORY] [ROUNDS]
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
    """Seconds from start to end of one process; posix_spawn keeps our own share small."""
    begin = time.perf_counter()
    process = os.posix_spawn(arguments[0], arguments, os.environ)
    _, status = os.waitpid(process, 0)
    took = time.perf_counter() - begin
    if status != 0:
        sys.exit("failed: " + " ".join(arguments))
    return took


def commands(name):
    result = {"gpc": [gpc, "compile", f"{work}/{name}.gpc", "-o", f"{work}/{name}.gbc", "--stamp", "1"]}
    if lua:
        result["luac"] = [lua, "-o", f"{work}/{name}.luac", f"{work}/{name}.lua"]
    if tcc:
        result["tcc"] = [tcc, "-c", f"{work}/{name}.c", "-o", f"{work}/{name}.o"]
    return result


def compare(name, count):
    times = {}
    chosen = commands(name)
    for _ in range(count):
        for compiler, arguments in chosen.items():
            times.setdefault(compiler, []).append(run(arguments))
    sizes = {"gpc": "gpc", "luac": "lua", "tcc": "c"}
    ours = statistics.median(times["gpc"])
    print(f"{name}: median of {count} runs each, in turns")
    for compiler, taken in times.items():
        median = statistics.median(taken)
        size = os.path.getsize(f"{work}/{name}.{sizes[compiler]}")
        print(f"  {compiler:5} {median * 1000:8.2f} ms  {size:8} bytes of source"
              + ("" if compiler == "gpc" else f"  gpc takes {ours / median:.2f} of it"))


compare("full_slot", rounds)
compare("long", max(rounds // 10, 5))
PYTHON
