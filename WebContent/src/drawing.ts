// The tools that draw new objects.
import { type FabricObject, type Path, PencilBrush, Point } from "fabric";
import { inSteps } from "./line";
import { createShape, INK, type Shape, SHAPES } from "./objects";
import { Pen } from "./pen";
import type { Stage } from "./stage";

export const TOOLS = [...SHAPES, "pen", "draw"] as const;
type Tool = (typeof TOOLS)[number];

export class Drawing {
  /** The one that is armed; without one, the pointer selects. */
  tool: Tool | null = null;

  readonly #pen: Pen;

  constructor(private readonly stage: Stage, private readonly toolChanged: (tool: Tool | null) => void) {
    this.#listen();
    this.#pen = new Pen(stage, () => this.tool, () => this.arm(null));
  }

  /** What is drawn with the tool as a whole. */
  get shape(): Shape | undefined {
    return SHAPES.find((shape) => shape === this.tool);
  }

  arm(tool: Tool | null): void {
    const { canvas } = this.stage;
    this.tool = tool;
    this.#pen.finish();
    if (tool) this.stage.focus();
    canvas.isDrawingMode = tool === "draw";
    canvas.selection = tool === null;
    canvas.skipTargetFind = tool !== null;
    canvas.defaultCursor = tool ? "crosshair" : "default";
    this.toolChanged(tool);
  }

  /** Adds a shape of a handy size in the middle of the page: drawing without a pointer. */
  placeInMiddle(shape: Shape): void {
    const { width, height } = this.stage.canvas.page;
    const [middle, half] = [new Point(width / 2, height / 2), this.#handySize(shape).scalarDivide(2)];
    this.#place(createShape(shape, middle.subtract(half), middle.add(half)));
  }
  #handySize(shape: Shape): Point {
    const { width, height } = this.stage.canvas.page;
    const side = Math.round(Math.min(width, height) / 4);
    return new Point(side, shape === "Line" ? 0 : side);
  }
  #place(object: FabricObject): void {
    this.arm(null);
    this.stage.place(object);
    this.stage.editText();
  }

  #listen(): void {
    const { canvas } = this.stage;
    canvas.freeDrawingBrush = Object.assign(new PencilBrush(canvas), { color: INK, width: 6, decimate: 2 });
    canvas.on("path:created", ({ path }) => {
      canvas.remove(path);
      this.#place((path as Path).set({ fill: null }));
    });
    let sketch: { shape: Shape; from: Point; object?: FabricObject } | undefined;
    canvas.on("mouse:down", ({ scenePoint }) => {
      sketch = this.shape && { shape: this.shape, from: scenePoint };
    });
    canvas.on("mouse:move", ({ scenePoint, e }) => {
      if (!sketch) return;
      const { shape, from, object } = sketch;
      if (object) canvas.remove(object);
      sketch.object = createShape(shape, from, e.shiftKey ? constrain(shape, from, scenePoint) : scenePoint);
      canvas.add(sketch.object);
    });
    canvas.on("mouse:up", () => {
      if (!sketch) return;
      const { shape, from, object: drawn } = sketch;
      sketch = undefined;
      if (drawn) canvas.remove(drawn);
      if (!this.tool) return; // Escape gives up what is being drawn
      const tiny = !drawn || Math.max(drawn.width, drawn.height) * canvas.getZoom() < 4;
      const object = tiny ? createShape(shape, from, from.add(this.#handySize(shape))) : drawn;
      if (shape === "Textbox") object.set({ top: from.y + object.height / 2 });
      this.#place(object);
    });
  }
}

/** The end point for a square or circle, or for a line in steps of 45 degrees. */
function constrain(shape: Shape, start: Point, end: Point): Point {
  if (shape === "Line") return inSteps(start, end);
  const d = end.subtract(start);
  const side = Math.max(Math.abs(d.x), Math.abs(d.y));
  return new Point(start.x + Math.sign(d.x) * side, start.y + Math.sign(d.y) * side);
}
