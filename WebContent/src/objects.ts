// Canvas objects: how new ones are made, how they are written down and read back, what they are called.
import { ActiveSelection, Ellipse, FabricObject, Group, type Point, Rect, Textbox, util } from "fabric";
import { AssetImage } from "./images";
import { t } from "./language";
import { CanvasLine } from "./line";
import type { ObjectData } from "./project";
import "./sheets";
import { Star } from "./star";
import { CanvasText, keepTopLeft } from "./text";

declare module "fabric" {
  interface FabricObject {
    name?: string;
    /** Stays where it is, and is not selected on the canvas. */
    locked?: boolean;
  }
}
Group.ownDefaults.subTargetCheck = true; // a double click is to know what in the group it is on
for (const kind of [FabricObject, CanvasLine, Star, AssetImage]) kind.customProperties = [...kind.customProperties, "name", "locked"];
Object.assign(FabricObject.ownDefaults, {
  strokeUniform: true, cornerColor: "#ffffff", cornerStyle: "circle", cornerSize: 10, transparentCorners: false,
  borderScaleFactor: 1.5, lockScalingFlip: true, snapAngle: 15, snapThreshold: 4,
});

export const SHAPES = ["Rect", "Ellipse", "Star", "Line", "Textbox"] as const;
export type Shape = (typeof SHAPES)[number];

export const INK = "#1f2430";

/** A new shape spanning the box from one point to another. */
export function createShape(shape: Shape, from: Point, to: Point): FabricObject {
  const { x: left, y: top } = from.midPointFrom(to);
  const [width, height] = [Math.abs(to.x - from.x), Math.abs(to.y - from.y)];
  const filled = { left, top, fill: "#4c8dff", stroke: null, strokeWidth: 0 };
  switch (shape) {
    case "Rect":
      return new Rect({ ...filled, width, height });
    case "Ellipse":
      return new Ellipse({ ...filled, fill: "#ff9f5a", rx: width / 2, ry: height / 2 });
    case "Star":
      return new Star({ ...filled, fill: "#ffc93c", width, height, inset: 0.5 });
    case "Line":
      return new CanvasLine([from.x, from.y, to.x, to.y], { fill: null, stroke: INK, strokeWidth: 6 });
    case "Textbox":
      return new CanvasText(t("Text"), { left, top, width, fill: INK, fontFamily: "sans-serif", fontSize: 64, strokeWidth: 0 });
  }
}

/** The objects, each group followed by what is in it. */
export const partsOf = (objects: readonly FabricObject[]): FabricObject[] =>
  objects.flatMap((o) => (o instanceof Group ? [o, ...partsOf(o.getObjects())] : [o]));
export const leavesOf = (objects: readonly FabricObject[]): FabricObject[] => partsOf(objects).filter((o) => !(o instanceof Group));

/** The group that an object is edited in, or several are. */
export const groupAround = (active: FabricObject | undefined): Group | undefined =>
  (active instanceof ActiveSelection ? active.getObjects()[0] : active)?.parent as Group | undefined;

/** Sizes go into the shape itself and not into a scale, so that strokes, corners and letters keep theirs. */
export function bakeScale(object: FabricObject): void {
  const { scaleX, scaleY } = object;
  if (scaleX === 1 && scaleY === 1) return;
  const unscaled = { scaleX: 1, scaleY: 1 };
  if (object instanceof Ellipse) object.set({ ...unscaled, rx: object.rx * scaleX, ry: object.ry * scaleY });
  else if (object instanceof Rect || object instanceof Star) object.set({ ...unscaled, width: object.width * scaleX, height: object.height * scaleY });
  else if (object instanceof CanvasText) keepTopLeft(object, () => scaleText(object, scaleX, scaleY));
  else if (object instanceof Group) bakeGroup(object);
  else return;
  object.setCoords();
}

function scaleText(text: CanvasText, x: number, y: number): void {
  for (const line of Object.values(text.styles)) {
    for (const style of Object.values(line)) if (style.fontSize) style.fontSize *= y;
  }
  text.set({ scaleX: 1, scaleY: 1, width: text.width * x, fontSize: text.fontSize * y });
}

function bakeGroup(group: Group): void {
  const parts = group.removeAll() as FabricObject[];
  parts.forEach(bakeScale);
  group.set({ scaleX: 1, scaleY: 1 });
  group.add(...parts);
}

const MADE_AT_ONCE = 50;
const BUSY_FOR = 50; // ms

/** Makes objects of their data; where there are many, the page can do other things in between. */
export async function createObjects(data: readonly ObjectData[]): Promise<FabricObject[]> {
  const objects: FabricObject[] = [];
  let start = performance.now();
  for (let i = 0; i < data.length; i += MADE_AT_ONCE) {
    if (performance.now() - start > BUSY_FOR) {
      await new Promise((resolve) => setTimeout(resolve));
      start = performance.now();
    }
    objects.push(...(await util.enlivenObjects<FabricObject>(data.slice(i, i + MADE_AT_ONCE).map((d) => structuredClone(d)))));
  }
  objects.filter((o) => o.locked).forEach(applyLock);
  return objects;
}

export function applyLock(object: FabricObject): void {
  const locked = object.locked === true;
  object.set({
    selectable: !locked, evented: !locked, hasControls: !locked, lockMovementX: locked, lockMovementY: locked,
  });
}

const KIND_NAMES: Record<string, string> = { rect: t("Rectangle"), ellipse: t("Ellipse"), star: t("Star"), path: t("Drawing"), line: t("Line"), image: t("Image") };

export function nameOf(object: FabricObject): string {
  if (object.name) return object.name;
  if (object instanceof Textbox) return object.text.trim().split("\n")[0]!.slice(0, 40) || t("Empty text");
  if (object instanceof Group) return t("Group of {count}", { count: object.size() });
  return KIND_NAMES[object.type.toLowerCase()] ?? object.type;
}
