// Project files and copied objects: what docs/project-format.md describes, and nothing else.
// Reading copies only the documented keys, so that what a file carries besides never reaches the canvas.

import { t } from "./language";

const PROJECT_TYPE = "quillory-project";
const CLIPBOARD_TYPE = "quillory-objects";
const FORMAT_VERSION = 1;
export const MAX_PAGE_SIDE = 8192;
const MAX_PAGES = 1000;
const MAX_DEPTH = 32;

export type Kind = "Rect" | "Ellipse" | "Star" | "Path" | "Line" | "Textbox" | "Image" | "Group";
export interface ObjectData {
  type: Kind;
  objects?: ObjectData[];
  asset?: string;
  [key: string]: unknown;
}
export interface PageData {
  readonly width: number;
  readonly height: number;
  /** "#rrggbb", or null for a transparent page. */
  readonly background: string | null;
  /** Back to front. */
  readonly objects: readonly ObjectData[];
}
/** Image files as data URLs, by the name that image objects refer to. */
export type Assets = Record<string, string>;
export interface Project {
  name: string;
  pages: readonly PageData[];
  assets: Assets;
}
export type Clipboard = { objects: ObjectData[]; assets: Assets };

/** Says why a text was refused, in words for the user. */
export class FormatError extends Error {}

type Raw = Record<string, unknown>;
/** Gives what is taken of a value, or throws FormatError. */
type Check = (value: unknown, where: string, depth?: number) => unknown;

const isRaw = (v: unknown): v is Raw => typeof v === "object" && v !== null && !Array.isArray(v);

function refuse(where: string, expected: string): never {
  throw new FormatError(t("The data is damaged: {where} is not {expected}.", { where, expected }));
}
const number = (min = -1e6, max = 1e6): Check => (v, where) =>
  typeof v === "number" && v >= min && v <= max ? v : refuse(where, t("a number from {min} to {max}", { min, max }));
const bool: Check = (v, where) => (typeof v === "boolean" ? v : refuse(where, t("true or false")));
const text = (max: number): Check => (v, where) =>
  typeof v === "string" && v.length <= max ? v : refuse(where, t("a text of at most {max} characters", { max }));
const oneOf = (...values: unknown[]): Check => (v, where) =>
  values.includes(v) ? v : refuse(where, t("one of {values}", { values: values.join(", ") }));
const colour: Check = (v, where) => {
  if (v === null || v === "" || v === "transparent") return null;
  return typeof v === "string" && /^#[0-9a-f]{6}$/i.test(v) ? v.toLowerCase() : refuse(where, t("a colour “#rrggbb” or null"));
};
const listOf = (check: Check, most = Infinity): Check => (v, where, depth) =>
  Array.isArray(v) && v.length <= most ? v.map((item, i) => check(item, `${where}[${i}]`, depth)) : refuse(where, t("a list"));
/** Takes these keys and no others; some have to be there. */
const keys = (checks: Record<string, Check>, required: readonly string[] = [], what = t("an object")): Check => (v, where, depth) => {
  if (!isRaw(v)) return refuse(where, what);
  for (const key of required) if (v[key] === undefined) refuse(`${where}.${key}`, t("given"));
  const result: Raw = {};
  for (const [key, check] of Object.entries(checks)) {
    const clean = v[key] === undefined ? undefined : check(v[key], `${where}.${key}`, depth);
    if (clean !== undefined) result[key] = clean;
  }
  return result;
};
/** Written only where it is not what is usual. */
const unusual = (usual: unknown, check: Check): Check => (v, where, depth) => (v === usual ? undefined : check(v, where, depth));

const size = number(0);
const share = unusual(0, number(-1, 1));
const objects: Check = (v, where, depth = 0) => {
  if (depth > MAX_DEPTH) refuse(where, t("nested at most {max} deep", { max: MAX_DEPTH }));
  return listOf(cleanObject)(v, where, depth + 1);
};
const STROKE: Record<string, Check> = { stroke: colour, strokeWidth: size, strokeDashArray: unusual(null, listOf(size, 8)) };
const LETTERS: Record<string, Check> = {
  ...STROKE, fill: colour, fontFamily: text(200), fontSize: number(0.1, 1e4), fontWeight: oneOf("normal", "bold"),
  fontStyle: oneOf("normal", "italic"), underline: bool,
};
/** Parts of a text that differ from the whole, counted in letters without line breaks. */
const styles: Check = (v, where) => {
  const run = keys({ start: size, end: size, style: keys(LETTERS) }, ["start", "end", "style"], t("a part of a text"));
  const runs = listOf(run)(v, where) as unknown[];
  return runs.length > 0 ? runs : undefined;
};
const gradient = keys({
  type: oneOf("linear", "radial"),
  coords: keys(Object.fromEntries(["x1", "y1", "x2", "y2", "r1", "r2"].map((key) => [key, number(-10, 10)]))),
  colorStops: listOf((stop, where) => colour(isRaw(stop) ? stop.color : stop, where), 2),
}, ["type", "coords", "colorStops"]);
/** A colour, or two that lead into each other across the box of the object, which is 1 wide and high. */
const paint: Check = (v, where) => {
  if (!isRaw(v)) return colour(v, where);
  const { colorStops, ...rest } = gradient(v, where) as { colorStops: (string | null)[] };
  if (colorStops.length < 2) refuse(where, t("an object"));
  return { ...rest, gradientUnits: "percentage", colorStops: colorStops.map((color, offset) => ({ offset, color: color ?? "#ffffff" })) };
};
/** Steps of an outline: a letter and its numbers. */
const step: Check = (v, where) =>
  Array.isArray(v) && /^[MLQCZ]$/.test(String(v[0])) && v.slice(1).every((n) => Math.abs(n) <= 1e6) ? v : refuse(where, t("a list"));
const BLENDS = ["source-over", "multiply", "screen", "overlay", "darken", "lighten", "color-dodge", "color-burn", "difference", "luminosity"];
const COMMON: Record<string, Check> = {
  left: number(), top: number(), scaleX: number(), scaleY: number(), angle: number(), skewX: number(), skewY: number(),
  flipX: bool, flipY: bool, opacity: number(0, 1),
  name: unusual("", text(200)), locked: unusual(false, bool), visible: unusual(true, bool),
  shadow: unusual(null, keys({ color: colour, blur: size, offsetX: number(), offsetY: number() })),
  globalCompositeOperation: unusual("source-over", oneOf(...BLENDS)),
};
const SHAPE: Record<string, Check> = { ...COMMON, ...STROKE, fill: paint };
const KINDS: Record<Kind, Check> = {
  Rect: keys({ ...SHAPE, width: size, height: size, rx: size, ry: size }),
  Ellipse: keys({ ...SHAPE, rx: size, ry: size }),
  Star: keys({ ...SHAPE, width: size, height: size, corners: number(3, 100), inset: number(0, 0.99) }),
  Path: keys({
    ...SHAPE, path: listOf(step, 1e5), strokeLineCap: oneOf("butt", "round", "square"), strokeLineJoin: oneOf("miter", "round", "bevel"),
  }, ["path"]),
  Line: keys({ ...COMMON, ...STROKE, x1: number(), y1: number(), x2: number(), y2: number(), arrow: unusual(undefined, oneOf("end", "both")) }),
  Textbox: keys({
    ...COMMON, ...LETTERS, fill: paint, charSpacing: unusual(0, number(-1000, 10_000)), text: text(1e6), width: size,
    textAlign: oneOf("left", "center", "right", "justify"), lineHeight: number(0.1, 10), styles,
  }, ["text"]),
  Image: keys({
    ...COMMON, ...STROKE, asset: text(200), width: size, height: size, cropX: unusual(0, size), cropY: unusual(0, size), brightness: share, contrast: share, saturation: share,
  }, ["asset"]),
  Group: keys({ ...COMMON, objects, width: size, height: size }, ["objects"]),
};

/** A copy of an object's documented keys; throws FormatError when one has a value it cannot have. */
export function cleanObject(value: unknown, where = "object", depth = 0): ObjectData {
  if (!isRaw(value)) return refuse(where, t("an object"));
  const type = value.type as Kind;
  if (typeof type !== "string" || !Object.hasOwn(KINDS, type)) return refuse(`${where}.type`, t("one of {values}", { values: Object.keys(KINDS).join(", ") }));
  return { type, ...(KINDS[type](value, where, depth) as Raw) };
}

const side: Check = (v, where) => Math.round(number(1, MAX_PAGE_SIDE)(v, where) as number);
const page = keys({ width: side, height: side, background: colour, objects }, ["width", "height", "background", "objects"], t("a page"));

type Holder = { asset?: string; objects?: readonly ObjectData[] };
/** The names of all images that objects show, those on pages and in groups included. */
export function usedAssets(holders: readonly Holder[], into = new Set<string>()): Set<string> {
  for (const { asset, objects = [] } of holders) {
    if (asset !== undefined) into.add(asset);
    usedAssets(objects, into);
  }
  return into;
}

/** The type of an image file in a data URL, unless it is a drawing, which can hold more than a picture. */
export const imageType = (data: string): string | undefined => /^data:(image\/(?!svg)[\w.+-]+);base64,/i.exec(data.slice(0, 100))?.[1];

function cleanAssets(value: unknown, used: Set<string>): Assets {
  const given = value === undefined ? {} : isRaw(value) ? value : refuse("assets", t("an object"));
  const clean = (name: string): [string, string] => {
    const data = Object.hasOwn(given, name) ? given[name] : undefined;
    return typeof data === "string" && imageType(data) ? [name, data] : refuse(`assets.${name}`, t("an image"));
  };
  return Object.fromEntries([...used].map(clean)); // an assignment would lose the name "__proto__"
}

function parse(source: string, what: string): Raw {
  let value: unknown;
  try {
    value = JSON.parse(source);
  } catch {
    throw new FormatError(source.trim() === "" ? t("{what} is empty.", { what }) : t("{what} is not JSON, or it is cut off.", { what }));
  }
  if (!isRaw(value)) throw new FormatError(t("{what} is not from Quillory.", { what }));
  return value;
}

function checkVersion(version: unknown, what: string): void {
  if (typeof version !== "number" || !Number.isInteger(version) || version < 1) refuse("version", t("a whole number from 1"));
  else if (version > FORMAT_VERSION) {
    throw new FormatError(t("{what} is from a newer Quillory (format {version}, this one reads up to {known}).", { what, version, known: FORMAT_VERSION }));
  }
}

export function readProject(source: string): Project {
  const raw = parse(source, t("The file"));
  if (raw.type !== PROJECT_TYPE) throw new FormatError(t("The file is JSON, but not a Quillory project."));
  checkVersion(raw.version, t("The file"));
  if (!Array.isArray(raw.pages) || raw.pages.length < 1 || raw.pages.length > MAX_PAGES) {
    return refuse("pages", t("a list of 1 to {max} pages", { max: MAX_PAGES }));
  }
  const pages = listOf(page)(raw.pages, "pages") as PageData[];
  return { name: text(1000)(raw.name ?? "", "name") as string, pages, assets: cleanAssets(raw.assets, usedAssets(pages)) };
}

/** Only the images that the pages show are written. */
export function writeProject({ name, pages, assets }: Project): string {
  return JSON.stringify({ type: PROJECT_TYPE, version: FORMAT_VERSION, name, pages, assets: pick(assets, usedAssets(pages)) });
}

export function writeClipboard({ objects, assets }: Clipboard): string {
  return JSON.stringify({ type: CLIPBOARD_TYPE, version: FORMAT_VERSION, objects, assets: pick(assets, usedAssets(objects)) });
}

/** Copied objects; also a bare object or a list under "objects", as people write them by hand. */
export function readClipboard(source: string): Clipboard {
  const raw = parse(source, t("The clipboard"));
  if (raw.type === CLIPBOARD_TYPE) checkVersion(raw.version, t("The copied data"));
  const isKind = typeof raw.type === "string" && Object.hasOwn(KINDS, raw.type);
  if (!isKind && !Array.isArray(raw.objects)) throw new FormatError(t("The clipboard holds nothing for the canvas."));
  const copied = objects(isKind ? [raw] : raw.objects, "objects") as ObjectData[];
  return { objects: copied, assets: cleanAssets(raw.assets, usedAssets(copied)) };
}

const pick = (assets: Assets, names: Set<string>): Assets =>
  Object.fromEntries([...names].filter((n) => Object.hasOwn(assets, n)).map((n) => [n, assets[n]!]));
