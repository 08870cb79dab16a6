// Where objects are put in relation to each other, or a single one to the page.
import { type FabricObject, Point } from "fabric";

export const SIDES = ["left", "centre", "right", "top", "middle", "bottom"] as const;
export type Side = (typeof SIDES)[number];
export const AXES = ["horizontally", "vertically"] as const;
export type Axis = (typeof AXES)[number];

export interface Box {
  left: number;
  top: number;
  width: number;
  height: number;
}

function around(boxes: Box[]): Box {
  const [left, top] = [Math.min(...boxes.map((b) => b.left)), Math.min(...boxes.map((b) => b.top))];
  const [right, bottom] = [Math.max(...boxes.map((b) => b.left + b.width)), Math.max(...boxes.map((b) => b.top + b.height))];
  return { left, top, width: right - left, height: bottom - top };
}
export const boxOf = (objects: readonly FabricObject[]): Box => around(objects.map((o) => o.getBoundingRect()));

function move(object: FabricObject, x: number, y: number): void {
  object.setXY(object.getXY().add(new Point(x, y)));
  object.setCoords();
}

/** Puts one side, or the middle, of all objects in a line: that of all together, or of the page if there is but one. */
export function align(objects: readonly FabricObject[], side: Side, page: Box): void {
  const frame = objects.length > 1 ? boxOf(objects) : page;
  const share = { left: 0, centre: 0.5, right: 1, top: 0, middle: 0.5, bottom: 1 }[side];
  const across = SIDES.indexOf(side) < 3;
  for (const o of objects) {
    const box = o.getBoundingRect();
    if (across) move(o, frame.left + share * (frame.width - box.width) - box.left, 0);
    else move(o, 0, frame.top + share * (frame.height - box.height) - box.top);
  }
}

/** Leaves the same space between all, the first and the last staying where they are. */
export function distribute(objects: readonly FabricObject[], axis: Axis): void {
  const [start, size] = axis === "horizontally" ? (["left", "width"] as const) : (["top", "height"] as const);
  const boxes = new Map(objects.map((o) => [o, o.getBoundingRect()]));
  const sorted = [...objects].sort((a, b) => boxes.get(a)![start] - boxes.get(b)![start]);
  const taken = sorted.reduce((sum, o) => sum + boxes.get(o)![size], 0);
  const space = (boxOf(objects)[size] - taken) / (objects.length - 1);
  let at = boxOf(objects)[start];
  for (const o of sorted) {
    const by = at - boxes.get(o)![start];
    move(o, axis === "horizontally" ? by : 0, axis === "vertically" ? by : 0);
    at += boxes.get(o)![size] + space;
  }
}
