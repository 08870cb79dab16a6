"""What the desktop is told of the program, where it can be installed, and the Debian package."""
import configparser
import json
import os
import pathlib
import re
import subprocess
import types
import xml.etree.ElementTree as ElementTree

from PIL import Image

from application import DRIVER

APP_ID = "com.quillory.Quillory"


def run(*command, **options):
    return subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          timeout=120, **options)


def read_entry(path):
    parser = configparser.ConfigParser(interpolation=None, delimiters="=")
    parser.optionxform = str
    parser.read(path, encoding="utf-8")
    return parser


def test_descriptions_are_valid_and_agree_with_the_program(installed):
    share = installed / "share"
    for command in (["desktop-file-validate", share / f"applications/{APP_ID}.desktop"],
                    ["appstreamcli", "validate", "--no-net", share / f"metainfo/{APP_ID}.metainfo.xml"],
                    ["xmllint", "--noout", share / f"icons/hicolor/scalable/apps/{APP_ID}.svg"]):
        result = run(*command)
        assert (result.returncode, result.stderr) == (0, ""), f"{command[0]}: {result.stdout}{result.stderr}"
    entry = read_entry(share / f"applications/{APP_ID}.desktop")["Desktop Entry"]
    assert {"Comment[de]", "Comment[fr]", "Comment[ja]"} <= set(entry)
    metainfo = ElementTree.parse(share / f"metainfo/{APP_ID}.metainfo.xml")
    info = json.loads((share / "quillory/Info.json").read_text())
    assert metainfo.findtext("id") == info["CFBundleIdentifier"]
    assert metainfo.find("releases/release").get("version") == info["CFBundleShortVersionString"]
    for image in metainfo.findall("screenshots/screenshot/image"):
        file = pathlib.Path(__file__).parents[2] / "packaging/screenshots" / image.text.rsplit("/", 1)[1]
        assert Image.open(file).size == (int(image.get("width")), int(image.get("height")))


def test_command_line(installed):
    program = installed / "bin/quillory"
    # No display: none of these may need one.
    version, refused = (run(program, argument, env={"LANG": "C.UTF-8"}) for argument in ("--version", "file.json"))
    assert (version.returncode, version.stderr) == (0, "") and re.fullmatch(r"Quillory \d+\.\d+ \(\d+\)\n", version.stdout)
    assert (refused.returncode, refused.stdout) == (2, "") and re.fullmatch(r"quillory: .*file\.json.*\n", refused.stderr)
    with open("/dev/full", "w", encoding="utf-8") as full:
        assert subprocess.run([program, "--version"], stdout=full, check=False).returncode == 1


def test_it_works_wherever_it_is_and_the_bus_starts_it(installed, tmp_path, desktop, launch, locale):
    # Installed in one place and moved to another: but for the bus, nothing in the tree may remember the first.
    first, second = tmp_path / "first with spaces", tmp_path / "a folder with spaces ü"
    result = run("cmake", "--install", installed, "--prefix", first)
    assert result.returncode == 0, result.stderr
    first.rename(second)
    tree = types.SimpleNamespace(binary=second / "bin/quillory", page_folder=second / "share/quillory/WebContent")
    (tree.page_folder / "index.html").write_text(DRIVER, encoding="utf-8")
    app = launch(tree, locale)
    assert f'"{APP_ID}"' in desktop.run("xprop", "-id", app.window(), "WM_CLASS")
    assert "not found" not in desktop.run("xprop", "-id", app.window(), "_NET_WM_ICON")
    desktop.open_about("Über Quillory")
    assert app.quit() == 0

    second.rename(first)
    # Asked on a bus that knows the installed service.
    desktop.start_bus(tmp_path / "bus", services=first / "share/dbus-1/services")
    result = run("gdbus", "call", "--session", "--dest", APP_ID, "--object-path", "/com/quillory/Quillory", "--method",
                 "org.freedesktop.Application.Activate", "{}",
                 env={**desktop.env, "DBUS_SESSION_BUS_ADDRESS": f"unix:path={tmp_path}/bus"})
    assert result.returncode == 0, result.stderr
    desktop.focus(desktop.wait_window("Quillory"))
    desktop.key("ctrl+q")
    desktop.wait_no_window("Quillory")


def test_package(installed, tmp_path):
    result = run("cpack", "-G", "DEB", "--config", installed / "CPackConfig.cmake", "-B", tmp_path, cwd=installed)
    assert result.returncode == 0, result.stdout + result.stderr
    package, = tmp_path.glob("*.deb")
    result = run("lintian", "--fail-on", "error", "--allow-root", package)
    assert result.returncode == 0, result.stdout
    control = run("dpkg-deb", "--field", package).stdout
    fields = dict(line.split(": ", 1) for line in control.splitlines() if re.match(r"[A-Z][\w-]*: ", line))
    depends = {re.split(r"[ |(]", item.strip())[0] for item in fields["Depends"].split(",")}
    assert {"libgtk-4-1", "libwebkitgtk-6.0-4", "libxcb1", "librsvg2-common"} <= depends
    assert not [name for name in depends if name.endswith("-dev")]
    # Nothing is done and no file is kept when it is removed: it has neither scripts nor configuration.
    run("dpkg-deb", "--control", package, tmp_path / "control")
    assert sorted(os.listdir(tmp_path / "control")) == ["control", "md5sums"]

    run("dpkg-deb", "--extract", package, tmp_path / "root")
    usr = tmp_path / "root/usr"
    assert os.listdir(usr.parent) == ["usr"]
    service = read_entry(usr / f"share/dbus-1/services/{APP_ID}.service")
    assert service["D-BUS Service"]["Exec"].strip('"') == "/usr/bin/quillory"
    assert run(usr / "bin/quillory", "--version", env={}).stdout.startswith("Quillory ")
    assert run("mandoc", "-Tlint", "-Wwarning", usr / "share/man/man1/quillory.1.gz").stdout == ""
