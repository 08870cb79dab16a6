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
    const side = this.#handySide;
    const [w, h] = shape === "Line" ? [side, 0] : [side, side];
    this.stage.place(createShape(shape, (width - w) / 2, (height - h) / 2, (width + w) / 2, (height + h) / 2));
    this.arm(null);
    if (shape === "Textbox") this.stage.editText();
  }

  get #handySide(): number {
    return Math.round(Math.min(this.stage.canvas.page.width, this.stage.canvas.page.height) / 4);
  }

  #listen(): void {
    const { canvas } = this.stage;
    canvas.freeDrawingBrush = Object.assign(new PencilBrush(canvas), { color: INK, width: 6, decimate: 2 });
    canvas.on("path:created", ({ path }) => {
      canvas.remove(path);
      this.arm(null);
      this.stage.place((path as Path).set({ fill: null }));
    });
    let start: Point | null = null;
    let drawn: FabricObject | null = null;
    let tool: Shape | undefined;
    canvas.on("mouse:down", ({ scenePoint }) => {
      tool = this.shape;
      if (tool) start = scenePoint;
    });
    canvas.on("mouse:move", ({ scenePoint, e }) => {
      if (!start || !tool) return;
      if (drawn) canvas.remove(drawn);
      const end = e.shiftKey ? constrain(tool, start, scenePoint) : scenePoint;
      drawn = createShape(tool, start.x, start.y, end.x, end.y);
      canvas.add(drawn);
    });
    canvas.on("mouse:up", () => {
      const [from, rough] = [start, drawn];
      start = drawn = null;
      if (rough) canvas.remove(rough);
      if (!from || !tool || !this.tool) return; // Escape gives up what is being drawn
      this.arm(null);
      const tiny = !rough || Math.max(rough.width, rough.height) * canvas.getZoom() < 4;
      const side = this.#handySide;
      const shape = tiny ? createShape(tool, from.x, from.y, from.x + side, from.y + (tool === "Line" ? 0 : side)) : rough;
      if (tool === "Textbox") shape.set({ top: from.y + shape.height / 2 });
      this.stage.place(shape);
      this.stage.editText();
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
