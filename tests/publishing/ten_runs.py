"""Ten tavelin-cli record --publish runs against one mosquitto that is
stopped and started twice while they run: every row of every run arrives
exactly once by its sequence number (repeats dropped), in order.

    ten_runs.py CLI SIMULATION
"""
import json
import os
import socket
import subprocess
import sys
import tempfile
import threading
import time


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Broker:
    def __init__(self, work, port):
        self.config = os.path.join(work, "mosquitto.conf")
        with open(self.config, "w") as out:
            out.write("listener %d 127.0.0.1\nallow_anonymous true\n" % port)
            out.write("persistence true\npersistence_location %s/\n" % work)
            out.write("max_queued_messages 0\nuser %s\n" % os.environ.get("USER", "root"))
        self.port = port
        self.start()

    def start(self):
        self.process = subprocess.Popen(["mosquitto", "-c", self.config],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for _ in range(500):
            try:
                socket.create_connection(("127.0.0.1", self.port), 0.1).close()
                return
            except OSError:
                time.sleep(0.01)
        sys.exit("mosquitto did not start")

    def stop(self):
        self.process.terminate()
        self.process.wait()


def main():
    cli, simulation = sys.argv[1], sys.argv[2]
    with tempfile.TemporaryDirectory() as work:
        port = free_port()
        broker = Broker(work, port)
        received = os.path.join(work, "received")
        # A session the broker keeps: what comes while it is away is queued.
        subscriber = subprocess.Popen(
            ["mosquitto_sub", "-h", "127.0.0.1", "-p", str(port), "-q", "1", "-c", "-i",
             "ten-runs", "-t", "lab/#", "-v"], stdout=open(received, "w"), stderr=subprocess.DEVNULL)
        time.sleep(0.5)
        environment = dict(os.environ, KVR_SIMULATION=simulation,
                           XDG_STATE_HOME=os.path.join(work, "state"),
                           XDG_CONFIG_HOME=os.path.join(work, "config"))
        os.mkdir(os.path.join(work, "logs"))

        def outages():
            for at, action in ((4, broker.stop), (7, broker.start), (16, broker.stop),
                               (19, broker.start)):
                time.sleep(at - (time.monotonic() - began))
                action()

        began = time.monotonic()
        outage = threading.Thread(target=outages)
        outage.start()
        for run in range(10):
            status = subprocess.run(
                [cli, "record", "--mode", "3", "--sampling", "5", "--seconds", "2",
                 "--format", "xls", "--folder", os.path.join(work, "logs"),
                 "--publish", "mqtt://127.0.0.1:%d/lab" % port, "--bench", "b"],
                env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            if status.returncode != 0:
                sys.exit("run %d failed:\n%s" % (run, status.stderr.decode()))
        outage.join()
        drain = subprocess.run([cli, "publish", "--drain", "--publish",
                                "mqtt://127.0.0.1:%d/lab" % port], env=environment,
                               capture_output=True)
        if drain.returncode != 0:
            sys.exit("drain failed:\n" + drain.stderr.decode())
        time.sleep(2)
        subscriber.terminate()
        broker.stop()

        runs, ends = {}, {}
        with open(received) as lines:
            for line in lines:
                topic, payload = line.rstrip("\n").split(" ", 1)
                message = json.loads(payload) if payload.startswith("{") else None
                if topic.endswith("/rows"):
                    seqs = runs.setdefault(message["run"], [])
                    if message["seq"] not in seqs:
                        if seqs and message["seq"] != seqs[-1] + 1:
                            sys.exit("run %s: row %d after %d" % (message["run"], message["seq"], seqs[-1]))
                        seqs.append(message["seq"])
                elif topic.endswith("/run") and message["state"] == "ended":
                    ends[message["run"]] = message["rows"]
        if len(ends) != 10:
            sys.exit("%d runs ended, not 10" % len(ends))
        for run, rows in sorted(ends.items()):
            got = runs.get(run, [])
            if got != list(range(1, rows + 1)):
                sys.exit("run %s: %d of %d rows" % (run, len(got), rows))
            print("run %s: all %d rows once, in order" % (run, rows))


if __name__ == "__main__":
    main()
