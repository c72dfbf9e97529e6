"""A power cut keeps what the journal let go of: in a trace of a logged run
(two rollovers and its end, csv and xls), every log file is forced to disk
before its rename into place and its folder after it, and only then does
the journal drop the file's rows (its replacement renamed into place, or
its removal at the run's end). The name of each file is noted and forced
to disk in the journal before the file's write begins.

    check_durability.py KILLED_RUN

Prints what it found and "N passed, M failed".
"""
import os
import re
import subprocess
import sys
import tempfile

CALL = re.compile(r"^(\d+)\s+(?:<\.\.\. (\w+) resumed>(.*)|(\w+)\((.*))$")


def completed_calls(trace):
    """(name, arguments, result) of each call, in the order they ended."""
    started = {}
    for line in trace.splitlines():
        match = CALL.match(line)
        if not match:
            continue
        pid, resumed, rest, name, arguments = match.groups()
        if resumed:
            name, arguments = resumed, started.pop(pid, "") + rest
        elif arguments.endswith("<unfinished ...>"):
            started[pid] = arguments[: -len("<unfinished ...>")]
            continue
        result = arguments.rsplit("=", 1)[-1].strip().split(" ")[0]
        yield name, arguments, result


def quoted(arguments):
    return re.findall(r'"((?:[^"\\]|\\.)*)"', arguments)


def first_number(arguments):
    return int(re.match(r"\s*(\d+)", arguments.strip("( ")).group(1))


def check_trace(trace, folder, journal_folder):
    """What is out of order, or []."""
    problems = []
    paths = {}  # fd -> path, as the calls open and use them
    synced = set()  # paths forced to disk so far
    folder_synced_after = {}  # log path -> folder forced to disk after its rename
    in_place = []  # logs renamed into place, in order
    noted = set()  # names the journal holds, synced
    pending_names = []
    for name, arguments, result in completed_calls(trace):
        if name == "openat" and result.isdigit():
            paths[int(result)] = quoted(arguments)[0]
        elif name in ("fsync", "fdatasync") and result == "0":
            path = paths.get(first_number(arguments), "")
            synced.add(path)
            if path.rstrip("/") == folder:
                for log in in_place:
                    folder_synced_after.setdefault(log, True)
            if path.startswith(journal_folder):
                noted.update(pending_names)
        elif name == "write" and result.isdigit():
            path = paths.get(first_number(arguments), "")
            if path.startswith(journal_folder) and "SD" in arguments:
                pending_names.extend(re.findall(r"SD\d{8}-\d+\.(?:csv|xls)", arguments))
        elif name == "rename" and result == "0":
            source, target = quoted(arguments)[:2]
            base = os.path.basename(target)
            if base.startswith("SD"):
                if source not in synced:
                    problems.append("%s renamed into place before it was on disk" % base)
                if base not in noted:
                    problems.append("%s written before the journal noted its name" % base)
                in_place.append(target)
            elif target.endswith(".journal"):
                for log in in_place:
                    if not folder_synced_after.get(log):
                        problems.append("the journal dropped rows before %s's folder was "
                                        "on disk" % os.path.basename(log))
        elif name == "unlink" and result == "0" and quoted(arguments)[0].endswith(".journal"):
            for log in in_place:
                if not folder_synced_after.get(log):
                    problems.append("the journal went before %s's folder was on disk" %
                                    os.path.basename(log))
    return problems, in_place


def main():
    killed_run = sys.argv[1]
    passed, failed = 0, []
    for log_format in ("csv", "xls"):
        with tempfile.TemporaryDirectory() as work:
            folder, state = os.path.join(work, "logs"), os.path.join(work, "state")
            os.mkdir(folder)
            trace = os.path.join(work, "trace")
            run = subprocess.run(
                ["strace", "-f", "-s", "512", "-o", trace, "-e",
                 "trace=openat,write,rename,fsync,fdatasync,unlink", killed_run, log_format,
                 "ends-after-two-files", folder], env=dict(os.environ, XDG_STATE_HOME=state),
                capture_output=True, text=True, timeout=300)
            if run.returncode != 0:
                failed.append("%s: the run failed: %s" % (log_format, run.stderr[-400:]))
                continue
            problems, logs = check_trace(open(trace, errors="replace").read(), folder,
                                         os.path.join(state, "tavelin", "journal"))
            # Two rollovers and the end; a slow save (a sanitizer's build) lets
            # a third rollover come before the run's end is due.
            if len(logs) < 3:
                problems.append("%d logs put in place, not at least 3" % len(logs))
            print("%s: %d logs put in place, each on disk before its rename, its folder after, "
                  "its name noted first" % (log_format, len(logs)) if not problems else
                  "%s: %s" % (log_format, "; ".join(problems)))
            if problems:
                failed.extend("%s: %s" % (log_format, p) for p in problems)
            else:
                passed += 1
    for failure in failed:
        print("FAILED:", failure)
    print("%d passed, %d failed" % (passed, len(failed)))
    sys.exit(1 if failed else 0)


main()
