#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""CPU per shown snapshot, Kestrel's three camera windows against headless Chromium polling the
same pictures, in alternating rounds on the same machine: one run alone is within the noise of a
small VM, the median of several is not. With --other, a second kestrel binary (an older build)
takes its turn in every round too. Prints each round and the medians; asserts nothing. Needs a
display (the bench script starts Xvfb) and a snapshot server on 127.0.0.1."""

import argparse
import statistics
import sys

from app_bench import browser_run, run


def kestrel_cpu_per_picture(kestrel, address, seconds, warmup):
    result = run(kestrel, address, seconds, warmup, stall_probe=False)
    pictures = sum(len([t for t in times if warmup <= t <= seconds])
                   for times in result["shown"].values())
    cpu = result["end"]["cpu"] - result["warm"]["cpu"]
    return cpu * 1000 / pictures if pictures else float("nan"), result["end"]["rss_kb"]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--other", help="another kestrel binary to run in every round")
    parser.add_argument("--address", required=True, help="127.0.0.1:PORT of the snapshot server")
    parser.add_argument("--chromium", required=True)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=40)
    parser.add_argument("--warmup", type=float, default=10)
    args = parser.parse_args()
    if not args.address.startswith("127.0.0.1:"):
        sys.exit("only 127.0.0.1 is measured")

    binaries = {"kestrel": args.kestrel}
    if args.other:
        binaries["other"] = args.other
    ratios = {name: [] for name in binaries}
    costs = {name: [] for name in binaries}
    browser_costs = []
    print(f"Snapshots, three windows, {args.rounds} rounds of {args.seconds:.0f} s "
          f"({args.warmup:.0f} s warm-up); CPU per shown picture in ms")
    for number in range(1, args.rounds + 1):
        browser = browser_run(args.chromium, args.address, args.seconds, args.warmup)
        browser_costs.append(browser["cpu_per_picture_ms"])
        line = f"  round {number}: Chromium {browser['cpu_per_picture_ms']:6.2f}"
        for name, binary in binaries.items():
            cost, rss_kb = kestrel_cpu_per_picture(binary, args.address, args.seconds,
                                                   args.warmup)
            costs[name].append(cost)
            ratios[name].append(cost / browser["cpu_per_picture_ms"])
            line += f"  {name} {cost:6.2f} ({ratios[name][-1]:.2f} x, RSS {rss_kb / 1024:.1f} MB)"
        print(line, flush=True)
    print(f"  median: Chromium {statistics.median(browser_costs):.2f} ms", end="")
    for name in binaries:
        print(f", {name} {statistics.median(costs[name]):.2f} ms = "
              f"{statistics.median(ratios[name]):.2f} x", end="")
    print()


if __name__ == "__main__":
    main()
