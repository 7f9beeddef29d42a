#!/usr/bin/env python3
"""Runs the development host for a long time under full load and watches it from outside.

The whole plug-in with its panel, a producer process at 1 kHz, a simulated adapter that sends 1,000 controller states of
each kind a second. While it runs, the host's memory, file descriptors and threads are read from /proc; at the end its
own report is held against them. Every frame and every controller state must be accounted for. Linux only.

    scripts/soak.py [--minutes 60] [--host build/release/bin/ferrylink-host] [--out soak.json]

Exit: 0 when all is constant and explained, 1 when something is not (it says what).
"""

import argparse
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

SAMPLE_SECONDS = 5
# Caches and pools fill at first: what counts is the time behind this share of the run.
WARM_UP_SHARE = 0.1
# Growth of the resident memory, median of the last tenth against the first tenth behind the warm-up.
MEMORY_GROWTH_KIB = 512
# See judge_report().
COINCIDENCE_SHARE = 1e-4


def sample(pid):
    """Resident memory in KiB, open descriptors and threads of a process; None when it has ended."""
    try:
        status = pathlib.Path(f"/proc/{pid}/status").read_text()
        fields = dict(line.split(":", 1) for line in status.splitlines())
        return {
            "rss_kib": int(fields["VmRSS"].split()[0]),
            "threads": int(fields["Threads"]),
            "descriptors": len(os.listdir(f"/proc/{pid}/fd")),
        }
    except (FileNotFoundError, KeyError, ProcessLookupError):
        return None


def watch(process, samples):
    started = time.monotonic()
    next_note = 0
    while process.poll() is None:
        taken = sample(process.pid)
        if taken is not None:
            taken["seconds"] = round(time.monotonic() - started, 1)
            samples.append(taken)
            if taken["seconds"] >= next_note:
                print(f"{taken['seconds']:7.0f} s  {taken['rss_kib']} KiB, {taken['descriptors']} descriptors, "
                      f"{taken['threads']} threads", flush=True)
                next_note += 300
        try:
            process.wait(SAMPLE_SECONDS)
        except subprocess.TimeoutExpired:
            pass


def judge_resources(samples):
    """What was not constant, in words, and the figures."""
    steady = samples[int(len(samples) * WARM_UP_SHARE):-1]  # the last one may be of a host that is shutting down
    if len(steady) < 20:
        return [f"only {len(steady)} samples behind the warm-up: the run was too short to say anything"], {}
    tenth = len(steady) // 10
    first = statistics.median(s["rss_kib"] for s in steady[:tenth])
    last = statistics.median(s["rss_kib"] for s in steady[-tenth:])
    figures = {"rss_first_kib": first, "rss_last_kib": last, "samples": len(steady)}
    faults = []
    if last - first > MEMORY_GROWTH_KIB:
        faults.append(f"memory grew from {first} to {last} KiB")
    for name in ("descriptors", "threads"):
        values = {s[name] for s in steady}
        figures[name] = sorted(values)
        # A pool's threads, and their descriptors, come and go; what must not happen is growth.
        half = len(steady) // 2
        if max(s[name] for s in steady[half:]) > max(s[name] for s in steady[:half]):
            faults.append(f"the number of {name} grew: {sorted(values)}")
    return faults, figures


def judge_report(report):
    faults = list(report["failures"]) + list(report["errors"])
    frames, states, blocks = report["frames"], report["states"], report["blocks"]
    if frames["forwarded"] + frames["overwritten"] != frames["published"]:
        faults.append(f"frames do not add up: {frames}")
    # The producer counts on its own the frames that it replaced while their event was still set. Between its look and its
    # next frame the reader may take one all the same, and between the reader's wake-up and its look the producer may
    # replace one: the two counts differ by such coincidences, and by nothing else.
    if abs(frames["overwritten"] - frames["unclaimed"]) > 2 + frames["published"] * COINCIDENCE_SHARE:
        faults.append(f"the producer says otherwise of the frames that were replaced: {frames}")
    for name in ("corrupt", "repeated", "out_of_order"):
        if frames[name]:
            faults.append(f"{frames[name]} frames {name.replace('_', ' ')}")
    for sent, block in (("input_sent", "ControllerInput"), ("output_sent", "ControllerReport")):
        lost = states[sent] - blocks[block]["writes"]
        # The state under way at the end is on neither side's books.
        if not 0 <= lost <= states["reports_dropped"] + 2:
            faults.append(f"{block}: {states[sent]} states sent, {blocks[block]['writes']} records written, "
                          f"{states['reports_dropped']} reports dropped from the adapter's queue")
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--minutes", type=float, default=60)
    parser.add_argument("--host", default="build/release/bin/ferrylink-host")
    parser.add_argument("--out", help="keep report, samples and verdict in this file")
    options = parser.parse_args()

    with tempfile.TemporaryDirectory() as folder:
        report_file = pathlib.Path(folder) / "report.json"
        process = subprocess.Popen(
            [options.host, "--adapter", "virtual", "--feed", "1000", "--states", "1000",
             "--duration", str(options.minutes * 60), "--instance", f"soak-{os.getpid()}",
             "--settings", str(pathlib.Path(folder) / "settings.ini"), "--report", str(report_file)],
            env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
        samples = []
        try:
            watch(process, samples)
        except KeyboardInterrupt:
            process.terminate()
            process.wait()
            raise
        report = json.loads(report_file.read_text()) if report_file.exists() else None

    faults, figures = judge_resources(samples)
    if report is None:
        faults.append("the host left no report")
    else:
        faults += judge_report(report)
    if process.returncode != 0:
        faults.append(f"the host ended with {process.returncode}")
    if options.out:
        pathlib.Path(options.out).write_text(
            json.dumps({"faults": faults, "figures": figures, "report": report, "samples": samples}, indent=1))
    print(json.dumps(figures))
    if report is not None:
        print(json.dumps({key: report[key] for key in ("seconds", "frames", "states", "blocks", "latency_us")}))
    for fault in faults:
        print(f"FAILED: {fault}", file=sys.stderr)
    print("failed" if faults else "passed")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
