// Regular polygons, and stars: polygons whose edges are drawn in towards the middle.
import { classRegistry, FabricObject, Point, util } from "fabric";

export class Star extends FabricObject {
  static override type = "Star";
  static override customProperties = ["corners", "inset"];
  static override cacheProperties = [...FabricObject.cacheProperties, "corners", "inset"];
  corners = 5;
  /** How far in the corners between the outer ones are, from 0 (a polygon) to 1 (the middle). */
  inset = 0;

  constructor(options: Record<string, unknown> = {}) {
    super();
    this.setOptions(options);
  }

  /** The corners, from the middle of the object; the outer ones fill its box. */
  private get points(): Point[] {
    const count = this.inset > 0 ? this.corners * 2 : this.corners;
    const unit = Array.from({ length: count }, (_, i) => {
      const radius = this.inset > 0 && i % 2 ? 1 - this.inset : 1;
      return new Point(0, -radius).rotate((i / count) * 2 * Math.PI);
    });
    const { left, top, width, height } = util.makeBoundingBoxFromPoints(unit);
    return unit.map(({ x, y }) => new Point(((x - left) / width - 0.5) * this.width, ((y - top) / height - 0.5) * this.height));
  }

  override _render(ctx: CanvasRenderingContext2D): void {
    ctx.beginPath();
    for (const p of this.points) ctx.lineTo(p.x, p.y);
    ctx.closePath();
    this._renderPaintInOrder(ctx);
  }
  override _toSVG(): string[] {
    return ["<polygon ", "COMMON_PARTS", `points="${this.points.map((p) => `${p.x},${p.y}`).join(" ")}" />\n`];
  }
}
classRegistry.setClass(Star);
