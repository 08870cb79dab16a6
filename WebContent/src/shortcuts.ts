// The sheet of all keys.
import { KEYS } from "./keyboard";
import { showKeys, t } from "./language";
import { $, openDialog } from "./ui";

/** What no button or menu item names. */
const NAMES: Record<string, string> = {
  "save-as": t("Save under another name"), "select-all": t("Select all"), escape: t("Select nothing"), "page-previous": t("Previous page"),
  "page-next": t("Next page"), "zoom-selection": t("Zoom to selection"), rulers: t("Rulers: pixels, millimetres, none"),
};

function nameOf(command: string): string {
  const button = document.querySelector(`[data-command="${command}"]`);
  return (NAMES[command] ?? button?.getAttribute("aria-label") ?? button?.textContent ?? "").trim();
}

export function showShortcuts(): void {
  const keysOf = new Map<string, string[]>();
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
