#!/usr/bin/env python3
"""The comparison for series_update_16bit: what a user would write with numpy.

Maps the same raw 16-bit frames the C++ side uses (shared through the page
cache), then on every "run" line on stdin adds them one after the other into
a fresh uint64 accumulator with np.add and answers with the seconds it took.
"""
import sys
import time

import numpy as np


def main():
    frames = [np.memmap(path, dtype="<u2", mode="r") for path in sys.argv[1:]]
    for frame in frames:  # fault every page in before any timing
        int(frame[::2048].sum())
    print("ready", flush=True)
    for line in sys.stdin:
        if line.strip() != "run":
            break
        start = time.perf_counter()
        total = np.zeros(frames[0].size, dtype=np.uint64)
        for frame in frames:
            np.add(total, frame, out=total)
        elapsed = time.perf_counter() - start
        print(f"{elapsed:.6f}", flush=True)


if __name__ == "__main__":
    main()
