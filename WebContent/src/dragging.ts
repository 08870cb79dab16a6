// Lists whose rows are put in another order with the pointer; by keyboard the commands that reorder do the same.

const FAR = 5; // pixels until a press has become a drag

/** `indexAt` says before which row a point of the window is; `move` takes a row there. */
export function listenToDragging(list: HTMLElement, indexAt: (e: MouseEvent) => number, move: (from: number, to: number) => void): void {
  let pressed: { row: HTMLElement; x: number; y: number } | null = null;
  const rowAt = (index: number): Element | null => list.querySelector(`[data-row="${index}"]`);

  list.addEventListener("mousedown", (e) => {
    const row = (e.target as Element).closest<HTMLElement>("[data-row]");
    if (row && e.button === 0) pressed = { row, x: e.clientX, y: e.clientY };
  });
  document.addEventListener("mousemove", (e) => {
    if (!pressed || Math.hypot(e.clientX - pressed.x, e.clientY - pressed.y) < FAR) return;
    for (const row of list.querySelectorAll(".drop")) row.classList.remove("drop");
    list.classList.add("dragging");
    rowAt(indexAt(e))?.classList.add("drop");
  });
  document.addEventListener("mouseup", (e) => {
    const dragged = list.classList.contains("dragging");
    list.classList.remove("dragging");
    const from = Number(pressed?.row.dataset.row);
    pressed = null;
    if (!dragged) return;
    for (const row of list.querySelectorAll(".drop")) row.classList.remove("drop");
    const before = indexAt(e);
    const to = before > from ? before - 1 : before;
    if (to !== from) move(from, to);
  });
}
