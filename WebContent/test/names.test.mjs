import assert from "node:assert/strict";
import { test } from "node:test";
import { fileName, fileStem, pageFileNames } from "../src/names";

test("a project's name becomes a safe stem", () => {
  const cases = [
    ["  Summer   fair ", "Summer fair"], ["Größe 2 – façade 日本", "Größe 2 – façade 日本"], ["../../etc/passwd", "etc-passwd"],
    ["a/b\\c:d*e?f\"g<h>i|j", "a-b-c-d-e-f-g-h-i-j"], [".hidden", "hidden"], ["-rf", "rf"], ["v1.2.", "v1.2"],
    ["line\nbreak\u0000\u202Eevil", "linebreakevil"], ["", "Untitled"], ["...", "Untitled"], ["\u0000", "Untitled"],
  ];
  for (const [name, expected] of cases) assert.equal(fileStem(name), expected, JSON.stringify(name));
});

test("long names keep within what a file system takes, without a broken letter", () => {
  for (const letter of ["a", "ü", "語", "🎨"]) {
    const name = pageFileNames(letter.repeat(1000), 1000, "jpeg").at(-1);
    assert.ok(Buffer.byteLength(name) <= 255, name);
    assert.ok(Buffer.byteLength(name) >= 190, "cut no shorter than needed");
    assert.equal(Buffer.from(name).toString(), name);
    assert.ok(name.startsWith(letter) && name.endsWith("-1000.jpeg"));
  }
});

test("names of pages are different and sort in the order of the pages", () => {
  assert.deepEqual(pageFileNames("A/B", 2, "png"), ["A-B-01.png", "A-B-02.png"]);
  for (const pages of [1, 9, 10, 99, 100, 1000]) {
    const names = pageFileNames("Fair", pages, "png");
    assert.equal(new Set(names).size, pages);
    assert.deepEqual([...names].sort(), names, `${pages} pages`);
  }
  assert.equal(fileName("", "pdf"), "Untitled.pdf");
});
