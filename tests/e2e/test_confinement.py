"""What the page, and other programs of the session, cannot get through the program: see docs/security.md."""
import http.server
import os
import pathlib
import re
import threading

import pytest
from PIL import Image

from application import Application, InstallTree
from desktop import wait_for
from test_services import download

# Each takes a URL and gives what it could read of it, or fails.
READERS = {
    "file.txt": """async (url) => (await fetch(url)).text()""",
    "file.png": """async (url) => {
        const image = Object.assign(new Image(), {src: url});
        await image.decode();
        return `${image.width}`;
    }""",
    "worker.txt": """(url) => new Promise((resolve, reject) => {
        const code = `fetch(${JSON.stringify(new URL(url, location.href))}).then((file) => file.text())
                          .then(postMessage, () => postMessage(null))`;
        const worker = new Worker(URL.createObjectURL(new Blob([code])));
        worker.onmessage = ({data}) => data === null ? reject("refused") : resolve(data);
    })""",
}
FOLDER = "a per%cent %2f num#ber? [a](b){c}+plus$^| Grüße-日本 quote'\"tick`"


def spellings(folder, secret):
    """Every spelling known to us of a file outside the page's folder."""
    path = str(secret)
    depth = "../" * (len(folder.parts) - 1)
    name = secret.name
    return [
        secret.as_uri(), f"file://{path}", f"file:///{path}", f"file:////{path.lstrip('/')}", f"file://localhost{path}",
        f"FILE://{path}", f"{depth}{path.lstrip('/')}", f"../{name}", f"./../{name}", f"..//{name}", f"..\\{name}",
        f"%2e%2e/{name}", f".%2E/{name}", f"..%2f{name}", f"x/..%2f..%2f{name}", f"x%2f..%2f..%2f{name}", f"..%5c{name}",
        f"x%5c..%5c..%5c{name}", f"{folder.as_uri()}/../{name}", f"{folder.as_uri()}/x/../../{name}",
        f"{folder.as_uri()}%2f..%2f{name}", f"{folder.as_uri()}-sibling/{name}", f"{folder.as_uri()[:-1]}{name}",
        "file:///etc/hostname",
        *(f"{spelling}{name}" for code in range(0x80)
          for spelling in (f"..%{code:02x}/", f"%{code:02X}/../../", f"..%{code:02x}")),
    ]


def test_nothing_outside_the_folder(launch, installed, tmp_path):
    tree = InstallTree(installed, tmp_path / FOLDER)
    app = launch(tree)
    folder = tree.page_folder
    sibling = folder.with_name(folder.name + "-sibling")
    sibling.mkdir()
    (folder / "x").mkdir()
    (folder / "a ü#1%.txt").write_text("inside")
    assert app.run_script("return (await fetch(encodeURIComponent('a ü#1%.txt'))).text()") == "inside"
    for file, read in READERS.items():
        for place in (folder, folder.parent, sibling):
            if file.endswith(".png"):
                Image.new("L", (1, 1)).save(place / file)
            else:
                (place / file).write_text("1")
        # First the same file inside the folder: the reader works.
        for inside in ("", "./x/../"):
            assert app.run_script(f"return await ({read})({inside + file!r})") == "1"
        assert app.run_script(f"""
            const got = await Promise.all({spellings(folder, folder.parent / file)!r}.map(async (url) => {{
                try {{ return [url, await ({read})(url)]; }} catch {{ return null; }}
            }}));
            return got.filter((row) => row !== null);
        """) == []


@pytest.mark.parametrize("cache", ["/dev/null", "/dev/null/below", "/sys/quillory"])
def test_cache_that_cannot_be_written(launch, cache):
    app = launch(env={"XDG_CACHE_HOME": cache})
    assert app.run_script("try { await fetch('file:///etc/hostname'); return 'read' } catch { return 'refused' }") == "refused"


def test_the_page_runs_in_the_engines_sandbox(app, desktop):
    secret = pathlib.Path(desktop.home, "secret.txt")
    secret.write_text("secret")
    page = app.page_process()
    assert os.path.exists(f"/proc/{app.process.pid}/root{secret}")
    assert not os.path.exists(f"/proc/{page}/root{secret}")
    status = pathlib.Path(f"/proc/{page}/status").read_text()
    assert re.search(r"^NoNewPrivs:\s1$", status, re.M) and re.search(r"^Seccomp:\s2$", status, re.M)


def test_page_started_downloads_are_refused(app, desktop):
    app.run_script("""
        const link = document.createElement("a");
        link.href = URL.createObjectURL(new Blob(["content"]));
        link.download = "unasked.txt";
        document.body.append(link);
        link.click();""")
    app.load_anew()  # by when what the engine was asked for before has begun
    assert not [path for folder in (desktop.home, os.getcwd()) for path in pathlib.Path(folder).rglob("unasked*")]


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.server.paths.add(self.path)
        self.send_response(204)
        self.send_header("Access-Control-Allow-Origin", "*")
        self.end_headers()

    do_POST = do_GET

    def log_message(self, *_):
        pass


@pytest.fixture
def server():
    """A server on this machine that remembers what it was asked for."""
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler) as server:
        server.paths = set()
        server.url = f"http://127.0.0.1:{server.server_port}"
        threading.Thread(target=server.serve_forever, daemon=True).start()
        yield server
        server.shutdown()


ELSEWHERE = [
    "location.href = '{}/link'", "location.replace('file:///etc/hostname')", "location.href = '..'",
    "location.href = URL.createObjectURL(new Blob(['<title>blob</title>'], {{type: 'text/html'}}))",
    "location.href = 'data:text/html,<title>data</title>'", "location.href = 'unknown:scheme'",
    "document.body.append(Object.assign(document.createElement('form'), {{action: '{}/form'}})); document.forms[0].submit()",
    "document.body.append(Object.assign(document.createElement('iframe'), {{srcdoc: '<script>top.location = \"{}/top\"</script>'}}))",
]


def test_the_page_cannot_be_left_for_another(app, server):
    for way in ELSEWHERE:
        app.run_script(f"window.mark = 'kept'; {way.format(server.url)}")
        # What the page asks for while it is being left fails.
        app.run_script(f"while (!await fetch('{server.url}/after').catch(() => null));")
        assert app.run_script("return window.mark + document.title") == "keptTest page", way
    assert server.paths == {"/after"}
    # The empty page needs no request that could be refused.
    start = len(app.log.lines)
    app.start_script("location.href = 'about:blank'")
    app.wait_ready(start)


def test_a_right_click_has_nothing_of_a_browsers_menu(app, desktop):
    app.run_script("window.done = ''; for (const kind of ['contextmenu', 'keydown']) addEventListener(kind, () => { done += kind; })")
    desktop.focus("Quillory")
    desktop.run("xdotool", "mousemove", "640", "600", "click", "3")
    wait_for(lambda: app.run_script("return done") == "contextmenu", "the click")
    desktop.key("k")  # which a menu would take
    wait_for(lambda: app.run_script("return done") == "contextmenukeydown", "the key")


# Beside the editor's own script: every way to the network that needs no hand of the user, and one to run text as code.
# Each says so when it has been refused.
PROBE = """
const url = (name) => "%s/" + name;
let refused;
const element = (tag, attributes) => document.body.append(Object.assign(document.createElement(tag), attributes));
const ways = {
    fetch: () => fetch(url("fetch")),
    request: () => { const request = new XMLHttpRequest(); request.open("GET", url("request")); request.send(); },
    beacon: () => navigator.sendBeacon(url("beacon"), "text"),
    events: () => new EventSource(url("events")),
    socket: () => new WebSocket(url("socket").replace("http", "ws")),
    image: () => element("img", {src: url("image")}),
    frame: () => element("iframe", {src: url("frame")}),
    script: () => element("script", {src: url("script"), onerror: () => refused()}),
    style: () => element("link", {rel: "stylesheet", href: url("style"), onerror: () => refused()}),
    font: () => new FontFace("face", `url(${url("font")})`).load(),
    media: () => element("video", {src: url("media"), preload: "auto"}),
    code: () => (0, eval)("1"),
};
document.addEventListener("securitypolicyviolation", () => refused());
(async () => {
    for (const [name, way] of Object.entries(ways)) {
        await new Promise((resolve) => {
            refused = resolve;
            try { way()?.catch?.(() => {}); } catch { }
        });
        window.webkit.messageHandlers.nativeDownload.postMessage({filename: `refused ${name}`, data: ""});
    }
})();
"""


def test_the_editor_stays_off_the_network(launch, tree_of_the_editor, server):
    tree = tree_of_the_editor
    index = tree.page_folder / "index.html"
    index.write_text(index.read_text("utf-8").replace("</head>", '<script defer src="probe.js"></script></head>'), "utf-8")
    (tree.page_folder / "probe.js").write_text(PROBE % server.url, encoding="utf-8")
    app = launch(tree, ready=False)
    for name in re.findall(r"^    (\w+): \(\) =>", PROBE, re.M):
        app.log.wait(f"📥 Native download requested: refused {name}")
    assert server.paths == set()


def test_other_programs_on_the_bus_can_raise_the_window_and_no_more(app, desktop, tmp_path):
    (tmp_path / "p.json").write_text("{}")
    files = [(tmp_path / "p.json").as_uri()]

    def call(method, *arguments, path="/com/quillory/Quillory"):
        return desktop.run("gdbus", "call", "--session", "--dest", "com.quillory.Quillory", "--object-path",
                           path, "--method", method, "--", *arguments, check=False)

    call("org.freedesktop.Application.Open", str(files), "{}")
    call("org.gtk.Application.Open", str(files), "''", "{}")
    call("org.gtk.Application.CommandLine", "/", str([f"b'{file}'" for file in files]).replace('"', ""), "{}")
    call("org.freedesktop.Application.ActivateAction", "'quit'", "[<'x'>]", "{}")
    for path in ("/com/quillory/Quillory", "/com/quillory/Quillory/window/1"):
        assert call("org.gtk.Actions.List", path=path) == "(@as [],)\n"
    # Of any type and any text, where a token of a launcher is expected.
    for data in ("{'activation-token': <42>}", "{'desktop-startup-id': <'\\n\\x01 _TIME-1'>}", "{'activation-token': <'none'>}"):
        desktop.minimize("Quillory")
        call("org.freedesktop.Application.Activate", data)
        desktop.wait_window("Quillory")
    assert app.run_script("return received") == []
    assert app.own_lines() == []


APP_ID = "com.quillory.Quillory"
MANIFEST = pathlib.Path(__file__).parents[2] / f"packaging/flatpak/{APP_ID}.yml"
RUNTIME = "/run/user/app"
# What a Flatpak runtime has of its own, and what Flatpak shows of the system.
SYSTEM_FILES = ["/etc/alternatives", "/etc/fonts", "/etc/ld.so.cache", "/etc/machine-id", "/etc/passwd",
                "/etc/group", "/var/cache/fontconfig", "/sys/block", "/sys/bus", "/sys/class", "/sys/dev", "/sys/devices"]


def confined(desktop, prefix, home, downloads):
    """The confinement that the Flatpak manifest asks for, made of bubblewrap and the system's own libraries.

    A read-only system, an empty home, a session bus on which only this program is, and what the manifest asks for.
    """
    # Flatpak gives all instances of one application a folder in common, and filters the bus; here it is one of its own.
    shared = pathlib.Path(desktop.runtime, "app", APP_ID)
    shared.mkdir(0o700, parents=True)
    bus = shared.parent / "bus"
    desktop.start_bus(bus, APP_ID)
    display = desktop.env["DISPLAY"]
    socket = "/tmp/.X11-unix/X" + display.lstrip(":")
    given = {
        "--socket=wayland": [], "--share=ipc": [],
        "--socket=fallback-x11": ["--ro-bind", socket, socket],
        "--device=dri": ["--dev-bind-try", "/dev/dri", "/dev/dri"],
        "--filesystem=xdg-download": ["--bind", downloads, downloads],
        "--share=network": ["--share-net"], "--filesystem=home": ["--bind", home, home],
    }
    environment = {
        "HOME": home, "PATH": "/usr/bin", "LANG": "C.UTF-8", "DISPLAY": display, "XDG_RUNTIME_DIR": RUNTIME,
        "DBUS_SESSION_BUS_ADDRESS": f"unix:path={RUNTIME}/bus", "FLATPAK_ID": APP_ID,
        "GSETTINGS_BACKEND": "memory", "GTK_A11Y": "none"}
    arguments = ["--die-with-parent", "--unshare-net", "--unshare-pid", "--unshare-uts",
                 "--ro-bind", "/usr", "/usr", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp",
                 "--dir", RUNTIME, "--chmod", "0700", RUNTIME,
                 "--bind", bus, f"{RUNTIME}/bus", "--bind", shared, f"{RUNTIME}/app/{APP_ID}",
                 "--tmpfs", home, "--ro-bind", prefix, "/app", "--chdir", "/", "--clearenv"]
    permissions = re.search(r"^finish-args:\n((?:  - .*\n)+)", MANIFEST.read_text(), re.M)[1]
    for permission in permissions.replace("  - ", "").split():
        arguments += given[permission]
    for name in ("bin", "sbin", "lib", "lib32", "lib64"):
        if os.path.islink(f"/{name}"):
            arguments += ["--symlink", os.readlink(f"/{name}"), f"/{name}"]
    for path in SYSTEM_FILES:
        arguments += ["--ro-bind-try", path, path]
    for name, value in environment.items():
        arguments += ["--setenv", name, value]
    return [*arguments, "/app/bin/quillory"]


def test_confined_as_the_flatpak_asks_it_does_all_of_its_work(programs, desktop, tree):
    programs.end(desktop)
    home = pathlib.Path(desktop.home)
    downloads = home / "Downloads"
    downloads.mkdir()
    secret = home / "secret.txt"
    secret.write_text("secret")
    arguments = confined(desktop, tree.prefix, home, downloads)
    app = Application(desktop, "bwrap", tree.page_folder, arguments=arguments)
    app.wait_ready()
    app.post("nativeDownload", download("picture.png", b"hello"))
    target = downloads / "picture.png"
    desktop.answer_panel("Save", target)
    app.log.wait(f"✅ File saved to: {target}")
    app.post("nativeBatchDownload", {"files": [download(f"{i}.png", b"hello") for i in range(3)]})
    desktop.answer_panel("Choose a folder to save 3 files", downloads)
    app.log.wait(f"✅ Saved 3/3 files to: {downloads}")
    assert sorted(os.listdir(downloads)) == ["0.png", "1.png", "2.png", "picture.png"]
    app.post("nativeFilePicker", None)
    desktop.answer_panel("Select a Quillory project file", target)
    app.post("nativeCopy", {"data": "copied"})
    wait_for(lambda: desktop.run("xclip", "-sel", "clipboard", "-o", check=False) == "copied", "the copied text")
    app.post("nativePaste", None)
    wait_for(lambda: app.run_script("return received") == [["File", "hello"], ["Paste", "copied"]], "both in the page")

    # The mounts as the running program has them, not as a second sandbox would.
    quillory, = app.children("quillory")
    assert set(os.listdir(f"/proc/{quillory}/root{home}")) <= {".cache", ".config", ".local", "Downloads"}
    interfaces = pathlib.Path(f"/proc/{quillory}/net/dev").read_text().splitlines()[2:]
    assert [line.split(":")[0].strip() for line in interfaces] == ["lo"]
    assert app.run_script(f"return fetch('{secret.as_uri()}').then(() => 'read', () => 'refused')") == "refused"

    desktop.minimize("Quillory")
    second = Application(desktop, "bwrap", tree.page_folder, arguments=arguments)
    assert (second.wait_exit(), second.log.lines) == (0, [])
    desktop.wait_window("Quillory")
