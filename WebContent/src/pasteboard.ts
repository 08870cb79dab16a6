// Objects that are added from elsewhere, and copies.
import { Point } from "fabric";
import type { Editor } from "./editor";
import { images } from "./images";
import type { ObjectEdits } from "./objectEdits";
import { createImage, createObjects, createShape } from "./objects";
import { type Clipboard, type ObjectData, readClipboard, writeClipboard } from "./project";
import { looksLikeSvg, readSvg } from "./svg";
import type { CanvasText } from "./text";

const OFFSET = 24; // between what was copied and the copy

export class Pasteboard {
  #pastes = 0;
  #copied = "";

  constructor(private readonly editor: Editor, private readonly edits: ObjectEdits) {}

  async addImage(dataURL: string, at?: Point): Promise<void> {
    const { width, height } = this.editor.pageData;
    const image = await createImage(dataURL, width, height);
    image.setXY(at ?? new Point(width / 2, height / 2));
    this.editor.stage.place(image);
  }

  /** The objects of an SVG drawing, as a group. */
  async addSvg(source: string): Promise<void> {
    this.editor.stage.place(...(await createObjects(await readSvg(source, this.editor.pageData))));
    this.edits.group();
  }

  /** The selected objects as text, or undefined if nothing is selected. */
  copy(): string | undefined {
    const objects = this.editor.stage.selectedData;
    if (objects.length === 0) return undefined;
    this.#pastes = 0;
    return (this.#copied = writeClipboard({ objects, assets: images.assets }));
  }
  async paste(text: string): Promise<void> {
    const clipboard = readClipboard(text);
    this.#pastes = text === this.#copied ? this.#pastes + 1 : 1;
    await this.#insert(clipboard, this.#pastes * OFFSET);
  }
  /** Text of another program. */
  pasteText(text: string): void | Promise<void> {
    if (looksLikeSvg(text)) return this.addSvg(text);
    const { width, height } = this.editor.pageData;
    const box = createShape("Textbox", width / 6, height / 2, (width * 5) / 6, height / 2) as CanvasText;
    box.set({ text: text.replace(/\r\n?/g, "\n"), left: width / 2, top: height / 2 });
    this.editor.stage.place(box);
  }
  async duplicate(): Promise<void> {
    await this.#insert({ objects: this.editor.stage.selectedData, assets: {} }, OFFSET);
  }
  async #insert({ objects, assets }: Clipboard, offset: number): Promise<void> {
    const names = new Map<string, string>();
    for (const [name, data] of Object.entries(assets)) names.set(name, await images.add(data));
    const renamed = (o: ObjectData): ObjectData => ({
      ...o,
      ...(o.asset !== undefined && { asset: names.get(o.asset) ?? o.asset }),
      ...(o.objects && { objects: o.objects.map(renamed) }),
    });
    const created = await createObjects(objects.map(renamed));
    for (const o of created) o.set({ left: o.left + offset, top: o.top + offset });
    if (created.length > 0) this.editor.stage.place(...created);
  }
}
