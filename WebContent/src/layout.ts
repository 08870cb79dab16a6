// Text boxes whose layout costs what changes: in a text of one style a paragraph that is as before is not taken apart
// again and a pair of letters is measured once; rows out of sight are not drawn. What comes out is what fabric makes.
import { type GraphemeBBox, Textbox } from "fabric";

interface Paragraph {
  letters: string[];
  words: { letters: string[]; width: number }[];
  widestWord: number;
  /** Broken into rows at this width. */
  width: number;
  rows: string[][];
  texts: string[];
}

const SINGLE_LETTERS = /^[\n -~\u00a0-\u02ff]*$/; // none that belongs to the one before

export class LaidOutText extends Textbox {
  // Without initial values: the base class's constructor lays out the text already.
  private declare font: string;
  private declare paragraphs: Map<string, Paragraph>;
  private declare boxes: Map<string, Map<string, GraphemeBBox>>;
  /** Measured rows, by the list of their letters. */
  private declare rows: WeakMap<string[], { boxes: GraphemeBBox[]; size: ReturnType<Textbox["_measureLine"]> }>;

  private get hasOneStyle(): boolean {
    if (this.charSpacing !== 0) return false;
    for (const line in this.styles) for (const _ in this.styles[line]) return false;
    return true;
  }

  override graphemeSplit(text: string): string[] {
    return SINGLE_LETTERS.test(text) ? text.split("") : super.graphemeSplit(text);
  }

  override _clearCache(): void {
    super._clearCache();
    const font = [this.fontFamily, this.fontSize, this.fontWeight, this.fontStyle, this.deltaY].join();
    if (font === this.font) return;
    this.font = font;
    this.paragraphs = new Map();
    this.boxes = new Map();
    this.rows = new WeakMap();
  }

  override _getGraphemeBox(letter: string, line: number, at: number, before?: string, skipLeft?: boolean): GraphemeBBox {
    if (!this.hasOneStyle) return super._getGraphemeBox(letter, line, at, before, skipLeft);
    let after = this.boxes.get(before ?? "");
    if (!after) this.boxes.set(before ?? "", (after = new Map()));
    let box = after.get(letter);
    if (!box) after.set(letter, (box = super._getGraphemeBox(letter, line, at, before, true)));
    if (skipLeft) return box;
    const previous = at > 0 ? this.__charBounds[line]![at - 1]! : undefined;
    const left = previous ? previous.left + previous.width + box.kernedWidth - box.width : 0;
    return { ...box, left };
  }

  override _measureLine(line: number): ReturnType<Textbox["_measureLine"]> {
    if (!this.hasOneStyle || this.textAlign.startsWith("justify")) return super._measureLine(line); // widened in place afterwards
    const letters = this._textLines[line]!;
    let row = this.rows.get(letters);
    if (!row) {
      const size = super._measureLine(line);
      this.rows.set(letters, (row = { boxes: this.__charBounds[line]!, size }));
    }
    this.__charBounds[line] = row.boxes;
    return { ...row.size };
  }

  override getHeightOfChar(line: number, at: number): number {
    return this.hasOneStyle ? this.fontSize : super.getHeightOfChar(line, at);
  }

  override _splitTextIntoLines(text: string): ReturnType<Textbox["_splitTextIntoLines"]> {
    const lines = text.split(this._reNewline);
    const oneStyle = this.hasOneStyle && !this.splitByGrapheme;
    const paragraphs = lines.map((line) => this.paragraphs.get(line) ?? this.takeApart(line, oneStyle));
    this.paragraphs = new Map(oneStyle ? paragraphs.map((p, i) => [lines[i]!, p]) : []);
    const graphemeText: string[] = [];
    for (const [i, { letters }] of paragraphs.entries()) {
      if (i > 0) graphemeText.push("\n");
      for (const letter of letters) graphemeText.push(letter);
    }
    if (oneStyle) this.breakRows(paragraphs);
    const graphemeLines = oneStyle ? paragraphs.flatMap((p) => p.rows) : this._wrapText(lines, this.width);
    const texts = oneStyle ? paragraphs.flatMap((p) => p.texts) : graphemeLines.map((row) => row.join(""));
    return { _unwrappedLines: paragraphs.map((p) => p.letters), lines: texts, graphemeText, graphemeLines };
  }

  private takeApart(line: string, measured: boolean): Paragraph {
    const words = (measured ? this.wordSplit(line) : []).map((word) => {
      const letters = this.graphemeSplit(word);
      return { letters, width: this._measureWord(letters, 0) };
    });
    const widestWord = words.reduce((widest, { width }) => Math.max(widest, width), 0);
    return { letters: this.graphemeSplit(line), words, widestWord, width: -1, rows: [], texts: [] };
  }

  private breakRows(paragraphs: Paragraph[]): void {
    const space = this._measureWord([" "], 0);
    const widestWord = paragraphs.reduce((widest, p) => Math.max(widest, p.widestWord), 0);
    const width = Math.max(this.width, widestWord, this.dynamicMinWidth);
    for (const paragraph of paragraphs) {
      if (paragraph.width === width) continue;
      paragraph.width = width;
      paragraph.rows = [];
      let row: string[] = [];
      let reached = 0;
      for (const [i, word] of paragraph.words.entries()) {
        reached += (i > 0 ? space : 0) + word.width;
        if (reached > width && i > 0) {
          paragraph.rows.push(row);
          row = [];
          reached = word.width;
        } else if (i > 0) row.push(" ");
        for (const letter of word.letters) row.push(letter);
      }
      paragraph.rows.push(row);
      paragraph.texts = paragraph.rows.map((r) => r.join(""));
    }
    if (widestWord > this.dynamicMinWidth) this.dynamicMinWidth = widestWord;
  }

  override _renderTextCommon(ctx: CanvasRenderingContext2D, method: "fillText" | "strokeText"): void {
    if (this.shadow) return super._renderTextCommon(ctx, method); // what is out of sight may throw one into it
    const { width, height } = ctx.canvas;
    const toText = ctx.getTransform().inverse();
    const rows = [[0, 0], [width, 0], [0, height], [width, height]].map(([x, y]) => toText.transformPoint({ x, y }).y);
    const [first, last] = [Math.min(...rows), Math.max(...rows)];
    ctx.save();
    for (let i = 0, above = 0; i < this._textLines.length; i++) {
      const top = this._getTopOffset() + above;
      const height = this["getHeightOfLineImpl"](i);
      const margin = height + this.strokeWidth;
      if (top + height + margin > first && top - margin < last) {
        this._renderTextLine(method, ctx, this._textLines[i]!, this._getLeftOffset() + this._getLineLeftOffset(i), top + height, i);
      }
      above += this.getHeightOfLine(i);
    }
    ctx.restore();
  }

  override toObject(keys: any[] = []): any {
    const { text } = this;
    if (this.hasOneStyle) this.text = ""; // fabric counts all of its letters, in order to place styles that there are none of
    const data = super.toObject(keys);
    this.text = text;
    return { ...data, text };
  }
}
