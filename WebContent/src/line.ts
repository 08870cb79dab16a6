// Lines: held by their ends, and with arrowheads.
import { classRegistry, Control, controlsUtils, Line, Point, type TransformActionHandler } from "fabric";

const HEAD = 3.5; // lengths of an arrowhead in stroke widths

export class CanvasLine extends Line {
  static override type = "Line";
  static override customProperties = ["arrow"];
  declare arrow: "end" | "both" | undefined;

  static override createControls() {
    return { controls: { start: endControl(0), end: endControl(1) } };
  }

  private get points(): [Point, Point] {
    const { x1, y1, x2, y2 } = this.calcLinePoints();
    return [new Point(x1, y1), new Point(x2, y2)];
  }
  /** Where the ends are on the page, or in the group that the line is in. */
  get ends(): [Point, Point] {
    const [start, end] = this.points;
    return [start.transform(this.calcOwnMatrix()), end.transform(this.calcOwnMatrix())];
  }
  set ends([a, b]: [Point, Point]) {
    this.set({ angle: 0, scaleX: 1, scaleY: 1, skewX: 0, skewY: 0, flipX: false, flipY: false });
    this.set({ x1: a.x, y1: a.y, x2: b.x, y2: b.y });
    this.setCoords();
  }

  /** Where the line ends and its heads begin, and the corners of these. */
  private get parts(): { from: Point; to: Point; heads: Point[][] } {
    const [start, end] = this.points;
    const way = end.subtract(start);
    const share = (this.strokeWidth * HEAD) / (start.distanceFrom(end) || 1);
    const head = way.scalarMultiply(Math.min(this.arrow === "both" ? 0.5 : 1, share));
    const to = end.subtract(head);
    if (this.arrow !== "both") return { from: start, to, heads: [headAt(to, head)] };
    const from = start.add(head);
    return { from, to, heads: [headAt(to, head), headAt(from, head.scalarMultiply(-1))] };
  }
  override _toSVG(): string[] {
    if (!this.arrow) return super._toSVG();
    const { from, to, heads } = this.parts;
    return [
      "<g>\n", "<line ", "COMMON_PARTS", `x1="${from.x}" y1="${from.y}" x2="${to.x}" y2="${to.y}" />\n`,
      ...heads.map((points) => `<polygon style="fill: ${String(this.stroke)}; opacity: ${this.opacity}; ${this.visible ? "" : "visibility: hidden"}" points="${points.map((p) => `${p.x},${p.y}`).join(" ")}" />\n`), "</g>\n",
    ];
  }

  override _render(ctx: CanvasRenderingContext2D): void {
    if (!this.arrow || typeof this.stroke !== "string") return super._render(ctx);
    const { from, to, heads } = this.parts;
    ctx.beginPath();
    ctx.moveTo(from.x, from.y);
    ctx.lineTo(to.x, to.y);
    this._renderStroke(ctx);
    ctx.fillStyle = this.stroke;
    for (const head of heads) {
      ctx.beginPath();
      for (const p of head) ctx.lineTo(p.x, p.y);
      ctx.fill();
    }
  }
}
classRegistry.setClass(CanvasLine);

function headAt(at: Point, way: Point): Point[] {
  const side = new Point(-way.y, way.x).scalarMultiply(0.45);
  return [at.add(side), at.add(way), at.subtract(side)];
}

/** A point in the direction of a multiple of 45 degrees from another. */
export function inSteps(from: Point, to: Point): Point {
  const d = to.subtract(from);
  const steps = Math.round(Math.atan2(d.y, d.x) / (Math.PI / 4));
  return new Point(from.distanceFrom(to), 0).rotate((steps * Math.PI) / 4).add(from);
}

function endControl(index: 0 | 1): Control {
  const move: TransformActionHandler = (e, { target }, x, y) => {
    const { ends } = target as CanvasLine;
    const to = new Point(x, y);
    ends[index] = e.shiftKey ? inSteps(ends[1 - index]!, to) : to;
    (target as CanvasLine).ends = ends;
    return true;
  };
  return new Control({
    cursorStyle: "crosshair",
    actionName: "end",
    actionHandler: controlsUtils.wrapWithFireEvent("resizing", move),
    positionHandler: (_size, _matrix, target) => {
      const end = (target as CanvasLine).ends[index];
      const plane = target.group ? end.transform(target.group.calcTransformMatrix()) : end;
      return plane.transform(target.getViewportTransform());
    },
  });
}
