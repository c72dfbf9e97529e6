"""The time from a start to the first window on the screen: the program on
the demo bench (its first view) against an empty Qt window, each started 20
times in turn under Xvfb, the clock stopped when the X server maps the
window (goal: the program within 1.5 times the empty window's median). The
empty window with one label of Japanese is timed beside them: the part of
any window's start that is the font set-up.

    start_time.py BIN_DIR [PAIRS]

BIN_DIR holds tavelin, its libraries and tavelin_empty_window, as a build's
bin folder does. The program runs from a folder of its own with settings
whose consent is given, so its first view is what maps.
"""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from Xlib import X, display


def start_server(number):
    server = subprocess.Popen(["Xvfb", ":%d" % number, "-screen", "0", "1600x1000x24", "-nolisten",
                               "tcp"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    for _ in range(100):
        try:
            return server, display.Display(":%d" % number)
        except Exception:
            time.sleep(0.05)
    server.kill()
    server.wait()
    sys.exit("Xvfb did not start")


def name_of(window):
    try:
        name = window.get_full_property(window.display.get_atom("_NET_WM_NAME"),
                                        window.display.get_atom("UTF8_STRING"))
        return name.value.decode() if name else ""
    except Exception:
        return ""


def time_to_map(connection, command, environment, wanted_class, wanted_name=None):
    """Seconds from the spawn to the MapNotify of a window of `wanted_class`
    (and `wanted_name`: the program's first view, not its splash)."""
    root = connection.screen().root
    root.change_attributes(event_mask=X.SubstructureNotifyMask)
    connection.sync()
    while connection.pending_events():
        connection.next_event()
    started = time.monotonic()
    program = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    try:
        while time.monotonic() - started < 30:
            event = connection.next_event()
            if event.type != X.MapNotify:
                continue
            try:
                found = event.window.get_wm_class()
            except Exception:
                found = None
            if found and wanted_class in found and (
                    wanted_name is None or name_of(event.window) == wanted_name):
                return time.monotonic() - started
        sys.exit("no window of %s mapped in 30 s" % wanted_class)
    finally:
        program.kill()
        program.wait()


def main():
    bin_dir = os.path.abspath(sys.argv[1])
    pairs = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    with tempfile.TemporaryDirectory() as work:
        folder = os.path.join(work, "program")
        os.mkdir(folder)
        for name in ("tavelin", "libkvr100.so", "libkvr_usb_io.so", "libkvr_usb_probe.so"):
            shutil.copy2(os.path.join(bin_dir, name), folder)
        # The demo's settings, the terms accepted as after a first start.
        subprocess.run([os.path.join(bin_dir, "tavelin_demo_settings"), folder, "--terms-accepted"],
                       check=True)
        environment = dict(os.environ, HOME=work, XDG_STATE_HOME=os.path.join(work, "state"),
                           KVR_SIMULATION=os.path.join(root, "demo", "demo.sim"),
                           XDG_RUNTIME_DIR=work)
        environment.pop("QT_QPA_PLATFORM", None)
        server, connection = start_server(97)
        environment["DISPLAY"] = ":97"
        try:
            empty, text, ours = [], [], []
            yardstick = os.path.join(bin_dir, "tavelin_empty_window")
            for _ in range(pairs):
                empty.append(time_to_map(connection, [yardstick], environment,
                                         "tavelin_empty_window"))
                text.append(time_to_map(connection, [yardstick, "デバイスの初期処理中"],
                                        environment, "tavelin_empty_window"))
                ours.append(time_to_map(connection, [os.path.join(folder, "tavelin")], environment,
                                        "tavelin", "タヴェリン"))
        finally:
            server.kill()
            server.wait()
    empty_ms, ours_ms = statistics.median(empty) * 1000, statistics.median(ours) * 1000
    text_ms = statistics.median(text) * 1000
    print("start to the first window, median of %d: empty Qt window %.1f ms, tavelin %.1f ms; "
          "ratio %.2f (goal: at most 1.5)" % (pairs, empty_ms, ours_ms, ours_ms / empty_ms))
    print("  the empty window with one line of Japanese in a label: %.1f ms, ratio %.2f "
          "(the font set-up that any text pays)" % (text_ms, text_ms / empty_ms))


if __name__ == "__main__":
    main()
