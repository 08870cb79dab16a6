// The menu of what is under the pointer, or selected: commands that are elsewhere too.
import { isTab, takesText } from "./keyboard";
import type { Stage } from "./stage";
import { $ } from "./ui";

/** A press of the right button opens it on the canvas and on the list of objects, or the menu key at what is selected. */
export function listenToContextMenu(stage: Stage): void {
  const menu = $("context-menu");
  const enabledItems = () => [...menu.querySelectorAll<HTMLButtonElement>("button:enabled")];
  let before: Element | null = null;

  const openAt = (x: number, y: number): void => {
    before = document.activeElement;
    menu.showPopover();
    const { width, height } = menu.getBoundingClientRect();
    menu.style.left = `${Math.min(x, innerWidth - width)}px`;
    menu.style.top = `${Math.min(y, innerHeight - height)}px`;
    enabledItems()[0]?.focus();
  };
  const placeOf = ({ target }: Event): Element | null => (target as Element).closest("#stage, #layers");
  document.addEventListener("contextmenu", (e) => {
    if (takesText(e.target)) return;
    e.preventDefault(); // the engine's own menu, which a key opens anywhere, is for fields alone
    const place = placeOf(e);
    if (!place || stage.editedText) return;
    const under = place === stage.host ? stage.canvas.findTarget(e).target : undefined;
    if (under && under !== stage.active && !stage.selection.includes(under)) stage.select([under]);
    openAt(e.clientX, e.clientY);
  });
  document.addEventListener("keydown", (e) => {
    const place = placeOf(e);
    if ((e.key !== "ContextMenu" && !(e.key === "F10" && e.shiftKey)) || !place || stage.editedText) return;
    e.preventDefault();
    const { left, top } = (place.querySelector('li[aria-selected="true"]') ?? place).getBoundingClientRect();
    const { x, y } = place === stage.host && stage.active ? stage.active.getCenterPoint().transform(stage.canvas.viewportTransform) : { x: 24, y: 24 };
    openAt(Math.max(left, left + x), Math.max(top, top + y));
  });

  const close = (): void => {
    menu.hidePopover();
    if (before instanceof HTMLElement) before.focus({ preventScroll: true });
  };
  menu.addEventListener("click", close, { capture: true });
  // The browser's own way of closing takes the release of the button that opened it for a press elsewhere.
  document.addEventListener("mousedown", (e) => !menu.contains(e.target as Node) && menu.hidePopover(), { capture: true });
  window.addEventListener("blur", () => menu.hidePopover());
  menu.addEventListener("keydown", (e) => {
    const enabled = enabledItems();
    const at = enabled.indexOf(document.activeElement as HTMLButtonElement);
    const to = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: -1 }[e.key];
    if (to !== undefined) enabled.at(to % enabled.length)?.focus();
    else if (e.key === "Escape" || isTab(e)) close();
    else return;
    e.preventDefault();
    e.stopPropagation();
  });
}
