"""Saving when something goes wrong: it is said, what was there before stays whole, and the program goes on."""
import array
import os
import re
import resource
import subprocess
import time

import pytest

from application import DRIVER, LAUNCH
from programs import Portal

OLD = b"precious" * 1000


def mount(folder, *arguments):
    if subprocess.run(["mount", *arguments, folder], capture_output=True).returncode != 0:
        pytest.skip("only root may mount a file system")


def mount_without_reservation(folder, size):
    """A file system that cannot set space aside for a file."""
    image = folder.with_name("image")
    with open(image, "wb") as file:
        file.truncate(size)
    subprocess.run(["/usr/sbin/mke2fs", "-q", "-t", "ext2", "-m", "0", image], check=True)
    mount(folder, "-o", "loop", image)


@pytest.fixture
def folder(tmp_path):
    folder = tmp_path / "folder"
    folder.mkdir()
    yield folder
    subprocess.run(["umount", "-l", folder], capture_output=True)


# What happens to the chosen folder while its panel is open. Each returns the reason that is to be given.

def disk_full(folder, _app):
    mount(folder, "-t", "tmpfs", "-o", "size=1m", "tmpfs")
    (folder / "a.bin").write_bytes(OLD)
    return "No space left on device"


def disk_full_without_reservation(folder, _app):
    mount_without_reservation(folder, 1 << 20)
    (folder / "a.bin").write_bytes(OLD)
    return "No space left on device"


def size_limit(_folder, app):
    resource.prlimit(app.process.pid, resource.RLIMIT_FSIZE, (1 << 20, resource.RLIM_INFINITY))
    return "File too large"


def read_only(folder, _app):
    if os.getuid() != 0:
        (folder / "a.bin").chmod(0o444)
        folder.chmod(0o555)
        return "Permission denied"
    mount(folder, "--bind", folder)
    mount(folder, "-o", "remount,bind,ro")
    return "Read-only file system"


def removed(folder, _app):
    folder.rename(folder.with_name("elsewhere"))
    return "No such file or directory"


def replaced_by(make):
    def replace(folder, _app):
        (folder / "a.bin").rename(folder / "elsewhere")
        for name in ("a.bin", "b.bin"):
            make(folder / name)
    return replace


def full_device(folder, app):
    disk_full(folder, app)  # the file system of temporary files need not have devices
    replaced_by(lambda path: os.mknod(path, 0o020666, os.makedev(1, 7)))(folder, app)
    return "No space left on device"


def other_folder(folder, app):
    replaced_by(os.mkdir)(folder, app)
    return "Is a directory"


def pipe(folder, app):
    replaced_by(os.mkfifo)(folder, app)
    return "No such device or address"


@pytest.mark.parametrize("fault", [disk_full, disk_full_without_reservation, size_limit, read_only, removed, other_folder,
                                   pipe, full_device],
                         ids=lambda fault: fault.__name__)
def test_what_cannot_be_written_is_said(launch, portal, folder, fault):
    app = launch(env=Portal.ENVIRONMENT)
    (folder / "a.bin").write_bytes(OLD)
    app.run_script("""
        const files = ["a.bin", "b.bin"].map((filename) => ({filename, data: "," + "A".repeat(4 << 20)}));
        for (const file of files)
            post("nativeDownload", file);
        post("nativeBatchDownload", {files});""")
    panels = [portal.wait_panel() for _ in range(3)]
    reason = fault(folder, app)
    start = len(app.log.lines)
    for panel, path in zip(panels, (folder / "a.bin", folder / "b.bin", folder)):
        portal.answer(panel, path)
    app.log.wait(f"✅ Saved 0/2 files to: {folder}", start)
    assert sorted(app.own_lines(start)) == sorted([
        *[f"❌ Error saving {name}: {reason}" for name in ("file", "file", "a.bin", "b.bin")],
        f"✅ Saved 0/2 files to: {folder}"])
    assert OLD in [path.read_bytes() for path in folder.parent.rglob("*") if path.is_file()]
    assert fault in (other_folder, pipe, full_device) or not (folder / "b.bin").exists()
    assert app.run_script("return 'alive'") == "alive"


SIZE = 64 << 20
# Posts an export as soon as it is loaded; every four bytes of it are different.
EXPORT = DRIVER + f"""<script>
    const words = new Uint32Array({SIZE // 4});
    for (let i = 0; i < words.length; ++i)
        words[i] = i;
    post("nativeDownload", {{filename: "a.bin", data: "," + new Uint8Array(words.buffer).toBase64()}});
</script>"""


# When to kill: what the file has become, and how many seconds after the answer.
MOMENTS = {
    "at once": lambda status, seconds: True,
    "space reserved": lambda status, seconds: status.st_blocks * 512 >= SIZE,
    "old content cut off": lambda status, seconds: status.st_size == 0,
    **{f"{part}/5 written": lambda status, seconds, part=part: part * SIZE // 5 <= status.st_size < SIZE
       for part in range(1, 5)},
    **{f"{4 * step} ms": lambda status, seconds, step=step: seconds > 0.004 * step for step in range(1, 7)},
    "saved": lambda status, seconds: False,
}


@pytest.fixture(params=["disk", "disk that cannot reserve space"])
def disk(request, folder):
    if request.param != "disk":
        mount_without_reservation(folder, 4 * SIZE)
    return folder


def test_killed_at_any_moment(launch, portal, disk):
    """What is left is the old content, the new one or a beginning of it, and the next launch is as any other."""
    target = disk / "a.bin"
    new = array.array("I", range(SIZE // 4)).tobytes()
    found = {}
    for number, (name, reached) in enumerate(MOMENTS.items()):
        old = OLD if number % 2 else OLD * (SIZE // len(OLD) + 1000)
        target.write_bytes(old)
        app = launch(EXPORT, env=Portal.ENVIRONMENT, ready=False)
        portal.choose(target)
        answered = time.monotonic()
        while not reached(os.stat(target), time.monotonic() - answered):
            if re.match("✅ File saved|❌", app.log.lines[-1]):
                break
        app.kill()
        assert app.log.lines[:2] == LAUNCH and not app.log.lines[-1].startswith("❌")
        content = target.read_bytes()
        found[name] = ("old" if content == old else "new" if content == new else
                       "beginning" if new.startswith(content) else "else")
    assert "else" not in found.values(), found
    assert set(found.values()) == {"old", "beginning", "new"}, found
