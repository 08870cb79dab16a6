// Lines and outlines that are drawn point by point: a click sets a corner, a drag a point that the line passes in a curve.
// By keyboard a cursor goes from point to point.
import { Path, Point, type TComplexPathData } from "fabric";
import { ARROWS } from "./keyboard";
import { inSteps } from "./line";
import { INK } from "./objects";
import type { Stage } from "./stage";
import { announce } from "./ui";

interface Node {
  at: Point;
  /** From the point to where the curve heads; as far on its other side is where it comes from. */
  way: Point;
}
const NEAR = 8; // pixels of the screen
const NOWHERE = new Point(0, 0);

/** The line through the points, and back to the first where it is closed. */
function outline(nodes: readonly Node[], closed: boolean): TComplexPathData {
  const [first] = nodes;
  if (!first) return [];
  const step = (to: Node, i: number): TComplexPathData[number] => {
    const from = nodes[i]!;
    const [a, b] = [from.at.add(from.way), to.at.subtract(to.way)];
    return from.way.eq(NOWHERE) && to.way.eq(NOWHERE) ? ["L", to.at.x, to.at.y] : ["C", a.x, a.y, b.x, b.y, to.at.x, to.at.y];
  };
  const way = [...nodes.slice(1), ...(closed ? [first] : [])].map(step);
  return [["M", first.at.x, first.at.y], ...way, ...(closed ? ([["Z"]] as TComplexPathData) : [])];
}

export class Pen {
  #nodes: Node[] = [];
  /** Where the next point would be. */
  #cursor: Point | undefined;
  #pressed = false;

  /** `mode` says what is drawn: outlines, free lines, which have no corners, or nothing. */
  constructor(private readonly stage: Stage, private readonly mode: () => string | null, private readonly ended: () => void) {
    const { canvas, host } = stage;
    canvas.on("mouse:down", ({ scenePoint, e }) => {
      if (this.mode() !== "pen") return;
      this.#follow(scenePoint, e.shiftKey);
      this.#pressed = this.#set();
    });
    canvas.on("mouse:move", ({ scenePoint, e }) => {
      // The engine repeats a pointer that rests, when the page below it may have changed: the cursor of the keys stays.
      const moves = !(e instanceof MouseEvent) || e.movementX !== 0 || e.movementY !== 0;
      if (moves && this.mode() === "pen") this.#follow(scenePoint, e.shiftKey);
    });
    canvas.on("mouse:up", () => (this.#pressed = false));
    canvas.on("after:render", ({ ctx }) => ctx === canvas.getContext() && this.#draw(ctx));
    host.addEventListener("keydown", (e) => this.#key(e), { capture: true }); // before the keys' usual meaning
  }

  /** The pointer moves the cursor, or, while it is pressed, draws the way out of the last point. */
  #follow(to: Point, inAngles: boolean): void {
    const last = this.#nodes.at(-1);
    const at = inAngles && last ? inSteps(last.at, to) : to;
    if (!this.#pressed || !last) this.#cursor = at;
    else last.way = this.#isNear(last.at, at) ? NOWHERE : at.subtract(last.at);
    this.stage.canvas.requestRenderAll();
  }
  #isNear(a: Point, b: Point): boolean {
    return a.distanceFrom(b) * this.stage.canvas.getZoom() < NEAR;
  }

  /** Sets a point at the cursor; false if that is the first one again, which closes the outline. */
  #set(smooth = false): boolean {
    const at = this.#cursor!;
    const [first, before, earlier] = [this.#nodes[0], this.#nodes.at(-1), this.#nodes.at(-2)];
    if (first && this.#nodes.length > 1 && this.mode() === "pen" && this.#isNear(first.at, at)) return this.finish(true), false;
    this.#nodes.push({ at, way: smooth && before ? at.subtract(before.at).scalarMultiply(1 / 3) : NOWHERE });
    if (before && earlier && this.mode() === "draw") before.way = at.subtract(earlier.at).scalarMultiply(1 / 6);
    return true;
  }

  /** Makes an object of what was drawn; of a single point there is none. */
  finish(closed = false): void {
    const path = outline(this.#nodes, closed);
    this.#nodes = [];
    this.#cursor = undefined;
    this.stage.canvas.requestRenderAll();
    if (path.length < 2) return;
    this.stage.place(new Path(path, { fill: closed ? "#8f7bff" : null, stroke: INK, strokeWidth: 6, strokeLineCap: "round", strokeLineJoin: "round" }));
    this.ended();
  }

  #key(e: KeyboardEvent): void {
    const mode = this.mode();
    const by = e.key === " " ? NOWHERE : ARROWS[e.key];
    const takesBack = e.ctrlKey ? e.key === "z" : e.key === "Backspace";
    if ((mode !== "pen" && mode !== "draw") || (e.ctrlKey && !takesBack) || e.altKey || e.metaKey) return;
    if (by) {
      const { x, y } = this.#cursor ?? this.stage.canvas.getVpCenter();
      this.#cursor = new Point(Math.round(x), Math.round(y)).add(by.scalarMultiply(e.shiftKey ? 1 : 10));
      announce(`${this.#cursor.x}, ${this.#cursor.y}`);
      if (e.key === " ") this.#set(mode === "draw" || e.shiftKey);
    } else if (takesBack && this.#nodes.length > 0) this.#nodes.pop();
    else if (e.key === "Enter" && this.#nodes.length > 1) this.finish(e.shiftKey);
    else return;
    e.preventDefault();
    e.stopImmediatePropagation();
    this.stage.canvas.requestRenderAll();
  }

  #draw(ctx: CanvasRenderingContext2D): void {
    const next = this.#cursor && !this.#pressed ? [{ at: this.#cursor, way: NOWHERE }] : [];
    const nodes = [...this.#nodes, ...next];
    const { viewportTransform, selectionBorderColor } = this.stage.canvas;
    ctx.save();
    ctx.transform(...viewportTransform);
    Object.assign(ctx, { strokeStyle: selectionBorderColor, fillStyle: "#ffffff", lineWidth: 1.5 / viewportTransform[0] });
    ctx.stroke(new Path2D(outline(nodes, false).flat().join(" ")));
    for (const { at, way } of nodes) {
      ctx.stroke(new Path2D(`M ${at.x - way.x} ${at.y - way.y} L ${at.x + way.x} ${at.y + way.y}`));
      ctx.beginPath();
      ctx.arc(at.x, at.y, 4 / viewportTransform[0], 0, 2 * Math.PI);
      ctx.fill();
      ctx.stroke();
    }
    ctx.restore();
  }
}
