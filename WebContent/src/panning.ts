// Zooming and panning with the pointer: by the wheel, the middle button, or the space bar and the first button.
import { Point } from "fabric";
import type { Stage } from "./stage";

export function listenToPanning(stage: Stage): void {
  const { host, canvas, view } = stage;
  let space = false;
  let from: Point | null = null;
  host.addEventListener("wheel", (e) => {
    e.preventDefault();
    if (e.ctrlKey) return view.zoomTo(view.zoom * 1.0015 ** -e.deltaY, new Point(e.offsetX, e.offsetY));
    view.pan(new Point(e.shiftKey ? -e.deltaY : -e.deltaX, e.shiftKey ? 0 : -e.deltaY));
  }, { passive: false });
  host.addEventListener("keydown", (e) => {
    if (e.key !== " " || stage.editedText) return;
    e.preventDefault();
    space = true;
    canvas.setCursor("grab");
  });
  window.addEventListener("keyup", (e) => {
    if (e.key === " ") space = false;
  });
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
