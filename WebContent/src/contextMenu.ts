// The menu of what is under the pointer, or selected: commands that are elsewhere too.
import type { Stage } from "./stage";
import { $ } from "./ui";

/** A press of the right button opens it on the canvas and on the list of objects; by keyboard all of it has keys of its own. */
export function listenToContextMenu(stage: Stage, places: readonly HTMLElement[]): void {
  const menu = $("context-menu");
  const items = [...menu.querySelectorAll<HTMLButtonElement>("button")];
  let before: Element | null = null;

  const open = (e: MouseEvent): void => {
    e.preventDefault();
    if (stage.editedText) return;
    const under = e.currentTarget === stage.host ? stage.canvas.findTarget(e).target : undefined;
    if (under && under !== stage.active && !stage.selection.includes(under)) stage.select([under]);
    before = document.activeElement;
    menu.showPopover();
    const { width, height } = menu.getBoundingClientRect();
    menu.style.left = `${Math.min(e.clientX, innerWidth - width)}px`;
    menu.style.top = `${Math.min(e.clientY, innerHeight - height)}px`;
    items.find((item) => !item.disabled)?.focus();
  };
  for (const place of places) place.addEventListener("contextmenu", open);

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
    else if (e.key === "Escape" || e.key === "Tab") close();
    else return;
    e.preventDefault();
    e.stopPropagation();
  });
}
