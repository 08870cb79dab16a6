"""What the page, and other programs of the session, cannot get through the program: see docs/security.md."""
import http.server
import os
import pathlib
import re
import shutil
import threading

import pytest

from desktop import wait_for

ROOT = pathlib.Path(__file__).parents[2]
APP_ID = "com.quillory.Quillory"


def test_every_test_that_the_document_names_exists():
    document = (ROOT / "docs/security.md").read_text(encoding="utf-8")
    scripts = re.findall(r"`(test_\w+\.py)::(\w+)`", document)
    units = re.findall(r"`(\w+)\.([A-Z]\w+)`", document)
    assert len(scripts) > 15 and len(units) > 5
    cases = "".join(path.read_text(encoding="utf-8") for path in (ROOT / "tests/unit").glob("*Test.cpp"))
    missing = [f"{file}::{name}" for file, name in scripts
               if not re.search(rf"^def {name}\(", (ROOT / "tests/e2e" / file).read_text(encoding="utf-8"), re.M)]
    missing += [f"{suite}.{name}" for suite, name in units if not re.search(rf"^TEST(_F)?\({suite}, {name}\)", cases, re.M)]
    assert missing == []


def test_the_page_runs_in_the_engines_sandbox(app, desktop):
    secret = pathlib.Path(desktop.home, "secret.txt")
    secret.write_text("secret")
    page = app.page_process()
    assert os.path.exists(f"/proc/{app.process.pid}/root{secret}")
    assert not os.path.exists(f"/proc/{page}/root{secret}")
    status = pathlib.Path(f"/proc/{page}/status").read_text()
    assert re.search(r"^NoNewPrivs:\s1$", status, re.M) and re.search(r"^Seccomp:\s2$", status, re.M)


# What a page may ask a browser for; each throws where it is refused.
ASKED_FOR = {
    "what it has": "await fetch('index.html')",
    "camera": "await navigator.mediaDevices.getUserMedia({video: true})",
    "microphone": "await navigator.mediaDevices.getUserMedia({audio: true})",
    "screen": "await navigator.mediaDevices.getDisplayMedia()",
    "place": "await new Promise((resolve, reject) => navigator.geolocation.getCurrentPosition(resolve, reject))",
    "notifications": "if (await Notification.requestPermission() !== 'granted') throw 'refused'",
    "clipboard": "await navigator.clipboard.readText()",
    "window": "if (window.open('about:blank') === null) throw 'refused'",
}


def test_the_page_gets_nothing_else_of_the_machine(app):
    asked = ",".join(f"{name!r}: async () => {{ {code} }}" for name, code in ASKED_FOR.items())
    assert app.run_script(f"""
        const given = [];
        for (const [name, ask] of Object.entries({{{asked}}})) {{
            try {{ await ask(); given.push(name); }} catch {{ }}
        }}
        return given;
    """) == ["what it has"]


class Server:
    """A server on this machine that remembers what it was asked for."""

    def __init__(self):
        self.paths = paths = set()

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                paths.add(self.path)
                self.send_response(204)
                self.send_header("Access-Control-Allow-Origin", "*")
                self.end_headers()

            do_POST = do_GET

            def log_message(self, *_):
                pass

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self._server.server_port}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()


ELSEWHERE = [
    "location.href = '{}/link'", "location.replace('file:///etc/hostname')", "location.href = '..'",
    "location.href = URL.createObjectURL(new Blob(['<title>blob</title>'], {{type: 'text/html'}}))",
    "location.href = 'data:text/html,<title>data</title>'", "location.href = 'unknown:scheme'",
    "document.body.append(Object.assign(document.createElement('form'), {{action: '{}/form'}})); document.forms[0].submit()",
    "document.body.append(Object.assign(document.createElement('iframe'), {{srcdoc: '<script>top.location = \"{}/top\"</script>'}}))",
]


def test_the_page_cannot_be_left_for_another(app):
    server = Server()
    try:
        for way in ELSEWHERE:
            app.run_script(f"window.mark = 'kept'; {way.format(server.url)}")
            # What the page asks for while it is being left fails.
            app.run_script(f"while (!await fetch('{server.url}/after').catch(() => null));")
            assert app.run_script("return window.mark + document.title") == "keptTest page", way
        assert server.paths == {"/after"}
    finally:
        server.close()


# Beside the editor's own script: every way to the network that needs no hand of the user, and one to run text as code.
PROBE = """
const url = (name) => "%s/" + name;
const element = (tag, attributes) => document.body.append(Object.assign(document.createElement(tag), attributes));
const ways = {
    fetch: () => fetch(url("fetch")),
    request: () => { const request = new XMLHttpRequest(); request.open("GET", url("request")); request.send(); },
    beacon: () => navigator.sendBeacon(url("beacon"), "text"),
    events: () => new EventSource(url("events")),
    socket: () => new WebSocket(url("socket").replace("http", "ws")),
    image: () => element("img", {src: url("image")}),
    frame: () => element("iframe", {src: url("frame")}),
    script: () => element("script", {src: url("script")}),
    style: () => element("link", {rel: "stylesheet", href: url("style")}),
    font: () => new FontFace("face", `url(${url("font")})`).load(),
    media: () => element("video", {src: url("media"), preload: "auto"}),
    code: () => (0, eval)(`fetch("${url("code")}")`),
};
(async () => {
    for (const way of Object.values(ways))
        try { await Promise.race([way(), new Promise((resolve) => setTimeout(resolve, 300))]); } catch { }
    window.webkit.messageHandlers.nativeDownload.postMessage({filename: "probe ended", data: ""});
})();
"""


@pytest.mark.parametrize("policy", [True, False])
def test_the_editor_stays_off_the_network(launch, installed, policy):
    page = (installed / "share/quillory/WebContent/index.html").read_text(encoding="utf-8")
    page = page.replace("</head>", '<script defer src="probe.js"></script></head>')
    if not policy:
        page = re.sub(r"<meta http-equiv=\"Content-Security-Policy\"[^>]*>", "", page)
    server = Server()
    try:
        app = launch(page=None, ready=False)
        app.kill()
        shutil.copytree(installed / "share/quillory/WebContent", app.page_folder, dirs_exist_ok=True)
        (app.page_folder / "index.html").write_text(page, encoding="utf-8")
        (app.page_folder / "probe.js").write_text(PROBE % server.url, encoding="utf-8")
        app = launch(page=None, ready=False)
        app.log.wait("📥 Native download requested: probe ended")
        if policy:
            assert server.paths == set()
        else:
            # It is the policy that keeps them away, and each of the ways works.
            expected = {f"/{name}" for name in re.findall(r"^    (\w+): \(\) =>", PROBE, re.M)}
            wait_for(lambda: server.paths == expected, f"the server to be asked in all ways, not {server.paths}")
    finally:
        server.close()


def test_other_programs_on_the_bus_can_raise_the_window_and_no_more(app, desktop, tmp_path):
    (tmp_path / "p.json").write_text("{}")
    (tmp_path / "a.png").write_text("")
    files = [(tmp_path / name).as_uri() for name in ("p.json", "a.png")]

    def call(method, *arguments):
        return desktop.run("gdbus", "call", "--session", "--dest", APP_ID, "--object-path", "/com/quillory/Quillory",
                           "--method", method, "--", *arguments, check=False)

    start = len(app.log.lines)
    call("org.freedesktop.Application.Open", str(files), "{}")
    call("org.gtk.Application.Open", str(files), "''", "{}")
    call("org.gtk.Application.CommandLine", "/", str([f"b'{file}'" for file in files]).replace('"', ""), "{}")
    call("org.freedesktop.Application.ActivateAction", "'quit'", "[<'x'>]", "{}")
    assert call("org.gtk.Actions.List") == "(@as [],)\n"
    # Of any type and any text, where a token of a launcher is expected.
    for data in ("{'activation-token': <42>}", "{'desktop-startup-id': <'\\n\\x01 _TIME-1'>}", "{'activation-token': <'none'>}"):
        desktop.run("xdotool", "windowminimize", app.window())
        desktop.wait_no_window("Quillory")
        call("org.freedesktop.Application.Activate", data)
        desktop.wait_window("Quillory")
    assert app.run_script("return received") == []
    assert app.own_lines(start) == []
