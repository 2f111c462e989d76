#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The GUI thread's longest stall, five runs of 40 s for each of three set-ups: one printer with
its three cameras on snapshots, one printer with three live streams at 15 pictures a second, and
four printers with three streams each. The stall is the event-loop probe's worst one-millisecond
timer delay, after a 5 s warm-up. Needs a display (the bench script starts Xvfb)."""

import argparse

import printers_bench
import stream_bench

AIM_MS = 8


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--pictures", required=True, help="folder with cam1.jpg, cam2.jpg, cam3.jpg")
    parser.add_argument("--snapshots", required=True, help="127.0.0.1:PORT of the snapshot server")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=40)
    args = parser.parse_args()

    servers = [stream_bench.serve(args.pictures, 15) for _ in range(4)]
    first, additional = printers_bench.camera_printers(servers)
    setups = {
        "1 printer, snapshots": stream_bench.three_cameras(args.snapshots, False),
        "1 printer, 3 streams": stream_bench.three_cameras(servers[0].address, True),
        "4 printers, 12 streams": dict(first, additionalPrinters=additional),
    }
    print(f"GUI stall, worst in each run of {args.seconds:.0f} s after 5 s (ms; aim {AIM_MS})")
    for name, settings in setups.items():
        stalls = [stream_bench.kestrel_run(args.kestrel, settings, args.seconds + 5, 5,
                                           True)["stall"] for _ in range(args.runs)]
        marks = "".join(f"{stall:8.2f}{'' if stall <= AIM_MS else '!'}" for stall in stalls)
        print(f"{name:24}{marks}")
    for server in servers:
        server.shutdown()
    print("(! marks a run over the aim)")


if __name__ == "__main__":
    main()
