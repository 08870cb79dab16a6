// Regular polygons, and stars: polygons whose edges are drawn in towards the middle.
import { classRegistry, FabricObject, Point } from "fabric";

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
      const angle = (i / count) * 2 * Math.PI - Math.PI / 2;
      const radius = this.inset > 0 && i % 2 ? 1 - this.inset : 1;
      return new Point(Math.cos(angle) * radius, Math.sin(angle) * radius);
    });
    const [xs, ys] = [unit.map((p) => p.x), unit.map((p) => p.y)];
    const [left, right, top, bottom] = [Math.min(...xs), Math.max(...xs), Math.min(...ys), Math.max(...ys)];
    return unit.map((p) => new Point(((p.x - left) / (right - left) - 0.5) * this.width, ((p.y - top) / (bottom - top) - 0.5) * this.height));
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
