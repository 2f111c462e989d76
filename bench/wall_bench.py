#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The printer wall at twenty printers, in one run: twenty demo printers, each printing (four
status updates a second) with one camera of 1280x960 or 1920x1080 pictures, and the real kestrel
showing them on its wall at 2 pictures a second each, with no camera window. Prints the share of
the pictures asked for that were shown, CPU per shown picture, the longest GUI-thread stall and
RSS; beside them headless Chromium showing the same snapshots in a grid of <img> elements at the
same rate, and the decoding floor at the tiles' DCT scale. Then the wall minimised: the pictures
shown and Kestrel's CPU. Needs a display (the bench script starts Xvfb)."""

import argparse
import collections
import functools
import os
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import urllib.request

from http.server import SimpleHTTPRequestHandler, ThreadingHTTPServer

import app_bench
import status_bench

PRINTERS = 20
RATE = 2
# The tiles take turns: the first shows its printer's camera 1, the next camera 2, and so on.
CAMERAS = (1, 2)


class QuietHandler(SimpleHTTPRequestHandler):
    def log_message(self, *args):
        pass


def wall_settings(addresses, screen):
    printers = [{"printerName": f"Drucker {i + 1}", "printerIP": address,
                 "selectedCameraIDs": [99], "wallCamera": CAMERAS[i % len(CAMERAS)]}
                for i, address in enumerate(addresses)]
    for i, printer in enumerate(printers[1:]):
        printer["printerID"] = f"wall{i + 1}"
    # The whole screen, so that every tile is in sight and fetches.
    return dict(printers[0], additionalPrinters=printers[1:], wallOpen=True,
                wallPicturesPerSecond=RATE, wallFrame=f"{{{{0, 0}}, {{{screen[0]}, {screen[1]}}}}}")


def screen_size():
    output = subprocess.run(["xdpyinfo"], capture_output=True, text=True).stdout
    match = re.search(r"dimensions:\s+(\d+)x(\d+)", output)
    return (int(match.group(1)), int(match.group(2))) if match else (1440, 900)


def kestrel_run(kestrel, addresses, seconds, warmup, minimised, stall_probe):
    """The stall probe wakes the GUI thread every millisecond, which costs CPU of its own: the run
    that counts CPU goes without it."""
    rules = "kestrel.pictures.debug=true"
    if stall_probe:
        rules += ";kestrel.eventloop.debug=true"
    process, _, temporary, log_path = app_bench.launch(
        kestrel, wall_settings(addresses, screen_size()), rules, clock="process",
        prefix="kestrel-bench-wall-")
    if minimised:
        window = subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name",
                                 "Druckerwand"], capture_output=True, text=True,
                                timeout=30).stdout.split()[0]
        subprocess.run(["xdotool", "windowminimize", "--sync", window], timeout=30)
    time.sleep(warmup)
    warm = app_bench.sample(process.pid, temporary)
    time.sleep(seconds)
    end = app_bench.sample(process.pid, temporary)
    app_bench.stop(process)
    started = warmup + 1  # the log's clock began a moment before the first sample
    shown, stalls, areas = 0, [], collections.Counter()
    for line in open(log_path):
        match = re.match(r"\s*([\d.]+) kestrel\.pictures \S+ (\d+)x(\d+)", line)
        if match and float(match.group(1)) >= started and float(match.group(1)) < started + seconds:
            shown += 1
            areas[(int(match.group(2)), int(match.group(3)))] += 1
        match = re.match(r"\s*([\d.]+) kestrel\.eventloop worst stall ([\d.]+) ms", line)
        if match and float(match.group(1)) >= started:
            stalls.append(float(match.group(2)))
    cpu = end["cpu"] - warm["cpu"]
    return {"shown": shown / (PRINTERS * RATE * seconds) * 100,
            "cpu_per_picture": cpu * 1000 / shown if shown else float("nan"),
            "cpu_percent": cpu / seconds * 100, "stall": max(stalls, default=float("nan")),
            "rss": end["rss_kb"] / 1024, "pictures": shown,
            "area": areas.most_common(1)[0][0] if areas else None}


def chromium_run(chromium, addresses, seconds, warmup):
    """The page comes from a server of its own: Chromium logs no console for a file."""
    page = ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(
        QuietHandler, directory=os.path.dirname(os.path.abspath(__file__))))
    threading.Thread(target=page.serve_forever, daemon=True).start()
    profile = tempfile.mkdtemp(prefix="kestrel-bench-chromium-")
    log_path = os.path.join(profile, "console.log")
    url = (f"http://127.0.0.1:{page.server_address[1]}/wall.html?rate={RATE}"
           f"&hosts={','.join(addresses)}")
    command = [chromium, "--headless", "--no-sandbox", "--disable-gpu",
               "--disable-background-networking", "--disable-component-update", "--disable-sync",
               "--no-first-run", "--disable-quic", "--window-size=1100,900",
               f"--user-data-dir={profile}", "--enable-logging=stderr", "--v=0", url]
    with open(log_path, "w") as log:
        process = subprocess.Popen(command, stdout=log, stderr=log)
        time.sleep(warmup)
        warm_cpu, _ = app_bench.browser_sample(profile)
        warm_shown = app_bench.last_shown(log_path)
        time.sleep(seconds)
        end_cpu, rss_kb = app_bench.browser_sample(profile)
        end_shown = app_bench.last_shown(log_path)
        process.send_signal(signal.SIGTERM)
        process.wait(timeout=30)
    page.shutdown()
    shutil.rmtree(profile, ignore_errors=True)
    shown = end_shown - warm_shown
    return {"cpu_per_picture": (end_cpu - warm_cpu) * 1000 / shown if shown else float("nan"),
            "shown": shown / (PRINTERS * RATE * seconds) * 100, "rss": rss_kb / 1024}


def paired(kestrel, other, addresses, seconds, warmup, rounds=3):
    """Both builds at once against the same printers, so that the VM's swings (up to 10 % from
    one run to the next) touch both alike: a build against itself stays within 1 %."""
    for _ in range(rounds):
        runs = [None, None]

        def measure(index, binary):
            runs[index] = kestrel_run(binary, addresses, seconds, warmup, False, False)
        threads = [threading.Thread(target=measure, args=pair) for pair in enumerate((other, kestrel))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        before, after = (result["cpu_per_picture"] for result in runs)
        print(f"CPU per picture: {before:.3f} ms against {after:.3f} ms, "
              f"ratio {after / before:.3f} (shown {runs[0]['shown']:.1f} and "
              f"{runs[1]['shown']:.1f} %)", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--demo-printer", required=True)
    parser.add_argument("--decode-floor", required=True)
    parser.add_argument("--chromium", help="compare with this browser")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warmup", type=float, default=10)
    parser.add_argument("--against", metavar="OTHER_KESTREL",
                        help="only weigh --kestrel against this other build, the two at once")
    args = parser.parse_args()

    printers = [status_bench.demo_printer(args.demo_printer, "--print-seconds",
                                          str(600 + 60 * i), "--fps", "1")
                for i in range(PRINTERS)]
    addresses = [address for _, address in printers]
    # The floor decodes the very pictures the tiles get, at the size the tiles have.
    pictures = tempfile.mkdtemp(prefix="kestrel-bench-wall-pictures-")
    for camera in CAMERAS:
        path = "webcam" if camera == 1 else f"webcam{camera}"
        with urllib.request.urlopen(f"http://{addresses[0]}/{path}/?action=snapshot") as answer, \
                open(os.path.join(pictures, f"cam{camera}.jpg"), "wb") as file:
            file.write(answer.read())
    try:
        if args.against:
            paired(args.kestrel, args.against, addresses, args.seconds, args.warmup)
            return
        shown = kestrel_run(args.kestrel, addresses, args.seconds, args.warmup, False, False)
        shown["stall"] = kestrel_run(args.kestrel, addresses, min(args.seconds, 30), args.warmup,
                                     False, True)["stall"]
        hidden = kestrel_run(args.kestrel, addresses, min(args.seconds, 30), args.warmup, True,
                             False)
        browser = (chromium_run(args.chromium, addresses, args.seconds, args.warmup)
                   if args.chromium else None)
    finally:
        for process, _ in printers:
            process.terminate()
            process.wait(timeout=30)
    if not shown["area"]:
        raise SystemExit("wall_bench: the wall showed no picture")
    floor_output = subprocess.run(
        [args.decode_floor, *map(str, shown["area"]),
         *(os.path.join(pictures, f"cam{camera}.jpg") for camera in CAMERAS)],
        capture_output=True, text=True, check=True).stdout
    floor = float(re.search(r"FLOOR_MS=([\d.]+)", floor_output).group(1))

    print(f"The printer wall: {PRINTERS} printing demo printers at {RATE} pictures a second "
          f"each, {args.seconds:.0f} s ({args.warmup:.0f} s warm-up)")
    print(f"{'':16}{'shown':>8}{'CPU/pic':>9}{'x floor':>9}{'stall':>8}{'RSS MB':>8}")
    print(f"{'Kestrel':16}{shown['shown']:7.1f}%{shown['cpu_per_picture']:9.2f}"
          f"{shown['cpu_per_picture'] / floor:9.2f}{shown['stall']:8.2f}{shown['rss']:8.1f}")
    if browser:
        print(f"{'Chromium <img>':16}{browser['shown']:7.1f}%{browser['cpu_per_picture']:9.2f}"
              f"{browser['cpu_per_picture'] / floor:9.2f}{'':>8}{browser['rss']:8.1f}")
        print(f"Kestrel against Chromium, CPU per picture: "
              f"{shown['cpu_per_picture'] / browser['cpu_per_picture']:.2f} x")
    print(floor_output.splitlines()[0])
    print(f"Wall minimised: {hidden['pictures']} pictures shown, {hidden['cpu_percent']:.2f} % "
          f"of one core")
    print("(CPU per picture in ms, the whole process with its status traffic; shown: of the "
          "pictures asked for; stall: longest GUI-thread delay in ms, from a run of its own)")


if __name__ == "__main__":
    main()
