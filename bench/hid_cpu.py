"""The processor time of a run on sixteen USB HID modules that each send a
report every millisecond: tavelin-cli monitor on the tests' fake devices,
for a minute (goal: under 2.5% of a core). The feeder (hid_feed.cpp,
preloaded) stands in for the USB hardware: its thread is not counted. Each
open handle's reports wait in a pipe, one report a read, as in hidraw's
queue.

    hid_cpu.py CLI FAKE_HID_LIBRARY FEED_LIBRARY [SECONDS]
"""
import os
import subprocess
import sys
import tempfile
import time

FEEDER = "fake-hid-feed"
TICK = os.sysconf("SC_CLK_TCK")


def thread_times(pid):
    """Processor seconds of each thread of the process but the feeder."""
    times = {}
    task = "/proc/%d/task" % pid
    for tid in os.listdir(task):
        try:
            with open(os.path.join(task, tid, "stat")) as stat:
                text = stat.read()
        except OSError:
            continue
        name = text[text.index("(") + 1:text.rindex(")")]
        fields = text[text.rindex(")") + 2:].split()
        if name != FEEDER:
            times[tid] = (name, (int(fields[11]) + int(fields[12])) / TICK)
    return times


def main():
    cli, fakes, feed = sys.argv[1], sys.argv[2], sys.argv[3]
    seconds = float(sys.argv[4]) if len(sys.argv) > 4 else 60.0
    with tempfile.TemporaryDirectory() as work:
        environment = dict(os.environ, KVR_HID_PORT=os.path.abspath(fakes),
                           LD_PRELOAD=os.path.abspath(feed), KVR_HID_FEED="16 1",
                           XDG_STATE_HOME=os.path.join(work, "state"))
        environment.pop("KVR_SIMULATION", None)
        run = subprocess.Popen([cli, "monitor", "--mode", "3", "--seconds", str(seconds + 3)],
                               env=environment, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        time.sleep(2)  # past the start and the searches
        first, start = thread_times(run.pid), time.monotonic()
        last, end = first, start
        while time.monotonic() - start < seconds and run.poll() is None:
            time.sleep(1)
            now = thread_times(run.pid)
            if now:
                last, end = now, time.monotonic()
        said = run.communicate()[1].decode(errors="replace")
        if run.returncode != 0:
            sys.exit("the run failed:\n" + said)
        wall = end - start
        by_thread = {}
        for tid, (name, used) in last.items():
            key = "%s[%s]" % (name, tid)
            by_thread[key] = used - first.get(tid, (name, 0.0))[1]
        used = sum(by_thread.values())
        print("HID run, 16 modules reporting every 1 ms: %.2f s of processor in %.1f s: "
              "%.1f%% of a core (goal: under 2.5%%)" % (used, wall, 100.0 * used / wall))
        for key, seconds_used in sorted(by_thread.items(), key=lambda item: -item[1]):
            if seconds_used > 0:
                print("  %-24s %.1f%%" % (key, 100.0 * seconds_used / wall))


if __name__ == "__main__":
    main()
