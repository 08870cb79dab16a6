// Where objects are put in relation to each other, or a single one to the page.
import { type FabricObject, Point, type TBBox, util } from "fabric";

export const SIDES = ["left", "centre", "right", "top", "middle", "bottom"] as const;
export type Side = (typeof SIDES)[number];
export const AXES = ["horizontally", "vertically"] as const;
export type Axis = (typeof AXES)[number];

export type Box = TBBox;
export const boxOf = (objects: readonly FabricObject[]): Box => util.makeBoundingBoxFromPoints(objects.flatMap((o) => o.getCoords()));

function move(object: FabricObject, x: number, y: number): void {
  object.setXY(object.getXY().add(new Point(x, y)));
  object.setCoords();
}

/** Puts one side, or the middle, of all objects in a line: that of all together, or of the page if there is but one. */
export function align(objects: readonly FabricObject[], side: Side, page: Box): void {
  const frame = objects.length > 1 ? boxOf(objects) : page;
  const share = (SIDES.indexOf(side) % 3) / 2;
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
  const sorted = objects.map((o) => ({ o, box: o.getBoundingRect() })).sort((a, b) => a.box[start] - b.box[start]);
  const taken = sorted.reduce((sum, { box }) => sum + box[size], 0);
  const space = (boxOf(objects)[size] - taken) / (objects.length - 1);
  let at = boxOf(objects)[start];
  for (const { o, box } of sorted) {
    const by = at - box[start];
    move(o, axis === "horizontally" ? by : 0, axis === "vertically" ? by : 0);
    at += box[size] + space;
  }
}
