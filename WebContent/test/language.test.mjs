import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import { test } from "node:test";
import de from "../languages/de.json";
import fr from "../languages/fr.json";
import ja from "../languages/ja.json";
import { chooseLanguage } from "../src/language";
import { readNumber, showNumber } from "../src/numbers";

const root = process.env.QUILLORY_PAGE_SOURCES;
const page = readFileSync(`${root}/index.html`, "utf8").replace(/<(svg|style|script|title)\b[^]*?<\/\1>/g, "");
const sources = readdirSync(`${root}/src`).map((file) => readFileSync(`${root}/src/${file}`, "utf8")).join("\n");
const shown = [
  ...[...page.replace(/<[^>]*>/g, "\n").split("\n")].map((text) => text.trim()),
  ...[...page.matchAll(/ (?:aria-label|aria-roledescription|placeholder|data-empty)="([^"]*)"/g)].map((m) => m[1]),
].filter((text) => /\p{L}/u.test(text)).map((text) => text.replaceAll("&amp;", "&"));
const said = [...sources.matchAll(/\bt\(\s*("(?:[^"\\]|\\.)*")/g)].map((m) => JSON.parse(m[1]));

test("every text is in every language, and none that is no longer used", () => {
  const texts = [...new Set([...shown, ...said])].sort();
  for (const [language, catalogue] of Object.entries({ de, fr, ja })) {
    assert.deepEqual(Object.keys(catalogue).sort(), texts, language);
    const places = (text) => (text.match(/\{\w+\}/g) ?? []).sort().join();
    for (const text of texts) assert.equal(places(catalogue[text]), places(text), `${language}: ${text}`);
  }
});

test("no text is outside the catalogues", () => {
  const code = sources.replace(/\/\*[^]*?\*\/|\/\/ .*|\bt\(\s*"(?:[^"\\]|\\.)*"/g, "");
  const sentences = [...code.matchAll(/["`]([A-Z“][a-z']+ [^"`\n]*[a-z]{2}[^"`\n]*)["`]/g)].map((m) => m[1]);
  const names = sentences.filter((text) => !/^[A-Z]\w+( [A-Z0-9]\w*)+$/.test(text)); // of fonts
  assert.deepEqual(names, []);
});

test("the first language wanted that there are texts in is spoken, English else", () => {
  for (const [wanted, chosen] of [[["de-CH", "en"], "de-CH"], [["nl", "fr"], "fr"], [["den", "ja"], "ja"], [["C"], "en"], [[], "en"]]) {
    assert.equal(chooseLanguage(wanted), chosen);
  }
});

test("numbers are read as the language writes them", () => {
  const cases = [["12,5", "de", 12.5], ["12.5", "de", 12.5], ["12,5", "en", undefined], [" -0,25 ", "fr", -0.25], ["１２．５", "ja", 12.5], ["1e3", "en", undefined], ["", "de", undefined]];
  for (const [text, language, value] of cases) assert.equal(readNumber(text, language), value, `${text} in ${language}`);
  assert.equal(showNumber(12.5, "de-AT"), "12,5");
});
