// SVG: drawings of other programs become objects, and pages become drawings for them.
import {
  Circle, Color, type FabricObject, FabricText, Gradient, Group, loadSVGFromString, Path, Polygon, Polyline, StaticCanvas, util,
} from "fabric";
import { t } from "./language";
import { createObjects } from "./objects";
import { changeFill } from "./paint";
import { cleanObject, FormatError, type ObjectData, type PageData } from "./project";

export const looksLikeSvg = (text: string): boolean => /^\s*(<\?xml[^>]*>\s*)?(<!--[^]*?-->\s*|<!DOCTYPE[^>]*>\s*)*<svg[\s>]/i.test(text);

function plainColour(value: unknown): string | null {
  if (typeof value !== "string" || value === "") return null;
  const colour = new Color(value);
  return colour.getAlpha() > 0 ? `#${colour.toHex()}` : null;
}

/** Kinds of the drawing that the project format does not have, as those that it has. */
function dataOf(o: FabricObject): ObjectData | undefined {
  const stroke = plainColour(o.stroke);
  const { x, y } = o.getObjectScaling();
  o.set({ stroke, strokeWidth: stroke ? o.strokeWidth * Math.sqrt(Math.abs(x * y)) : 0 });
  if (o.fill instanceof Gradient) {
    const { type, colorStops } = o.fill as Gradient<"linear" | "radial">;
    const stops = [...colorStops].sort((a, b) => a.offset - b.offset);
    const [colour, second] = [stops[0], stops.at(-1)].map((stop) => plainColour(stop?.color));
    o.set("fill", colour ?? null);
    changeFill(o, { kind: type, second: second ?? null });
  } else o.set("fill", plainColour(o.fill));
  const raw = o.toObject();
  if (o instanceof Circle) return cleanObject({ ...raw, type: "Ellipse", rx: o.radius, ry: o.radius });
  if (o instanceof Polyline) {
    const path = o.points.map((p, i) => [i ? "L" : "M", p.x, p.y]);
    return cleanObject({ ...raw, type: "Path", path: o instanceof Polygon ? [...path, ["Z"]] : path });
  }
  if (o instanceof FabricText) return cleanObject({ ...raw, type: "Textbox", width: o.width + 1, fontWeight: /bold|[6-9]00/.test(String(o.fontWeight)) ? "bold" : "normal", styles: [] });
  return o instanceof Path || ["rect", "ellipse", "line"].includes(o.type) ? cleanObject(raw) : undefined;
}

/** The objects of a drawing, in the middle of a page and no larger than it. */
export async function readSvg(source: string, page: { width: number; height: number }): Promise<ObjectData[]> {
  const { objects, options } = await loadSVGFromString(source);
  const drawn = objects.filter((o): o is FabricObject => o !== null);
  if (drawn.length === 0) throw new FormatError(t("There is nothing in this drawing that can be shown."));
  const group = new Group([util.groupSVGElements(drawn, options)]);
  group.scale(Math.min(1, page.width / group.width, page.height / group.height));
  group.set({ left: page.width / 2, top: page.height / 2 });
  const parts: FabricObject[] = [group];
  for (let at = 0; at < parts.length; at++) {
    const part = parts[at];
    if (part instanceof Group) parts.splice(at--, 1, ...(part.removeAll() as FabricObject[]));
  }
  return parts.map(dataOf).filter((data) => data !== undefined);
}

export async function writeSvg({ width, height, background, objects }: PageData): Promise<Blob> {
  const canvas = new StaticCanvas(undefined, { width, height, backgroundColor: background ?? "" });
  canvas.add(...(await createObjects(objects)));
  return new Blob([canvas.toSVG()], { type: "image/svg+xml" });
}
