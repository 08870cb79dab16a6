"""The program under test, in an install tree of its own with a page of the test's own."""
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import threading
import time
import urllib.parse

from desktop import PATIENCE, wait_for

# Runs the scripts that a test writes into the page's folder and reports what each returned as the name
# of a file to save, which the program logs. A name that starts with "T" and no data reaches no panel.
DRIVER = """
<!doctype html><meta charset="utf-8"><title>Test page</title><body>
<script>
window.post = (name, body) => window.webkit.messageHandlers[name].postMessage(body);
window.report = (id, value) => post("nativeDownload",
    {filename: `T${id} ` + encodeURIComponent(JSON.stringify(value ?? null)), data: ""});
window.received = [];
for (const name of ["File", "Image", "Paste"])
    window[`handleNative${name}Content`] = (text) => { received.push([name, text]); };
(async () => {
    const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
    const page = Date.now();  // a script is for the page that is loaded, not for the next one
    report("ready", {width: innerWidth, height: innerHeight, page});
    for (let id = 1; ; ++id) {
        let script;
        while (true) {
            try {
                script = await (await fetch(`script-${page}-${id}.js`, {cache: "no-store"})).text();
                break;
            } catch { await sleep(20); }
        }
        try {
            report(id, {value: await (0, eval)(`(async () => { ${script} })()`)});
        } catch (error) {
            report(id, {error: String(error)});
        }
    }
})();
</script>
"""

STATUS_REPORT = [
    "=== HotkeyManager Status ===", "Accessibility trusted: true", "Event tap exists: true",
    "RunLoop source exists: true", "Event tap enabled: true", "============================",
]
# GIO calls it critical when a bus has ended; the engine's processes warn of the same.
COMPLAINT = re.compile(r"Sanitizer|runtime error|(?<!GLib-GIO)-CRITICAL \*\*|^\(com.quillory.Quillory:\d+\): GLib\S*-WARNING|Theme parser")
LAUNCH = ["Global hotkey Cmd+Shift+E registered", "Main window created"]


class Log:
    """The lines of a stream, read as they come."""

    def __init__(self, stream):
        self.lines = []
        self._changed = threading.Condition()
        self._closed = False
        self._thread = threading.Thread(target=self._read, args=(stream,), daemon=True)
        self._thread.start()

    def _read(self, stream):
        for line in stream:
            with self._changed:
                self.lines.append(line.decode("utf-8", "backslashreplace").rstrip("\n"))
                self._changed.notify_all()
        with self._changed:
            self._closed = True
            self._changed.notify_all()

    def wait(self, wanted, after=0, timeout=PATIENCE):
        """Waits for a line that equals `wanted`, or matches it if it is a pattern; returns it and its place."""
        matches = wanted.search if isinstance(wanted, re.Pattern) else wanted.__eq__
        place, deadline = after, time.monotonic() + timeout
        with self._changed:
            while True:
                while place < len(self.lines):
                    if matches(self.lines[place]):
                        return self.lines[place], place
                    place += 1
                if self._closed or not self._changed.wait(deadline - time.monotonic()):
                    raise AssertionError(f"no line {wanted!r}; the log:\n" + "\n".join(self.lines))

    def wait_end(self):
        self._thread.join(PATIENCE)


class Application:
    # All that were started and not yet looked at by the fixture `nobody_complains`.
    started = []
    _page = _scripts = 0

    def __init__(self, desktop, binary, page_folder, env=None, arguments=()):
        self.desktop = desktop
        self.page_folder = page_folder
        self.process = desktop.start(binary, *arguments, env=env, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE)
        self.log = Log(self.process.stdout)
        self.errors = Log(self.process.stderr)
        self.started.append(self)

    # The page

    def wait_ready(self, after=0):
        """Waits until the page is loaded; returns its inner width and height."""
        line, place = self.log.wait(re.compile(r"^📥 Native download requested: Tready "), after)
        self.log.wait("❌ Failed to decode data URL", place)
        ready = self._reported(line)
        self._page, self._scripts = ready["page"], 0
        return ready

    @staticmethod
    def _reported(line):
        return json.loads(urllib.parse.unquote(line.split(" ", 5)[5]))

    def start_script(self, script):
        """Hands a script (the body of an async function) to the page; returns what to wait with."""
        self._scripts += 1
        written = self.page_folder / ".script"
        written.write_text(script, encoding="utf-8")
        written.rename(self.page_folder / f"script-{self._page}-{self._scripts}.js")
        return self._scripts

    def load_anew(self):
        """Puts the program back to what it was after its launch: its page is loaded anew and the log begins again."""
        self.desktop.close_other_windows()
        if not self.desktop.windows("Quillory"):
            self.start_again().wait_exit()
            self.window()
        start = len(self.log.lines)
        self.start_script("location.reload()")
        self.wait_ready(start)
        assert not self.complaints(), "\n".join(self.complaints())
        self.log.lines.clear()
        self.errors.lines.clear()

    def result(self, number):
        line, _ = self.log.wait(re.compile(rf"^📥 Native download requested: T{number} "))
        result = self._reported(line)
        if "error" in result:
            raise AssertionError(result["error"])
        return result.get("value")

    def run_script(self, script):
        """Runs a script in the page and returns its value."""
        return self.result(self.start_script(script))

    def received(self, count=1):
        """What native code has called the page with, once that is so much: the function's name and the text of each call."""
        return self.run_script(f"""
            while (received.length < {count}) await new Promise((resolve) => setTimeout(resolve, 5));
            return received.splice(0);""")

    def post(self, name, body):
        """Posts a message and returns where in the log the lines that answer it begin."""
        start = len(self.log.lines)
        self.run_script(f"post({json.dumps(name)}, {json.dumps(body)})")
        return start

    def own_lines(self, start=0):
        """The log without what the test page reports of itself."""
        lines = list(self.log.lines)
        reports = {i for i, line in enumerate(lines) if re.match(r"📥 Native download requested: T(ready|\d+) ", line)}
        return [line for i, line in enumerate(lines) if i >= start and i not in reports and i - 1 not in reports]

    def own_errors(self):
        """What the program itself says on standard error; the toolkit and the engine write there too."""
        return [line for line in self.errors.lines if line.startswith("quillory:")]

    def complaints(self):
        """What the toolkit calls critical so far, and what AddressSanitizer or UndefinedBehaviorSanitizer have found."""
        found = [i for i, line in enumerate(self.errors.lines) if COMPLAINT.search(line)]
        return self.errors.lines[found[0]:] if found else []

    # The process

    def start_again(self, env=None):
        """Starts the same program once more."""
        return Application(self.desktop, self.process.args[0], self.page_folder, env)

    def window(self):
        return self.desktop.wait_window("Quillory")

    def wait_exit(self, timeout=PATIENCE):
        status = self.process.wait(timeout)
        self.log.wait_end()
        self.errors.wait_end()
        return status

    def quit(self):
        self.process.send_signal(signal.SIGTERM)
        return self.wait_exit()

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.errors.wait_end()

    def children(self, name=None):
        """The processes that this one started, theirs included: all, or those of a program."""
        found = [self.process.pid]
        for pid in found:  # which grows meanwhile
            with contextlib.suppress(OSError):
                for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
                    found += map(int, (task / "children").read_text().split())

        def runs(pid):
            with contextlib.suppress(OSError):
                return os.path.basename(os.readlink(f"/proc/{pid}/exe")) == name
        return [pid for pid in found[1:] if name is None or runs(pid)]

    def page_process(self):
        """The process that the page runs in."""
        process, = self.children("WebKitWebProcess")
        return process

    def kill_page(self):
        page = self.page_process()
        os.kill(page, signal.SIGKILL)
        wait_ended([page])

    def memory(self, field="VmHWM"):
        """A figure of the process's status, in bytes: VmHWM is the peak of what it had in memory."""
        text = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(rf"^{field}:\s+(\d+) kB", text, re.M).group(1)) * 1024


def wait_ended(processes):
    wait_for(lambda: not [p for p in processes if os.path.exists(f"/proc/{p}/exe")], "the processes to end")


class InstallTree:
    """A copy of the installed program whose page a test may change."""

    def __init__(self, installed, folder, page=DRIVER):
        self.prefix = pathlib.Path(folder)
        self.binary = self.prefix / "bin" / "quillory"
        self.page_folder = self.prefix / "share" / "quillory" / "WebContent"
        self.binary.parent.mkdir(parents=True)
        self.page_folder.mkdir(parents=True)
        shutil.copy2(installed / "bin" / "quillory", self.binary)
        for file in ("Info.json", "icon.svg"):
            shutil.copy2(installed / "share" / "quillory" / file, self.page_folder.parent)
        for folder in ("icons", "locale"):
            shutil.copytree(installed / "share" / folder, self.prefix / "share" / folder)
        if page is not None:
            (self.page_folder / "index.html").write_text(page, encoding="utf-8")
