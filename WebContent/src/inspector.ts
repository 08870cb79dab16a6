// The right-hand panel: properties of the selection, or of the page when nothing is selected. Which fields there
// are, and for which objects, stands in index.html: data-prop names the property, data-for the kinds it is for.
import type { FabricObject } from "fabric";
import type { Editor } from "./editor";
import { FontField } from "./fontField";
import { t } from "./language";
import { fieldNumber, isNumberField, showNumber } from "./numbers";
import type { ObjectEdits } from "./objectEdits";
import { leavesOf } from "./objects";
import type { Value } from "./paint";
import { LEAF, OBJECT, PAGE, type Property, WHOLE } from "./properties";
import { showSwatches } from "./swatches";
import { $ } from "./ui";

type Field = HTMLInputElement | HTMLSelectElement | HTMLButtonElement;

export class Inspector {
  readonly #panel = $("inspector");
  readonly #fields = [...this.#panel.querySelectorAll<Field>("[data-prop]")];
  readonly #font = new FontField($<HTMLInputElement>("font"), (family) => {
    this.#apply("fontFamily", family);
    this.refresh();
    this.editor.stage.editedText?.takeFocus();
  });
  /** The kinds of objects that a property is for. */
  readonly #kinds = new Map(this.#fields.map((f) => [f.dataset.prop!, f.closest<HTMLElement>("[data-for]")?.dataset.for?.split(" ") ?? []]));

  constructor(private readonly editor: Editor, private readonly edits: ObjectEdits) {
    for (const field of this.#fields) {
      if (field instanceof HTMLButtonElement || field.role === "combobox") continue;
      const prop = field.dataset.prop!;
      let before: Value | undefined;
      field.addEventListener("focus", () => (before = this.#read(field)));
      const isLate = PAGE[prop] && field.type !== "color"; // a page is resized to what was typed in the end
      field.addEventListener("input", () => isLate || this.#apply(prop, this.#read(field)));
      field.addEventListener("change", () => {
        if (isLate) this.#apply(prop, this.#read(field));
        // What was typed may have been a value on the way to what is none.
        else if (field.ariaInvalid === "true") this.#apply(prop, before);
        this.refresh();
      });
      field.addEventListener("blur", () => this.refresh());
    }
    this.#panel.addEventListener("click", (e) => {
      const button = (e.target as Element).closest<HTMLButtonElement>("button[data-value]");
      if (!button) return;
      this.#apply(button.dataset.prop!, button.dataset.value || null);
      this.refresh();
    });
  }

  /** The objects that a property belongs to. */
  #targets(prop: string, selection: readonly FabricObject[], leaves: readonly FabricObject[]): [Property, readonly FabricObject[]] {
    const { active } = this.editor.stage;
    if (WHOLE[prop]) return [WHOLE[prop], active ? [active] : []];
    if (OBJECT[prop]) return [OBJECT[prop], selection];
    return [LEAF[prop]!, leaves.filter((leaf) => this.#kinds.get(prop)!.includes(typeOf(leaf)))];
  }

  #read(field: HTMLInputElement | HTMLSelectElement): Value | undefined {
    if (field.type === "checkbox") return (field as HTMLInputElement).checked;
    if (isNumberField(field)) return fieldNumber(field);
    if (field.classList.contains("hex")) {
      if (field.value.trim() === "") return null;
      const hex = /^#?([0-9a-f]{6}|[0-9a-f]{3})$/i.exec(field.value.trim())?.[1];
      return hex && `#${hex.length === 3 ? hex.replace(/./g, "$&$&") : hex}`.toLowerCase();
    }
    return field.value;
  }

  #apply(prop: string, value: Value | undefined): void {
    if (value === undefined) return;
    if (PAGE[prop]) return this.editor.setPageFormat(PAGE[prop].change(value as never));
    const { edited } = this.editor.stage;
    const [property, targets] = this.#targets(prop, edited, leavesOf(edited));
    const edit = () => targets.forEach((o) => {
      property.set(o, value as never);
      o.setCoords();
      o.group?.set("dirty", true);
    });
    this.edits.changeWhole(edit, `property ${prop}`);
  }

  refresh(): void {
    const { edited: selection } = this.editor.stage;
    const leaves = leavesOf(selection);
    const kinds = new Set([selection.length ? "any" : "page", ...leaves.map(typeOf)]);
    if (selection.length > 1) kinds.add("several");
    if (selection.some((o) => o.isType("Group"))) kinds.add("Group");
    for (const section of this.#panel.querySelectorAll<HTMLElement>("[data-for]")) {
      section.hidden = !section.dataset.for!.split(" ").some((kind) => kinds.has(kind));
    }
    for (const field of this.#fields) {
      const prop = field.dataset.prop!;
      if (PAGE[prop]) {
        this.#show(field, PAGE[prop].get(this.editor.pageData));
        continue;
      }
      const [property, targets] = this.#targets(prop, selection, leaves);
      const values = new Set<Value>();
      for (const o of targets) {
        for (const value of property.get(o)) values.add(value);
        if (values.size > 1) break;
      }
      const [value] = values;
      if (value !== undefined) this.#show(field, values.size > 1 ? undefined : value);
    }
    if (leaves.length > 0) showSwatches(this.editor);
  }

  /** Shows a value, or, given none, that the selected objects have different ones. */
  #show(field: Field, value: Value | undefined): void {
    const mixed = value === undefined;
    if (field.role === "combobox") {
      this.#font.show(value as string | undefined);
    } else if (field instanceof HTMLButtonElement) {
      const on = field.dataset.value === undefined ? value === true : (value ?? "") === field.dataset.value && !mixed;
      field.setAttribute("aria-pressed", mixed && field.dataset.value === undefined ? "mixed" : String(on));
    } else if (field === document.activeElement && field.type === "text") {
      return; // being typed in
    } else if (field instanceof HTMLSelectElement) {
      field.value = mixed ? "" : String(value); // an empty field, as none is chosen
    } else if (field.type === "checkbox") {
      field.checked = value === true;
    } else if (field.type === "color") {
      field.value = String(value ?? field.value);
      field.classList.toggle("none", value === null);
      field.classList.toggle("mixed", mixed);
    } else {
      field.value = typeof value === "number" ? showNumber(value) : String(value ?? "");
      field.removeAttribute("aria-invalid");
      field.placeholder = mixed ? t("Mixed") : field.classList.contains("hex") ? t("None") : "";
    }
  }
}

const typeOf = (o: FabricObject): string => (o.constructor as typeof FabricObject).type;
