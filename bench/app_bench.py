#!/usr/bin/env python3
"""Runs the real kestrel binary with three camera windows against a snapshot server on
127.0.0.1 and prints what it costs, read from outside: /proc for CPU (curl children included,
once reaped), memory and descriptors; the app's debug log categories, enabled only here, for
pictures shown and event-loop stalls. Needs a display (the bench script starts Xvfb)."""

import argparse
import glob
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time

TICKS = os.sysconf("SC_CLK_TCK")


def sample(pid, temporary):
    with open(f"/proc/{pid}/stat") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    utime, stime, cutime, cstime = (int(fields[i]) for i in (11, 12, 13, 14))
    status = dict(line.split(":", 1) for line in open(f"/proc/{pid}/status") if ":" in line)
    return {
        "cpu": (utime + stime + cutime + cstime) / TICKS,
        "rss_kb": int(status["VmRSS"].split()[0]),
        "peak_kb": int(status["VmHWM"].split()[0]),
        "fds": len(os.listdir(f"/proc/{pid}/fd")),
        "temporary_files": len(glob.glob(os.path.join(temporary, "kestrel-*"))),
    }


def run(kestrel, address, seconds, warmup, stall_probe):
    work = tempfile.mkdtemp(prefix="kestrel-bench-")
    config = os.path.join(work, "config", "Kestrel")
    temporary = os.path.join(work, "tmp")
    os.makedirs(config)
    os.makedirs(temporary)
    with open(os.path.join(config, "settings.json"), "w") as settings:
        json.dump({"printerIP": address, "selectedCameraIDs": [1, 2, 3], "alwaysOnTop": True},
                  settings)
    rules = "kestrel.pictures.debug=true"
    if stall_probe:
        rules += ";kestrel.eventloop.debug=true"
    environment = dict(os.environ, XDG_CONFIG_HOME=os.path.join(work, "config"), TMPDIR=temporary,
                       QT_LOGGING_RULES=rules,
                       QT_MESSAGE_PATTERN="%{time process} %{category} %{message}")
    log_path = os.path.join(work, "kestrel.log")
    with open(log_path, "w") as log:
        process = subprocess.Popen([kestrel], env=environment, stdout=log, stderr=log)
        time.sleep(warmup)
        warm = sample(process.pid, temporary)
        time.sleep(seconds - warmup)
        end = sample(process.pid, temporary)
        process.send_signal(signal.SIGTERM)
        process.wait(timeout=30)
    shown = {}
    stalls = []
    for line in open(log_path):
        match = re.match(r"\s*([\d.]+) kestrel\.pictures (\S+)", line)
        if match:
            shown.setdefault(match.group(2), []).append(float(match.group(1)))
        match = re.match(r"\s*([\d.]+) kestrel\.eventloop worst stall ([\d.]+) ms", line)
        if match:
            stalls.append((float(match.group(1)), float(match.group(2))))
    return {"warm": warm, "end": end, "shown": shown, "stalls": stalls, "work": work,
            "leftover_files": len(glob.glob(os.path.join(temporary, "kestrel-*")))}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--address", required=True, help="127.0.0.1:PORT of the snapshot server")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warmup", type=float, default=10)
    parser.add_argument("--round-ms", type=float, required=True,
                        help="median round time from the pipeline benchmark")
    args = parser.parse_args()
    if not args.address.startswith("127.0.0.1:"):
        sys.exit("only 127.0.0.1 is measured")

    main_run = run(args.kestrel, args.address, args.seconds, args.warmup, stall_probe=False)
    stall_run = run(args.kestrel, args.address, min(args.seconds, 30), min(args.warmup, 5),
                    stall_probe=True)

    window = args.seconds - args.warmup
    in_window = {url: [t for t in times if args.warmup <= t <= args.seconds]
                 for url, times in main_run["shown"].items()}
    pictures = sum(len(times) for times in in_window.values())
    ceiling = 1000.0 / (167 + args.round_ms)
    warm, end = main_run["warm"], main_run["end"]
    first = min((times[0] for times in main_run["shown"].values()), default=float("nan"))
    settled_stalls = [stall for at, stall in stall_run["stalls"] if at > 5]

    print(f"Whole app, three windows for {args.seconds:.0f} s ({args.warmup:.0f} s warm-up)")
    for url in sorted(in_window):
        rate = len(in_window[url]) / window
        print(f"  pictures per second   {rate:6.2f}  ({rate / ceiling * 100:5.1f} % of the ceiling "
              f"{ceiling:.2f})  {url}")
    if pictures:
        cpu = (end["cpu"] - warm["cpu"]) * 1000 / pictures
        print(f"  CPU per shown picture {cpu:6.2f} ms (Kestrel and its curl runs)")
    print(f"  longest GUI stall     {max(settled_stalls, default=float('nan')):6.2f} ms after "
          f"start-up, {max((s for _, s in stall_run['stalls']), default=float('nan')):.2f} ms "
          f"including start-up (1 ms probe, separate run)")
    print(f"  RSS peak / final      {end['peak_kb'] / 1024:6.1f} / {end['rss_kb'] / 1024:.1f} MB")
    print(f"  launch to 1st picture {first * 1000:6.0f} ms")
    print(f"  growth after warm-up  RSS {(end['rss_kb'] - warm['rss_kb']) / 1024:+.2f} MB, "
          f"descriptors {end['fds'] - warm['fds']:+d}, temporary files "
          f"{end['temporary_files'] - warm['temporary_files']:+d} "
          f"({main_run['leftover_files']} left after quitting)")


if __name__ == "__main__":
    main()
