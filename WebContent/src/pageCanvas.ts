// The canvas of one page: what it draws below, above and around the objects.
import { Canvas, type FabricObject, type Group } from "fabric";
import { groupAround } from "./objects";
import type { ObjectData, PageData } from "./project";
import { dataOf } from "./record";
import { StillLayers } from "./still";
import { CanvasText } from "./text";

export type PageFormat = Omit<PageData, "objects">;

/**
 * Draws the page below its objects and dims what lies outside of it. While something is dragged or a text is edited, what
 * lies below and above it is drawn once.
 */
export class PageCanvas extends Canvas {
  page: PageFormat = { width: 1, height: 1, background: null };
  #outside = "";
  #edge = "";
  #checks: CanvasPattern | null = null;
  #still: StillLayers | undefined;

  useTheme(): void {
    const style = getComputedStyle(document.documentElement);
    this.#outside = style.getPropertyValue("--outside");
    this.#edge = style.getPropertyValue("--page-edge");
    this.selectionColor = style.getPropertyValue("--marquee");
    this.selectionBorderColor = style.getPropertyValue("--accent");
    this.#checks = null;
    this.requestRenderAll();
  }

  #pageBox(): [number, number, number, number] {
    const [zoom, , , , x, y] = this.viewportTransform;
    return [x, y, this.page.width * zoom, this.page.height * zoom];
  }

  #checkerboard(ctx: CanvasRenderingContext2D): CanvasPattern | string {
    if (!this.#checks) {
      const tile = new OffscreenCanvas(16, 16);
      const t = tile.getContext("2d")!;
      t.fillStyle = "#ffffff";
      t.fillRect(0, 0, 16, 16);
      t.fillStyle = "#dcdfe5";
      t.fillRect(0, 0, 8, 8);
      t.fillRect(8, 8, 8, 8);
      this.#checks = ctx.createPattern(tile, "repeat");
    }
    return this.#checks ?? "#ffffff";
  }

  /** What the document knows of an object on this canvas. */
  dataOf(object: FabricObject): ObjectData {
    return dataOf(object, this.isSelected(object), () => this._toObject(object, "toObject", []));
  }
  /** Whether an object is selected, or something in it. */
  isSelected(object: FabricObject): boolean {
    const active = this._activeObject;
    if (!active || object === active || object.group === active) return active !== undefined;
    let around = groupAround(active);
    while (around && around !== object) around = around.parent as Group | undefined;
    return around !== undefined;
  }

  /** Puts these objects on the canvas, in this order; those that are on it already stay. */
  arrange(objects: FabricObject[]): void {
    const [before, after] = [new Set(this._objects), new Set(objects)];
    this.remove(...this._objects.filter((o) => !after.has(o)));
    this.add(...objects.filter((o) => !before.has(o)));
    this._objects = [...objects];
    this.requestRenderAll();
  }

  /** The first and the last of the objects that are being changed by hand, by their places in the pile. */
  #changing(objects: FabricObject[]): [number, number] | undefined {
    const active = this._activeObject;
    const isEdited = active instanceof CanvasText && active.isEditing;
    if (!active || !(isEdited || this._currentTransform?.actionPerformed)) return undefined;
    const isActive = (o: FabricObject) => this.isSelected(o);
    const first = objects.findIndex(isActive);
    return first < 0 ? undefined : [first, objects.findLastIndex(isActive)];
  }

  override _renderObjects(ctx: CanvasRenderingContext2D, objects: FabricObject[]): void {
    const changing = ctx === this.getContext() ? this.#changing(objects) : undefined;
    if (!changing) {
      if (ctx === this.getContext()) this.#still = undefined;
      return super._renderObjects(ctx, objects);
    }
    const [first, last] = changing;
    const [below, above] = [objects.slice(0, first), objects.slice(last + 1)];
    const draw = (layer: CanvasRenderingContext2D, still: FabricObject[]) => super._renderObjects(layer, still);
    if (!this.#still?.shows(ctx, this.page, below, above)) this.#still = new StillLayers(ctx, this.page, below, above, draw);
    this.#still.drawBelow(ctx);
    draw(ctx, objects.slice(first, last + 1));
    this.#still.drawAbove(ctx);
  }

  /** A small picture of the page as it is now. */
  picture(scale: number): HTMLCanvasElement {
    const canvas = document.createElement("canvas");
    canvas.width = Math.max(1, Math.round(this.page.width * scale));
    canvas.height = Math.max(1, Math.round(this.page.height * scale));
    const ctx = canvas.getContext("2d", { willReadFrequently: true })!;
    ctx.fillStyle = this.page.background ?? "transparent";
    ctx.fillRect(0, 0, canvas.width, canvas.height);
    ctx.scale(scale, scale);
    const { viewportTransform } = this; // shadows follow it
    Object.assign(this, { skipOffscreen: false, viewportTransform: [scale, 0, 0, scale, 0, 0] });
    super._renderObjects(ctx, this._objects);
    Object.assign(this, { skipOffscreen: true, viewportTransform });
    return canvas;
  }

  override _renderBackground(ctx: CanvasRenderingContext2D): void {
    ctx.fillStyle = this.page.background ?? this.#checkerboard(ctx);
    ctx.fillRect(...this.#pageBox());
  }

  override _renderOverlay(ctx: CanvasRenderingContext2D): void {
    const box = this.#pageBox();
    ctx.save();
    ctx.beginPath();
    ctx.rect(0, 0, this.width, this.height);
    ctx.rect(...box);
    ctx.fillStyle = this.#outside;
    ctx.fill("evenodd");
    ctx.strokeStyle = this.#edge;
    ctx.strokeRect(box[0] - 0.5, box[1] - 0.5, box[2] + 1, box[3] + 1);
    ctx.restore();
  }
}
