// The application's Edit menu sends commands of the web engine. Copying and selecting arrive as events, but Undo and
// Redo only concern text that was typed. So a hidden field always holds one typed step to undo and one to redo: when
// the engine takes either, the project's own history moves and the field is put back as it was.
import { $ } from "./ui";

export function listenToUndoCommands(undo: () => unknown, redo: () => unknown): void {
  const field = $("typed-steps");
  let own = false; // whether what happens in the field is our own doing
  let stale = true; // whether text typed elsewhere has come before the field's steps
  let focused: Element | null = null;

  const inField = (act: () => void): void => {
    own = true;
    act();
    own = false;
    getSelection()?.removeAllRanges(); // Select All is to mean the canvas
    if (focused instanceof HTMLElement) focused.focus({ preventScroll: true });
  };
  const prepare = (): void => {
    stale = false;
    focused = document.activeElement;
    inField(() => {
      field.textContent = "";
      field.focus({ preventScroll: true });
      document.execCommand("insertText", false, "1");
      getSelection()?.collapse(field, 0); // or both would be one step
      document.execCommand("insertText", false, "2");
      document.execCommand("undo");
    });
  };

  field.addEventListener("beforeinput", () => {
    if (!own) focused = document.activeElement; // the engine is about to move the focus here
  });
  field.addEventListener("input", (e) => {
    const { inputType } = e as InputEvent;
    if (own || !/^history(Undo|Redo)$/.test(inputType)) return;
    const undone = inputType === "historyUndo";
    inField(() => document.execCommand(undone ? "redo" : "undo"));
    void (undone ? undo() : redo());
  });
  document.addEventListener("input", (e) => {
    if (e.target !== field) stale = true;
  });
  document.addEventListener("focusin", (e) => {
    if (stale && e.target instanceof Element && !e.target.matches("input, textarea, select, [contenteditable]")) prepare();
  });
}
