// The canvas of one page: what it draws below, above and around the objects.
import { ActiveSelection, Canvas, FabricObject, type TPointerEvent } from "fabric";
import { groupAround } from "./objects";
import type { ObjectData, PageData } from "./project";
import { dataOf, describe } from "./record";
import { newSheet } from "./sheets";
import { StillLayers } from "./still";
import { CanvasText } from "./text";

export type PageFormat = Omit<PageData, "objects">;

const TURN = 8; // ms

// Only the selected object has handles; where they would be is not worked out for all others.
const { setCoords, findControl } = FabricObject.prototype;
const isActive = (o: FabricObject): boolean => o.canvas?._activeObject === o;
FabricObject.prototype.setCoords = function (this: FabricObject) {
  if (isActive(this)) setCoords.call(this);
  else this.aCoords = this.calcACoords();
};
FabricObject.prototype.findControl = function (this: FabricObject, ...at: Parameters<typeof findControl>) {
  this.__corner = undefined;
  return isActive(this) ? findControl.apply(this, at) : undefined;
};

/** Seen where a page is transparent. */
function checkerboard(ctx: CanvasRenderingContext2D): CanvasPattern {
  const tile = newSheet(16, 16);
  tile.fillStyle = "#ffffff";
  tile.fillRect(0, 0, 16, 16);
  tile.fillStyle = "#dcdfe5";
  tile.fillRect(0, 0, 8, 8);
  tile.fillRect(8, 8, 8, 8);
  return ctx.createPattern(tile.canvas, "repeat")!;
}

/**
 * Draws the page below its objects and dims what lies outside of it. While something is dragged or a text is edited, what
 * lies below and above it is drawn once.
 */
export class PageCanvas extends Canvas {
  page: PageFormat = { width: 1, height: 1, background: null };
  #outside = "";
  #edge = "";
  readonly #checks = checkerboard(this.getContext());
  #still: StillLayers | undefined;

  useTheme(): void {
    const style = getComputedStyle(document.documentElement);
    this.#outside = style.getPropertyValue("--outside");
    this.#edge = style.getPropertyValue("--page-edge");
    this.selectionColor = style.getPropertyValue("--marquee");
    this.selectionBorderColor = style.getPropertyValue("--accent");
    this.requestRenderAll();
  }

  #pageBox(): [number, number, number, number] {
    const [zoom, , , , x, y] = this.viewportTransform;
    return [x, y, this.page.width * zoom, this.page.height * zoom];
  }

  /** What the document knows of an object on this canvas. */
  dataOf(object: FabricObject): ObjectData {
    return dataOf(object, this.isSelected(object), () => this._toObject(object, "toObject", []));
  }
  /** Whether an object is selected, or something in it. */
  isSelected(object: FabricObject): boolean {
    const active = this._activeObject;
    if (!active || object === active || object.group === active) return active !== undefined;
    const around = groupAround(active);
    return around === object || (around?.isDescendantOf(object) ?? false);
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
    if (ctx !== this.getContext()) return super._renderObjects(ctx, objects);
    const draw = (layer: CanvasRenderingContext2D, still: FabricObject[]) => super._renderObjects(layer, still);
    const changing = this.#changing(objects);
    if (changing) {
      const [below, above] = [objects.slice(0, changing[0]), objects.slice(changing[1] + 1)];
      if (!this.#still?.shows(ctx, this.page, below, above)) this.#still = new StillLayers(ctx, this.page, below, above, draw);
    }
    const between = changing ? objects.slice(changing[0], changing[1] + 1) : this.#still?.between(ctx, this.page, objects);
    if (!between) {
      this.#still = undefined;
      return draw(ctx, objects);
    }
    this.#still!.drawBelow(ctx);
    draw(ctx, between);
    this.#still!.drawAbove(ctx);
  }

  /** A small picture of the page as it is now, drawn in short turns; undefined if that is no longer wanted in between. */
  async picture(scale: number, isWanted: () => boolean): Promise<HTMLCanvasElement | undefined> {
    const { width, height, background } = this.page;
    const ctx = newSheet(Math.max(1, Math.round(width * scale)), Math.max(1, Math.round(height * scale)));
    ctx.fillStyle = background ?? "transparent";
    ctx.fillRect(0, 0, ctx.canvas.width, ctx.canvas.height);
    ctx.scale(scale, scale);
    const objects = [...this._objects];
    for (let i = 0; i < objects.length; ) {
      const { viewportTransform } = this; // shadows follow it
      Object.assign(this, { skipOffscreen: false, viewportTransform: [scale, 0, 0, scale, 0, 0] });
      const end = performance.now() + TURN;
      do super._renderObjects(ctx, [objects[i++]!]);
      while (i < objects.length && performance.now() < end);
      Object.assign(this, { skipOffscreen: true, viewportTransform });
      await new Promise((resolve) => setTimeout(resolve));
      if (!isWanted()) return undefined;
    }
    return ctx.canvas;
  }

  override _setActiveObject(object: FabricObject, e?: TPointerEvent): boolean {
    for (const o of object instanceof ActiveSelection ? object.getObjects() : [object]) describe(o);
    return super._setActiveObject(object, e);
  }

  override _renderBackground(ctx: CanvasRenderingContext2D): void {
    ctx.fillStyle = this.page.background ?? this.#checks;
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
