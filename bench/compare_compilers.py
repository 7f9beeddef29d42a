#!/usr/bin/env python3
"""Times 'gpc compile' as a whole process beside luac and tcc on the same program in their languages, in turns, and beside
/bin/true, the least that a process costs on this machine. Without debug information, as all of them ship. Prints lines for
bench/table.py; processor time.

Usage: bench/compare_compilers.py [DIRECTORY OF THE BUILT PROGRAMS]
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile

PROGRAMS = {  # name: (what it is, rounds)
    "long_1k": ("1 KB of comments, macros and code", 400),
    "slot": ("18 KB that fill a slot", 400),
    "long_256k": ("256 KB of comments, macros and code", 200),
    "long_4m": ("4 MB of comments, macros and code", 40),
}
WARM_UP = 2
NOT_SLOWER = 1.0


def processor_ns(arguments):
    """Of one process, its start included; posix_spawn keeps our own share out of it."""
    process = os.posix_spawn(arguments[0], arguments, os.environ)
    _, status, usage = os.wait4(process, 0)
    if status != 0:
        sys.exit("failed: " + " ".join(arguments))
    return (usage.ru_utime + usage.ru_stime) * 1e9


def commands(gpc, base):
    return {
        "gpc": [gpc, "compile", f"{base}.gpc", "-o", f"{base}.gbc", "--stamp", "1"],
        "luac": [shutil.which("luac5.4"), "-o", f"{base}.luac", f"{base}.lua"],
        "tcc": [shutil.which("tcc"), "-c", f"{base}.c", "-o", f"{base}.o"],
        "an empty process": ["/bin/true"],
    }


def compare(what, chosen, rounds):
    samples = {name: [] for name in chosen}
    for turn in range(WARM_UP + rounds):
        for name in list(chosen)[:: 1 if turn % 2 else -1]:
            taken = processor_ns(chosen[name])
            if turn >= WARM_UP:
                samples[name].append(taken)
    ours = samples.pop("gpc")
    for name, baseline in samples.items():
        goal = NOT_SLOWER if name != "an empty process" else None
        print(json.dumps({"what": f"gpc compile: {what}", "baseline": name, "goal": goal, "ours_ns": ours,
                          "baseline_ns": baseline}), flush=True)


def main():
    programs = sys.argv[1] if len(sys.argv) > 1 else "build/release/bin"
    with tempfile.TemporaryDirectory() as directory:
        subprocess.run([f"{programs}/ferrylink_gpc_write_sources", directory], check=True)
        gpc = f"{directory}/gpc_as_shipped"
        subprocess.run(["strip", "-o", gpc, f"{programs}/gpc"], check=True)
        for name, (what, rounds) in PROGRAMS.items():
            compare(what, commands(gpc, f"{directory}/{name}"), rounds)


if __name__ == "__main__":
    main()
