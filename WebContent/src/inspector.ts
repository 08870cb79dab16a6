// The right-hand panel: properties of the selection, or of the page when nothing is selected. Which fields there
// are, and for which objects, stands in index.html: data-prop names the property, data-for the kinds it is for.
import { type FabricObject, Rect, Textbox } from "fabric";
import type { Editor } from "./editor";
import { bakeScale, eachLeaf } from "./objects";
import { MAX_PAGE_SIDE } from "./project";
import { $ } from "./ui";

type Value = string | number | boolean | null;
interface Property {
  get(o: FabricObject): Value;
  set(o: FabricObject, value: never): void;
}

const round = (n: number): number => Math.round(n * 10) / 10;
const plain = (key: string): Property => ({
  get: (o) => o.get(key) as Value,
  set: (o, value: Value) => void o.set(key, value),
});
const toggle = (key: string, on: string, off: string): Property => ({
  get: (o) => o.get(key) === on,
  set: (o, value: boolean) => void o.set(key, value ? on : off),
});
const width = (o: FabricObject): number => o.width * o.scaleX;
const height = (o: FabricObject): number => o.height * o.scaleY;

/** Of the selection as a whole. Positions are those of the left upper corner before rotation. */
const WHOLE: Record<string, Property> = {
  x: { get: (o) => round(o.left - width(o) / 2), set: (o, v: number) => void o.set("left", v + width(o) / 2) },
  y: { get: (o) => round(o.top - height(o) / 2), set: (o, v: number) => void o.set("top", v + height(o) / 2) },
  w: { get: (o) => round(width(o)), set: (o, v: number) => resize(o, v, undefined) },
  h: { get: (o) => round(height(o)), set: (o, v: number) => resize(o, undefined, v) },
  angle: { get: (o) => round(o.angle), set: (o, v: number) => void o.set("angle", v) },
};
/** Of every selected object. */
const OBJECT: Record<string, Property> = {
  opacity: { get: (o) => Math.round(o.opacity * 100), set: (o, v: number) => void o.set("opacity", v / 100) },
};
/** Of every selected object, or of those in a selected group. */
const LEAF: Record<string, Property> = {
  fill: plain("fill"),
  stroke: {
    get: (o) => o.stroke as string | null,
    set: (o, v: string | null) => void o.set({ stroke: v, strokeWidth: v && o.strokeWidth === 0 ? 4 : o.strokeWidth }),
  },
  strokeWidth: plain("strokeWidth"),
  radius: { get: (o) => (o as Rect).rx, set: (o, v: number) => void o.set({ rx: v, ry: v }) },
  fontFamily: plain("fontFamily"),
  fontSize: { get: (o) => round((o as Textbox).fontSize), set: (o, v: number) => void o.set("fontSize", v) },
  bold: toggle("fontWeight", "bold", "normal"),
  italic: toggle("fontStyle", "italic", "normal"),
  underline: plain("underline"),
  textAlign: plain("textAlign"),
  lineHeight: { get: (o) => Math.round((o as Textbox).lineHeight * 100) / 100, set: plain("lineHeight").set },
};

function resize(o: FabricObject, w?: number, h?: number): void {
  const { left, top } = o;
  const [x, y] = [left - width(o) / 2, top - height(o) / 2];
  if (o instanceof Textbox) o.set("width", w ?? o.width);
  else o.set({ scaleX: w && o.width ? w / o.width : o.scaleX, scaleY: h && o.height ? h / o.height : o.scaleY });
  bakeScale(o);
  o.set({ left: x + width(o) / 2, top: y + height(o) / 2 });
}

/** Families commonly installed; those that are not are left out. The generic ones always work. */
const FAMILIES = [
  "Arial", "Cantarell", "Carlito", "Comic Neue", "Courier New", "DejaVu Sans", "DejaVu Sans Mono", "DejaVu Serif", "EB Garamond",
  "Fira Sans", "Georgia", "Inter", "Lato", "Liberation Sans", "Liberation Serif", "Liberation Mono", "Montserrat", "Nimbus Sans",
  "Nimbus Roman", "Noto Sans", "Noto Serif", "Open Sans", "P052", "Roboto", "Source Sans Pro", "Times New Roman", "Ubuntu",
  "URW Bookman", "URW Gothic", "Verdana", "Z003",
];
function installedFamilies(): string[] {
  const ctx = document.createElement("canvas").getContext("2d")!;
  const measure = (family: string) => ((ctx.font = `72px ${family}`), ctx.measureText("mmMwWLliI0&").width);
  const base = { monospace: measure("monospace"), serif: measure("serif") };
  return FAMILIES.filter((f) => measure(`"${f}", monospace`) !== base.monospace || measure(`"${f}", serif`) !== base.serif);
}

type Field = HTMLInputElement | HTMLSelectElement | HTMLButtonElement;

export class Inspector {
  readonly #panel = $("inspector");
  readonly #fields = [...this.#panel.querySelectorAll<Field>("[data-prop]")];

  constructor(private readonly editor: Editor) {
    const families = this.#panel.querySelector<HTMLSelectElement>('[data-prop="fontFamily"]')!;
    for (const family of installedFamilies()) families.add(new Option(family));
    for (const field of this.#fields) {
      if (field instanceof HTMLButtonElement) field.addEventListener("click", () => this.#press(field));
      else field.addEventListener("input", () => this.#apply(field.dataset.prop!, this.#read(field)));
      field.addEventListener("change", () => this.refresh());
      field.addEventListener("blur", () => this.refresh());
    }
    this.#listenForPage();
  }

  /** The objects that a property belongs to. */
  #targets(prop: string): [Property, FabricObject[]] {
    const { active, selection } = this.editor.stage;
    if (WHOLE[prop]) return [WHOLE[prop], active ? [active] : []];
    if (OBJECT[prop]) return [OBJECT[prop], selection];
    const kinds = this.#panel.querySelector(`[data-prop="${prop}"]`)!.closest<HTMLElement>("[data-for]")!.dataset.for!.split(" ");
    const leaves: FabricObject[] = [];
    for (const o of selection) eachLeaf(o, (leaf) => kinds.includes(typeOf(leaf)) && leaves.push(leaf));
    return [LEAF[prop]!, leaves];
  }

  #read(field: HTMLInputElement | HTMLSelectElement): Value | undefined {
    if (field.type === "number" || field.type === "range") {
      return field.value !== "" && field.checkValidity() ? Number(field.value) : undefined;
    }
    if (field.classList.contains("hex")) {
      if (field.value.trim() === "") return null;
      const hex = /^#?([0-9a-f]{6}|[0-9a-f]{3})$/i.exec(field.value.trim())?.[1];
      return hex && `#${hex.length === 3 ? hex.replace(/./g, "$&$&") : hex}`.toLowerCase();
    }
    return field.value;
  }

  #press(button: HTMLButtonElement): void {
    const { prop, value } = button.dataset;
    this.#apply(prop!, value === undefined ? button.getAttribute("aria-pressed") !== "true" : value || null);
    this.refresh();
  }

  #apply(prop: string, value: Value | undefined): void {
    if (value === undefined) return;
    const [property, targets] = this.#targets(prop);
    const edit = () => targets.forEach((o) => {
      property.set(o, value as never);
      o.setCoords();
      o.group?.set("dirty", true);
    });
    this.editor.changeWhole(edit, `property ${prop}`);
  }

  refresh(): void {
    const { selection } = this.editor.stage;
    const kinds = new Set<string>(selection.length ? ["any"] : ["page"]);
    for (const o of selection) eachLeaf(o, (leaf) => kinds.add(typeOf(leaf)));
    if (selection.length > 1) kinds.add("several");
    if (selection.some((o) => o.isType("Group"))) kinds.add("Group");
    for (const section of this.#panel.querySelectorAll<HTMLElement>("[data-for]")) {
      section.hidden = !section.dataset.for!.split(" ").some((kind) => kinds.has(kind));
    }
    for (const field of this.#fields) {
      const [property, [first]] = this.#targets(field.dataset.prop!);
      if (first) this.#show(field, property.get(first));
    }
    this.#showPage();
  }

  #show(field: Field, value: Value): void {
    if (field instanceof HTMLButtonElement) {
      const on = field.dataset.value === undefined ? value === true : (value ?? "") === field.dataset.value;
      field.setAttribute("aria-pressed", String(on));
    } else if (field === document.activeElement && ["number", "text"].includes(field.type)) {
      return; // being typed in
    } else if (field instanceof HTMLSelectElement) {
      if (![...field.options].some((o) => o.value === value)) field.add(new Option(String(value)));
      field.value = String(value);
    } else if (field.type === "color") {
      field.value = String(value ?? "#ffffff");
      field.classList.toggle("none", value === null);
    } else field.value = value === null ? "" : String(value);
  }

  // ---- the page ----

  #listenForPage(): void {
    const [preset, w, h] = [$<HTMLSelectElement>("page-preset"), $<HTMLInputElement>("page-width"), $<HTMLInputElement>("page-height")];
    const setSize = (a: number, b: number) => {
      const valid = [a, b].every((n) => n >= 1 && n <= MAX_PAGE_SIDE);
      if (valid) this.editor.setPageFormat({ width: Math.round(a), height: Math.round(b) });
      this.refresh();
    };
    preset.addEventListener("change", () => {
      const [a, b] = preset.value.split("x").map(Number);
      if (a && b) setSize(a, b);
      else w.focus();
    });
    for (const field of [w, h]) field.addEventListener("change", () => setSize(w.valueAsNumber, h.valueAsNumber));
    const colour = $<HTMLInputElement>("page-background");
    const clear = $<HTMLInputElement>("page-transparent");
    colour.addEventListener("input", () => this.editor.setPageFormat({ background: colour.value }));
    clear.addEventListener("change", () => this.editor.setPageFormat({ background: clear.checked ? null : colour.value }));
  }

  #showPage(): void {
    const { width: w, height: h, background } = this.editor.pageData;
    const preset = $<HTMLSelectElement>("page-preset");
    preset.value = `${w}x${h}`;
    if (preset.selectedIndex < 0) preset.value = "custom";
    $<HTMLInputElement>("page-width").value = String(w);
    $<HTMLInputElement>("page-height").value = String(h);
    $<HTMLInputElement>("page-transparent").checked = background === null;
    if (background) $<HTMLInputElement>("page-background").value = background;
  }
}

const typeOf = (o: FabricObject): string => (o.constructor as typeof FabricObject).type;
