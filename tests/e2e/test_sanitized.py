"""A whole run, from the launch over each service to the end: what a sanitizer or a leak checker is to watch."""
from programs import Portal
from test_download import download


def test_a_run_from_start_to_end(launch, portal, tmp_path):
    app = launch(env=Portal.ENVIRONMENT)
    for name, body, path in (("nativeDownload", download("a.png", b"content"), tmp_path / "a.png"),
                             ("nativeDownload", download("b.png", b"content"), None),
                             ("nativeBatchDownload", {"files": [download("c", b"x"), {}]}, tmp_path),
                             ("nativeFilePicker", None, tmp_path / "a.png"),
                             ("nativeImagePicker", None, tmp_path / "a.png")):
        app.post(name, body)
        portal.choose(path)
    app.log.wait("✅ Image sent to JavaScript")
    app.run_script("post('nativeCopy', {data: 'x'}); post('nativePaste', null); post('nativeCopy', {data: 1})")
    app.log.wait("✅ Paste content sent to JavaScript")
    app.desktop.choose_from_menu(app.window(), 0, 0)
    app.desktop.wait_window("About Quillory")
    assert app.quit() == 0
