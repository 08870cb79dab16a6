// Text on the canvas: grows from its left upper corner, and takes styles for a part of it while it is edited.
import { classRegistry, type FabricObject, type TextStyleDeclaration } from "fabric";
import { LaidOutText } from "./layout";

/** What a part of a text may have of its own. */
const CHARACTER_KEYS = ["fill", "stroke", "strokeWidth", "fontFamily", "fontSize", "fontWeight", "fontStyle", "underline"] as const;
export type CharacterKey = (typeof CHARACTER_KEYS)[number];
const isCharacterKey = (key: string): key is CharacterKey => (CHARACTER_KEYS as readonly string[]).includes(key);

export function keepTopLeft(object: FabricObject, change: () => void): void {
  const corner = object.getPositionByOrigin("left", "top");
  change();
  object.setPositionByOrigin(corner, "left", "top");
}

export class CanvasText extends LaidOutText {
  static override type = "Textbox";
  /** False while the object is made: what it is made from says where its centre is. */
  private anchored = true;
  private hasScreen = true;
  /** The style of what is typed next, where it differs from that of the letter before. */
  private pending: TextStyleDeclaration | undefined;

  override initDimensions(): void {
    const measure = () => super.initDimensions();
    if (this.anchored) keepTopLeft(this, measure);
    else measure();
  }

  /** On the screen alone: a picture of the page is drawn while a text is edited too. */
  override render(ctx: CanvasRenderingContext2D): void {
    this.hasScreen = ctx === this.canvas?.getContext();
    super.render(ctx);
    this.hasScreen = true;
  }
  override renderCursorOrSelection(): void {
    if (this.hasScreen) super.renderCursorOrSelection();
  }

  /** Moves by words with Ctrl, and to the ends of the text with Ctrl+Home and Ctrl+End. */
  override _move(e: KeyboardEvent, end: "selectionStart" | "selectionEnd", direction: "Left" | "Right"): boolean {
    if (!e.ctrlKey) return super._move(e, end, direction);
    const before = this[end];
    this[end] = { Home: 0, End: this._text.length }[e.key] ?? this[`findWordBoundary${direction}`](before);
    return this[end] !== before;
  }

  override _moveCursorLeftOrRight(direction: "Left" | "Right", e: KeyboardEvent): void {
    const far = e.ctrlKey || e.altKey || e.key === "Home" || e.key === "End";
    if (far && !e.shiftKey) this.selectionStart = this.selectionEnd = direction === "Left" ? this.selectionStart : this.selectionEnd;
    super._moveCursorLeftOrRight(direction, e);
  }

  /** Takes the keys again after a control of the page had them. */
  takeFocus(): void {
    this.hiddenTextarea?.focus({ preventScroll: true });
    if (this.selectionStart === this.selectionEnd) this.initDelayedCursor();
  }

  edit(cursor?: number): void {
    this.enterEditing();
    if (cursor === undefined) this.selectAll();
    else {
      this.selectionStart = this.selectionEnd = Math.min(cursor, this._text.length);
      this._fireSelectionChanged();
      this._updateTextarea();
    }
  }

  /** Whether letters are typed at a cursor, none of them selected. */
  get hasCursor(): boolean {
    return this.isEditing && this.selectionStart === this.selectionEnd;
  }
  /** Where a part of the text is selected, its ends. */
  private get part(): [number, number] | undefined {
    const { selectionStart: from, selectionEnd: to } = this;
    return this.isEditing && from < to && to - from < this._text.length ? [from, to] : undefined;
  }

  /** The different values in the selected part, at the cursor, or else in the whole text. */
  valuesOf(key: string): unknown[] {
    if (!isCharacterKey(key) || Object.keys(this.styles).length === 0) return [this.pending?.[key as CharacterKey] ?? this.get(key)];
    if (this.pending?.[key] !== undefined) return [this.pending[key]];
    const cursor = Math.max(1, this.selectionStart);
    const [from, to] = this.part ?? (this.hasCursor ? [cursor - 1, cursor] : [0, this._text.length]);
    return [...new Set(this.getSelectionStyles(from, to, true).map((style) => style[key] ?? this.get(key)))];
  }

  /** Changes the selected part, or the whole text where no part is selected. */
  style(key: string, value: unknown): void {
    if (isCharacterKey(key) && this.part) this.setSelectionStyles({ [key]: value }, ...this.part);
    else {
      if (isCharacterKey(key)) this.removeStyle(key);
      this.set(key, value);
    }
    this.set("dirty", true);
    this.initDimensions();
  }

  /** The style of what is typed next at the cursor. */
  styleNext(key: CharacterKey, value: unknown): void {
    this.pending = { ...this.pending, [key]: value };
  }

  override _fireSelectionChanged(): void {
    this.pending = undefined;
    super._fireSelectionChanged();
  }
  override insertNewStyleBlock(inserted: string[], start: number, copied?: TextStyleDeclaration[]): void {
    const { pending } = this;
    const before = start > 0 ? (this.getStyleAtPosition(start - 1) as TextStyleDeclaration) : {};
    super.insertNewStyleBlock(inserted, start, pending ? inserted.map((_, i) => ({ ...(copied?.[i] ?? before), ...pending })) : copied);
  }
}
classRegistry.setClass(CanvasText);
