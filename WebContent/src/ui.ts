// Small parts of the page's interface: messages, questions, progress.

import { t } from "./language";

export const $ = <T extends HTMLElement = HTMLElement>(id: string): T => document.getElementById(id) as T;

const TOAST_TIME = 6000; // ms

/** A message that goes away by itself; screen readers speak it. */
export function tell(message: string, kind: "note" | "error" = "note"): void {
  const toast = Object.assign(document.createElement("div"), { className: `toast ${kind}`, textContent: message });
  if (kind === "error") toast.role = "alert";
  $("toasts").append(toast);
  setTimeout(() => toast.remove(), TOAST_TIME);
}

export function tellError(error: unknown): void {
  if (error instanceof Cancelled) return;
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

/** The user has given something up himself. */
export class Cancelled extends Error {}

/** A task that nothing waits for. */
export const guarded = <A extends unknown[]>(task: (...args: A) => unknown) => (...args: A): void => {
  void (async () => task(...args))().catch(tellError);
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
  let paintedAt = -Infinity;
  let cancel: () => void;
  const cancelled = new Promise<never>((_, reject) => (cancel = () => reject(new Cancelled("Cancelled"))));
  $("progress-text").textContent = label;
  bar.removeAttribute("value");
  const show = () => {
    if (!dialog.open) void openDialog(dialog).then((how) => how !== "done" && cancel());
  };
  const timer = setTimeout(show, long ? 0 : PROGRESS_AFTER);
  try {
    const result = work(async (done, total) => {
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
