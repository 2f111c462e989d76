#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Three camera windows side by side for a minute each, against servers on 127.0.0.1: Kestrel
reading the cameras' MJPEG streams at 15 and at 30 pictures a second, Kestrel's snapshot loop
against nginx, and headless Chromium showing the same three streams in <img> elements, as a
browser front-end shows an MJPEG camera. Read from outside: /proc for CPU and memory, the app's
debug log for pictures painted and event-loop stalls, and the stream server's own record of when
each picture's last byte left. With --long SECONDS, one more streaming run watches RSS over that
time. Needs a display (the bench script starts Xvfb)."""

import argparse
import bisect
import os
import re
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

import app_bench

BOUNDARY = b"kestrelbench"
CAMERAS = {"/webcam/?action=stream": "cam1.jpg", "/webcam2/?action=stream": "cam2.jpg",
           "/webcam3/?action=stream": "cam3.jpg"}
PAGE = b"""<!DOCTYPE html><html><body style="margin: 0; background: #000">
<img src="/webcam/?action=stream" style="width: 420px; height: 280px; object-fit: contain">
<img src="/webcam2/?action=stream" style="width: 420px; height: 280px; object-fit: contain">
<img src="/webcam3/?action=stream" style="width: 420px; height: 280px; object-fit: contain">
</body></html>"""


class StreamServer(ThreadingHTTPServer):
    """Serves the three pictures as MJPEG streams at a fixed rate and records, per stream, the
    monotonic time at which each part's last byte was handed to the socket."""
    daemon_threads = True

    def __init__(self, pictures, rate):
        self.pictures = {path: open(os.path.join(pictures, name), "rb").read()
                         for path, name in CAMERAS.items()}
        self.rate = rate
        self.sent = {path: [] for path in CAMERAS}
        self.lock = threading.Lock()
        super().__init__(("127.0.0.1", 0), StreamHandler)

    @property
    def address(self):
        return f"127.0.0.1:{self.server_address[1]}"

    def sent_between(self, start, end):
        with self.lock:
            return {path: [t for t in times if start <= t <= end]
                    for path, times in self.sent.items()}


class StreamHandler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def do_HEAD(self):
        self.send_response(200)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def do_GET(self):
        if self.path == "/streams.html":
            self.send_response(200)
            self.send_header("Content-Type", "text/html")
            self.send_header("Content-Length", str(len(PAGE)))
            self.end_headers()
            self.wfile.write(PAGE)
            return
        picture = self.server.pictures.get(self.path)
        if picture is None:
            self.send_error(404)
            return
        self.send_response(200)
        self.send_header("Content-Type", "multipart/x-mixed-replace;boundary=" + BOUNDARY.decode())
        self.send_header("Cache-Control", "no-cache")
        self.send_header("Connection", "close")
        self.end_headers()
        part = (b"--" + BOUNDARY + b"\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                str(len(picture)).encode() + b"\r\n\r\n" + picture + b"\r\n")
        pause = 1.0 / self.server.rate
        due = time.monotonic()
        try:
            while True:
                self.wfile.write(part)
                self.wfile.flush()
                with self.server.lock:
                    self.server.sent[self.path].append(time.monotonic())
                due += pause
                time.sleep(max(0.0, due - time.monotonic()))
        except OSError:
            pass  # the viewer went away


def three_cameras(address, streams):
    """One printer's settings with its three camera windows, streaming or on snapshots."""
    settings = {"printerIP": address, "selectedCameraIDs": [1, 2, 3], "alwaysOnTop": True}
    if streams:
        settings["cameraStreamPaths"] = {str(i + 1): path for i, path in enumerate(CAMERAS)}
    return settings


def kestrel_run(kestrel, settings, seconds, warmup, stall_probe):
    """The real kestrel with these settings, painting pictures from the first printer's camera
    paths; the log's clock is the monotonic one the stream server records with."""
    rules = "kestrel.pictures.debug=true"
    if stall_probe:
        rules += ";kestrel.eventloop.debug=true"
    process, _, temporary, log_path = app_bench.launch(kestrel, settings, rules,
                                                       prefix="kestrel-bench-stream-")
    rss = []
    started = time.monotonic()
    time.sleep(warmup)
    warm = app_bench.sample(process.pid, temporary)
    warm_at = time.monotonic()
    while time.monotonic() - started < seconds:
        time.sleep(min(10, seconds - (time.monotonic() - started)))
        rss.append(app_bench.sample(process.pid, temporary)["rss_kb"])
    end = app_bench.sample(process.pid, temporary)
    end_at = time.monotonic()
    app_bench.stop(process)
    painted, stalls = {}, []
    for line in open(log_path):
        match = re.match(r"\s*([\d.]+) kestrel\.pictures http://[^/]+(\S+)", line)
        if match and warm_at <= float(match.group(1)) <= end_at:
            painted.setdefault(match.group(2), []).append(float(match.group(1)))
        match = re.match(r"\s*([\d.]+) kestrel\.eventloop worst stall ([\d.]+) ms", line)
        if match and float(match.group(1)) > started + 5:
            stalls.append(float(match.group(2)))
    return {"warm": warm, "end": end, "from": warm_at, "to": end_at, "painted": painted,
            "stall": max(stalls, default=float("nan")), "rss": rss}


def delays(painted, sent):
    """For each painted picture, how long after the newest picture's last byte it was painted."""
    result = []
    for path, times in painted.items():
        sends = sorted(sent.get(path, []))
        for at in times:
            i = bisect.bisect_right(sends, at)
            if i:
                result.append((at - sends[i - 1]) * 1000)
    return result


def summary(run, sent=None):
    pictures = sum(len(times) for times in run["painted"].values())
    cpu = (run["end"]["cpu"] - run["warm"]["cpu"]) * 1000 / pictures if pictures else float("nan")
    row = {"cpu": cpu, "rss": run["end"]["rss_kb"] / 1024, "pictures": pictures,
           "rate": pictures / (run["to"] - run["from"]) / 3}
    if sent is not None:
        total = sum(len(times) for times in sent.values())
        waits = sorted(delays(run["painted"], sent))
        row["shown_share"] = pictures / total * 100 if total else float("nan")
        row["delay_median"] = statistics.median(waits) if waits else float("nan")
        row["delay_p90"] = waits[int(len(waits) * 0.9)] if waits else float("nan")
    return row


def chromium_run(chromium, server, seconds, warmup):
    profile = tempfile.mkdtemp(prefix="kestrel-bench-chromium-")
    command = [chromium, "--headless", "--no-sandbox", "--disable-gpu",
               "--disable-background-networking", "--disable-component-update", "--disable-sync",
               "--no-first-run", "--disable-quic", f"--user-data-dir={profile}",
               f"http://{server.address}/streams.html"]
    with open(os.path.join(profile, "console.log"), "w") as log:
        process = subprocess.Popen(command, stdout=log, stderr=log)
        time.sleep(warmup)
        warm_cpu, _ = app_bench.browser_sample(profile)
        warm_at = time.monotonic()
        time.sleep(seconds - warmup)
        end_cpu, rss_kb = app_bench.browser_sample(profile)
        end_at = time.monotonic()
        process.send_signal(signal.SIGTERM)
        process.wait(timeout=30)
    # What the browser cannot be asked, it is granted: every picture it was sent counts as shown.
    received = sum(len(t) for t in server.sent_between(warm_at, end_at).values())
    return {"cpu": (end_cpu - warm_cpu) * 1000 / received if received else float("nan"),
            "rss": rss_kb / 1024, "rate": received / (end_at - warm_at) / 3}


def serve(pictures, rate):
    server = StreamServer(pictures, rate)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--pictures", required=True, help="folder with cam1.jpg, cam2.jpg, cam3.jpg")
    parser.add_argument("--snapshots", required=True, help="127.0.0.1:PORT of the snapshot server")
    parser.add_argument("--chromium")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warmup", type=float, default=10)
    parser.add_argument("--long", type=float, default=0, help="seconds of one long stream run")
    args = parser.parse_args()
    if not args.snapshots.startswith("127.0.0.1:"):
        sys.exit("only 127.0.0.1 is measured")

    rows = {}
    for rate in (15, 30):
        server = serve(args.pictures, rate)
        run = kestrel_run(args.kestrel, three_cameras(server.address, True), args.seconds,
                          args.warmup, False)
        rows[f"Kestrel, stream at {rate}/s"] = summary(
            run, server.sent_between(run["from"], run["to"]))
        stall = kestrel_run(args.kestrel, three_cameras(server.address, True),
                            min(args.seconds, 30), min(args.warmup, 5), True)
        rows[f"Kestrel, stream at {rate}/s"]["stall"] = stall["stall"]
        if rate == 15 and args.chromium:
            browser = chromium_run(args.chromium, server, args.seconds, args.warmup)
        server.shutdown()
    snapshots = kestrel_run(args.kestrel, three_cameras(args.snapshots, False), args.seconds,
                            args.warmup, False)
    rows["Kestrel, snapshots"] = summary(snapshots)
    stall = kestrel_run(args.kestrel, three_cameras(args.snapshots, False), min(args.seconds, 30),
                        min(args.warmup, 5), True)
    rows["Kestrel, snapshots"]["stall"] = stall["stall"]

    print(f"Three camera windows for {args.seconds:.0f} s each ({args.warmup:.0f} s warm-up)")
    print(f"{'':26}{'CPU/pic':>9}{'RSS MB':>8}{'pic/s':>7}{'shown':>8}{'stall':>8}"
          f"{'delay med':>11}{'p90':>7}")
    for name, row in rows.items():
        print(f"{name:26}{row['cpu']:9.2f}{row['rss']:8.1f}{row['rate']:7.2f}"
              f"{row.get('shown_share', float('nan')):7.1f}%{row['stall']:8.2f}"
              f"{row.get('delay_median', float('nan')):11.1f}{row.get('delay_p90', float('nan')):7.1f}")
    if args.chromium:
        print(f"{'Chromium, <img> at 15/s':26}{browser['cpu']:9.2f}{browser['rss']:8.1f}"
              f"{browser['rate']:7.2f}")
        stream = rows["Kestrel, stream at 15/s"]
        print(f"Stream at 15/s against Chromium: CPU per picture {stream['cpu'] / browser['cpu']:.2f} x,"
              f" RSS {stream['rss'] / browser['rss']:.2f} x")
    stream = rows["Kestrel, stream at 15/s"]
    print(f"Stream at 15/s against the snapshot loop: CPU per picture "
          f"{stream['cpu'] / rows['Kestrel, snapshots']['cpu']:.2f} x")
    print("(CPU per picture in ms, Kestrel with its curl runs; shown: pictures painted of those"
          " sent; stall: longest GUI-thread delay in ms; delay: ms from the newest picture's last"
          " byte to its paint)")

    if args.long:
        server = serve(args.pictures, 15)
        run = kestrel_run(args.kestrel, three_cameras(server.address, True), args.long, 30, False)
        server.shutdown()
        print(f"Stream at 15/s for {args.long:.0f} s: RSS every 10 s from "
              f"{run['rss'][0] / 1024:.1f} to {run['rss'][-1] / 1024:.1f} MB "
              f"(lowest {min(run['rss']) / 1024:.1f}, highest {max(run['rss']) / 1024:.1f})")


if __name__ == "__main__":
    main()
