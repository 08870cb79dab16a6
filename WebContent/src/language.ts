// The language of the page: that of the menus, which the engine knows too. Every text that people read is English in
// index.html and in the sources, there as an argument of `t`, and looked up in languages/.
import de from "../languages/de.json";
import fr from "../languages/fr.json";
import ja from "../languages/ja.json";

const CATALOGUES: Record<string, Record<string, string>> = { en: {}, de, fr, ja };

/** The first wanted language that there are texts in, with its region if it is said. */
export function chooseLanguage(wanted: readonly string[]): string {
  return wanted.find((tag) => CATALOGUES[tag.slice(0, 2).toLowerCase()] && /^\w\w(-|$)/.test(tag)) ?? "en";
}

export const language = chooseLanguage(globalThis.navigator?.languages ?? []);
const texts = CATALOGUES[language.slice(0, 2).toLowerCase()]!;

/** A text in the page's language; `{name}` stands for a value. */
export const t = (text: string, values: Record<string, string | number> = {}): string =>
  (texts[text] ?? text).replace(/\{(\w+)\}/g, (_, name: string) => String(values[name]));

const ATTRIBUTES = ["aria-label", "aria-roledescription", "placeholder", "data-empty"];

/** Puts all that index.html says into the page's language, and names the keys of its commands. */
export function translatePage(keysOf: (command: string) => string | undefined): void {
  document.documentElement.lang = language;
  const nodes = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (nodes.nextNode()) {
    const { data } = nodes.currentNode as Text;
    if (data.trim()) (nodes.currentNode as Text).data = data.replace(data.trim(), t(data.trim()));
  }
  for (const attribute of ATTRIBUTES) {
    for (const e of document.querySelectorAll(`[${attribute}]`)) e.setAttribute(attribute, t(e.getAttribute(attribute)!));
  }
  for (const e of document.querySelectorAll<HTMLElement>("button[data-command], button[data-prop], label:has([aria-label])")) {
    const name = (e.getAttribute("aria-label") ?? e.querySelector("[aria-label]")?.getAttribute("aria-label") ?? e.textContent!).trim();
    const keys = e.dataset.command && keysOf(e.dataset.command);
    e.title = keys ? t("{name} ({keys})", { name, keys: showKeys(keys) }) : name;
    if (keys) e.setAttribute("aria-keyshortcuts", keys.replace("Ctrl", "Control"));
    if (keys) e.dataset.keys = showKeys(keys);
  }
}

/** Keys as they are printed on the keyboard. */
export function showKeys(chord: string): string {
  const named: Record<string, string> = {
    Ctrl: t("Ctrl"), Alt: t("Alt"), Shift: t("Shift"), Delete: t("Del"), Escape: t("Esc"), Enter: t("Enter"), Tab: t("Tab"), Space: t("Space"), PageUp: t("Page Up"),
    PageDown: t("Page Down"), Backspace: "⌫", ArrowUp: "↑", ArrowDown: "↓", ArrowLeft: "←", ArrowRight: "→",
  };
  return chord.split(/\+(?!$)/).map((key) => named[key] ?? key.toUpperCase()).join("+");
}
