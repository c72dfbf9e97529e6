"""What publishing costs: tavelin-cli record at 1 ms sampling on sixteen
simulated modules, with and without --publish to a local mosquitto
(goal: under 5% more processor time); then the backlog of a 60 s outage
(60,000 rows left in the spool by a run whose broker was away) sent by
publish --drain once the broker is back (goal: under 5 s).

    publish_cost.py CLI [SECONDS] [--no-backlog]
"""
import os
import socket
import subprocess
import sys
import tempfile
import time


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def start_broker(work, port):
    config = os.path.join(work, "mosquitto.conf")
    with open(config, "w") as out:
        out.write("listener %d 127.0.0.1\nallow_anonymous true\npersistence false\n" % port)
        out.write("user %s\n" % os.environ.get("USER", "root"))
    broker = subprocess.Popen(["mosquitto", "-c", config], stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL)
    for _ in range(300):
        try:
            socket.create_connection(("127.0.0.1", port), 0.1).close()
            return broker
        except OSError:
            time.sleep(0.01)
    sys.exit("mosquitto did not start")


def record(cli, environment, seconds, publish):
    """The processor seconds of one run, and its rows."""
    command = [cli, "record", "--mode", "3", "--sampling", "1", "--format", "xls",
               "--seconds", str(seconds), "--folder", environment["LOGS"]]
    if publish:
        command += ["--publish", publish, "--bench", "bench"]
    run = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL,
                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    _, status, usage = os.wait4(run.pid, 0)
    said = run.stderr.read().decode(errors="replace")
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit("the run failed:\n" + said)
    rows = [line for line in said.splitlines() if "ファイルに書いた行" in line]
    return usage.ru_utime + usage.ru_stime, rows[-1] if rows else "?"


def main():
    cli = sys.argv[1]
    seconds = float(sys.argv[2]) if len(sys.argv) > 2 else 20.0
    backlog = "--no-backlog" not in sys.argv
    with tempfile.TemporaryDirectory() as work:
        simulation = os.path.join(work, "bench.sim")
        with open(simulation, "w") as out:
            out.write("read-time-us 1000\n")
            for channel in range(16):
                out.write("usbio %d prepared counter %d\n" % (channel, 50 + channel))
        logs = os.path.join(work, "logs")
        os.mkdir(logs)
        environment = dict(os.environ, KVR_SIMULATION=simulation, LOGS=logs,
                           XDG_STATE_HOME=os.path.join(work, "state"),
                           XDG_CONFIG_HOME=os.path.join(work, "config"))
        port = free_port()
        url = "mqtt://127.0.0.1:%d/lab" % port
        broker = start_broker(work, port)
        bare, rows = record(cli, environment, seconds, None)
        published, _ = record(cli, environment, seconds, url)
        added = (published - bare) / bare * 100
        print("record %.0f s at 1 ms, 16 modules (%s)" % (seconds, rows))
        print("  processor without publishing %.2f s, with %.2f s: %+.1f%% (goal: under 5%%)"
              % (bare, published, added))

        broker.terminate()
        broker.wait()
        if not backlog:
            return
        record(cli, environment, 60, url)  # the whole run with the broker away
        broker = start_broker(work, port)
        start = time.monotonic()
        drain = subprocess.run([cli, "publish", "--drain", "--publish", url, "--bench", "bench"],
                               env=environment, capture_output=True)
        took = time.monotonic() - start
        said = drain.stderr.decode(errors="replace").strip().splitlines()
        broker.terminate()
        broker.wait()
        print("backlog of a 60 s outage at 1 ms: %s" % (said[0] if said else "?"))
        print("  sent by publish --drain in %.2f s, status %d (goal: under 5 s)"
              % (took, drain.returncode))


if __name__ == "__main__":
    main()
