"""Every row exactly once after kill -9 at random moments.

    kill_soak.py KILLED_RUN CLI RECORD_KILLS RECOVER_KILLS [SEED]

Record kills: a logged run (csv and xls, a row every 1 ms and every 10 ms)
is killed 0 to 50 ms after the name of one of its first rollover files is
taken, then recovered: the rows in the files are the rows the run logged up
to the kill, each once and in order, less at most its last second (the csv
format itself leaves out the rows of each full buffer before the last).

Recover kills: a run whose rows all stayed in its journal is recovered into
workbooks and csv, the recovery is killed at a random moment, then run
again: the same holds.

Prints the figures of each kind and "N passed, M failed".
"""
import os
import random
import signal
import subprocess
import sys
import tempfile
import time

import xlrd

FULL_BUFFER = 20001


def rows_of(path):
    """The times of a log's data rows, and the first module's input of each."""
    if path.endswith(".xls"):
        sheet = xlrd.open_workbook(path).sheet_by_index(0)
        return [(int(sheet.cell_value(r, 0)),
                 sum(int(sheet.cell_value(r, c)) << (c - 1) for c in range(1, 9)))
                for r in range(7, sheet.nrows) if sheet.cell_type(r, 0) == xlrd.XL_CELL_NUMBER]
    lines = open(path, "rb").read().decode("cp932").split("\r\n")
    start = next(i for i, line in enumerate(lines) if line.startswith("時間[ms]")) + 1
    rows = []
    for line in lines[start:]:
        if line:
            cells = [cell.strip() for cell in line.split(" , ")]
            rows.append((int(float(cells[0])), sum(int(b) << k for k, b in enumerate(cells[1:9]))))
    return rows


def logs_in(folder):
    return sorted(os.path.join(folder, name) for name in os.listdir(folder)
                  if name.startswith("SD") and os.path.getsize(os.path.join(folder, name)) > 0)


def verdict(folder, state, sampling, log_format, logged_passes):
    """What is wrong with the logs in `folder`, or None."""
    per_file = [rows_of(log) for log in logs_in(folder)]
    rows = [row for file_rows in per_file for row in file_rows]
    times = [t for t, _ in rows]
    # A csv file written at a rollover holds its header alone: the buffer's
    # rows are left out, as the format says. The rows kept follow them.
    kept_from = 0
    if log_format == "csv":
        kept_from = sum(1 for file_rows in per_file if not file_rows) * FULL_BUFFER * sampling
    if not rows:
        lost_at_most_a_second = kept_from >= logged_passes - 1000 - sampling
        return None if lost_at_most_a_second else "no rows"
    if any(b != a + sampling for a, b in zip(times, times[1:])):
        doubled = len(times) - len(set(times))
        return "rows out of order, missing or twice (%d twice)" % doubled
    if any(value != t % 256 for t, value in rows):
        return "a row's values are not its own"
    if times[0] != kept_from:
        return "the first row is at %d ms, not %d" % (times[0], kept_from)
    if times[-1] < logged_passes - 1000 - sampling:
        return "%d ms logged, the last row recovered at %d ms" % (logged_passes, times[-1])
    if [n for n in os.listdir(folder) if n.startswith(".")]:
        return "hidden files left: %r" % os.listdir(folder)
    journal = os.path.join(state, "tavelin", "journal")
    if os.path.isdir(journal) and os.listdir(journal):
        return "journal files left: %r" % os.listdir(journal)
    return None


def start_run(killed_run, log_format, folder, sampling, environment):
    return subprocess.Popen([killed_run, log_format, "until-killed", folder, str(sampling)],
                            env=environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            text=True, bufsize=1)


def last_passes(output):
    passes = [int(line.split()[1]) for line in output.splitlines() if line.startswith("passes ")]
    return passes[-1] if passes else 0


def recover(cli, environment, *options):
    return subprocess.run([cli, "recover", *options], env=environment, capture_output=True,
                          text=True, timeout=600)


def record_kill(killed_run, cli, log_format, sampling, rollover, delay):
    with tempfile.TemporaryDirectory() as work:
        folder, state = os.path.join(work, "logs"), os.path.join(work, "state")
        os.mkdir(folder)
        environment = dict(os.environ, XDG_STATE_HOME=state)
        run = start_run(killed_run, log_format, folder, sampling, environment)
        taken = 0
        seen = []
        for line in run.stdout:
            seen.append(line)
            if line.startswith("taken "):
                taken += 1
                if taken == rollover:
                    break
        time.sleep(delay)
        run.send_signal(signal.SIGKILL)
        rest, _ = run.communicate(timeout=60)
        result = recover(cli, environment)
        if result.returncode != 0:
            return "recover failed: " + result.stderr
        return verdict(folder, state, sampling, log_format, last_passes("".join(seen) + rest))


def recover_kill(killed_run, cli, log_format, passes, delay):
    with tempfile.TemporaryDirectory() as work:
        folder, state = os.path.join(work, "logs"), os.path.join(work, "state")
        os.mkdir(folder)
        environment = dict(os.environ, XDG_STATE_HOME=state)
        run = start_run(killed_run, "none", folder, 1, environment)
        seen = []
        for line in run.stdout:
            seen.append(line)
            if line.startswith("passes ") and int(line.split()[1]) >= passes:
                break
        run.send_signal(signal.SIGKILL)
        rest, _ = run.communicate(timeout=60)
        recovering = subprocess.Popen([cli, "recover", "--format", log_format], env=environment,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(delay)
        recovering.send_signal(signal.SIGKILL)
        recovering.wait()
        result = recover(cli, environment, "--format", log_format)
        if result.returncode != 0:
            return "the second recover failed: " + result.stderr
        return verdict(folder, state, 1, log_format, last_passes("".join(seen) + rest))


def main():
    killed_run, cli = sys.argv[1:3]
    record_kills, recover_kills = int(sys.argv[3]), int(sys.argv[4])
    chance = random.Random(int(sys.argv[5]) if len(sys.argv) > 5 else 17)
    passed, failed = 0, []
    kinds = [(f, s) for f in ("csv", "xls") for s in (1, 10)]
    for n in range(record_kills):
        log_format, sampling = kinds[n % len(kinds)]
        rollover = chance.randint(1, 3 if sampling == 1 else 2)
        delay = chance.uniform(0.0, 0.05)
        what = record_kill(killed_run, cli, log_format, sampling, rollover, delay)
        case = "record %s %d ms, killed %.1f ms after rollover %d" % (
            log_format, sampling, delay * 1000, rollover)
        if what:
            failed.append("%s: %s" % (case, what))
        else:
            passed += 1
    started = time.monotonic()
    for n in range(recover_kills):
        log_format = ("xls", "csv")[n % 2]
        # xls: three workbooks' worth; csv: less than a buffer, which it keeps.
        passes = 65000 if log_format == "xls" else 15000
        delay = chance.uniform(0.0, 0.6 if log_format == "xls" else 0.1)
        what = recover_kill(killed_run, cli, log_format, passes, delay)
        case = "recover %s killed after %.0f ms" % (log_format, delay * 1000)
        if what:
            failed.append("%s: %s" % (case, what))
        else:
            passed += 1
    for failure in failed:
        print("FAILED:", failure)
    print("record kills %d, recover kills %d (%.0f s for the recover kills)" %
          (record_kills, recover_kills, time.monotonic() - started))
    print("%d passed, %d failed" % (passed, len(failed)))
    sys.exit(1 if failed else 0)


main()
