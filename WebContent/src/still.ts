// What lies below and above an object that is being changed by hand: drawn once, and then shown as pictures, also when that
// is undone. What is above and blends with what is below it is drawn anew each time.
import type { FabricObject } from "fabric";
import { isAsDrawn, noteDrawn } from "./record";
import { isBlended, newSheet } from "./sheets";

type Draw = (ctx: CanvasRenderingContext2D, objects: FabricObject[]) => void;

const same = (a: readonly unknown[], b: readonly unknown[]): boolean => a.length === b.length && a.every((o, i) => o === b[i]);
const placeOf = (ctx: CanvasRenderingContext2D): number[] => {
  const { a, b, c, d, e, f } = ctx.getTransform();
  return [ctx.canvas.width, ctx.canvas.height, a, b, c, d, e, f];
};

export class StillLayers {
  readonly #place: number[];
  readonly #below: HTMLCanvasElement;
  readonly #above: HTMLCanvasElement | undefined;

  /** `ctx` shows the page's background; `page` is what that depends on. */
  constructor(
    ctx: CanvasRenderingContext2D, private readonly page: unknown, private readonly below: FabricObject[],
    private readonly above: FabricObject[], private readonly draw: Draw,
  ) {
    this.#place = placeOf(ctx);
    this.#below = this.#picture(ctx, below, ctx.canvas);
    if (!above.some(isBlended)) this.#above = this.#picture(ctx, above);
    [...below, ...above].forEach(noteDrawn);
  }

  #picture(ctx: CanvasRenderingContext2D, objects: FabricObject[], background?: HTMLCanvasElement): HTMLCanvasElement {
    const layer = newSheet(ctx.canvas.width, ctx.canvas.height, false);
    if (background) layer.drawImage(background, 0, 0);
    layer.setTransform(ctx.getTransform());
    this.draw(layer, objects);
    return layer.canvas;
  }

  /** Whether these objects are the ones in the pictures, seen from the same place. */
  shows(ctx: CanvasRenderingContext2D, page: unknown, below: FabricObject[], above: FabricObject[]): boolean {
    return page === this.page && same(this.#place, placeOf(ctx)) && same(this.below, below) && same(this.above, above);
  }

  /** What lies between the pictures, where all that is in them looks as it did and is in its place: `undefined` elsewhere. */
  between(ctx: CanvasRenderingContext2D, page: unknown, objects: FabricObject[]): FabricObject[] | undefined {
    const { below, above } = this;
    const end = objects.length - above.length;
    const isStill = end >= below.length && this.shows(ctx, page, objects.slice(0, below.length), objects.slice(end));
    return isStill && below.every(isAsDrawn) && above.every(isAsDrawn) ? objects.slice(below.length, end) : undefined;
  }

  drawBelow(ctx: CanvasRenderingContext2D): void {
    this.#show(ctx, this.#below, "copy"); // the background is in it: over itself its edge would be darker
  }
  drawAbove(ctx: CanvasRenderingContext2D): void {
    if (this.#above) this.#show(ctx, this.#above);
    else this.draw(ctx, this.above);
  }
  #show(ctx: CanvasRenderingContext2D, picture: HTMLCanvasElement, how: GlobalCompositeOperation = "source-over"): void {
    ctx.save();
    ctx.globalCompositeOperation = how;
    ctx.setTransform(1, 0, 0, 1, 0, 0);
    ctx.drawImage(picture, 0, 0);
    ctx.restore();
  }
}
