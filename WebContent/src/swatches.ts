// The colours that the document uses already, to be picked again.
import type { Editor } from "./editor";
import type { ObjectData, PageData } from "./project";

const SHOWN = 12;
const ofPages = new WeakMap<PageData, unknown[]>();
let shown: readonly PageData[] | undefined;

const coloursIn = (objects: readonly ObjectData[]): unknown[] => objects.flatMap((o) => [o.fill, o.stroke, ...coloursIn(o.objects ?? [])]);
function coloursOf(page: PageData): unknown[] {
  const colours = ofPages.get(page) ?? coloursIn(page.objects);
  ofPages.set(page, colours);
  return colours;
}

/** Shows the most used colours in the rows that are made for them, as buttons of the inspector. */
export function showSwatches(editor: Editor): void {
  if (editor.state.pages === shown) return;
  shown = editor.state.pages;
  const counts = new Map<string, number>();
  for (const colour of shown.flatMap(coloursOf)) if (typeof colour === "string") counts.set(colour, (counts.get(colour) ?? 0) + 1);
  const colours = [...counts].sort((a, b) => b[1] - a[1]).slice(0, SHOWN).map(([colour]) => colour);
  for (const row of document.querySelectorAll<HTMLElement>("[data-swatches]")) {
    if (row.dataset.shown === colours.join()) continue;
    row.dataset.shown = colours.join();
    row.replaceChildren(...colours.map((colour) => {
      const button = Object.assign(document.createElement("button"), { type: "button", title: colour, ariaLabel: colour });
      button.style.setProperty("--colour", colour);
      Object.assign(button.dataset, { prop: row.dataset.swatches, value: colour });
      return button;
    }));
  }
}
