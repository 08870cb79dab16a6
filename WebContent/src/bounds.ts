// How far an object's drawing reaches: lines, shadows and letters go beyond the box that the object is handled by.
import { type FabricObject, FabricText, Group, Point, type TMat2D, util } from "fabric";

export interface Box {
  left: number;
  top: number;
  right: number;
  bottom: number;
}

const around = (points: Point[], margin = 0): Box => ({
  left: Math.min(...points.map((p) => p.x)) - margin,
  top: Math.min(...points.map((p) => p.y)) - margin,
  right: Math.max(...points.map((p) => p.x)) + margin,
  bottom: Math.max(...points.map((p) => p.y)) + margin,
});
const union = (a: Box, b: Box): Box => ({
  left: Math.min(a.left, b.left), top: Math.min(a.top, b.top), right: Math.max(a.right, b.right), bottom: Math.max(a.bottom, b.bottom),
});
const grown = ({ left, top, right, bottom }: Box, by: number): Box => ({ left: left - by, top: top - by, right: right + by, bottom: bottom + by });

/** What an object draws, in the pixels that `matrix` leads to from the object's own plane. */
export function drawnBox(object: FabricObject, matrix: TMat2D): Box {
  const scale = Math.max(Math.hypot(matrix[0], matrix[1]), Math.hypot(matrix[2], matrix[3]));
  let box: Box;
  if (object instanceof Group) {
    const nowhere = around([new Point(0, 0).transform(matrix)]);
    box = object.getObjects()
      .map((o) => drawnBox(o, util.multiplyTransformMatrices(matrix, o.calcOwnMatrix())))
      .reduce((all, part) => union(all, part), nowhere);
  } else {
    const [x, y] = [object.width / 2, object.height / 2];
    const letters = object instanceof FabricText ? object.fontSize * scale : 0;
    const { x: own, y: ownY } = object.getObjectScaling();
    const plane = object.strokeUniform ? scale / (Math.max(own, ownY) || 1) : scale;
    const line = object.stroke ? object.strokeWidth * plane * 2 : 0; // pointed corners go beyond half of the width
    const corners = [new Point(-x, -y), new Point(x, -y), new Point(x, y), new Point(-x, y)];
    box = around(corners.map((p) => p.transform(matrix)), letters + line + 1);
  }
  const { shadow } = object;
  return shadow ? grown(box, (Math.max(Math.abs(shadow.offsetX), Math.abs(shadow.offsetY)) + 2 * shadow.blur) * scale) : box;
}

/** The whole pixels of a box that lie within a picture of this size, or `reach` around it; undefined if there are none. */
export function visiblePart(box: Box, width: number, height: number, reach = 0): { x: number; y: number; width: number; height: number } | undefined {
  const [x, y] = [Math.floor(Math.max(box.left, -reach)), Math.floor(Math.max(box.top, -reach))];
  const part = { x, y, width: Math.ceil(Math.min(box.right, width + reach)) - x, height: Math.ceil(Math.min(box.bottom, height + reach)) - y };
  return part.width > 0 && part.height > 0 ? part : undefined;
}
