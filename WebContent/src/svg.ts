// SVG: drawings of other programs become objects, and pages become drawings for them.
import {
  Circle, Color, type FabricObject, FabricText, Gradient, Group, loadSVGFromString, Path, Polygon, Polyline, StaticCanvas, util,
} from "fabric";
import { t } from "./language";
import { createObjects } from "./objects";
import { changeFill } from "./paint";
import { cleanObject, FormatError, type ObjectData, type PageData } from "./project";
import { isBlended } from "./sheets";

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
  group.scale(Math.min(1, util.findScaleToFit(group, page)));
  group.set({ left: page.width / 2, top: page.height / 2 });
  const partsOf = (o: FabricObject): FabricObject[] => (o instanceof Group ? (o.removeAll() as FabricObject[]).flatMap(partsOf) : [o]);
  return partsOf(group).map(dataOf).filter((data) => data !== undefined);
}

/** The lines under a text where the canvas draws them: those of a drawing have another place and thickness. */
function underlinesOf(text: FabricText): string {
  const drawn: string[] = [];
  const recorder = {
    fillStyle: "#000000" as unknown,
    fillRect(x: number, y: number, width: number, height: number) {
      const fill = typeof this.fillStyle === "string" ? this.fillStyle : "#000000";
      drawn.push(`<rect x="${x}" y="${y}" width="${width}" height="${height}" fill="${fill}" opacity="${text.opacity}" />\n`);
    },
  };
  if (text.visible) text._renderTextDecoration(recorder as unknown as CanvasRenderingContext2D, "underline");
  return drawn.join("");
}

/** What a drawing says otherwise than a canvas draws: blending, strokes, underlines, and a gradient across a text's letters, not its box. */
function asOnCanvas(o: FabricObject, before: (o: FabricObject) => string): void {
  // A stroke that keeps its width whatever the object's scale would keep it whatever the drawing's as well.
  const { x, y } = o.getObjectScaling();
  if (!o.stroke) o.strokeUniform = false;
  else if (x > 0 && Math.abs(x - y) < x / 1000) {
    Object.assign(o, { strokeUniform: false, strokeWidth: o.strokeWidth / x, strokeDashArray: o.strokeDashArray?.map((dash) => dash / x) });
  }
  const fill = o.fill as Gradient<"linear"> | string | null;
  if (o instanceof FabricText && fill instanceof Gradient) {
    o.fill = new Gradient({ ...fill.toObject(), gradientUnits: "pixels", gradientTransform: [o.width, 0, 0, o.height, 0, 0] });
  }
  if (o instanceof FabricText) {
    const [underlines, text] = [underlinesOf(o), o._toSVG.bind(o)];
    Object.assign(o, { getSvgTextDecoration: () => "" });
    o._toSVG = () => [underlines, ...text()];
  }
  const own = o.toSVG.bind(o);
  const blend = o.globalCompositeOperation === "source-over" ? "" : `mix-blend-mode: ${o.globalCompositeOperation}`;
  const style = o instanceof Group && isBlended(o) ? `isolation: isolate; ${blend}` : blend;
  o.toSVG = (reviver) => {
    const markup = before(o) + own(reviver);
    return style ? `<g style="${style}">\n${markup}</g>\n` : markup;
  };
  if (o instanceof Group) o.getObjects().forEach((part) => asOnCanvas(part, before));
}

/** A page's drawing; `before` gives what is to be below an object of it. */
export function drawing(page: PageData, canvas: StaticCanvas, before: (o: FabricObject) => string = () => ""): string {
  canvas.backgroundColor = page.background ?? "";
  canvas.getObjects().forEach((o) => asOnCanvas(o, before));
  return canvas.toSVG({ suppressPreamble: true });
}

export async function canvasOf({ width, height, objects }: PageData): Promise<StaticCanvas> {
  const canvas = new StaticCanvas(undefined, { width, height, renderOnAddRemove: false, skipOffscreen: false });
  canvas.add(...(await createObjects(objects)));
  return canvas;
}
export const writeSvg = async (page: PageData): Promise<Blob> =>
  new Blob(['<?xml version="1.0" encoding="UTF-8"?>\n', drawing(page, await canvasOf(page))], { type: "image/svg+xml" });
