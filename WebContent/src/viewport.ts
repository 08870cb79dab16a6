// How the page is seen: its zoom, and which part of it is in view.
import { type Point, type TBBox, util } from "fabric";
import type { PageCanvas } from "./pageCanvas";

const MARGIN = 48;
const MIN_ZOOM = 0.02;
const MAX_ZOOM = 16;

export class Viewport {
  #fitted = true;

  constructor(private readonly canvas: PageCanvas, private readonly host: HTMLElement, private readonly changed: () => void) {
    new ResizeObserver(() => this.#resize()).observe(host);
  }

  fit(): void {
    const { width, height } = this.canvas.page;
    this.#fill({ left: 0, top: 0, width, height }, Math.min(MARGIN, this.canvas.height / 20));
    this.#fitted = true;
  }

  fitSelection(): void {
    const active = this.canvas.getActiveObject();
    if (!active) return this.fit();
    this.#fill(active.getBoundingRect(), MARGIN);
    this.#fitted = false;
  }

  #fill({ left, top, width, height }: TBBox, margin: number): void {
    const zoom = Math.min((this.canvas.width - 2 * margin) / width, (this.canvas.height - 2 * margin) / height);
    this.#show(zoom, { x: left + width / 2, y: top + height / 2 });
  }

  /** Zooms, keeping the middle of the view or the given point of it in place. */
  zoomTo(zoom: number, at = this.canvas.getCenterPoint()): void {
    this.#fitted = false;
    this.#show(zoom, at.transform(util.invertTransform(this.canvas.viewportTransform)), at);
  }

  pan(by: Point): void {
    this.#fitted = false;
    this.canvas.relativePan(by);
    this.changed();
  }

  /** Shows a point of the page in the middle of the view, or where it is said. */
  #show(zoom: number, { x, y }: { x: number; y: number }, at = this.canvas.getCenterPoint()): void {
    const z = util.capValue(MIN_ZOOM, zoom, MAX_ZOOM);
    this.canvas.setViewportTransform([z, 0, 0, z, Math.round(at.x - x * z), Math.round(at.y - y * z)]); // whole pixels are sharp
    this.changed();
  }

  #resize(): void {
    const middle = this.canvas.getVpCenter();
    this.canvas.setDimensions({ width: this.host.clientWidth, height: this.host.clientHeight });
    if (this.#fitted) this.fit();
    else this.#show(this.canvas.getZoom(), middle);
  }
}
