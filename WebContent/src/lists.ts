// The list of objects beside the canvas and the row of pages below it. Both are list boxes for the keyboard.
import type { FabricObject } from "fabric";
import type { Editor } from "./editor";
import { drawPage } from "./export";
import { t } from "./language";
import { nameOf } from "./objects";
import type { PageData } from "./project";
import { $ } from "./ui";

function option(id: string, selected: boolean, ...content: (Node | string)[]): HTMLLIElement {
  const item = document.createElement("li");
  item.id = id;
  item.setAttribute("role", "option");
  item.setAttribute("aria-selected", String(selected));
  item.append(...content);
  return item;
}

function icon(name: string): SVGSVGElement {
  const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
  svg.setAttribute("aria-hidden", "true");
  svg.append(document.createElementNS(svg.namespaceURI, "use"));
  svg.firstElementChild!.setAttribute("href", `#i-${name}`);
  return svg;
}

function label(text: string): HTMLSpanElement {
  const span = document.createElement("span");
  span.textContent = text;
  return span;
}

/** The objects of the page, the front one first. */
export class Layers {
  readonly #list = $("layers");
  #cursor = 0;

  constructor(private readonly editor: Editor) {
    this.#list.addEventListener("click", (e) => {
      const item = (e.target as Element).closest("li");
      if (item) this.#choose([...this.#list.children].indexOf(item), e.shiftKey || e.ctrlKey);
    });
    this.#list.addEventListener("dblclick", () => editor.stage.editText());
    this.#list.addEventListener("keydown", (e) => {
      const last = this.#list.childElementCount - 1;
      const to = { ArrowDown: this.#cursor + 1, ArrowUp: this.#cursor - 1, Home: 0, End: last }[e.key];
      if (to !== undefined && !e.ctrlKey && !e.altKey) this.#choose(Math.max(0, Math.min(last, to)), e.shiftKey);
      else if (e.key === "Enter") editor.stage.editText();
      else return;
      e.preventDefault();
      e.stopPropagation();
    });
  }

  get #objects(): FabricObject[] {
    return [...this.editor.stage.objects].reverse();
  }

  #choose(at: number, extend: boolean): void {
    const { stage } = this.editor;
    const object = this.#objects[at];
    if (!object) return;
    this.#cursor = at;
    if (!extend) stage.select([object]);
    else stage.select(stage.selection.includes(object) ? stage.selection.filter((o) => o !== object) : [...stage.selection, object]);
  }

  refresh(): void {
    const selection = new Set(this.editor.stage.selection);
    const objects = this.#objects;
    if (selection.size === 1) this.#cursor = objects.findIndex((o) => selection.has(o));
    this.#list.replaceChildren(
      ...objects.map((o, i) => option(`layer-${i}`, selection.has(o), icon(o.type.toLowerCase()), label(nameOf(o)))),
    );
    const current = this.#list.children[this.#cursor];
    if (current) this.#list.setAttribute("aria-activedescendant", current.id);
    else this.#list.removeAttribute("aria-activedescendant");
    if (selection.size === 1) current?.scrollIntoView({ block: "nearest" });
  }
}

const THUMB_HEIGHT = 56;
const THUMB_DELAY = 250; // ms after the last change

export class Pages {
  readonly #list = $("pages");
  readonly #thumbs = new WeakMap<PageData, HTMLCanvasElement>();
  #timer = 0;

  constructor(private readonly editor: Editor) {
    this.#list.addEventListener("click", (e) => {
      const item = (e.target as Element).closest("li");
      if (item) void editor.goTo([...this.#list.children].indexOf(item));
    });
    this.#list.addEventListener("keydown", (e) => {
      const to = { ArrowLeft: editor.page - 1, ArrowRight: editor.page + 1, Home: 0, End: editor.state.pages.length - 1 }[e.key];
      if (to === undefined || e.ctrlKey || e.altKey) return;
      e.preventDefault();
      e.stopPropagation();
      void editor.goTo(to);
    });
  }

  refresh(): void {
    const { pages } = this.editor.state;
    const items = pages.map((page, i) => {
      const frame = document.createElement("span");
      frame.className = "thumb";
      frame.style.aspectRatio = `${page.width} / ${page.height}`;
      const thumb = this.#thumbs.get(page) ?? this.#list.children[i]?.querySelector("canvas");
      if (thumb) frame.append(thumb);
      return option(`page-${i}`, i === this.editor.page, frame, String(i + 1));
    });
    items.forEach((item, i) => item.setAttribute("aria-label", t("Page {number}", { number: i + 1 })));
    this.#list.replaceChildren(...items);
    this.#list.setAttribute("aria-activedescendant", `page-${this.editor.page}`);
    items[this.editor.page]?.scrollIntoView({ block: "nearest", inline: "nearest" });
    clearTimeout(this.#timer);
    this.#timer = window.setTimeout(() => void this.#drawThumbs(), THUMB_DELAY);
  }

  async #drawThumbs(): Promise<void> {
    const { pages } = this.editor.state;
    for (const [i, page] of pages.entries()) {
      if (this.#thumbs.has(page)) continue;
      const thumb = await drawPage(page, Math.min(1, (THUMB_HEIGHT * devicePixelRatio) / page.height));
      this.#thumbs.set(page, thumb);
      if (this.editor.state.pages[i] === page) this.#list.children[i]?.querySelector(".thumb")?.replaceChildren(thumb);
    }
  }
}
