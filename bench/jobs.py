"""The jobs that are measured. Each run of a job starts both programs anew, one after the other."""
import collections
import ctypes
import itertools
import os
import pathlib
import random
import re
import subprocess
import tempfile
import time

import screen
from rig import MEBIBYTE, TimedLog, ready
from programs import KeyWindow

# One figure of one run. `limit` is the ratio that must not be exceeded, negative if it must be reached;
# `extra` may be used up on top of that.
Figure = collections.namedtuple("Figure", "name unit ours theirs limit extra", defaults=(None, 0))


class Job(collections.namedtuple("Job", "name run rounds", defaults=(None,))):
    pass


def milliseconds(seconds):
    return seconds * 1000


def peak(program):
    return program.memory("VmHWM") / MEBIBYTE


# Start

START_PAGE = """<!doctype html><meta charset="utf-8"><title>Start</title><script>
const now = Date.now();
window.webkit.messageHandlers.nativeDownload.postMessage({filename: "Tready " + now, data: ""});
</script>"""


_orders = itertools.cycle([(0, 1), (1, 0)])


def start(rig):
    yield from first_script(rig)
    yield from second_frame(rig)


def second_frame(rig):
    """The editor as it is seen; beside Chromium with the same page where that is installed."""
    seen, rate, memory = screen.start(rig.build)
    theirs = screen.start(rig.build, chromium=True) if screen.CHROMIUM else (0, 0, 0)
    beside = "beside Chromium" if screen.CHROMIUM else "alone, there is no Chromium"
    limits = (1, -0.9) if screen.CHROMIUM else (None, None)
    return [Figure(f"Start: exec to the editor's second frame, {beside}", "ms", milliseconds(seen), milliseconds(theirs[0]), limits[0]),
            Figure(f"Start: frames of a drag on the screen, {beside}", "1/s", rate, theirs[1], limits[1]),
            Figure(f"Start: memory of all processes with the editor, {beside}", "MiB", memory, theirs[2])]


def first_script(rig):
    def one(program):
        with program:
            line, _ = program.log.wait(re.compile("Tready"))
            first_script = int(line.split()[-1]) / 1000 - program.started
            # What is done at leisure after the start, the status report for one, is over by then.
            time.sleep(2)
            return milliseconds(first_script), program.tree_pss() / MEBIBYTE

    # Whoever comes second finds the machine as the first one left it: they take turns at that.
    programs = [lambda: rig.shell(START_PAGE), lambda: rig.floor(page=START_PAGE)]
    order = next(_orders)
    figures = {index: one(programs[index]()) for index in order}
    ours, theirs = figures[0], figures[1]
    return [Figure("Start: exec to the page's first script", "ms", ours[0], theirs[0], 1.05),
            Figure("Start: memory of all processes", "MiB", ours[1], theirs[1], 1.05)]


# Exports

# Base64 as the engine would make it, `size` characters of it.
EXPORT = """
const bytes = new Uint8Array(786432);
for (let i = 0; i < bytes.length; i += 65536) crypto.getRandomValues(bytes.subarray(i, i + 65536));
let text = "";
for (const byte of bytes) text += String.fromCharCode(byte);
const chunk = btoa(text);
"""
DOWNLOAD = EXPORT + """
const data = "data:image/png;base64," + chunk.repeat(%d);
const now = Date.now();
post("nativeDownload", {filename: "a.png", data});
return now;
"""
BATCH = EXPORT + """
const files = [];
for (let i = 0; i < 200; ++i)
    files.push({filename: `${i}.png`, data: "data:image/png;base64," + (chunk + i).substring(String(i).length).slice(0, 1048576 - 4) + "AAAA"});
const now = Date.now();
post("nativeBatchDownload", {files});
return now;
"""
ARRIVED = "📥 Native download requested: a.png"


def born(file):
    """When a file was made, which is when the panel's answer had reached the program."""
    return float(subprocess.run(["stat", "-c", "%.9W", file], check=True, stdout=subprocess.PIPE).stdout)


def settle_disk(scratch):
    """Has what earlier runs deleted and wrote done with, and the memory of a file of 400 MiB at hand: a virtual
    machine's host takes it back when nobody uses it, and is slow to give it again."""
    os.sync()
    block = bytes(MEBIBYTE)
    with open(scratch, "wb", 0) as file:
        for _ in range(400):
            file.write(block)
    scratch.unlink()


def given_back_after(program, line, held, file):
    """How long after the line the process's memory is below `held` by what is in the file."""
    since = program.log.time_of(line)
    while program.memory("VmRSS") > held - file.stat().st_size:
        assert time.time() < since + 60, "the memory is never given back"
        time.sleep(0.002)
    return milliseconds(time.time() - since)


def saved_by_shell(rig, target, script, decoded, saved, first_file=None):
    with ready(rig.shell(), settled=True) as program:
        number = program.start_script(script)
        panel = rig.portal.wait_panel()
        settle_disk(rig.folder / "scratch")
        held = program.memory("VmRSS")
        rig.portal.answer(panel, target)
        back = 0 if target.is_dir() else given_back_after(program, saved, held, target)
        on_disk = program.log.time_of(saved)
        posted = program.result(number) / 1000
        handled = program.log.time_of(decoded)
        arrived = program.log.times[program.log.wait(decoded)[1] - 1] if first_file is None else handled
        total = handled - posted + on_disk - born(first_file or target)
        return milliseconds(total), peak(program), milliseconds(arrived - posted), back


def arrival_in_floor(rig, script, line):
    with ready(rig.floor()) as program:
        number = program.start_script(script)
        arrived = program.log.time_of(line)
        return milliseconds(arrived - program.result(number) / 1000), peak(program)


def saved_by_floor(rig, target, script, saved):
    with ready(rig.floor(target)) as program:
        number = program.start_script(script)
        on_disk = program.log.time_of(saved)
        back = 0 if target.is_dir() else given_back_after(program, saved, program.memory(), target)
        return milliseconds(on_disk - program.result(number) / 1000), peak(program), back


def export(mebibytes):
    def run(rig):
        script = DOWNLOAD % mebibytes
        target = rig.folder / "a.png"
        saved = f"✅ File saved to: {target}"
        target.unlink(missing_ok=True)
        ours = saved_by_shell(rig, target, script, re.compile("^✅ Decoded"), saved)
        arrival = arrival_in_floor(rig, script, ARRIVED)
        target.unlink(missing_ok=True)
        floor = saved_by_floor(rig, target, script, saved)
        name = f"Export of {mebibytes} MiB"
        return [Figure(f"{name}, against the arrival", "ms", ours[0], arrival[0], 1.3),
                Figure(f"{name}, against the arrival in Quillory itself", "ms", ours[0], ours[2], 1.3),
                Figure(f"{name}, against the arrival: peak memory", "MiB", ours[1], arrival[1], 1.15,
                       mebibytes * 0.75),
                Figure(f"{name}, against the same job", "ms", ours[0], floor[0]),
                Figure(f"{name}, against the same job: peak memory", "MiB", ours[1], floor[1]),
                Figure(f"{name}, against the same job: from saved to the decoded bytes' memory back", "ms", ours[3], floor[2], 1, 50)]
    return run


def batch(rig):
    line = "📥 Batch download requested: 200 files"

    def into_new_folder(save):
        with tempfile.TemporaryDirectory(dir=rig.folder) as name:
            folder = pathlib.Path(name)
            figures = save(folder, f"✅ Saved 200/200 files to: {folder}")
            assert len(list(folder.iterdir())) == 200
        return figures

    ours = into_new_folder(
        lambda folder, saved: saved_by_shell(rig, folder, BATCH, line, saved, folder / "0.png"))
    arrival = arrival_in_floor(rig, BATCH, line)
    floor = into_new_folder(lambda folder, saved: saved_by_floor(rig, folder, BATCH, saved))
    return [Figure("Batch of 200 × 1 MiB, against the arrival", "ms", ours[0], arrival[0], 1.4),
            Figure("Batch of 200 × 1 MiB, against the arrival in Quillory itself", "ms", ours[0], ours[2], 1.4),
            Figure("Batch of 200 × 1 MiB, against the arrival: peak memory", "MiB", ours[1], arrival[1], 1, 16),
            Figure("Batch of 200 × 1 MiB, against the same job", "ms", ours[0], floor[0])]


# Opening

RECEIVER = """
const got = new Promise((resolve) => {
    window.handleNativeFileContent = window.handleNativeImageContent = (text) => {
        text.charCodeAt(text.length - 1); // it may have come in parts, and counts when it is whole
        const now = Date.now();
        resolve([now, text.length]);
    };
});
post("%s", null);
return await got;
"""


def mixed_text(size):
    """Lines as a project file has them, with what has to be escaped and letters beyond ASCII."""
    words = ['"left": 12.5', '"name": "it\'s a caf\u00e9"', '"path": "C:\\\\tmp"', "naïve", "日本", "🖊️ pen",
             '"text": "line\\nbreak"', "plain words of a longer text", '"fill": "#ff8800"']
    randomness = random.Random(1)
    block = ""
    while len(block.encode()) < 1 << 18:
        block += "  " + ", ".join(randomness.choice(words) for _ in range(6)) + ",\r\n"
    block = block.encode()
    return (block * (size // len(block) + 1))[:size].decode(errors="ignore").encode()


def received_by_shell(rig, file, message):
    with ready(rig.shell(), settled=True) as program:
        number = program.start_script(RECEIVER % message)
        answered = rig.answer(file)
        received, length = program.result(number)
        return milliseconds(received / 1000 - answered), peak(program), length


def received_by_floor(rig, file, message):
    with ready(rig.floor(file)) as program:
        number = program.start_script(RECEIVER % message)
        opening, _ = program.log.wait(re.compile("^opening "))
        received, length = program.result(number)
        return milliseconds(received / 1000 - int(opening.split()[1]) / 1e6), peak(program), length


def opening(what, file, message, time_limit, memory_limit):
    def run(rig):
        path = file(rig)
        ours = received_by_shell(rig, path, message)
        theirs = received_by_floor(rig, path, message)
        assert ours[2] == theirs[2] > 0
        return [Figure(what, "ms", ours[0], theirs[0], time_limit),
                Figure(f"{what}: peak memory", "MiB", ours[1], theirs[1], memory_limit)]
    return run


def text_file(mebibytes):
    def make(rig):
        path = rig.folder / f"{mebibytes}.json"
        if not path.exists():
            path.write_bytes(mixed_text(mebibytes * MEBIBYTE))
        return path
    return make


def image_file(rig):
    path = rig.folder / "image.png"
    if not path.exists():
        path.write_bytes(os.urandom(64 * MEBIBYTE))
    return path


# Messages

def dispatch(body, what):
    script = """
const body = %s;
const now = Date.now();
for (let i = 0; i < 20000; ++i) post("nativeDownload", body);
post("nativeDownload", {filename: "Tlast", data: ""});
return now;
""" % body

    def one(program):
        with ready(program, settled=True):
            number = program.start_script(script)
            last = program.log.time_of("📥 Native download requested: Tlast")
            return 20000 / (last - program.result(number) / 1000)

    def run(rig):
        return [Figure(f"Dispatch: {what}", "1/s", one(rig.shell()), one(rig.floor()), -0.9)]
    return run


# Rest

STILL_PAGE = START_PAGE + "<h1>Still</h1>"


def idle(seconds):
    def one(rig, program):
        with program:
            program.log.wait(re.compile("Tready"))
            window = program.window()
            counts = []
            for hide in (False, True):
                if hide:
                    rig.desktop.run("xdotool", "windowactivate", "--sync", window)
                    rig.desktop.key("alt+F4")
                    rig.desktop.wait_no_window("Quillory")
                time.sleep(5)
                before = program.wake_ups()
                time.sleep(seconds)
                after = program.wake_ups()
                counts.append({name: count - before.get(name, 0) for name, count in after.items()
                               if count > before.get(name, 0)})
            print(f"<!-- {program.process.args[0].name}: shown {counts[0]}, hidden {counts[1]} -->")
            return [sum(count.values()) for count in counts]

    def run(rig):
        ours, theirs = one(rig, rig.shell(STILL_PAGE)), one(rig, rig.floor(page=STILL_PAGE))
        return [Figure(f"Idle for {seconds} s, window {state}: wake-ups", "", a, b, 1)
                for state, a, b in zip(("shown", "hidden"), ours, theirs)]
    return run


# The hotkey

class Keyboard:
    """Presses keys through the X server's test extension, from this process: no program has to start first."""
    SUPER, SHIFT, E = 133, 50, 26

    def __init__(self, display):
        self._x11, self._xtst = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
        self._x11.XOpenDisplay.restype = ctypes.c_void_p
        self._display = ctypes.c_void_p(self._x11.XOpenDisplay(display.encode()))

    def send(self, key, down):
        self._xtst.XTestFakeKeyEvent(self._display, key, int(down), ctypes.c_ulong(0))
        self._x11.XFlush(self._display)

    def close(self):
        self._x11.XCloseDisplay(self._display)


def hotkey(presses):
    def one(rig, program):
        desktop = rig.desktop
        keyboard = Keyboard(desktop.env["DISPLAY"])
        other = KeyWindow(desktop)
        spy = subprocess.Popen(["xprop", "-spy", "-root", "_NET_ACTIVE_WINDOW"], env=desktop.env,
                               stdout=subprocess.PIPE)
        log = TimedLog(spy.stdout)
        times = []
        try:
            window = program.window()
            active = re.compile(f"0x{int(window):x}$")
            for _ in range(presses):
                desktop.focus(other.window)
                time.sleep(0.3)
                seen = len(log.lines)
                keyboard.send(Keyboard.SUPER, True)
                keyboard.send(Keyboard.SHIFT, True)
                time.sleep(0.05)
                pressed = time.time()
                keyboard.send(Keyboard.E, True)
                _, index = log.wait(active, seen)
                times.append(milliseconds(log.times[index] - pressed))
                for key in (Keyboard.E, Keyboard.SHIFT, Keyboard.SUPER):
                    keyboard.send(key, False)
                time.sleep(0.1)
        finally:
            spy.kill()
            other.kill()
            keyboard.close()
        times.sort()
        return times[len(times) // 2]

    def run(rig):
        with ready(rig.shell(), settled=True) as program:
            ours = one(rig, program)
        with rig.grab() as program:
            program.log.wait("grabbed")
            theirs = one(rig, program)
        return [Figure("Hotkey: key press to active window", "ms", ours, theirs, 1, 5)]
    return run


def all_jobs():
    yield Job("start", lambda rig: list(start(rig)))
    for mebibytes in (16, 64, 256):
        yield Job(f"export-{mebibytes}", export(mebibytes))
    for mebibytes in (16, 64, 256):
        yield Job(f"open-{mebibytes}", opening(f"Open of {mebibytes} MiB of mixed text", text_file(mebibytes),
                                               "nativeFilePicker", 1.0, 0.9))
    yield Job("image", opening("Image of 64 MiB", image_file, "nativeImagePicker", 1.0, None))
    yield Job("batch", batch, 9)
    yield Job("dispatch", dispatch("null", "refused messages"), 9)
    yield Job("dispatch", dispatch("{filename: 'Tx', data: ''}", "messages that are read"), 9)
    yield Job("hotkey", hotkey(15))
    yield Job("idle", idle(30), 1)
