"""Files dragged from another program onto the page."""
import base64
import itertools

from desktop import wait_for
from programs import Program


def test_dropped_files_reach_the_page(app, desktop, tmp_path):
    (tmp_path / "a.jpg").write_bytes(b"jpeg")
    (tmp_path / "p.json").write_text("{}")
    (tmp_path / "n.txt").write_text("left alone")
    source = Program(desktop, "drag_source.py", "Files", *(str(tmp_path / name) for name in ("n.txt", "a.jpg", "p.json")))
    try:
        window = desktop.wait_window("Files")
        desktop.run("xdotool", "windowmove", "--sync", window, "2", "2")
        start = len(app.log.lines)
        desktop.run("xdotool", "mousemove", "--window", window, "60", "60", "mousedown", "1")
        # The pointer moves on until the drag has begun, and over the page as a hand would.
        steps = itertools.count(70, 5)
        wait_for(lambda: desktop.run("xdotool", "mousemove", *[str(next(steps))] * 2) or "began" in source.log.lines,
                 "the drag to begin")
        for step in range(20):
            desktop.run("xdotool", "mousemove", str(500 + 5 * step), "600", "sleep", "0.05")
        desktop.run("xdotool", "mouseup", "1")
        app.log.wait("✅ File content sent to JavaScript")
        assert app.own_lines(start) == ["✅ Image loaded: a.jpg", "✅ File loaded: p.json", "✅ Image sent to JavaScript",
                                        "✅ File content sent to JavaScript"]
        assert app.run_script("return received") == [
            ["Image", "data:image/jpeg;base64," + base64.b64encode(b"jpeg").decode()], ["File", "{}"]]
        assert app.run_script("return document.title") == "Test page"
        # A source that is told "move" deletes the files.
        source.log.wait("ended: copy")
    finally:
        source.kill()
