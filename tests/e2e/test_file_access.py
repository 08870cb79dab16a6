"""What the page may read: its own folder, however the folder is called, and nothing else."""
import pytest

# Each takes a URL and gives what it could read of it, or fails.
READERS = {
    "fetch": "const read = async (url) => (await fetch(url)).text();",
    "XMLHttpRequest": """const read = (url) => new Promise((resolve, reject) => {
        const request = new XMLHttpRequest();
        request.onload = () => request.responseText ? resolve(request.responseText) : reject("empty");
        request.onerror = reject;
        request.open("GET", url);
        request.send();
    });""",
    "worker": """const read = (url) => new Promise((resolve, reject) => {
        const code = `onmessage = async ({data}) => {
            try { postMessage(await (await fetch(data)).text()); } catch (error) { postMessage(null); }
        };`;
        const worker = new Worker(URL.createObjectURL(new Blob([code])));
        worker.onmessage = ({data}) => data === null ? reject("refused") : resolve(data);
        worker.onerror = reject;
        worker.postMessage(new URL(url, location.href).href);
    });""",
    "iframe": """const read = (url) => new Promise((resolve, reject) => {
        const frame = document.createElement("iframe");
        const done = () => {
            try {
                const text = frame.contentDocument.body.textContent;
                text && frame.contentWindow.location.href !== "about:blank" ? resolve(text) : reject("empty");
            } catch (error) { reject(error); }
        };
        frame.onload = done;
        frame.onerror = reject;
        frame.src = url;
        document.body.append(frame);
        setTimeout(done, 1500);
    });""",
    "image": """const read = (url) => new Promise((resolve, reject) => {
        const image = new Image();
        image.onload = () => resolve(`${image.width}`);
        image.onerror = () => reject("no image");
        image.src = url;
    });""",
}

DOT_PNG = ("89504e470d0a1a0a0000000d4948445200000001000000010804000000b51c0c020000000b4944415478da6364f80f"
           "00010501012718e3660000000049454e44ae426082")

FOLDERS = ["installed", "with space", "per%cent %2f", "num#ber?", "brackets [a](b){c}", "dots.and+plus$^|", "Grüße-日本",
           "quote'\"tick`"]


def urls(folder, secret):
    """Every spelling known to us of a file outside the page's folder, with what it is."""
    path = str(secret)
    depth = "../" * (len(folder.parts) - 1)
    name = secret.name
    return [
        f"file://{path}", f"file:///{path}", f"file:////{path.lstrip('/')}", f"file://localhost{path}", f"FILE://{path}",
        f"{depth}{path.lstrip('/')}", f"../{name}", f"./../{name}", f"..//{name}", f"..\\{name}", f"%2e%2e/{name}",
        f".%2E/{name}", f"..%2f{name}", f"x/..%2f..%2f{name}", f"x%2f..%2f..%2f{name}", f"..%5c{name}", f"x%5c..%5c..%5c{name}",
        f"{folder.as_uri()}/../{name}", f"{folder.as_uri()}/x/../../{name}", f"{folder.as_uri()}%2f..%2f{name}",
        f"{folder.as_uri()}-sibling/{name}", f"{folder.as_uri()[:-1]}{name}",
        *(spelling for code in range(0x80) for spelling in (f"..%{code:02x}/{name}", f"%{code:02X}/../../{name}", f"..%{code:02x}{name}")),
    ]


@pytest.mark.parametrize("how", READERS)
def test_nothing_outside_the_folder(launch, how):
    app = launch()
    folder = app.page_folder
    name, content = ("file.png", bytes.fromhex(DOT_PNG)) if how == "image" else ("file.txt", b"secret")
    sibling = folder.with_name(folder.name + "-sibling")
    sibling.mkdir()
    for place in (folder, folder.parent, sibling):
        (place / name).write_bytes(content)
    (folder / "x").mkdir()
    expected = "1" if how == "image" else "secret"
    # First the same file inside the folder: the reader works.
    assert app.run_script(READERS[how] + "return await read('" + name + "');") == expected
    assert app.run_script(READERS[how] + "return await read('./x/../" + name + "');") == expected

    outside = [*urls(folder, folder.parent / name), *([] if how == "image" else ["file:///etc/hostname"])]
    got = app.run_script(READERS[how] + f"""
        const got = await Promise.all({outside!r}.map(async (url) => {{
            try {{ return [url, await read(url)]; }} catch {{ return null; }}
        }}));
        return got.filter((row) => row !== null);
    """)
    assert got == []


@pytest.mark.parametrize("name", FOLDERS)
def test_folder_of_any_name(launch, name):
    app = launch(folder=name)
    (app.page_folder / "data ü#1%.txt").write_text("inside", encoding="utf-8")
    (app.page_folder.parent / "outside.txt").write_text("outside", encoding="utf-8")
    assert app.run_script("return await (await fetch(encodeURIComponent('data ü#1%.txt'))).text()") == "inside"
    assert app.run_script("try { return await (await fetch('../outside.txt')).text() } catch { return 'refused' }") == "refused"


@pytest.mark.parametrize("cache", ["/dev/null", "/dev/null/below", "/sys/quillory"])
def test_cache_that_cannot_be_written(launch, cache):
    app = launch(env={"XDG_CACHE_HOME": cache})
    assert app.run_script("try { await fetch('file:///etc/hostname'); return 'read' } catch { return 'refused' }") == "refused"
