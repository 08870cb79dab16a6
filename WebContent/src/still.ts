// What lies below and above an object that is being changed by hand: drawn once, and then shown as pictures.
import type { FabricObject } from "fabric";

type Draw = (ctx: CanvasRenderingContext2D, objects: FabricObject[]) => void;

const same = (a: readonly unknown[], b: readonly unknown[]): boolean => a.length === b.length && a.every((o, i) => o === b[i]);
const placeOf = (ctx: CanvasRenderingContext2D): number[] => {
  const { a, b, c, d, e, f } = ctx.getTransform();
  return [ctx.canvas.width, ctx.canvas.height, a, b, c, d, e, f];
};

export class StillLayers {
  readonly #place: number[];
  readonly #pictures: (HTMLCanvasElement | undefined)[];

  constructor(ctx: CanvasRenderingContext2D, private readonly below: FabricObject[], private readonly above: FabricObject[], draw: Draw) {
    this.#place = placeOf(ctx);
    this.#pictures = [below, above].map((objects) => {
      if (objects.length === 0) return undefined;
      const canvas = document.createElement("canvas");
      [canvas.width, canvas.height] = [ctx.canvas.width, ctx.canvas.height];
      const layer = canvas.getContext("2d")!;
      layer.setTransform(ctx.getTransform());
      draw(layer, objects);
      return canvas;
    });
  }

  /** Whether these objects are the ones in the pictures, seen from the same place. */
  shows(ctx: CanvasRenderingContext2D, below: FabricObject[], above: FabricObject[]): boolean {
    return same(this.#place, placeOf(ctx)) && same(this.below, below) && same(this.above, above);
  }

  drawBelow(ctx: CanvasRenderingContext2D): void {
    this.#draw(ctx, this.#pictures[0]);
  }
  drawAbove(ctx: CanvasRenderingContext2D): void {
    this.#draw(ctx, this.#pictures[1]);
  }
  #draw(ctx: CanvasRenderingContext2D, picture: HTMLCanvasElement | undefined): void {
    if (!picture) return;
    ctx.save();
    ctx.setTransform(1, 0, 0, 1, 0, 0);
    ctx.drawImage(picture, 0, 0);
    ctx.restore();
  }
}
