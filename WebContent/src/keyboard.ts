// Keys, the sheet of all of them, and the editing commands that reach the page as events of its document.
import { Point } from "fabric";
import type { Drawing } from "./drawing";
import { showKeys, t } from "./language";
import type { ObjectEdits } from "./objectEdits";
import { nameOf } from "./objects";
import type { Pasteboard } from "./pasteboard";
import type { Stage } from "./stage";
import { $, announce, guarded, openDialog } from "./ui";

export type Commands = Record<string, () => unknown>;

/** Work everywhere, also while a text is typed. */
const GLOBAL: Record<string, string> = {
  "Ctrl+s": "save", "Ctrl+Shift+s": "save-as", "Ctrl+o": "open", "Ctrl+e": "export", "Ctrl+n": "new",
  F1: "shortcuts", F6: "pane-next", "Shift+F6": "pane-previous", "Ctrl+r": "rulers", "Ctrl+0": "fit", "Ctrl+1": "zoom-100", "Ctrl+2": "zoom-selection", "Ctrl+=": "zoom-in", "Ctrl++": "zoom-in", "Ctrl+-": "zoom-out",
};
/** While a text on the canvas is edited. */
const TEXT: Record<string, string> = {
  ...GLOBAL,
  "Ctrl+z": "undo", "Ctrl+Shift+z": "redo", "Ctrl+y": "redo", "Ctrl+b": "bold", "Ctrl+i": "italic", "Ctrl+u": "underline",
};
/** The command of each key. */
export const KEYS: Record<string, string> = {
  ...TEXT,
  "Ctrl+c": "copy", "Ctrl+x": "cut", "Ctrl+v": "paste", "Ctrl+d": "duplicate", "Ctrl+a": "select-all",
  "Ctrl+g": "group", "Ctrl+Shift+g": "ungroup", Delete: "delete", Backspace: "delete", Escape: "escape",
  "Ctrl+ArrowUp": "forward", "Ctrl+ArrowDown": "backward", "Ctrl+Shift+ArrowUp": "front", "Ctrl+Shift+ArrowDown": "back",
  "Ctrl+l": "lock", "Ctrl+h": "hide", F2: "rename", c: "crop", "Shift+h": "flip-x", "Shift+v": "flip-y",
  "Alt+ArrowLeft": "align-left", "Alt+ArrowRight": "align-right", "Alt+ArrowUp": "align-top", "Alt+ArrowDown": "align-bottom",
  PageUp: "page-previous", PageDown: "page-next",
  v: "tool-select", r: "tool-Rect", o: "tool-Ellipse", s: "tool-Star", b: "tool-pen", p: "tool-draw", l: "tool-Line", t: "tool-Textbox", i: "image",
};
const PANES = ["#stage", "#inspector", "#layers", "#pages", "header", "#tools"] as const;
/** The directions of the arrow keys. */
export const ARROWS: Record<string, Point> = {
  ArrowLeft: new Point(-1, 0), ArrowRight: new Point(1, 0), ArrowUp: new Point(0, -1), ArrowDown: new Point(0, 1),
};

function chord(e: KeyboardEvent): string {
  const key = e.key.length === 1 ? e.key.toLowerCase() : e.key;
  const shift = e.shiftKey && (e.key.length > 1 || /[a-z]/.test(key));
  return `${e.ctrlKey ? "Ctrl+" : ""}${e.altKey ? "Alt+" : ""}${shift ? "Shift+" : ""}${key}`;
}

/** The engine has no name for the key while Shift is held. */
export const isTab = ({ key, code }: KeyboardEvent): boolean => key === "Tab" || code === "Tab";
export const takesText = (target: EventTarget | null): boolean =>
  target instanceof HTMLTextAreaElement || (target instanceof HTMLInputElement && target.type === "text");
const takesKeys = (target: EventTarget | null): boolean =>
  target instanceof HTMLSelectElement || target instanceof HTMLInputElement;

/** Text for people, as opposed to copied objects, which the shell hands over, and to names of files. */
const isPlain = (text: string): boolean => text.trim() !== "" && !/^\s*\{[^]*"type"\s*:|^file:\/\//.test(text);

export function listenToKeyboard(stage: Stage, drawing: Drawing, edits: ObjectEdits, pasteboard: Pasteboard, commands: Commands): void {
  const busy = (): boolean => document.querySelector("dialog[open]") !== null;

  // A control that is used while a text is edited leaves the keys to the text, or takes them only for as long as needed.
  document.addEventListener("mousedown", (e) => {
    if (stage.editedText && (e.target as Element).closest("button")) e.preventDefault();
  });
  document.addEventListener("change", (e) => {
    if (stage.editedText && !takesText(e.target)) stage.focus();
  });

  document.addEventListener("keydown", (e) => {
    if (e.defaultPrevented || e.isComposing || e.metaKey || busy()) return;
    const isPress = e.target instanceof HTMLButtonElement && (isTab(e) || e.key === "Enter" || e.key === " ");
    if (stage.editedText && !takesKeys(e.target) && !isPress) {
      if (e.target !== stage.editedText.hiddenTextarea) stage.focus();
      const command = TEXT[chord(e)];
      if (!command) return;
      e.preventDefault();
      return void commands[command]!();
    }
    const keys = chord(e);
    const typing = takesText(e.target);
    if ((typing && keys === "Enter") || (takesKeys(e.target) && keys === "Escape")) {
      e.preventDefault(); // or a text that is edited would get the key as well
      return stage.focus();
    }
    if (keys === "Ctrl+v") return; // comes as an event, with what is on the clipboard
    const command = (typing ? GLOBAL : KEYS)[keys];
    if (command && !(takesKeys(e.target) && keys.length === 1)) {
      e.preventDefault();
      return void commands[command]!();
    }
    const onStage = e.target === stage.host;
    if (typing || !(onStage || e.target === document.body)) return;
    const arrow = ARROWS[e.key];
    const step = e.shiftKey ? 10 : 1;
    if (arrow && !e.ctrlKey && !e.altKey) {
      if (stage.active) edits.nudge(arrow.scalarMultiply(step));
      else stage.view.pan(arrow.scalarMultiply(-40 * step));
    } else if (e.key === "Enter" && drawing.shape) drawing.placeInMiddle(drawing.shape);
    else if (e.key === "Enter") void commands.enter!();
    else if (!isTab(e) || !onStage || e.ctrlKey || !selectNext(stage, e.shiftKey ? -1 : 1)) return;
    e.preventDefault();
  });

  // Commands of the application's Edit menu arrive as these events.
  for (const name of ["copy", "cut", "paste"] as const) {
    document.addEventListener(`before${name}`, (e) => {
      if (!takesText(e.target)) e.preventDefault(); // says that there is something to copy
    });
    document.addEventListener(name, (e) => {
      if (takesText(e.target) || busy()) return;
      e.preventDefault();
      const text = name === "paste" ? (e.clipboardData?.getData("text/plain") ?? "") : "";
      if (isPlain(text)) guarded(() => pasteboard.pasteText(text))();
      else commands[name]!();
    });
  }
  $("last").addEventListener("focus", () => $("project-name").focus()); // the engine's Tab key would stay at the end

  let pressed = false; // a pointer that starts a selection is not the command
  document.addEventListener("mousedown", () => (pressed = true), { capture: true });
  document.addEventListener("mouseup", () => (pressed = false), { capture: true });
  document.addEventListener("selectstart", (e) => {
    if (e.target !== document.body || pressed || busy()) return;
    e.preventDefault();
    void commands["select-all"]!();
  });
}

/** Gives the keys to the next part of the page, or to the one before. */
export function goToPane(by: 1 | -1): void {
  const at = PANES.findIndex((pane) => document.activeElement?.closest(pane));
  const pane = document.querySelector<HTMLElement>(PANES.at((Math.max(0, at) + by) % PANES.length)!)!;
  const fields = [pane, ...pane.querySelectorAll<HTMLElement>("input, select, button:not(:disabled)")];
  fields.find((field) => (field !== pane || pane.tabIndex === 0) && field.checkVisibility())?.focus();
}

/** Selects the next object on the canvas; at the last one it leaves the Tab key to the page. */
function selectNext(stage: Stage, by: 1 | -1): boolean {
  const { edited: selection, groupAround } = stage;
  const objects = groupAround?.getObjects() ?? stage.objects;
  const at = selection.length > 0 ? objects.indexOf(selection.at(-1)!) : by > 0 ? -1 : objects.length;
  const next = objects[at + by];
  if (!next) return false;
  stage.select([next]);
  return true;
}

export function announceSelection(stage: Stage): void {
  const { selection, objects } = stage;
  if (selection.length > 1) announce(t("{count} objects selected", { count: selection.length }));
  else if (selection[0]) announce(t("{name}, {number} of {count}", { name: nameOf(selection[0]), number: objects.indexOf(selection[0]) + 1, count: objects.length }));
  else if (document.activeElement === $("stage")) announce(t("Nothing selected"));
}

/** What no button or menu item names. */
const COMMAND_NAMES: Record<string, string> = {
  "save-as": t("Save under another name"), "select-all": t("Select all"), escape: t("Select nothing"), "page-previous": t("Previous page"),
  "page-next": t("Next page"), rulers: t("Rulers: pixels, millimetres, none"),
  "pane-next": t("Next part of the window"), "pane-previous": t("Previous part of the window"),
};
/** Of the canvas, whatever is going on there. */
const ON_CANVAS: [keys: string, name: string][] = [
  ["Tab", t("Select the next object, or the next point")], ["←↑→↓", t("Move the object, the point, the pen or the view")],
  ["Enter", t("Place a shape, end a line, edit what is selected")], ["Space", t("Set a point of a line")],
  ["Shift+Enter", t("Close the outline")], ["Shift+F10", t("Menu of what is selected")],
];

function commandName(command: string): string {
  const button = document.querySelector(`[data-command="${command}"]`);
  return (COMMAND_NAMES[command] ?? button?.getAttribute("aria-label") ?? button?.textContent ?? "").trim();
}

export function showShortcuts(): void {
  const keysOf = new Map(ON_CANVAS.map(([keys, name]) => [name, [showKeys(keys)]]));
  for (const [keys, command] of Object.entries(KEYS)) {
    const name = commandName(command);
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
