// What can be read and changed of objects by a field of the inspector.
import type { FabricImage, FabricObject } from "fabric";
import { bakeScale } from "./objects";
import { type Adjustment, ADJUSTMENTS, type AssetImage } from "./images";
import { angleOf, changeFill, colourAt, kindOf, setShadow, shadowOf, type Value } from "./paint";
import type { PageData } from "./project";
import { CanvasText, type CharacterKey, keepTopLeft } from "./text";
import { $ } from "./ui";

export interface Property {
  /** The different values that an object has: several where the letters of a text differ. */
  get(o: FabricObject): Value[];
  set(o: FabricObject, value: never): void;
}

const single = (get: (o: FabricObject) => Value, set: Property["set"]): Property => ({ get: (o) => [get(o)], set });
const number = (get: (o: FabricObject) => number, set: (o: FabricObject, value: number) => void, digits = 1): Property =>
  single((o) => Math.round(get(o) * 10 ** digits) / 10 ** digits, set);
const scaled = (key: string, factor = 1, digits = 1): Property =>
  number((o) => o.get(key) * factor, (o, v) => void o.set(key, v / factor), digits);
const plain = (key: string): Property => single((o) => o.get(key) as Value, (o, value: Value) => void o.set(key, value));
/** Of a shape as a whole, but of every letter of a text. */
const letters = (key: CharacterKey, shown: (value: unknown) => Value = (v) => v as Value): Property => ({
  get: (o) => (o instanceof CanvasText ? o.valuesOf(key) : [o.get(key)]).map(shown),
  set: (o, value: Value) => (o instanceof CanvasText ? o.style(key, value) : void o.set(key, value)),
});
const round = (value: unknown): number => Math.round((value as number) * 10) / 10;

const width = (o: FabricObject): number => o.width * o.scaleX;
const height = (o: FabricObject): number => o.height * o.scaleY;

function resize(o: FabricObject, w?: number, h?: number): void {
  if ($("proportions").ariaPressed === "true" && !(o instanceof CanvasText)) [w, h] = [w ?? (h! * width(o)) / height(o), h ?? (w! * height(o)) / width(o)];
  const { left, top } = o;
  const [x, y] = [left - width(o) / 2, top - height(o) / 2];
  if (o instanceof CanvasText) o.set("width", w ?? o.width);
  else o.set({ scaleX: w && o.width ? w / o.width : o.scaleX, scaleY: h && o.height ? h / o.height : o.scaleY });
  bakeScale(o);
  o.set({ left: x + width(o) / 2, top: y + height(o) / 2 });
}

const pageSize = ({ width, height }: PageData): string => `${width}x${height}`;
/** Of the page. */
export const PAGE: Record<string, { get(page: PageData): Value; change(value: never): Partial<PageData> }> = {
  pageWidth: { get: (page) => page.width, change: (width: number) => ({ width: Math.round(width) }) },
  pageHeight: { get: (page) => page.height, change: (height: number) => ({ height: Math.round(height) }) },
  pageSize: {
    get: (page) => ($("page-preset").querySelector(`[value="${pageSize(page)}"]`) ? pageSize(page) : "custom"),
    change: (size: string) => {
      const [width, height] = size.split("x").map(Number);
      return height ? { width, height } : ($("page-width").focus(), {});
    },
  },
  background: { get: (page) => page.background, change: (background: string | null) => ({ background }) },
  transparent: {
    get: (page) => page.background === null,
    change: (on: boolean) => ({ background: on ? null : $<HTMLInputElement>("page-background").value }),
  },
};
/** Of the selection as a whole. Positions are those of the left upper corner before rotation. */
export const WHOLE: Record<string, Property> = {
  x: number((o) => o.left - width(o) / 2, (o, v) => void o.set("left", v + width(o) / 2)),
  y: number((o) => o.top - height(o) / 2, (o, v) => void o.set("top", v + height(o) / 2)),
  w: number(width, (o, v) => resize(o, v, undefined)),
  h: number(height, (o, v) => resize(o, undefined, v)),
  angle: scaled("angle"),
};
const shadow = (key: Parameters<typeof shadowOf>[1]): Property => single((o) => shadowOf(o, key), (o, v: Value) => setShadow(o, key, v));
/** Of every selected object. */
export const OBJECT: Record<string, Property> = {
  blend: plain("globalCompositeOperation"),
  shadow: shadow("color"), shadowBlur: shadow("blur"), shadowX: shadow("offsetX"), shadowY: shadow("offsetY"),
  opacity: scaled("opacity", 100, 0),
};
const DASHES: Record<string, number[]> = { dashed: [3, 2], dotted: [1, 1] };
const dashOf = ({ strokeDashArray: dash }: FabricObject): string => (!dash?.length ? "solid" : dash[0]! > dash[1]! ? "dashed" : "dotted");
const dash = (o: FabricObject, kind: string): void => void o.set("strokeDashArray", DASHES[kind]?.map((d) => d * o.strokeWidth) ?? null);
/** The part of an image that is shown: its beginning and its size, in pixels of the image. */
const crop = (key: "cropX" | "cropY" | "width" | "height"): Property =>
  number((o) => (o as FabricImage)[key], (o, v) => {
    const image = o as FabricImage;
    const { width: w, height: h } = image.getOriginalSize();
    const most = { cropX: w - image.width, cropY: h - image.height, width: w - image.cropX, height: h - image.cropY }[key];
    keepTopLeft(o, () => o.set(key, Math.max(key.startsWith("crop") ? 0 : 1, Math.min(v, most))));
  });
const adjustment = (key: Adjustment): Property =>
  number((o) => ((o as AssetImage)[key] ?? 0) * 100, (o, v) => {
    o.set(key, v / 100);
    (o as AssetImage).adjust();
  }, 0);
const fill = letters("fill");
const stroke = letters("stroke");
const strokeWidth = letters("strokeWidth");
/** Of every selected object, or of those in a selected group. */
export const LEAF: Record<string, Property> = {
  fill: {
    get: (o) => fill.get(o).map((v) => colourAt(v, 0)),
    set: (o, v: Value) => (kindOf(o) === "plain" ? fill.set(o, v as never) : changeFill(o, { colour: v })),
  },
  fillKind: single(kindOf, (o, kind: ReturnType<typeof kindOf>) => changeFill(o, { kind })),
  fillSecond: single((o) => colourAt(o.fill, 1), (o, second: Value) => changeFill(o, { kind: kindOf(o) === "plain" ? "linear" : kindOf(o), second })),
  fillAngle: single(angleOf, (o, angle: number) => changeFill(o, { angle })),
  corners: plain("corners"),
  inset: scaled("inset", 100, 0),
  letterSpacing: plain("charSpacing"),
  ...Object.fromEntries(ADJUSTMENTS.map((key) => [key, adjustment(key)])),
  ...Object.fromEntries((["cropX", "cropY", "width", "height"] as const).map((key) => [key, crop(key)])),
  stroke: {
    get: stroke.get,
    set: (o, v) => {
      stroke.set(o, v);
      if (v && o.strokeWidth === 0) o.set("strokeWidth", 4);
    },
  },
  strokeWidth: {
    get: strokeWidth.get,
    set: (o, v) => {
      const kind = dashOf(o);
      strokeWidth.set(o, v);
      dash(o, kind);
    },
  },
  dash: single(dashOf, dash),
  arrow: single((o) => o.get("arrow") ?? "none", (o, v: string) => void o.set("arrow", v === "none" ? undefined : v)),
  radius: number((o) => o.get("rx"), (o, v) => void o.set({ rx: v, ry: v })),
  fontFamily: letters("fontFamily"),
  fontSize: letters("fontSize", round),
  bold: letters("fontWeight", (v) => v === "bold"),
  italic: letters("fontStyle", (v) => v === "italic"),
  underline: letters("underline"),
  textAlign: plain("textAlign"),
  lineHeight: scaled("lineHeight", 1, 2),
};
