// The points of an outline, moved one by one: with the pointer, or by keyboard, where Tab goes from one to the next.
import { type Control, controlsUtils, FabricObject, Path, Point, util } from "fabric";
import { ARROWS, isTab } from "./keyboard";
import type { Stage } from "./stage";

type PathControl = Control & { commandIndex: number; pointIndex: number };

/** Puts a point somewhere else, and with it those at the same place: an outline ends where it begins. */
function movePoint(path: Path, { commandIndex, pointIndex }: PathControl, to: Point): boolean {
  const steps = path.path as unknown[][];
  const [step, before] = [steps[commandIndex]!, path.pathOffset];
  const { x, y } = util.sendPointToPlane(to, undefined, path.calcOwnMatrix()).add(before);
  const [oldX, oldY] = step.slice(pointIndex);
  const isEnd = pointIndex === step.length - 2;
  const moved = isEnd ? steps.filter((other) => other.at(-2) === oldX && other.at(-1) === oldY) : [];
  for (const other of moved) other.splice(-2, 2, x, y);
  if (!isEnd) step.splice(pointIndex, 2, x, y);
  path.setDimensions();
  const by = path.pathOffset.subtract(before).transform(path.calcOwnMatrix(), true);
  path.set({ left: path.left + by.x, top: path.top + by.y, dirty: true });
  return true;
}

export class PathPoints {
  #path: Path | undefined;
  /** The one that the arrow keys move. */
  #chosen: Control | undefined;

  constructor(private readonly stage: Stage) {
    const { canvas, host } = stage;
    canvas.on("mouse:dblclick", ({ target }) => this.switch(target));
    for (const name of ["selection:updated", "selection:cleared"] as const) canvas.on(name, () => this.switch());
    host.addEventListener("keydown", (e) => this.#key(e), { capture: true });
  }

  /** Shows the points of an object that has some; of what showed them before, the box is shown again. */
  switch(target?: FabricObject): void {
    const before = this.#path;
    before?.set({ ...FabricObject.createControls(), hasBorders: true });
    this.#path = target instanceof Path && target !== before && !target.locked ? target : undefined;
    const style = { controlFill: "#ffffff", controlStroke: this.stage.canvas.selectionBorderColor };
    const points = this.#path && controlsUtils.createPathControls(this.#path, { pointStyle: style, controlPointStyle: style });
    for (const point of Object.values(points ?? {})) point.actionHandler = (_e, { target: path }, x, y) => movePoint(path as Path, point as PathControl, new Point(x, y));
    this.#path?.set({ controls: points, hasBorders: false });
    this.#choose(undefined);
    (this.#path ?? before)?.setCoords();
  }
  #choose(control: Control | undefined): void {
    if (this.#chosen) Object.assign(this.#chosen, { controlFill: "#ffffff" });
    if (control) Object.assign(control, { controlFill: this.stage.canvas.selectionBorderColor });
    this.#chosen = control;
    this.stage.canvas.requestRenderAll();
  }

  #key(e: KeyboardEvent): void {
    const path = this.#path;
    const by = ARROWS[e.key];
    if (!path || e.ctrlKey || e.altKey) return;
    const controls = Object.values(path.controls);
    if (e.key === "Escape" || e.key === "Enter") this.switch();
    else if (isTab(e)) this.#choose(controls.at((controls.indexOf(this.#chosen!) + (e.shiftKey ? -1 : 1)) % controls.length));
    else if (by && this.#chosen) {
      const { canvas } = this.stage;
      const shown = this.#chosen.positionHandler(new Point(), path.calcTransformMatrix(), path, this.#chosen);
      const to = shown.transform(util.invertTransform(canvas.viewportTransform)).add(by.scalarMultiply(e.shiftKey ? 10 : 1));
      movePoint(path, this.#chosen as PathControl, util.sendPointToPlane(to, undefined, path.group?.calcTransformMatrix()));
      canvas.fire("object:modified", { target: path });
      canvas.requestRenderAll();
    } else return;
    e.preventDefault();
    e.stopImmediatePropagation();
  }
}
