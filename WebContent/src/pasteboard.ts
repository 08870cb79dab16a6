// Objects that are added from elsewhere, and copies.
import { Point, util } from "fabric";
import type { Editor } from "./editor";
import { AssetImage, images } from "./images";
import { t } from "./language";
import type { ObjectEdits } from "./objectEdits";
import { createObjects, createShape } from "./objects";
import { PagePicture } from "./picture";
import { type Clipboard, type ObjectData, readClipboard, writeClipboard } from "./project";
import { shell } from "./shell";
import { looksLikeSvg, readSvg } from "./svg";
import type { CanvasText } from "./text";
import { guarded } from "./ui";

const OFFSET = 24; // between what was copied and the copy
const MOST_PIXELS = 2 ** 24; // of a picture for other programs

export class Pasteboard {
  #pastes = 0;
  #copied = "";

  /** Texts that are dropped on the page are as good as pasted ones; files come from the shell. Nothing takes the page away. */
  constructor(private readonly editor: Editor, private readonly edits: ObjectEdits) {
    document.addEventListener("dragover", (e) => e.preventDefault());
    document.addEventListener("drop", guarded((e: DragEvent) => {
      e.preventDefault();
      const text = e.dataTransfer?.getData("text/plain") ?? "";
      if (text.trim()) return this.pasteText(text);
      throw new Error(t("Nothing that was dropped can be read here. “Add image” (I) takes image files."));
    }));
  }

  /** Adds an image at its own size, or smaller so that it fits the page. */
  async addImage(dataURL: string, at?: Point): Promise<void> {
    const { width, height } = this.editor.pageData;
    const image = await AssetImage.fromObject({ asset: await images.add(dataURL), strokeWidth: 0 });
    image.scale(Math.min(1, util.findScaleToFit(image, { width, height })));
    image.setXY(at ?? new Point(width / 2, height / 2));
    this.editor.stage.place(image);
  }

  /** Copies the selected objects; false if there are none. */
  copy(): boolean {
    const objects = this.editor.stage.selectedData;
    if (objects.length === 0) return false;
    this.#pastes = 0;
    this.#copied = writeClipboard({ objects, assets: images.assets });
    guarded(() => shell.copy(this.#copied, this.#picture()))();
    return true;
  }
  /** Makes a PNG file of what is selected now. */
  #picture(): () => Promise<ArrayBuffer> {
    const page = { ...this.editor.selectionAsPage!, background: null };
    return async () => {
      const picture = await PagePicture.of(page, Math.min(1, Math.sqrt(MOST_PIXELS / (page.width * page.height))));
      const file = await new Promise<Blob | null>((resolve) => picture.draw().toBlob(resolve));
      picture.free();
      return file!.arrayBuffer();
    };
  }
  async paste(text: string): Promise<void> {
    const clipboard = readClipboard(text);
    this.#pastes = text === this.#copied ? this.#pastes + 1 : 1;
    await this.#insert(clipboard, this.#pastes * OFFSET);
  }
  /** Text of another program; an SVG drawing becomes a group of objects. */
  async pasteText(text: string): Promise<void> {
    if (looksLikeSvg(text)) {
      this.editor.stage.place(...(await createObjects(await readSvg(text, this.editor.pageData))));
      return this.edits.group();
    }
    const { width, height } = this.editor.pageData;
    const box = createShape("Textbox", new Point(width / 6, height / 2), new Point((width * 5) / 6, height / 2)) as CanvasText;
    box.set({ text: text.replace(/\r\n?/g, "\n"), left: width / 2, top: height / 2 });
    this.editor.stage.place(box);
  }
  async duplicate(): Promise<void> {
    await this.#insert({ objects: this.editor.stage.selectedData, assets: {} }, OFFSET);
  }
  async #insert({ objects, assets }: Clipboard, offset: number): Promise<void> {
    const names = new Map<string, string>();
    for (const [name, data] of Object.entries(assets)) names.set(name, await images.add(data));
    const renamed = JSON.stringify(objects, (key, value) => (key === "asset" ? (names.get(value) ?? value) : value));
    const created = await createObjects(JSON.parse(renamed) as ObjectData[]);
    for (const o of created) o.set({ left: o.left + offset, top: o.top + offset });
    if (created.length > 0) this.editor.stage.place(...created);
  }
}
