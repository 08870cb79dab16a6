// The list of objects beside the canvas and the row of pages below it.
import { util } from "fabric";
import type { Editor } from "./editor";
import { t } from "./language";
import { listBox } from "./listBox";
import type { ObjectEdits } from "./objectEdits";
import { nameOf } from "./objects";
import { PagePicture } from "./picture";
import type { PageData } from "./project";
import { $ } from "./ui";

const ROW_HEIGHT = 30; // as in style.css
const SPARE_ROWS = 4;

/** The objects of the page, the front one first. There are elements for the rows in sight only, and for the chosen one. */
export class Layers {
  readonly #list = $("layers");
  #cursor = 0;
  /** What part of the list is in sight: asking for it has the page laid out. */
  #sight = { top: 0, height: 0 };
  #shown = "";
  readonly #row = listBox(this.#list, ["ArrowUp", "ArrowDown"], {
    count: () => this.editor.stage.objects.length,
    current: () => this.#cursor,
    choose: (row, extend) => {
      const { objects, canvas, selection } = this.editor.stage;
      const object = objects.at(-1 - row);
      if (!object) return;
      this.#cursor = row;
      const others = selection.filter((o) => o !== object);
      this.editor.stage.select(!extend ? [object] : canvas.isSelected(object) ? others : [...selection, object]);
    },
    indexAt: (e) => {
      const y = e.clientY - this.#list.getBoundingClientRect().top + this.#list.scrollTop;
      return util.capValue(0, Math.round(y / ROW_HEIGHT), this.editor.stage.objects.length);
    },
    move: (from, to) => {
      const { objects } = this.editor.stage;
      this.edits.takeObject(objects.at(-1 - from)!, objects.length - 1 - to);
    },
  });

  constructor(private readonly editor: Editor, private readonly edits: ObjectEdits) {
    this.#list.addEventListener("dblclick", () => this.rename());
    this.#list.addEventListener("keydown", (e) => {
      if (e.key !== "Enter" || e.target !== this.#list) return;
      e.preventDefault();
      editor.stage.editText();
    });
    const look = () => {
      this.#sight = { top: this.#list.scrollTop, height: this.#list.clientHeight };
      this.#showRows();
    };
    this.#list.addEventListener("scroll", look);
    new ResizeObserver(look).observe(this.#list);
  }

  /** Has the user type another name for the selected object. */
  rename(): void {
    const [object] = this.editor.stage.selection;
    const name = this.#list.querySelector(`[data-row="${this.#cursor}"] span`);
    if (!object || !name) return;
    const field = document.createElement("input");
    Object.assign(field, { type: "text", value: nameOf(object), maxLength: 200, ariaLabel: t("Name of the object") });
    name.replaceWith(field);
    this.#shown = "";
    field.addEventListener("change", () => {
      object.set("name", field.value.trim());
      this.editor.commit();
    });
    field.addEventListener("blur", () => {
      field.remove();
      this.refresh();
    });
    field.select();
  }
  get #isRenaming(): boolean {
    return this.#list.contains(document.activeElement) && document.activeElement !== this.#list;
  }

  refresh(): void {
    if (this.#isRenaming) return;
    const { objects, selection } = this.editor.stage;
    this.#list.style.setProperty("--rows", String(objects.length));
    if (selection.length === 1) {
      this.#cursor = objects.length - 1 - objects.indexOf(selection[0]!);
      const at = this.#cursor * ROW_HEIGHT;
      const { top, height } = this.#sight;
      const to = util.capValue(at + ROW_HEIGHT - height, top, at);
      if (to !== top) this.#list.scrollTop = this.#sight.top = to;
    }
    this.#showRows();
  }

  #showRows(): void {
    if (this.#isRenaming) return;
    const { objects, canvas } = this.editor.stage;
    const { top, height } = this.#sight;
    const first = Math.floor(top / ROW_HEIGHT) - SPARE_ROWS;
    const last = Math.ceil((top + height) / ROW_HEIGHT) + SPARE_ROWS;
    const numbers = [...objects.keys()].filter((n) => n === this.#cursor || (n >= first && n < last));
    const seen = numbers.map((number) => [number, objects.at(-1 - number)!] as const);
    const states = seen.map(([number, o]) => [number, o.type, nameOf(o), canvas.isSelected(o), o.locked, o.visible]);
    const shown = JSON.stringify([states, objects.length, this.#cursor]);
    if (shown === this.#shown) return;
    this.#shown = shown;
    this.#list.replaceChildren(...seen.map(([number, object]) => {
      const row = this.#row(number);
      row.style.top = `${number * ROW_HEIGHT}px`;
      row.ariaSelected = String(canvas.isSelected(object));
      row.ariaPosInSet = String(number + 1);
      row.ariaSetSize = String(objects.length);
      row.querySelector("use")!.setAttribute("href", `#i-${object.type.toLowerCase()}`);
      row.querySelector("span")!.textContent = nameOf(object);
      row.querySelector(".lock")!.toggleAttribute("hidden", !object.locked);
      row.querySelector(".hide")!.toggleAttribute("hidden", object.visible);
      return row;
    }));
    if (this.#cursor < objects.length) this.#list.setAttribute("aria-activedescendant", `layers-${this.#cursor}`);
    else this.#list.removeAttribute("aria-activedescendant");
  }
}

const THUMB_HEIGHT = 56;
const THUMB_DELAY = 250; // ms after the last change

export class Pages {
  readonly #list = $("pages");
  readonly #thumbs = new WeakMap<PageData, HTMLCanvasElement>();
  #timer = 0;
  readonly #row = listBox(this.#list, ["ArrowLeft", "ArrowRight"], {
    count: () => this.editor.state.pages.length,
    current: () => this.editor.page,
    choose: (row) => void this.editor.goTo(row),
    indexAt: (e) => {
      const boxes = [...this.#list.children].map((item) => item.getBoundingClientRect());
      return boxes.filter((box) => box.left + box.width / 2 < e.clientX).length;
    },
    move: (from, to) => void this.editor.takePage(from, to),
  });

  constructor(private readonly editor: Editor) {}

  refresh(): void {
    const { page: current, state: { pages } } = this.editor;
    const { children } = this.#list;
    let isMoved = children.length !== pages.length;
    while (children.length > pages.length) children[pages.length]!.remove();
    pages.forEach((page, i) => {
      const item = children[i] ?? this.#list.appendChild(this.#item(i));
      const selected = String(i === current);
      isMoved ||= item.ariaSelected !== selected;
      if (item.ariaSelected !== selected) item.ariaSelected = selected;
      const frame = item.firstElementChild as HTMLElement;
      frame.style.aspectRatio = `${page.width} / ${page.height}`;
      const thumb = this.#thumbs.get(page);
      if (thumb && frame.firstChild !== thumb) frame.replaceChildren(thumb);
    });
    if (isMoved) {
      this.#list.setAttribute("aria-activedescendant", `pages-${current}`);
      children[current]?.scrollIntoView({ block: "nearest", inline: "nearest" });
    }
    clearTimeout(this.#timer);
    this.#timer = window.setTimeout(() => void this.#drawThumbs(), THUMB_DELAY);
  }

  #item(number: number): HTMLLIElement {
    const item = this.#row(number);
    item.lastElementChild!.textContent = String(number + 1);
    item.ariaLabel = t("Page {number}", { number: number + 1 });
    return item;
  }

  async #drawThumbs(): Promise<void> {
    const { stage, state } = this.editor;
    for (const page of state.pages) {
      if (this.#thumbs.has(page)) continue;
      const scale = Math.min(1, (THUMB_HEIGHT * devicePixelRatio) / page.height);
      const isShown = () => page === this.editor.pageData && stage.isSettled;
      const thumb = isShown() ? await stage.canvas.picture(scale, isShown) : (await PagePicture.of(page, scale)).draw();
      if (!thumb) return; // another change brings the next one
      this.#thumbs.set(page, thumb);
      const at = this.editor.state.pages.indexOf(page);
      this.#list.children[at]?.firstElementChild!.replaceChildren(thumb);
    }
  }
}
