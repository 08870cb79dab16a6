// Lists whose rows are chosen with the pointer or by keyboard, and put in another order with the pointer; by keyboard the
// commands that reorder do the same.
import { util } from "fabric";

const FAR = 5; // pixels until a press has become a drag

interface Rows {
  count(): number;
  /** The one that the keys go on from. */
  current(): number;
  choose(row: number, extend: boolean): void;
  /** Before which row a point of the window is. */
  indexAt(e: MouseEvent): number;
  move(from: number, to: number): void;
}

/** Gives what makes the element of a row, after the template in the list. */
export function listBox(list: HTMLElement, [back, forward]: [string, string], rows: Rows): (number: number) => HTMLLIElement {
  list.addEventListener("click", (e) => {
    const row = (e.target as Element).closest("li");
    if (row) rows.choose(Number(row.dataset.row), e.shiftKey || e.ctrlKey);
  });
  list.addEventListener("keydown", (e) => {
    const last = rows.count() - 1;
    const to = { [back]: rows.current() - 1, [forward]: rows.current() + 1, Home: 0, End: last }[e.key];
    if (e.target !== list || to === undefined || e.ctrlKey || e.altKey) return;
    rows.choose(util.capValue(0, to, last), e.shiftKey);
    e.preventDefault();
    e.stopPropagation();
  });

  let pressed: { row: HTMLElement; x: number; y: number } | null = null;
  const showDrop = (index?: number): void => {
    list.querySelector(".drop")?.classList.remove("drop");
    list.querySelector(`[data-row="${index}"]`)?.classList.add("drop");
  };
  list.addEventListener("mousedown", (e) => {
    const row = (e.target as Element).closest("li");
    if (row && e.button === 0) pressed = { row, x: e.clientX, y: e.clientY };
  });
  document.addEventListener("mousemove", (e) => {
    if (!pressed || Math.hypot(e.clientX - pressed.x, e.clientY - pressed.y) < FAR) return;
    list.classList.add("dragging");
    showDrop(rows.indexAt(e));
  });
  document.addEventListener("mouseup", (e) => {
    const from = Number(pressed?.row.dataset.row);
    pressed = null;
    if (!list.classList.contains("dragging")) return;
    list.classList.remove("dragging");
    showDrop();
    const before = rows.indexAt(e);
    const to = before > from ? before - 1 : before;
    if (to !== from) rows.move(from, to);
  });

  const template = list.querySelector("template")!;
  list.replaceChildren();
  return (number) => {
    const row = template.content.firstElementChild!.cloneNode(true) as HTMLLIElement;
    row.id = `${list.id}-${number}`;
    row.dataset.row = String(number);
    return row;
  };
}
