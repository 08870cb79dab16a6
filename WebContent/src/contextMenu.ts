// The menu of what is under the pointer, or selected: commands that are elsewhere too.
import { isTab, takesText } from "./keyboard";
import type { Stage } from "./stage";
import { $ } from "./ui";

/** A press of the right button opens it on the canvas and on the list of objects, or the menu key at what is selected. */
export function listenToContextMenu(stage: Stage, places: readonly HTMLElement[]): void {
  const menu = $("context-menu");
  const items = [...menu.querySelectorAll<HTMLButtonElement>("button")];
  let before: Element | null = null;

  const openAt = (x: number, y: number): void => {
    before = document.activeElement;
    menu.showPopover();
    const { width, height } = menu.getBoundingClientRect();
    menu.style.left = `${Math.min(x, innerWidth - width)}px`;
    menu.style.top = `${Math.min(y, innerHeight - height)}px`;
    items.find((item) => !item.disabled)?.focus();
  };
  const press = (e: MouseEvent): void => {
    if (stage.editedText || takesText(e.target)) return;
    const under = e.currentTarget === stage.host ? stage.canvas.findTarget(e).target : undefined;
    if (under && under !== stage.active && !stage.selection.includes(under)) stage.select([under]);
    openAt(e.clientX, e.clientY);
  };
  const key = (e: KeyboardEvent): void => {
    if ((e.key !== "ContextMenu" && !(e.key === "F10" && e.shiftKey)) || stage.editedText) return;
    e.preventDefault();
    const place = e.currentTarget as HTMLElement;
    const { left, top } = (place.querySelector('li[aria-selected="true"]') ?? place).getBoundingClientRect();
    const { x, y } = place === stage.host && stage.active ? stage.active.getCenterPoint().transform(stage.canvas.viewportTransform) : { x: 24, y: 24 };
    openAt(Math.max(left, left + x), Math.max(top, top + y));
  };
  for (const place of places) {
    place.addEventListener("contextmenu", press);
    place.addEventListener("keydown", key);
  }

  // The engine's own menu, which a key opens anywhere, is for fields alone.
  document.addEventListener("contextmenu", (e) => takesText(e.target) || e.preventDefault());

  const close = (): void => {
    menu.hidePopover();
    if (before instanceof HTMLElement) before.focus({ preventScroll: true });
  };
  menu.addEventListener("click", close, { capture: true });
  // The browser's own way of closing takes the release of the button that opened it for a press elsewhere.
  document.addEventListener("mousedown", (e) => !menu.contains(e.target as Node) && menu.hidePopover(), { capture: true });
  window.addEventListener("blur", () => menu.hidePopover());
  menu.addEventListener("keydown", (e) => {
    const enabled = items.filter((item) => !item.disabled);
    const at = enabled.indexOf(document.activeElement as HTMLButtonElement);
    const to = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: -1 }[e.key];
    if (to !== undefined) enabled.at(to % enabled.length)?.focus();
    else if (e.key === "Escape" || isTab(e)) close();
    else return;
    e.preventDefault();
    e.stopPropagation();
  });
}
