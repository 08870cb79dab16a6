// Small parts of the page's interface: messages, questions, progress.

import { t } from "./language";

export function $<T extends HTMLElement = HTMLElement>(id: string): T {
  const element = document.getElementById(id);
  if (!element) throw new Error(`no element #${id}`);
  return element as T;
}

const TOAST_TIME = 6000;

/** A message that goes away by itself; screen readers speak it. */
export function tell(message: string, kind: "note" | "error" = "note"): void {
  const toast = document.createElement("div");
  toast.className = `toast ${kind}`;
  toast.textContent = message;
  if (kind === "error") toast.setAttribute("role", "alert");
  $("toasts").append(toast);
  while ($("toasts").childElementCount > 3) $("toasts").firstElementChild!.remove();
  setTimeout(() => toast.remove(), TOAST_TIME);
}

export function tellError(error: unknown): void {
  console.error(error);
  tell(error instanceof Error ? error.message : String(error), "error");
}

/** Speaks to screen readers only. */
export const announce = (text: string): void => {
  $("announcer").textContent = text;
};

/** Opens a dialog of the page; gives the value of the button that closed it, "" for Escape. */
export function openDialog(dialog: HTMLDialogElement): Promise<string> {
  dialog.returnValue = "";
  dialog.showModal();
  return new Promise((resolve) => dialog.addEventListener("close", () => resolve(dialog.returnValue), { once: true }));
}

export class Cancelled extends Error {}

/** Of something that the user may have given up himself. */
export const tellFailure = (error: unknown): void => {
  if (!(error instanceof Cancelled)) tellError(error);
};
/** A task that nothing waits for. */
export const guarded = (task: () => unknown) => () => {
  void (async () => task())().catch(tellFailure);
};

const PROGRESS_AFTER = 500;
const PAINT_EVERY = 100; // ms: how long a click on Cancel may wait
/** Waits until the page was painted. */
export const painted = (): Promise<void> =>
  new Promise((resolve) => {
    requestAnimationFrame(() => setTimeout(resolve));
    setTimeout(resolve, 100); // a hidden window paints no frames
  });

/**
 * Does work that comes in steps behind a progress bar with a Cancel button; a step says how many pages are done, and how
 * much of the next one. The bar is shown at once where the work is known to be long, else when it has taken half a second.
 */
export async function withProgress<T>(
  label: string, long: boolean, work: (step: (done: number, total: number) => Promise<void>) => Promise<T>,
): Promise<T> {
  const dialog = $<HTMLDialogElement>("progress");
  const bar = $<HTMLProgressElement>("progress-bar");
  const start = performance.now();
  let paintedAt = -Infinity;
  let cancel: () => void;
  const cancelled = new Promise<never>((_, reject) => (cancel = () => reject(new Cancelled("Cancelled"))));
  $("progress-text").textContent = label;
  bar.removeAttribute("value");
  const show = () => {
    if (!dialog.open) void openDialog(dialog).then((how) => how !== "done" && cancel());
  };
  const timer = setTimeout(show, PROGRESS_AFTER);
  try {
    const result = work(async (done, total) => {
      if (long || performance.now() - start > PROGRESS_AFTER) show();
      bar.value = done / total;
      if (total > 1) $("progress-text").textContent = t("{label}: page {page} of {total}", { label, page: Math.floor(done) + 1, total });
      if (performance.now() - paintedAt < PAINT_EVERY) return;
      paintedAt = performance.now();
      await Promise.race([painted(), cancelled]); // what is cancelled takes no further step
    });
    return await Promise.race([result, cancelled]);
  } finally {
    clearTimeout(timer);
    if (dialog.open) dialog.close("done");
  }
}
