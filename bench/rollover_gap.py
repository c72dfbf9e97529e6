"""The time a rollover cuts into sampling: tavelin-cli record at sampling 1 ms
with sixteen simulated modules answering on a 1 ms frame, .xls logs, long
enough for two rollovers. Prints the gap at each rollover (from the last row
before the workbook save to the first row after it) and, for comparison,
the largest gaps anywhere in the run (goal at a rollover: under 50 ms).

    rollover_gap.py CLI [SECONDS]
"""
import glob
import os
import subprocess
import sys
import tempfile

import xlrd


def times_of(path):
    sheet = xlrd.open_workbook(path).sheet_by_index(0)
    return [sheet.cell_value(r, 0) for r in range(7, sheet.nrows)
            if sheet.cell_type(r, 0) == xlrd.XL_CELL_NUMBER]


def main():
    cli = sys.argv[1]
    seconds = sys.argv[2] if len(sys.argv) > 2 else "62"
    with tempfile.TemporaryDirectory() as work:
        simulation = os.path.join(work, "sixteen.sim")
        with open(simulation, "w") as out:
            out.write("read-time-us 1000\n")
            for channel in range(16):
                out.write("usbio %d prepared counter %d\n" % (channel, channel + 1))
        logs = os.path.join(work, "logs")
        os.mkdir(logs)
        environment = dict(os.environ, KVR_SIMULATION=simulation,
                           XDG_STATE_HOME=os.path.join(work, "state"))
        subprocess.run([cli, "record", "--mode", "1", "--sampling", "1", "--seconds", seconds,
                        "--format", "xls", "--folder", logs], env=environment, check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        times, starts = [], []
        for path in sorted(glob.glob(os.path.join(logs, "*.xls"))):
            starts.append(len(times))
            times += times_of(path)
    gaps = [b - a for a, b in zip(times, times[1:])]
    print("%d rows in %d files" % (len(times), len(starts)))
    for start in starts[1:]:
        print("rollover before row %d: gap %.1f ms (goal: under 50 ms)" % (start, gaps[start - 1]))
    print("largest gaps of the run: %s ms" % ", ".join("%.1f" % g for g in sorted(gaps)[-3:]))


main()
