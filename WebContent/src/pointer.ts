// What the pointer does on the canvas besides drawing and selecting.
import { Point } from "fabric";
import { createObjects } from "./objects";
import type { ObjectData } from "./project";
import type { Stage } from "./stage";

/** The view is zoomed and panned by the wheel, the middle button, or the space bar and the first button. */
export function listenToPanning(stage: Stage): void {
  const { host, canvas, view } = stage;
  let space = false;
  let from: Point | null = null;
  host.addEventListener("wheel", (e) => {
    e.preventDefault();
    if (e.ctrlKey) view.zoomTo(canvas.getZoom() * 1.0015 ** -e.deltaY, new Point(e.offsetX, e.offsetY));
    else view.pan(e.shiftKey ? new Point(-e.deltaY, 0) : new Point(-e.deltaX, -e.deltaY));
  }, { passive: false });
  host.addEventListener("keydown", (e) => {
    if (e.key !== " " || stage.editedText) return;
    e.preventDefault();
    space = true;
    canvas.setCursor("grab");
  });
  window.addEventListener("keyup", (e) => (space &&= e.key !== " "));
  host.addEventListener("mousedown", (e) => {
    if (!stage.editedText) host.focus({ preventScroll: true });
    if (e.button !== 1 && !(e.button === 0 && space)) return;
    e.preventDefault();
    e.stopPropagation();
    from = new Point(e.clientX, e.clientY);
    canvas.setCursor("grabbing");
  }, { capture: true });
  window.addEventListener("mousemove", (e) => {
    if (!from) return;
    const to = new Point(e.clientX, e.clientY);
    view.pan(to.subtract(from));
    from = to;
  });
  window.addEventListener("mouseup", () => {
    if (from) canvas.setCursor("default");
    from = null;
  });
}

/** Objects are moved; Shift keeps to one axis, with Alt a copy stays where the object was. */
export function listenToMoving(stage: Stage): void {
  const { canvas } = stage;
  let left: ObjectData[] | undefined;
  canvas.on("mouse:down", ({ e, target, transform }) => {
    left = e.altKey && target && !canvas.skipTargetFind && !transform?.corner ? stage.selectedData : undefined;
  });
  canvas.on("object:moving", ({ e, target, transform }) => {
    const { original } = transform;
    if (e.shiftKey) {
      const across = Math.abs(target.left - original.left) > Math.abs(target.top - original.top);
      target.set(across ? { top: original.top } : { left: original.left });
    }
    if (!left) return;
    const below = stage.objects.indexOf(stage.selection[0]!);
    void createObjects(left).then((copies) => canvas.insertAt(below, ...copies));
    left = undefined;
  });
}
