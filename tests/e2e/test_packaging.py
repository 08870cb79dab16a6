"""What the desktop is told of the program, where it can be installed, and the Debian package."""
import configparser
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import xml.etree.ElementTree as ElementTree

import pytest

from application import DRIVER, Application
from desktop import wait_for

APP_ID = "com.quillory.Quillory"
OBJECT_PATH = "/com/quillory/Quillory"


def run(*command, **options):
    return subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          timeout=120, **options)


def install(build, prefix):
    """Installs the built program, with the page of the tests, under a prefix."""
    result = run("cmake", "--install", build, "--prefix", prefix)
    assert result.returncode == 0, result.stderr
    (prefix / "share/quillory/WebContent/index.html").write_text(DRIVER, encoding="utf-8")


def read_entry(path):
    parser = configparser.ConfigParser(interpolation=None, delimiters="=")
    parser.optionxform = str
    parser.read(path, encoding="utf-8")
    return parser


def test_validators_accept_the_files(installed):
    share = installed / "share"
    for command in (["desktop-file-validate", share / f"applications/{APP_ID}.desktop"],
                    ["appstreamcli", "validate", "--no-net", share / f"metainfo/{APP_ID}.metainfo.xml"],
                    ["xmllint", "--noout", share / f"icons/hicolor/scalable/apps/{APP_ID}.svg"]):
        result = run(*command)
        assert (result.returncode, result.stderr) == (0, ""), f"{command[0]}: {result.stdout}{result.stderr}"


def test_descriptions_agree_with_the_program(installed):
    entry = read_entry(installed / f"share/applications/{APP_ID}.desktop")
    # The program can do nothing from the launcher's list of quick actions but start.
    assert entry.sections() == ["Desktop Entry"]
    entry = entry["Desktop Entry"]
    assert (entry["Exec"], entry["Icon"], entry["DBusActivatable"]) == ("quillory", APP_ID, "true")
    assert {"Comment[de]", "Comment[fr]", "Comment[ja]"} <= set(entry)

    metainfo = ElementTree.parse(installed / f"share/metainfo/{APP_ID}.metainfo.xml")
    info = json.loads((installed / "share/quillory/Info.json").read_text())
    assert metainfo.findtext("id") == info["CFBundleIdentifier"]
    assert metainfo.findtext("launchable") == f"{APP_ID}.desktop"
    assert metainfo.find("releases/release").get("version") == info["CFBundleShortVersionString"]
    assert metainfo.find("content_rating") is not None
    images = metainfo.findall("screenshots/screenshot/image")
    assert images
    for image in images:
        file = pathlib.Path(__file__).parents[2] / "packaging/screenshots" / image.text.rsplit("/", 1)[1]
        assert run("identify", "-format", "%w %h", file).stdout == f"{image.get('width')} {image.get('height')}"


@pytest.mark.parametrize("arguments, status, output, error", [
    (["--version"], 0, r"^Quillory \d+\.\d+ \(\d+\)\n$", "^$"),
    (["--help"], 0, r"^Usage: quillory .*--version", "^$"),
    (["--bogus"], 2, "^$", "^quillory: [^\n]*--bogus[^\n]*\n$"),
    (["file.json"], 2, "^$", "^quillory: [^\n]*file.json[^\n]*\n$"),
])
def test_command_line(installed, arguments, status, output, error):
    # No display: none of these may need one.
    result = run(installed / "bin/quillory", *arguments, env={"LANG": "C.UTF-8"})
    assert result.returncode == status
    assert re.search(output, result.stdout, re.S) and re.search(error, result.stderr, re.S)


def test_answer_that_cannot_be_written_is_a_failure(installed):
    with open("/dev/full", "w", encoding="utf-8") as full:
        assert subprocess.run([installed / "bin/quillory", "--version"], stdout=full, check=False).returncode == 1


@pytest.mark.parametrize("place", ["usr", "opt/quillory", "a folder with spaces/Quillory ü"])
def test_tree_works_wherever_it_is(installed, tmp_path, desktop, locale, place):
    # Installed in one place and moved to another: nothing in the tree may remember the first.
    install(installed, tmp_path / "first")
    prefix = tmp_path / place
    prefix.parent.mkdir(parents=True, exist_ok=True)
    (tmp_path / "first").rename(prefix)
    app = Application(desktop, prefix / "bin/quillory", prefix / "share/quillory/WebContent", locale)
    try:
        app.wait_ready()
        window = app.window()
        assert f'"{APP_ID}"' in desktop.run("xprop", "-id", window, "WM_CLASS")
        assert "not found" not in desktop.run("xprop", "-id", window, "_NET_WM_ICON")
        desktop.choose_from_menu(window, 0, 0)
        desktop.wait_window("Über Quillory")
        assert app.quit() == 0
    finally:
        app.kill()


def test_bus_starts_and_raises_the_program(installed, tmp_path, desktop):
    prefix = tmp_path / "prefix with spaces"
    install(installed, prefix)
    config = tmp_path / "bus.conf"
    config.write_text(f"""<busconfig><type>session</type><listen>unix:dir={tmp_path}</listen><auth>EXTERNAL</auth>
        <servicedir>{prefix}/share/dbus-1/services</servicedir><policy context="default">
        <allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy></busconfig>""")
    bus = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile", "--print-address=1"],
                           env=desktop.env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    env = {**desktop.env, "DBUS_SESSION_BUS_ADDRESS": bus.stdout.readline().strip()}

    def call(name, path, method, *arguments):
        result = run("gdbus", "call", "--session", "--dest", name, "--object-path", path, "--method", method,
                     *arguments, env=env)
        assert result.returncode == 0, result.stderr
        return result.stdout

    def activate():
        call(APP_ID, OBJECT_PATH, "org.freedesktop.Application.Activate", "{}")

    def process():
        answer = call("org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetConnectionUnixProcessID", APP_ID)
        return int(re.search(r"uint32 (\d+)", answer).group(1))

    try:
        activate()
        window = desktop.wait_window("Quillory")
        started = process()
        desktop.focus(window)
        desktop.key("ctrl+w")
        desktop.wait_no_window("Quillory")
        activate()
        assert desktop.wait_window("Quillory") == window
        assert process() == started
        os.kill(started, signal.SIGTERM)
        desktop.wait_no_window("Quillory")
    finally:
        bus.terminate()
        bus.wait()


@pytest.fixture(scope="module")
def package(installed, tmp_path_factory):
    folder = tmp_path_factory.mktemp("package")
    result = run("cpack", "-G", "DEB", "--config", installed / "CPackConfig.cmake", "-B", folder, cwd=installed)
    assert result.returncode == 0, result.stdout + result.stderr
    return next(folder.glob("*.deb"))


def test_package_has_no_lintian_errors(package):
    result = run("lintian", "--fail-on", "error", "--allow-root", package)
    assert result.returncode == 0, result.stdout


def test_package_depends_on_what_it_uses(package, tmp_path):
    control = run("dpkg-deb", "--field", package).stdout
    fields = dict(line.split(": ", 1) for line in control.splitlines() if re.match(r"[A-Z][\w-]*: ", line))
    depends = {re.split(r"[ |(]", item.strip())[0] for item in fields["Depends"].split(",")}
    assert {"libgtk-4-1", "libwebkitgtk-6.0-4", "libxcb1", "librsvg2-common"} <= depends
    assert not [name for name in depends if name.endswith("-dev")]
    for wanted in ("webp-pixbuf-loader", "heif-gdk-pixbuf", "xdg-desktop-portal"):
        assert wanted in fields["Recommends"]
    # Nothing is done and no file is kept when it is removed: it has neither scripts nor configuration.
    run("dpkg-deb", "--control", package, tmp_path)
    assert sorted(os.listdir(tmp_path)) == ["control", "md5sums"]


def test_package_installs_below_usr(package, tmp_path):
    run("dpkg-deb", "--extract", package, tmp_path)
    assert os.listdir(tmp_path) == ["usr"]
    service = read_entry(tmp_path / f"usr/share/dbus-1/services/{APP_ID}.service")
    assert service["D-BUS Service"]["Exec"].strip('"') == "/usr/bin/quillory"
    result = run(tmp_path / "usr/bin/quillory", "--version", env={})
    assert result.stdout.startswith("Quillory ")
    assert shutil.which("mandoc") and run("mandoc", "-Tlint", "-Wwarning", tmp_path / "usr/share/man/man1/quillory.1.gz").stdout == ""
