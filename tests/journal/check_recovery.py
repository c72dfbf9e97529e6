"""Nothing lost: logged runs killed at many points, then recovered; runs
stopped by signals; two runs logging into one folder; a full disk. Every log is read as
a reader would: csv from CP932, .xls with xlrd.

    check_recovery.py KILLED_RUN CLI DEMO_SIMULATION
"""
import os
import signal
import subprocess
import sys
import tempfile
import time

import xlrd

failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def rows_of(path):
    """(time, first module's input) of every data row of a log."""
    if path.endswith(".xls"):
        sheet = xlrd.open_workbook(path).sheet_by_index(0)
        return [(sheet.cell_value(r, 0), [int(sheet.cell_value(r, c)) for c in range(1, 9)])
                for r in range(7, sheet.nrows) if sheet.cell_type(r, 0) == xlrd.XL_CELL_NUMBER]
    text = open(path, "rb").read().decode("cp932")
    lines = text.split("\r\n")
    start = next(i for i, line in enumerate(lines) if line.startswith("時間[ms]")) + 1
    rows = []
    for line in lines[start:]:
        if not line:
            continue
        cells = [cell.strip() for cell in line.split(" , ")]
        rows.append((float(cells[0]), [int(cell) for cell in cells[1:9]]))
    return rows


def input_of(bits):
    return sum(bit << k for k, bit in enumerate(bits))


def logs_in(folder):
    return sorted(os.path.join(folder, name) for name in os.listdir(folder)
                  if name.startswith("SD") and os.path.getsize(os.path.join(folder, name)) > 0)


def run(command, environment, **options):
    return subprocess.run(command, env=environment, capture_output=True, text=True, **options)


def recover(cli, environment):
    result = run([cli, "recover"], environment)
    check(result.returncode == 0, "recover failed: %s" % result.stderr)
    return result


def kill_table(killed_run, cli):
    """A run killed before its first file, just after a rollover, in the
    middle of a file write and while a rollover's workbook is saved: the
    files written and the recovered ones hold every row the journal had, in
    order, with their values, once each."""
    for log_format in ("csv", "xls"):
        points = ["before-first-file", "after-rollover", "during-write"]
        if log_format == "xls":
            points.append("during-save")
        for point in points:
            case = "%s %s" % (log_format, point)
            with tempfile.TemporaryDirectory() as work:
                folder, state = os.path.join(work, "logs"), os.path.join(work, "state")
                os.mkdir(folder)
                environment = dict(os.environ, XDG_STATE_HOME=state)
                died = run([killed_run, log_format, point, folder], environment)
                check(died.returncode == 9, "%s: the run did not die: %s" % (case, died.stderr))
                logged = int(died.stdout.strip() or 0)
                recover(cli, environment)
                rows = [row for log in logs_in(folder) for row in rows_of(log)]
                times = [t for t, _ in rows]
                check(len(rows) > 0, case + ": no rows")
                check(all(b == a + 1 for a, b in zip(times, times[1:])),
                      case + ": rows out of order or missing")
                check(all(input_of(bits) == int(t) % 256 for t, bits in rows),
                      case + ": a row's values are not its own")
                # A csv file written at a rollover holds its header alone.
                first = 20001 if log_format == "csv" and point == "after-rollover" else 0
                check(times and times[0] == first, "%s: the first row is %r" % (case, times[:1]))
                # At most the last 100 ms (100 rows) had not reached the journal.
                check(times and times[-1] >= logged - 101,
                      "%s: %d rows logged, the last recovered is %r" % (case, logged, times[-1:]))
                leftovers = [n for n in os.listdir(folder) if n.startswith(".")]
                check(not leftovers, "%s: files of a cut-off write left: %r" % (case, leftovers))
                check(not os.listdir(os.path.join(state, "tavelin", "journal")),
                      case + ": a journal is left after recovery")


def real_kill(cli, simulation):
    """kill -9 of tavelin-cli record, then recover: the rows of the run are there."""
    with tempfile.TemporaryDirectory() as work:
        folder = os.path.join(work, "logs")
        os.mkdir(folder)
        environment = dict(os.environ, XDG_STATE_HOME=os.path.join(work, "state"),
                           KVR_SIMULATION=simulation)
        recording = subprocess.Popen([cli, "record", "--mode", "1", "--sampling", "10",
                                      "--format", "csv", "--folder", folder],
                                     env=environment, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE)
        time.sleep(2.5)
        recording.send_signal(signal.SIGKILL)
        recording.wait()
        check(not logs_in(folder), "kill -9: a log was written before the end")
        recover(cli, environment)
        logs = logs_in(folder)
        rows = rows_of(logs[0]) if logs else []
        times = [t for t, _ in rows]
        # Two seconds at 10 ms, less what had not reached the journal.
        check(len(rows) >= 150 and times[-1] >= 1500,
              "kill -9: %d rows recovered, the last at %r ms" % (len(rows), times[-1:]))
        check(all(b > a for a, b in zip(times, times[1:])), "kill -9: rows out of order")


def killed_after_rename(cli, simulation):
    """Killed between its last log's rename into place and the journal's
    note of it (gdb stops the run at the rename's return): recovery knows
    the file is there and writes none of its rows again. The same for a
    recovery killed right after its own file's rename."""
    for log_format in ("csv", "xls"):
        with tempfile.TemporaryDirectory() as work:
            folder = os.path.join(work, "logs")
            os.mkdir(folder)
            environment = dict(os.environ, XDG_STATE_HOME=os.path.join(work, "state"),
                               KVR_SIMULATION=simulation)
            stop_at_rename = ["gdb", "-batch", "-ex", "catch syscall rename", "-ex", "run",
                              "-ex", "continue", "-ex", "kill", "--args"]
            run(stop_at_rename + [cli, "record", "--mode", "1", "--sampling", "10", "--format",
                                  log_format, "--folder", folder, "--seconds", "1"], environment)
            logs = logs_in(folder)
            check(len(logs) == 1, "%s killed after rename: logs %r" % (log_format, logs))
            # The journal keeps the rows until the note: recovery must see the file.
            recover(cli, environment)
            check(logs_in(folder) == logs,
                  "%s killed after rename: recovery wrote %r again" % (log_format, logs_in(folder)))
            # A second at 10 ms makes about 100 rows; a loaded machine (tests run
            # two at a time, under gdb) fewer: the file must hold the run, not a stub.
            rows = rows_of(logs[0]) if logs else []
            check(len(rows) >= 50, "%s killed after rename: %d rows" % (log_format, len(rows)))


def stop_requests(cli, simulation):
    """SIGHUP, SIGTERM and SIGINT end a recording as Disconnect does: its
    last file is written, no journal is left, and the exit is clean."""
    for stop in (signal.SIGHUP, signal.SIGTERM, signal.SIGINT):
        with tempfile.TemporaryDirectory() as work:
            folder, state = os.path.join(work, "logs"), os.path.join(work, "state")
            os.mkdir(folder)
            environment = dict(os.environ, XDG_STATE_HOME=state, KVR_SIMULATION=simulation)
            recording = subprocess.Popen([cli, "record", "--mode", "3", "--sampling", "10",
                                          "--format", "xls", "--folder", folder],
                                         env=environment, stdout=subprocess.PIPE,
                                         stderr=subprocess.PIPE, text=True)
            time.sleep(1.5)
            recording.send_signal(stop)
            out, err = recording.communicate(timeout=30)
            name = signal.Signals(stop).name
            check(recording.returncode == 0, "%s: exit %d: %s" % (name, recording.returncode, err))
            logs = logs_in(folder)
            check(len(logs) == 1 and out.strip() == logs[0] if logs else False,
                  "%s: the log and its printed path: %r %r" % (name, logs, out))
            if logs:
                sheet = xlrd.open_workbook(logs[0]).sheet_by_index(0)
                check(sheet.nrows > 7 + 50, "%s: only %d rows" % (name, sheet.nrows - 7))
            journal = os.path.join(state, "tavelin", "journal")
            check(not os.path.isdir(journal) or not os.listdir(journal),
                  name + ": a journal is left after a clean stop")


def two_runs_one_folder(cli, simulation):
    """Two recordings into one folder at once keep two whole logs."""
    with tempfile.TemporaryDirectory() as work:
        folder = os.path.join(work, "logs")
        os.mkdir(folder)
        environment = dict(os.environ, XDG_STATE_HOME=os.path.join(work, "state"),
                           KVR_SIMULATION=simulation)
        for attempt in range(4):
            runs = [subprocess.Popen([cli, "record", "--mode", "1", "--seconds", "0.7",
                                      "--sampling", "5", "--format", "xls", "--folder", folder],
                                     env=environment, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE, text=True) for _ in range(2)]
            outputs = [r.communicate(timeout=60) for r in runs]
            paths = [out.strip() for out, _ in outputs]
            check(all(r.returncode == 0 for r in runs), "two runs: %r" % [e for _, e in outputs])
            check(len(set(paths)) == 2, "two runs wrote one name: %r" % paths)
            for path in paths:
                try:
                    sheet = xlrd.open_workbook(path).sheet_by_index(0)
                    check(sheet.nrows > 7 + 50, "two runs: %s holds %d rows" % (path, sheet.nrows))
                except Exception as error:  # a torn or shared file
                    failures.append("two runs: %s: %s" % (path, error))
        check(len(logs_in(folder)) == 8, "two runs: %d logs of 8" % len(logs_in(folder)))


def full_disk(cli, simulation):
    """A full file system during the .xls write: no torn file and no
    temporary one is left, the rows stay in the journal, and recovery
    writes them once there is room. Needs a user namespace for the small
    tmpfs; without one the case is left out and said."""
    with tempfile.TemporaryDirectory() as work:
        small, roomy = os.path.join(work, "small"), os.path.join(work, "roomy")
        os.mkdir(small)
        os.mkdir(roomy)
        environment = dict(os.environ, XDG_STATE_HOME=os.path.join(work, "state"),
                           KVR_SIMULATION=simulation)
        probe = run(["unshare", "-rm", "mount", "-t", "tmpfs", "tmpfs", small], environment)
        if probe.returncode != 0:
            print("full disk: left out, no user namespace here:", probe.stderr.strip())
            return
        script = ('mount -t tmpfs -o size=300k tmpfs "$1" && shift && "$@"; status=$?; '
                  'ls -A "$FOLDER"; exit $status')
        recording = run(["unshare", "-rm", "sh", "-c", script, "sh", small, cli, "record",
                         "--mode", "1", "--sampling", "1", "--seconds", "1.5", "--format", "xls",
                         "--folder", small], dict(environment, FOLDER=small))
        check(recording.returncode == 1,
              "full disk: exit %d: %s" % (recording.returncode, recording.stderr))
        check("No space left on device" in recording.stderr and "recover" in recording.stderr,
              "full disk: the message: %r" % recording.stderr)
        check(recording.stdout.strip() == "",
              "full disk: files left in the full folder: %r" % recording.stdout)
        recovered = run([cli, "recover", "--folder", roomy], environment)
        logs = logs_in(roomy)
        check(recovered.returncode == 0 and len(logs) == 1,
              "full disk: recovery: %r %r" % (logs, recovered.stderr))
        times = [t for log in logs for t, _ in rows_of(log)]
        check(len(times) > 500 and all(b > a for a, b in zip(times, times[1:])),
              "full disk: %d rows recovered" % len(times))
        journal = os.path.join(work, "state", "tavelin", "journal")
        check(not os.listdir(journal), "full disk: a journal is left after recovery")


def main():
    killed_run, cli, simulation = sys.argv[1:4]
    for step in (lambda: kill_table(killed_run, cli), lambda: real_kill(cli, simulation),
                 lambda: killed_after_rename(cli, simulation),
                 lambda: stop_requests(cli, simulation),
                 lambda: two_runs_one_folder(cli, simulation),
                 lambda: full_disk(cli, simulation)):
        try:
            step()
        except Exception as error:
            failures.append("%s: %s" % (type(error).__name__, error))
    for failure in failures:
        print("FAILED:", failure)
    print("%d failed" % len(failures))
    sys.exit(1 if failures else 0)


main()
