import assert from "node:assert/strict";
import { test } from "node:test";
import { cleanObject, FormatError, readClipboard, readProject, usedAssets, writeClipboard, writeProject } from "../src/project";

const PNG = "data:image/png;base64,iVBORw0KGgo=";
const rect = { type: "Rect", left: 10, top: 20, width: 30, height: 40, rx: 2, ry: 2, angle: 45, fill: "#ff0000", stroke: null, strokeWidth: 0, opacity: 0.5 };
const text = { type: "Textbox", left: 0, top: 0, text: "it's \"quoted\" \\ and\nbroken\u2028 語", width: 100, fontFamily: "serif", fontSize: 20, textAlign: "center", styles: [{ start: 0, end: 4, style: { fill: "#ff0000", fontWeight: "bold" } }] };
const image = { type: "Image", asset: "image-1", left: 1, top: 2, width: 8, height: 8, scaleX: 2, scaleY: 2 };
const group = { type: "Group", left: 5, top: 5, width: 50, height: 50, objects: [rect, { ...image, asset: "image-2" }] };
const star = { type: "Star", name: "Sun", locked: true, visible: false, globalCompositeOperation: "multiply", shadow: { color: "#000000", blur: 4, offsetX: 1, offsetY: 2 }, fill: { type: "linear", gradientUnits: "percentage", coords: { x1: 0, y1: 0, x2: 1, y2: 1 }, colorStops: [{ offset: 0, color: "#ff0000" }, { offset: 1, color: "#00ff00" }] }, width: 5, height: 5, corners: 5, inset: 0.5 };
const path = { type: "Path", strokeDashArray: [3, 2], path: [["M", 0, 0], ["Q", 1, 1, 2, 2], ["Z"]], strokeLineCap: "round" };
const page = { width: 800, height: 600, background: "#ffffff", objects: [rect, text, image, group, star, path] };
const project = { name: "Fair", pages: [page, { width: 10, height: 10, background: null, objects: [] }], assets: { "image-1": PNG, "image-2": `${PNG}=` } };

const withObject = (object) => JSON.stringify({ type: "quillory-project", version: 1, name: "", pages: [{ ...page, objects: [object] }], assets: project.assets });
const file = (changes) => JSON.stringify({ ...JSON.parse(writeProject(project)), ...changes });

const refuses = (read, cases) => {
  for (const [source, reason] of cases) {
    assert.throws(() => read(source), (e) => e instanceof FormatError && reason.test(e.message), `${source.slice(0, 60)} … ${reason}`);
  }
};

test("a project is read as it was written", () => {
  assert.deepEqual(readProject(writeProject(project)), project);
});

test("copied objects are read as they were written, with their images and no others", () => {
  const assets = { ...project.assets, "image-3": PNG };
  const copied = writeClipboard({ objects: [group], assets });
  assert.deepEqual(readClipboard(copied), { objects: [group], assets: { "image-2": `${PNG}=` } });
  assert.match(copied, /"type"/); // by these the shell knows the text when it has been through another program
  assert.match(copied, /"objects"/);
});

test("only images in use are written and read", () => {
  const spare = { ...project, assets: { ...project.assets, spare: PNG } };
  assert.deepEqual(JSON.parse(writeProject(spare)).assets, project.assets);
  assert.deepEqual(Object.keys(readProject(file({ assets: { ...project.assets, spare: 5 } })).assets), ["image-1", "image-2"]);
  assert.deepEqual([...usedAssets([group, image])], ["image-2", "image-1"]);
});

test("an image may have any name", () => {
  for (const name of ["__proto__", "constructor", "\uffff\uffff"]) {
    const source = file({ pages: [{ ...page, objects: [{ ...image, asset: name }] }] }).replace('"image-1":', `${JSON.stringify(name)}:`);
    assert.deepEqual(Object.entries(JSON.parse(writeProject(readProject(source))).assets), [[name, PNG]]);
  }
});

test("keys that the format does not know stay outside", () => {
  const hostile = { ...rect, src: "file:///etc/passwd", clipPath: { type: "Rect" }, __proto__: null, constructor: 1, filters: [] };
  assert.deepEqual(cleanObject(hostile), rect);
  assert.equal(cleanObject({ ...rect, fill: "transparent" }).fill, null);
  assert.equal(cleanObject({ ...rect, fill: "#ABCDEF" }).fill, "#abcdef");
});

test("hand-written objects can be pasted", () => {
  assert.deepEqual(readClipboard('{"type":"Rect","left":1}').objects, [{ type: "Rect", left: 1 }]);
  assert.deepEqual(readClipboard('{"type":"x","objects":[{"type":"Line"}]}').objects, [{ type: "Line" }]);
});

test("what is no readable project is refused with the reason", () => {
  const deep = (n) => (n === 0 ? rect : { type: "Group", objects: [deep(n - 1)] });
  const cases = [
    ["  \n", /empty/], ["not JSON", /not JSON/], [writeProject(project).slice(0, -20), /cut off/],
    ["[]", /not from Quillory/], ["null", /not from Quillory/], ['{"nodes": []}', /not a Quillory project/],
    [writeClipboard({ objects: [rect], assets: {} }), /not a Quillory project/],
    [file({ version: 2 }), /newer Quillory.*format 2.*up to 1/],
    ...["1", 0, 1.5].map((version) => [file({ version }), /version is not/]),
    [file({ name: 5 }), /name is not/],
    ...[[], {}].map((pages) => [file({ pages }), /pages is not/]),
    [file({ pages: [{ ...page, width: 0 }] }), /pages\[0\]\.width/],
    [file({ pages: [page, { ...page, height: 1e9 }] }), /pages\[1\]\.height/],
    [file({ pages: [{ ...page, background: "red" }] }), /background/],
    [file({ pages: [{ ...page, objects: null }] }), /objects is not a list/],
    ...[undefined, "https://example.org/a.png", "data:image/SVG+xml;base64,PHN2Zz4="].map((image) =>
      [file({ assets: { ...project.assets, "image-1": image } }), /assets\.image-1 is not an image/]),
    [file({ assets: [] }), /assets is not/],
    [withObject(null), /objects\[0\] is not an object/],
    ...["Script", "constructor"].map((type) => [withObject({ type }), /objects\[0\]\.type is not one of Rect/]),
    [withObject({ ...rect, left: "10" }), /left is not a number/],
    [withObject({ ...rect, width: -1 }), /width is not a number/],
    [withObject({ ...rect, opacity: 2 }), /opacity is not a number from 0 to 1/],
    [withObject({ ...rect, fill: "url(#x)" }), /fill is not a colour/],
    [withObject({ ...rect, flipX: 1 }), /flipX is not true or false/],
    [withObject({ ...path, path: [["A", 1]] }), /path\[0\] is not a list/],
    [withObject({ ...star, fill: { type: "url" } }), /fill\.coords is not given/],
    [withObject({ ...text, text: undefined }), /text is not given/],
    [withObject({ ...text, textAlign: "middle" }), /textAlign is not one of/],
    [withObject({ type: "Image" }), /asset is not given/],
    [withObject({ type: "Image", asset: "toString" }), /assets\.toString is not an image/],
    [withObject({ type: "Group", objects: [{ type: "Rect", top: null }] }), /objects\[0\]\.objects\[0\]\.top/],
    [withObject(deep(200)), /nested at most/],
  ];
  refuses(readProject, cases);
});

test("what is on the clipboard but not for the canvas is refused with the reason", () => {
  refuses(readClipboard, [
    ["", /empty/],
    ["a letter", /not JSON/],
    ['{"type":"memo","left":1}', /nothing for the canvas/],
    ['{"type":"quillory-objects","version":7,"objects":[]}', /newer Quillory/],
    [JSON.stringify({ type: "quillory-objects", version: 1, objects: [image], assets: {} }), /assets\.image-1/],
  ]);
});
