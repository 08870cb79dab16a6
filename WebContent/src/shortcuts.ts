// The sheet of all keys.
import { KEYS } from "./keyboard";
import { showKeys, t } from "./language";
import { $, openDialog } from "./ui";

/** What no button or menu item names. */
const NAMES: Record<string, string> = {
  "save-as": t("Save under another name"), "select-all": t("Select all"), escape: t("Select nothing"), "page-previous": t("Previous page"),
  "page-next": t("Next page"), "zoom-selection": t("Zoom to selection"), rulers: t("Rulers: pixels, millimetres, none"),
  "pane-next": t("Next part of the window"), "pane-previous": t("Previous part of the window"),
};
/** Of the canvas, whatever is going on there. */
const ON_CANVAS: [keys: string, name: string][] = [
  ["Tab", t("Select the next object, or the next point")], ["←↑→↓", t("Move the object, the point, the pen or the view")],
  ["Enter", t("Place a shape, end a line, edit what is selected")], ["Space", t("Set a point of a line")],
  ["Shift+Enter", t("Close the outline")], ["Shift+F10", t("Menu of what is selected")],
];

function nameOf(command: string): string {
  const button = document.querySelector(`[data-command="${command}"]`);
  return (NAMES[command] ?? button?.getAttribute("aria-label") ?? button?.textContent ?? "").trim();
}

export function showShortcuts(): void {
  const keysOf = new Map(ON_CANVAS.map(([keys, name]) => [name, [showKeys(keys)]]));
  for (const [keys, command] of Object.entries(KEYS)) {
    const name = nameOf(command);
    if (name) keysOf.set(name, [...(keysOf.get(name) ?? []), showKeys(keys)]);
  }
  const rows = [...keysOf].map(([name, keys]) => {
    const row = document.createElement("div");
    for (const text of [name, keys.join(", ")]) row.append(Object.assign(document.createElement("span"), { textContent: text }));
    return row;
  });
  $("shortcut-list").replaceChildren(...rows);
  void openDialog($<HTMLDialogElement>("shortcuts"));
}
