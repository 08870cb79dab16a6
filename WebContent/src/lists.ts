// The list of objects beside the canvas and the row of pages below it. Both are list boxes for the keyboard.
import type { FabricObject } from "fabric";
import { listenToDragging } from "./dragging";
import type { Editor } from "./editor";
import { t } from "./language";
import type { ObjectEdits } from "./objectEdits";
import { nameOf } from "./objects";
import { PagePicture } from "./picture";
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

const ROW_HEIGHT = 30; // as in style.css
const SPARE_ROWS = 4;

const statesOf = (o: FabricObject): Node[] => [...(o.locked ? [icon("lock")] : []), ...(o.visible ? [] : [icon("hide")])];

/** The objects of the page, the front one first. There are elements for the rows in sight only, and for the chosen one. */
export class Layers {
  readonly #list = $("layers");
  /** As high as the list would be with all of its rows. */
  readonly #height = document.createElement("div");
  #cursor = 0;
  /** What part of the list is in sight: asking for it has the page laid out. */
  #sight = { top: 0, height: 0 };
  #shown = "";

  constructor(private readonly editor: Editor, private readonly edits: ObjectEdits) {
    this.#height.setAttribute("role", "presentation");
    this.#list.addEventListener("click", (e) => {
      const row = (e.target as Element).closest("li");
      if (row) this.#choose(Number(row.dataset.row), e.shiftKey || e.ctrlKey);
    });
    this.#list.addEventListener("dblclick", () => this.rename());
    const rowAt = (e: MouseEvent): number => {
      const y = e.clientY - this.#list.getBoundingClientRect().top + this.#list.scrollTop;
      return Math.max(0, Math.min(editor.stage.objects.length, Math.round(y / ROW_HEIGHT)));
    };
    listenToDragging(this.#list, rowAt, (from, to) => {
      const { objects } = editor.stage;
      edits.takeObject(objects.at(-1 - from)!, objects.length - 1 - to);
    });
    this.#list.addEventListener("keydown", (e) => {
      if (e.target !== this.#list) return;
      const last = editor.stage.objects.length - 1;
      const to = { ArrowDown: this.#cursor + 1, ArrowUp: this.#cursor - 1, Home: 0, End: last }[e.key];
      if (to !== undefined && !e.ctrlKey && !e.altKey) this.#choose(Math.max(0, Math.min(last, to)), e.shiftKey);
      else if (e.key === "Enter") editor.stage.editText();
      else return;
      e.preventDefault();
      e.stopPropagation();
    });
    const look = () => {
      this.#sight = { top: this.#list.scrollTop, height: this.#list.clientHeight };
      this.#showRows();
    };
    this.#list.addEventListener("scroll", look);
    new ResizeObserver(look).observe(this.#list);
  }

  #choose(at: number, extend: boolean): void {
    const { stage } = this.editor;
    const object = stage.objects.at(-1 - at);
    if (!object) return;
    this.#cursor = at;
    if (!extend) stage.select([object]);
    else stage.select(stage.canvas.isSelected(object) ? stage.selection.filter((o) => o !== object) : [...stage.selection, object]);
  }

  /** Has the user type another name for the selected object. */
  rename(): void {
    const [object] = this.editor.stage.selection;
    const item = this.#list.querySelector(`[data-row="${this.#cursor}"]`);
    if (!object || !item) return;
    const field = document.createElement("input");
    Object.assign(field, { type: "text", value: nameOf(object), maxLength: 200 });
    field.setAttribute("aria-label", t("Name of the object"));
    item.querySelector("span")!.replaceWith(field);
    this.#shown = "";
    field.addEventListener("change", () => this.edits.renameObject(object, field.value.trim()));
    field.addEventListener("blur", () => {
      field.remove();
      this.refresh();
    });
    field.select();
  }

  refresh(): void {
    const { objects, selection } = this.editor.stage;
    const [only, another] = selection;
    if (this.#isRenaming) return;
    this.#height.style.height = `${objects.length * ROW_HEIGHT}px`;
    this.#showRows();
    if (!only || another) return;
    this.#cursor = objects.length - 1 - objects.indexOf(only);
    const top = this.#cursor * ROW_HEIGHT;
    const { top: first, height } = this.#sight;
    const to = top < first ? top : Math.max(first, top + ROW_HEIGHT - height);
    if (to !== first) this.#list.scrollTop = this.#sight.top = to;
    this.#showRows();
  }

  get #isRenaming(): boolean {
    return this.#list.contains(document.activeElement) && document.activeElement !== this.#list;
  }

  #showRows(): void {
    if (this.#isRenaming) return;
    const { objects, canvas } = this.editor.stage;
    const { top, height } = this.#sight;
    const first = Math.max(0, Math.floor(top / ROW_HEIGHT) - SPARE_ROWS);
    const last = Math.min(objects.length, Math.ceil((top + height) / ROW_HEIGHT) + SPARE_ROWS);
    const numbers = new Set(Array.from({ length: Math.max(0, last - first) }, (_, i) => first + i));
    if (this.#cursor < objects.length) numbers.add(this.#cursor);
    const seen = [...numbers].sort((a, b) => a - b).map((number) => [number, objects.at(-1 - number)!] as const);
    const states = seen.map(([number, o]) => [number, o.type, nameOf(o), canvas.isSelected(o), o.locked, o.visible]);
    const shown = JSON.stringify([states, objects.length, this.#cursor]);
    if (shown === this.#shown) return;
    this.#shown = shown;
    const rows = seen.map(([number, object]) => {
      const row = option(`layer-${number}`, canvas.isSelected(object), icon(object.type.toLowerCase()), label(nameOf(object)), ...statesOf(object));
      row.dataset.row = String(number);
      row.style.top = `${number * ROW_HEIGHT}px`;
      row.setAttribute("aria-posinset", String(number + 1));
      row.setAttribute("aria-setsize", String(objects.length));
      return row;
    });
    this.#list.replaceChildren(...(objects.length > 0 ? [this.#height] : []), ...rows);
    if (this.#cursor < objects.length) this.#list.setAttribute("aria-activedescendant", `layer-${this.#cursor}`);
    else this.#list.removeAttribute("aria-activedescendant");
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
    const pageAt = (e: MouseEvent): number => {
      const boxes = [...this.#list.children].map((item) => item.getBoundingClientRect());
      return boxes.filter((box) => box.left + box.width / 2 < e.clientX).length;
    };
    listenToDragging(this.#list, pageAt, (from, to) => void editor.takePage(from, to));
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
    const { children } = this.#list;
    const before = [children.length, this.#list.querySelector("[aria-selected=true]")?.id].join();
    while (children.length > pages.length) children[pages.length]!.remove();
    pages.forEach((page, i) => {
      const item = children[i] ?? this.#list.appendChild(this.#item(i));
      const selected = String(i === this.editor.page);
      if (item.getAttribute("aria-selected") !== selected) item.setAttribute("aria-selected", selected);
      const frame = item.firstElementChild as HTMLElement;
      frame.style.aspectRatio = `${page.width} / ${page.height}`;
      const thumb = this.#thumbs.get(page);
      if (thumb && frame.firstChild !== thumb) frame.replaceChildren(thumb);
    });
    const id = `page-${this.editor.page}`;
    if (before !== [children.length, id].join()) {
      this.#list.setAttribute("aria-activedescendant", id);
      children[this.editor.page]?.scrollIntoView({ block: "nearest", inline: "nearest" });
    }
    clearTimeout(this.#timer);
    this.#timer = window.setTimeout(() => void this.#drawThumbs(), THUMB_DELAY);
  }

  #item(number: number): HTMLLIElement {
    const frame = document.createElement("span");
    frame.className = "thumb";
    const item = option(`page-${number}`, false, frame, String(number + 1));
    item.dataset.row = String(number);
    item.setAttribute("aria-label", t("Page {number}", { number: number + 1 }));
    return item;
  }

  async #drawThumbs(): Promise<void> {
    const { pages } = this.editor.state;
    for (const [i, page] of pages.entries()) {
      if (this.#thumbs.has(page)) continue;
      const scale = Math.min(1, (THUMB_HEIGHT * devicePixelRatio) / page.height);
      const { stage } = this.editor;
      const isShown = () => page === this.editor.pageData && stage.isSettled;
      const thumb = isShown() ? await stage.canvas.picture(scale, isShown) : (await PagePicture.of(page, scale)).draw();
      if (!thumb) return; // another change brings the next one
      this.#thumbs.set(page, thumb);
      if (this.editor.state.pages[i] === page) this.#list.children[i]?.querySelector(".thumb")?.replaceChildren(thumb);
    }
  }
}
