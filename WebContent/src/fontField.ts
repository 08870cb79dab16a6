// The field for a font: typed letters and the arrow keys choose from a list that shows each family in its own face.
import { t } from "./language";
import { shell } from "./shell";
import { $, painted } from "./ui";

/** Those that the engine always has one for. */
const GENERIC: Record<string, string> = { "sans-serif": t("Sans serif"), serif: t("Serif"), monospace: t("Monospace"), cursive: t("Cursive") };
const nameOf = (family: string): string => GENERIC[family] ?? family;

export class FontField {
  readonly #list = $("fonts");
  #families = Object.keys(GENERIC);
  #shown: string | undefined;
  #rows: HTMLLIElement[] = [];
  /** The row that Enter chooses. */
  #at = -1;

  constructor(private readonly field: HTMLInputElement, private readonly pick: (family: string) => void) {
    void painted().then(async () => {
      const families = await shell.fonts(); // nothing that is seen at first needs one of them
      this.#families.push(...families.sort(new Intl.Collator().compare));
      this.show(this.#shown);
    });
    field.addEventListener("click", () => (field.select(), this.#open()));
    field.addEventListener("input", () => this.#open(field.value));
    field.addEventListener("blur", () => this.#close());
    field.addEventListener("keydown", (e) => this.#key(e));
    this.#list.addEventListener("mousedown", (e) => e.preventDefault()); // the field keeps the keys
    this.#list.addEventListener("click", (e) => this.#close((e.target as Element).closest("li")));
  }

  /** Shows a family, or, given none, that there are several. */
  show(family: string | undefined): void {
    this.#shown = family;
    const names = (family ?? "").toLowerCase().split(",").map((name) => name.trim().replace(/^["']|["']$/g, ""));
    const isMissing = !this.#families.some((known) => names.includes(known.toLowerCase()));
    $("font-missing").hidden = !(isMissing && family && this.#families.length > Object.keys(GENERIC).length);
    if (this.#isOpen) return; // being typed in
    this.field.value = nameOf(family ?? "");
    this.field.placeholder = t("Mixed");
  }

  get #isOpen(): boolean {
    return this.field.ariaExpanded === "true";
  }

  /** Opens the list with the families that have what was typed in their names. */
  #open(typed = ""): void {
    const families = this.#families.filter((family) => nameOf(family).toLowerCase().includes(typed.trim().toLowerCase()));
    this.#rows = families.map((family, i) => {
      const row = Object.assign(document.createElement("li"), { id: `font-${i}`, role: "option", textContent: nameOf(family), title: nameOf(family) });
      row.style.fontFamily = GENERIC[family] ? family : JSON.stringify(family); // loaded when the row comes in sight: see style.css
      row.dataset.family = family;
      return row;
    });
    this.#list.replaceChildren(...this.#rows);
    if (!this.#isOpen) this.#list.showPopover();
    this.field.ariaExpanded = "true";
    const { right, bottom } = this.field.getBoundingClientRect();
    Object.assign(this.#list.style, { right: `${innerWidth - right}px`, top: `${bottom + 2}px`, maxHeight: `${innerHeight - bottom - 12}px` });
    this.#mark(Math.max(families.indexOf(this.#shown ?? ""), typed ? 0 : -1));
  }

  #mark(at: number): void {
    this.#at = at;
    this.#rows.forEach((row, i) => (row.ariaSelected = String(i === at)));
    this.#rows[at]?.scrollIntoView({ block: "nearest" });
    this.field.setAttribute("aria-activedescendant", this.#rows[at]?.id ?? "");
  }

  #close(chosen?: HTMLLIElement | null): void {
    if (!this.#isOpen) return;
    this.#list.hidePopover();
    this.field.ariaExpanded = "false";
    this.field.removeAttribute("aria-activedescendant");
    this.show(this.#shown);
    if (chosen) this.pick(chosen.dataset.family!);
  }

  #key(e: KeyboardEvent): void {
    const step = { ArrowDown: 1, ArrowUp: -1, PageDown: 8, PageUp: -8 }[e.key];
    if (!this.#isOpen && !(step && Math.abs(step) === 1)) return;
    if (!this.#isOpen) this.#open();
    else if (step) this.#mark(Math.max(0, Math.min(this.#rows.length - 1, this.#at + step)));
    else if (e.key === "Enter") this.#close(this.#rows[this.#at]);
    else if (e.key === "Escape") this.#close();
    else return;
    e.preventDefault();
    e.stopPropagation();
  }
}
