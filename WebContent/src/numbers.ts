// Numbers as the page's language writes them, and the fields that take them.
import { language } from "./language";

/** Far outside of any page, and far enough within what the project format takes that nothing adds up to more. */
const LIMIT = 100_000;
const decimalMarkOf = (tag: string): string =>
  new Intl.NumberFormat(tag).formatToParts(1.5).find((part) => part.type === "decimal")!.value;

/** "12,5" is 12.5 where the language writes so, "12.5" everywhere; undefined if the text is no number. */
export function readNumber(text: string, tag = language): number | undefined {
  const plain = text.normalize("NFKC").trim().replace(decimalMarkOf(tag), ".").replace("−", "-");
  return /^[-+]?(\d+\.?\d*|\.\d+)$/.test(plain) ? Number(plain) : undefined;
}
export const showNumber = (value: number, tag = language): string => String(value).replace(".", decimalMarkOf(tag));

/** The number in a field, or undefined, which the field shows, if it holds none within its limits. */
export function fieldNumber(field: HTMLInputElement): number | undefined {
  const [min, max] = [field.getAttribute("min") ?? -LIMIT, field.getAttribute("max") ?? LIMIT].map(Number);
  const value = readNumber(field.value);
  const valid = value !== undefined && value >= min! && value <= max!;
  field.setAttribute("aria-invalid", String(!valid));
  return valid ? value : undefined;
}

export const isNumberField = (target: EventTarget | null): target is HTMLInputElement =>
  target instanceof HTMLInputElement && target.inputMode === "decimal";

/** The arrow keys count up and down, by tens with Shift. */
export function listenToNumberFields(): void {
  document.addEventListener("keydown", (e) => {
    const by = { ArrowUp: 1, ArrowDown: -1 }[e.key];
    if (!by || !isNumberField(e.target) || e.ctrlKey || e.altKey) return;
    e.preventDefault();
    const field = e.target;
    const before = readNumber(field.value);
    if (before === undefined) return;
    const text = field.value;
    const step = (Number(field.step) || 1) * (e.shiftKey ? 10 : 1);
    field.value = showNumber(Math.round((before + by * step) * 1000) / 1000);
    if (fieldNumber(field) === undefined) field.value = text;
    else for (const event of ["input", "change"]) field.dispatchEvent(new Event(event, { bubbles: true }));
    fieldNumber(field);
  });
}
