// How far an object's drawing reaches: lines, shadows and letters go beyond the box that the object is handled by.
import { type FabricObject, FabricText, Group, Point, type TMat2D, util } from "fabric";

/** Its left upper and its right lower corner. */
export type Box = [from: Point, to: Point];

function around(points: Point[], margin: number): Box {
  const { left, top, width, height } = util.makeBoundingBoxFromPoints(points);
  return [new Point(left - margin, top - margin), new Point(left + width + margin, top + height + margin)];
}

/** What an object draws, in the pixels that `matrix` leads to from the object's own plane. */
export function drawnBox(object: FabricObject, matrix: TMat2D): Box {
  const scale = Math.max(Math.hypot(matrix[0], matrix[1]), Math.hypot(matrix[2], matrix[3]));
  const { shadow } = object;
  const thrown = shadow ? (Math.max(Math.abs(shadow.offsetX), Math.abs(shadow.offsetY)) + 2 * shadow.blur) * scale : 0;
  if (object instanceof Group) {
    const parts = object.getObjects().flatMap((o) => drawnBox(o, util.multiplyTransformMatrices(matrix, o.calcOwnMatrix())));
    return around([new Point(0, 0).transform(matrix), ...parts], thrown);
  }
  const [x, y] = [object.width / 2, object.height / 2];
  const letters = object instanceof FabricText ? object.fontSize * scale : 0;
  const { x: own, y: ownY } = object.getObjectScaling();
  const plane = object.strokeUniform ? scale / (Math.max(own, ownY) || 1) : scale;
  const line = object.stroke ? object.strokeWidth * plane * 2 : 0; // pointed corners go beyond half of the width
  const corners = [new Point(-x, -y), new Point(x, -y), new Point(x, y), new Point(-x, y)];
  return around(corners.map((p) => p.transform(matrix)), letters + line + 1 + thrown);
}

/** The whole pixels of a box that lie within a picture of this size, or `reach` around it; undefined if there are none. */
export function visiblePart([from, to]: Box, width: number, height: number, reach = 0): { x: number; y: number; width: number; height: number } | undefined {
  const [x, y] = [Math.floor(Math.max(from.x, -reach)), Math.floor(Math.max(from.y, -reach))];
  const part = { x, y, width: Math.ceil(Math.min(to.x, width + reach)) - x, height: Math.ceil(Math.min(to.y, height + reach)) - y };
  return part.width > 0 && part.height > 0 ? part : undefined;
}
