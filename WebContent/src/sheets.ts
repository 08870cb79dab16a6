// Objects that are drawn as a whole first: where parts of one that is partly transparent, blended or throws a shadow
// overlap, none is to show through another. They go on a sheet as large as what can be seen of them, and nothing is kept of it: memory stays within what
// is on the screen or in a picture, whatever size an object says it has. All other objects are drawn directly, which is
// fast and sharp at every scale.
import { type FabricObject, FabricImage, FabricObject as Base, Group } from "fabric";
import { drawnBox, visiblePart } from "./bounds";

/** Whether an object changes the colours below it, instead of covering them. */
export const isBlended = (o: FabricObject): boolean =>
  o.globalCompositeOperation !== "source-over" || (o instanceof Group && o.getObjects().some(isBlended));

const isWhole = (o: FabricObject): boolean =>
  (o.opacity < 1 || !!o.shadow || isBlended(o)) && (o instanceof Group || ((o.hasFill() || o instanceof FabricImage) && o.hasStroke()));

const KEPT = 2;
const MAX_KEPT_PIXELS = 2 ** 22;
const spare = new Map<boolean, CanvasRenderingContext2D[]>();

export function newSheet(width: number, height: number, willReadFrequently = true): CanvasRenderingContext2D {
  return Object.assign(document.createElement("canvas"), { width, height }).getContext("2d", { willReadFrequently })!;
}
/** Frees the pixels at once. */
export function freeSheet({ canvas }: CanvasRenderingContext2D): void {
  canvas.width = canvas.height = 0;
}

/** A clean sheet of at least this size, with memory of the same kind as that which it is drawn on: mixing is slow. */
function takeSheet(like: CanvasRenderingContext2D, width: number, height: number): CanvasRenderingContext2D {
  const { willReadFrequently = false } = like.getContextAttributes();
  const sheet = spare.get(willReadFrequently)?.pop() ?? newSheet(width, height, willReadFrequently);
  const { canvas } = sheet;
  if (canvas.width < width || canvas.height < height) {
    [canvas.width, canvas.height] = [Math.max(canvas.width, width), Math.max(canvas.height, height)];
  } else sheet.clearRect(0, 0, width, height);
  return sheet;
}

function giveBack(sheet: CanvasRenderingContext2D): void {
  const { willReadFrequently = false } = sheet.getContextAttributes();
  const others = spare.get(willReadFrequently) ?? [];
  spare.set(willReadFrequently, others);
  if (others.length < KEPT && sheet.canvas.width * sheet.canvas.height <= MAX_KEPT_PIXELS) others.push(sheet);
  else freeSheet(sheet);
}

const whole = {
  shouldCache(this: FabricObject): boolean {
    return (this.ownCaching = isWhole(this));
  },
  renderCache(): void {},
  drawCacheOnCanvas(this: FabricObject, ctx: CanvasRenderingContext2D): void {
    const { a, b, c, d, e, f } = ctx.getTransform();
    const reach = ctx.shadowBlur * 2 + Math.max(Math.abs(ctx.shadowOffsetX), Math.abs(ctx.shadowOffsetY)); // of what is out of sight
    const part = visiblePart(drawnBox(this, [a, b, c, d, e, f]), ctx.canvas.width, ctx.canvas.height, reach);
    if (!part) return;
    const { x, y, width, height } = part;
    const sheet = takeSheet(ctx, width, height);
    sheet.save();
    sheet.setTransform(a, b, c, d, e - x, f - y);
    this.drawObject(sheet, false, {} as never);
    sheet.restore();
    ctx.setTransform(1, 0, 0, 1, 0, 0); // restored by the caller
    ctx.drawImage(sheet.canvas, 0, 0, width, height, x, y, width, height);
    giveBack(sheet);
  },
};
Object.assign(Base.prototype, whole);
Group.prototype.shouldCache = FabricImage.prototype.shouldCache = whole.shouldCache;
