// A page drawn for a file, by the same code as on the screen, in strips: what a picture takes of memory does not grow
// with it, and what is drawn as a whole first is no larger than a strip.
import { type FabricObject, StaticCanvas, util } from "fabric";
import { type Box, drawnBox } from "./bounds";
import { createObjects } from "./objects";
import type { PageData } from "./project";
import { freeSheet } from "./sheets";

export class PagePicture {
  readonly width: number;
  readonly height: number;
  readonly isOpaque: boolean;
  readonly #canvas: StaticCanvas;
  readonly #objects: { object: FabricObject; box: Box }[];

  private constructor(page: PageData, objects: FabricObject[], private readonly scale: number, background: string) {
    this.width = Math.max(1, Math.round(page.width * scale));
    this.height = Math.max(1, Math.round(page.height * scale));
    const element = document.createElement("canvas");
    element.getContext("2d", { willReadFrequently: true }); // its pixels are taken out: three times as fast as reading back
    this.#canvas = new StaticCanvas(element, { enableRetinaScaling: false, renderOnAddRemove: false, skipOffscreen: false });
    this.#canvas.backgroundColor = page.background ?? background;
    this.isOpaque = this.#canvas.backgroundColor !== "";
    this.#canvas.add(...objects);
    this.#objects = objects.map((object) => ({
      object, box: drawnBox(object, util.multiplyTransformMatrices([scale, 0, 0, scale, 0, 0], object.calcTransformMatrix())),
    }));
  }

  /** `background` fills in where the page is transparent. */
  static async of(page: PageData, scale: number, background = ""): Promise<PagePicture> {
    return new PagePicture(page, await createObjects(page.objects), scale, background);
  }

  /** Draws some rows, from `top` on; the canvas is the same each time. */
  draw(top = 0, height = this.height): HTMLCanvasElement {
    const canvas = this.#canvas;
    const { width, scale } = this;
    if (canvas.width !== width || canvas.height !== height) canvas.setDimensions({ width, height });
    canvas.setViewportTransform([scale, 0, 0, scale, 0, -top]);
    const bottom = top + height;
    const touched = this.#objects.filter(({ box: [from, to] }) => from.y < bottom && top < to.y && from.x < width && 0 < to.x);
    canvas.renderCanvas(canvas.getContext(), touched.map(({ object }) => object));
    return canvas.getElement();
  }

  free(): void {
    freeSheet(this.#canvas.getContext());
  }
}
