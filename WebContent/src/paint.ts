// Fills of more than one colour, and shadows: what the fields of the inspector show and change of them.
import { type FabricObject, Gradient, Point, Shadow, util } from "fabric";

/** What a field shows. */
export type Value = string | number | boolean | null;

type Fill = "plain" | "linear" | "radial";

const gradientOf = (o: FabricObject): Gradient<"linear" | "radial"> | undefined =>
  o.fill instanceof Gradient ? (o.fill as Gradient<"linear" | "radial">) : undefined;

export const kindOf = (o: FabricObject): Fill => gradientOf(o)?.type ?? "plain";

/** The colour that a fill begins or ends with. */
export function colourAt(fill: unknown, stop: 0 | 1): Value {
  return fill instanceof Gradient ? fill.colorStops[stop]!.color : (fill as Value);
}
export function angleOf(o: FabricObject): number {
  const { x1 = 0, y1 = 0, x2 = 1, y2 = 0 } = gradientOf(o)?.coords ?? {};
  return Math.round(util.radiansToDegrees(Math.atan2(y2 - y1, x2 - x1)));
}

export function changeFill(o: FabricObject, change: { kind?: Fill; colour?: Value; second?: Value; angle?: number }): void {
  const { kind = kindOf(o), colour = colourAt(o.fill, 0), second = gradientOf(o) ? colourAt(o.fill, 1) : "#ffffff", angle = angleOf(o) } = change;
  if (kind === "plain") return void o.set("fill", colour);
  const { x, y } = new Point(0.5, 0).rotate(util.degreesToRadians(angle));
  const coords = kind === "linear"
    ? { x1: 0.5 - x, y1: 0.5 - y, x2: 0.5 + x, y2: 0.5 + y }
    : { x1: 0.5, y1: 0.5, r1: 0, x2: 0.5, y2: 0.5, r2: 0.5 };
  const colorStops = [colour, second].map((color, offset) => ({ offset, color: String(color ?? "#ffffff") }));
  o.set("fill", new Gradient({ type: kind, coords, colorStops, gradientUnits: "percentage" }));
}

type ShadowKey = "color" | "blur" | "offsetX" | "offsetY";
const NONE = { color: null, blur: 0, offsetX: 0, offsetY: 0 };
const FIRST = { color: "#000000", blur: 12, offsetX: 4, offsetY: 4 };

export const shadowOf = (o: FabricObject, key: ShadowKey): Value => (o.shadow ?? NONE)[key];
/** A shadow without a colour is none. */
export function setShadow(o: FabricObject, key: ShadowKey, value: Value): void {
  const { color, blur, offsetX, offsetY } = o.shadow ?? FIRST;
  o.set("shadow", key === "color" && value === null ? null : new Shadow({ color, blur, offsetX, offsetY, [key]: value }));
}
