#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Several printers in one Kestrel, in one run: one printer and then four, each with its three
cameras streaming MJPEG at 15 pictures a second from a stream server of its own on 127.0.0.1
(twelve camera windows at four); the share of pictures sent that are shown, CPU per picture,
the longest GUI-thread stall and RSS. Beside them the decoding floor: libjpeg-turbo alone
decoding the same pictures at the same DCT scale in one process. Then twenty demo printers
printing, with the main window shown and no camera window open: Kestrel's CPU in percent of one
core. Needs a display (the bench script starts Xvfb)."""

import argparse
import os
import re
import subprocess

import stream_bench
import status_bench

# The picture area of a camera window at its first size (420 x 280 less the card's padding, the
# header and the link), which decides the DCT scale.
PICTURE_AREA = (376, 150)


def camera_printers(servers):
    """One printer per stream server, all three cameras streaming."""
    streams = {str(i + 1): path for i, path in enumerate(stream_bench.CAMERAS)}
    printers = [{"printerName": f"Drucker {i + 1}", "printerIP": server.address,
                 "selectedCameraIDs": [1, 2, 3], "cameraStreamPaths": streams}
                for i, server in enumerate(servers)]
    for i, printer in enumerate(printers[1:]):
        printer["printerID"] = f"bench{i + 1}"
    return printers[0], printers[1:]


def stream_run(kestrel, servers, seconds, warmup, stall_probe):
    """`seconds` measured after the warm-up."""
    first, additional = camera_printers(servers)
    run = stream_bench.kestrel_run(kestrel, dict(first, additionalPrinters=additional),
                                   warmup + seconds, warmup, stall_probe)
    painted = sum(len(times) for times in run["painted"].values())
    sent = sum(len(times) for server in servers
               for times in server.sent_between(run["from"], run["to"]).values())
    return {"cpu": (run["end"]["cpu"] - run["warm"]["cpu"]) * 1000 / painted
            if painted else float("nan"),
            "shown": painted / sent * 100 if sent else float("nan"),
            "rate": painted / (run["to"] - run["from"]), "rss": run["end"]["rss_kb"] / 1024,
            "stall": run["stall"]}


def status_run(kestrel, demo_printer, count, seconds, warmup):
    printers = [status_bench.demo_printer(demo_printer, "--print-seconds", "3600")
                for _ in range(count)]
    try:
        entries = [{"printerID": f"status{i}", "printerName": f"Drucker {i + 1}",
                    "printerIP": address, "selectedCameraIDs": [99]}
                   for i, (_, address) in enumerate(printers)]
        first = {key: value for key, value in entries[0].items() if key != "printerID"}
        return status_bench.kestrel_cpu(kestrel, dict(first, additionalPrinters=entries[1:]),
                                        seconds, warmup)
    finally:
        for printer, _ in printers:
            printer.terminate()
            printer.wait(timeout=30)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--demo-printer", required=True)
    parser.add_argument("--decode-floor", required=True)
    parser.add_argument("--pictures", required=True, help="folder with cam1.jpg, cam2.jpg, cam3.jpg")
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--warmup", type=float, default=10)
    args = parser.parse_args()

    servers = [stream_bench.serve(args.pictures, 15) for _ in range(4)]
    rows = {}
    for count in (1, 4):
        row = stream_run(args.kestrel, servers[:count], args.seconds, args.warmup, False)
        row["stall"] = stream_run(args.kestrel, servers[:count], min(args.seconds, 30),
                                  min(args.warmup, 5), True)["stall"]
        rows[count] = row
    for server in servers:
        server.shutdown()
    floor_output = subprocess.run(
        [args.decode_floor, *map(str, PICTURE_AREA),
         *(os.path.join(args.pictures, f"cam{camera}.jpg") for camera in (1, 2, 3))],
        capture_output=True, text=True, check=True).stdout
    floor = float(re.search(r"FLOOR_MS=([\d.]+)", floor_output).group(1))
    status = status_run(args.kestrel, args.demo_printer, 20, args.seconds, 10)

    print(f"Printers with three MJPEG cameras each at 15/s, {args.seconds:.0f} s each "
          f"({args.warmup:.0f} s warm-up)")
    print(f"{'':22}{'shown':>8}{'pic/s':>8}{'CPU/pic':>9}{'x floor':>9}{'stall':>8}{'RSS MB':>8}")
    for count, row in rows.items():
        print(f"{count} printer(s), {3 * count:2} streams{row['shown']:7.1f}%{row['rate']:8.1f}"
              f"{row['cpu']:9.2f}{row['cpu'] / floor:9.2f}{row['stall']:8.2f}{row['rss']:8.1f}")
    print(f"Four printers against one: CPU per picture {rows[4]['cpu'] / rows[1]['cpu']:.2f} x")
    print(floor_output.splitlines()[0])
    print("(CPU per picture in ms; shown: pictures painted of those sent; stall: longest "
          "GUI-thread delay in ms)")
    print(f"Twenty demo printers printing, main window shown, no camera window: "
          f"{status:.2f} % of one core")


if __name__ == "__main__":
    main()
