// How the page is seen: its zoom, and which part of it is in view.
import { Point, util } from "fabric";
import { type Box, boxOf } from "./arrange";
import type { PageCanvas } from "./pageCanvas";

const MARGIN = 48;
const MIN_ZOOM = 0.02;
const MAX_ZOOM = 16;

export class Viewport {
  #fitted = true;

  constructor(private readonly canvas: PageCanvas, private readonly host: HTMLElement, private readonly onChange: () => void) {
    new ResizeObserver(() => this.#resize()).observe(host);
  }

  get zoom(): number {
    return this.canvas.getZoom();
  }

  fit(): void {
    const { width, height } = this.canvas.page;
    this.#fill({ left: 0, top: 0, width, height }, Math.min(MARGIN, this.canvas.height / 20));
    this.#fitted = true;
  }

  fitSelection(): void {
    const active = this.canvas.getActiveObject();
    if (!active) return this.fit();
    this.#fill(boxOf([active]), MARGIN);
    this.#fitted = false;
  }

  #fill({ left, top, width, height }: Box, margin: number): void {
    const zoom = Math.min((this.canvas.width - 2 * margin) / width, (this.canvas.height - 2 * margin) / height);
    this.#show(zoom, left + width / 2, top + height / 2);
  }

  /** Zooms, keeping the middle of the view or the given point of it in place. */
  zoomTo(zoom: number, at = new Point(this.canvas.width / 2, this.canvas.height / 2)): void {
    this.#fitted = false;
    this.canvas.zoomToPoint(at, Math.min(MAX_ZOOM, Math.max(MIN_ZOOM, zoom)));
    const [z, , , , x, y] = this.canvas.viewportTransform;
    this.canvas.setViewportTransform([z, 0, 0, z, Math.round(x), Math.round(y)]); // whole pixels are sharp
    this.#changed();
  }

  pan(by: Point): void {
    this.#fitted = false;
    this.canvas.relativePan(by);
    this.#changed();
  }

  #show(zoom: number, x: number, y: number): void {
    const z = Math.min(MAX_ZOOM, Math.max(MIN_ZOOM, zoom));
    const { width, height } = this.canvas;
    this.canvas.setViewportTransform([z, 0, 0, z, Math.round(width / 2 - x * z), Math.round(height / 2 - y * z)]);
    this.#changed();
  }

  #changed(): void {
    this.onChange();
  }

  #resize(): void {
    const { canvas } = this;
    const middle = util.transformPoint(
      new Point(canvas.width / 2, canvas.height / 2), util.invertTransform(canvas.viewportTransform),
    );
    canvas.setDimensions({ width: this.host.clientWidth, height: this.host.clientHeight });
    if (this.#fitted) this.fit();
    else this.#show(this.zoom, middle.x, middle.y);
  }
}
