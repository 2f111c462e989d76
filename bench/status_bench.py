#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What following the printer host's status API costs: the real kestrel with no camera window,
for a minute each against a host without that API (the client only tries now and then), the
demo printer standing idle, and the demo printer printing (four status updates a second).
CPU is read from /proc, in percent of one core."""

import argparse
import re
import subprocess
import time

import app_bench


def demo_printer(binary, *arguments):
    process = subprocess.Popen([binary, "--port", "0", *arguments], stdout=subprocess.PIPE,
                               text=True)
    for line in process.stdout:
        match = re.search(r"Demo-Drucker .*http://(127\.0\.0\.1:\d+)/", line)
        if match:
            return process, match.group(1)
    raise SystemExit("the demo printer did not start")


def kestrel_cpu(kestrel, settings, seconds, warmup):
    """Kestrel's CPU in percent of one core with these settings, after the warm-up."""
    process, _, temporary, _ = app_bench.launch(kestrel, settings, prefix="kestrel-bench-status-")
    time.sleep(warmup)
    start = app_bench.sample(process.pid, temporary)["cpu"]
    time.sleep(seconds)
    end = app_bench.sample(process.pid, temporary)["cpu"]
    app_bench.stop(process)
    return (end - start) / seconds * 100


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kestrel", required=True)
    parser.add_argument("--demo-printer", required=True)
    parser.add_argument("--plain-host", required=True, help="127.0.0.1:PORT without the API")
    parser.add_argument("--seconds", type=float, default=60)
    args = parser.parse_args()

    def alone(address):
        return {"printerIP": address, "selectedCameraIDs": [99]}

    rows = [("host without the API",
             kestrel_cpu(args.kestrel, alone(args.plain_host), args.seconds, 5))]
    for name, arguments in (("demo printer, idle", ["--fault", "idle"]),
                            ("demo printer, printing", ["--print-seconds", "3600"])):
        printer, address = demo_printer(args.demo_printer, *arguments)
        rows.append((name, kestrel_cpu(args.kestrel, alone(address), args.seconds, 5)))
        printer.terminate()
        printer.wait(timeout=30)
    print(f"Printer status, Kestrel without camera windows, {args.seconds:.0f} s each")
    for name, cpu in rows:
        print(f"  {name:26}{cpu:6.2f} % of one core")
    print(f"  the status client while printing: {rows[2][1] - rows[0][1]:+.2f} % of one core "
          f"against a host without the API")


if __name__ == "__main__":
    main()
