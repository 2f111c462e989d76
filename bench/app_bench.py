#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs the real kestrel binary with three camera windows against a snapshot server on
127.0.0.1 and prints what it costs, read from outside: /proc for CPU (curl children included,
once reaped), memory and descriptors; the app's debug log categories, enabled only here, for
pictures shown and event-loop stalls. Needs a display (the bench script starts Xvfb)."""

import argparse
import collections
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


Launched = collections.namedtuple("Launched", "process work temporary log_path")


def launch(kestrel, settings, rules="", clock="boot", prefix="kestrel-bench-"):
    """The real kestrel over a settings folder and a temporary folder of its own, with these
    logging rules. Its log is stamped with `clock`: "boot" is the monotonic clock that the
    stream servers record with, "process" the seconds since it started."""
    work = tempfile.mkdtemp(prefix=prefix)
    config = os.path.join(work, "config", "Kestrel")
    temporary = os.path.join(work, "tmp")
    os.makedirs(config)
    os.makedirs(temporary)
    with open(os.path.join(config, "settings.json"), "w") as file:
        json.dump(settings, file)
    environment = dict(os.environ, XDG_CONFIG_HOME=os.path.join(work, "config"), TMPDIR=temporary,
                       QT_LOGGING_RULES=rules,
                       QT_MESSAGE_PATTERN=f"%{{time {clock}}} %{{category}} %{{message}}")
    log_path = os.path.join(work, "kestrel.log")
    with open(log_path, "w") as log:
        process = subprocess.Popen([kestrel], env=environment, stdout=log, stderr=log)
    return Launched(process, work, temporary, log_path)


def stop(process):
    process.send_signal(signal.SIGTERM)
    process.wait(timeout=30)


def run(kestrel, address, seconds, warmup, stall_probe):
    rules = "kestrel.pictures.debug=true"
    if stall_probe:
        rules += ";kestrel.eventloop.debug=true"
    process, work, temporary, log_path = launch(
        kestrel, {"printerIP": address, "selectedCameraIDs": [1, 2, 3], "alwaysOnTop": True},
        rules, clock="process")
    time.sleep(warmup)
    warm = sample(process.pid, temporary)
    time.sleep(seconds - warmup)
    end = sample(process.pid, temporary)
    stop(process)
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


def drag_run(kestrel, address, moves=200):
    """Drags one camera window across the screen with xdotool, one move at a time, and reads
    how late the GUI thread ran and how often the settings file was written meanwhile."""
    launched = time.monotonic()  # the log's clock starts here, give or take a millisecond
    process, _, _, log_path = launch(
        kestrel, {"printerIP": address, "selectedCameraIDs": [1, 2, 3]},
        "kestrel.eventloop.debug=true;kestrel.settings.debug=true", clock="process",
        prefix="kestrel-bench-drag-")
    window = subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name",
                             "Filamentcam"], capture_output=True, text=True,
                            timeout=30).stdout.split()[0]
    time.sleep(3)  # past start-up, which has stalls of its own
    started = time.monotonic() - launched
    # About as often as a window manager reports a drag by hand: sixty times a second.
    command = ["xdotool"]
    for i in range(moves):
        command += ["windowmove", "--sync", window, str(200 + 3 * i), str(150 + i),
                    "sleep", "0.016"]
    subprocess.run(command, check=True, timeout=120)
    ended = time.monotonic() - launched
    time.sleep(1.5)  # the probe reports once a second; the last write follows the drag
    stop(process)
    p99s, worst, writes = [], [], 0
    for line in open(log_path):
        match = re.match(r"\s*([\d.]+) kestrel\.eventloop worst stall ([\d.]+) ms, p99 ([\d.]+)",
                         line)
        if match and started < float(match.group(1)) <= ended + 1:
            worst.append(float(match.group(2)))
            p99s.append(float(match.group(3)))
        match = re.match(r"\s*([\d.]+) kestrel\.settings", line)
        if match and started <= float(match.group(1)) <= ended + 1:
            writes += 1
    return {"moves": moves, "seconds": ended - started, "p99": max(p99s, default=float("nan")),
            "worst": max(worst, default=float("nan")), "writes": writes}


def browser_processes(profile):
    """Every process of the browser started with this profile folder."""
    pids = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/cmdline", "rb") as cmdline:
                if profile.encode() in cmdline.read():
                    pids.append(int(entry))
        except OSError:
            pass
    return pids


def browser_sample(profile):
    cpu = 0.0
    rss_kb = 0
    for pid in browser_processes(profile):
        try:
            with open(f"/proc/{pid}/stat") as stat:
                fields = stat.read().rsplit(")", 1)[1].split()
            cpu += (int(fields[11]) + int(fields[12]) + int(fields[13]) + int(fields[14])) / TICKS
            for line in open(f"/proc/{pid}/status"):
                if line.startswith("VmRSS:"):
                    rss_kb += int(line.split()[1])
        except OSError:
            pass
    return cpu, rss_kb


def browser_run(chromium, address, seconds, warmup):
    """Headless Chromium polling the same three snapshots through bench/browser.html."""
    profile = tempfile.mkdtemp(prefix="kestrel-bench-chromium-")
    log_path = os.path.join(profile, "console.log")
    command = [chromium, "--headless", "--no-sandbox", "--disable-gpu",
               "--disable-background-networking", "--disable-component-update", "--disable-sync",
               "--no-first-run", "--disable-quic", f"--user-data-dir={profile}",
               "--enable-logging=stderr", "--v=0", f"http://{address}/browser.html"]
    with open(log_path, "w") as log:
        process = subprocess.Popen(command, stdout=log, stderr=log)
        time.sleep(warmup)
        warm_cpu, _ = browser_sample(profile)
        warm_shown = last_shown(log_path)
        time.sleep(seconds - warmup)
        end_cpu, rss_kb = browser_sample(profile)
        end_shown = last_shown(log_path)
        process.send_signal(signal.SIGTERM)
        process.wait(timeout=30)
    shown = end_shown - warm_shown
    return {"cpu_per_picture_ms": (end_cpu - warm_cpu) * 1000 / shown if shown else float("nan"),
            "rss_kb": rss_kb, "rate": shown / (seconds - warmup) / 3}


def last_shown(log_path):
    counts = re.findall(r'"shown (\d+)"', open(log_path, errors="replace").read())
    return int(counts[-1]) if counts else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--address", required=True, help="127.0.0.1:PORT of the snapshot server")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warmup", type=float, default=10)
    parser.add_argument("--round-ms", type=float, required=True,
                        help="median round time from the pipeline benchmark")
    parser.add_argument("--chromium", help="compare with this browser, polling the same pictures")
    args = parser.parse_args()
    if not args.address.startswith("127.0.0.1:"):
        sys.exit("only 127.0.0.1 is measured")

    main_run = run(args.kestrel, args.address, args.seconds, args.warmup, stall_probe=False)
    stall_run = run(args.kestrel, args.address, min(args.seconds, 30), min(args.warmup, 5),
                    stall_probe=True)
    # The same app and windows with an address that forms no URL, so nothing is fetched: what
    # the machine itself costs the event loop (scheduling, timers, the X server).
    idle_run = run(args.kestrel, "kein host", min(args.seconds, 30), min(args.warmup, 5),
                   stall_probe=True)

    window = args.seconds - args.warmup
    in_window = {url: [t for t in times if args.warmup <= t <= args.seconds]
                 for url, times in main_run["shown"].items()}
    pictures = sum(len(times) for times in in_window.values())
    ceiling = 1000.0 / (167 + args.round_ms)
    warm, end = main_run["warm"], main_run["end"]
    first = min((times[0] for times in main_run["shown"].values()), default=float("nan"))
    settled_stalls = [stall for at, stall in stall_run["stalls"] if at > 5]
    idle_stalls = [stall for at, stall in idle_run["stalls"] if at > 5]

    print(f"Whole app, three windows for {args.seconds:.0f} s ({args.warmup:.0f} s warm-up)")
    for url in sorted(in_window):
        rate = len(in_window[url]) / window
        print(f"  pictures per second   {rate:6.2f}  ({rate / ceiling * 100:5.1f} % of the ceiling "
              f"{ceiling:.2f})  {url}")
    if pictures:
        cpu = (end["cpu"] - warm["cpu"]) * 1000 / pictures
        print(f"  CPU per shown picture {cpu:6.2f} ms (Kestrel and its curl runs)")
    print(f"  longest GUI stall     {max(settled_stalls, default=float('nan')):6.2f} ms with "
          f"pictures, {max(idle_stalls, default=float('nan')):.2f} ms idle (same windows, nothing "
          f"fetched); {max((s for _, s in stall_run['stalls']), default=float('nan')):.2f} ms "
          f"including start-up (1 ms probe, separate runs)")
    print(f"  RSS peak / final      {end['peak_kb'] / 1024:6.1f} / {end['rss_kb'] / 1024:.1f} MB")
    print(f"  launch to 1st picture {first * 1000:6.0f} ms")
    growth = (f"  growth after warm-up  RSS {(end['rss_kb'] - warm['rss_kb']) / 1024:+.2f} MB, "
          f"descriptors {end['fds'] - warm['fds']:+d}, temporary files "
          f"{end['temporary_files'] - warm['temporary_files']:+d} "
          f"({main_run['leftover_files']} left after quitting)")
    print(growth)

    drag = drag_run(args.kestrel, args.address)
    print(f"  dragging a window     {drag['moves']} moves in {drag['seconds']:.1f} s: GUI stall "
          f"p99 {drag['p99']:.2f} ms (worst second), longest {drag['worst']:.2f} ms; "
          f"settings file written {drag['writes']} times")

    if args.chromium:
        browser = browser_run(args.chromium, args.address, args.seconds, args.warmup)
        kestrel_cpu = (end["cpu"] - warm["cpu"]) * 1000 / pictures if pictures else float("nan")
        print()
        print(f"{'Kestrel against a browser':28}{'Kestrel':>10}{'Chromium':>10}{'ratio':>8}")
        print(f"{'  CPU per shown picture, ms':28}{kestrel_cpu:10.2f}"
              f"{browser['cpu_per_picture_ms']:10.2f}"
              f"{kestrel_cpu / browser['cpu_per_picture_ms']:8.2f}")
        print(f"{'  RSS, MB':28}{end['rss_kb'] / 1024:10.1f}{browser['rss_kb'] / 1024:10.1f}"
              f"{end['rss_kb'] / browser['rss_kb']:8.2f}")
        print(f"{'  pictures per window and s':28}{pictures / window / 3:10.2f}"
              f"{browser['rate']:10.2f}")


if __name__ == "__main__":
    main()
