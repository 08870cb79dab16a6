// Rulers along the canvas, in pixels or millimetres of the page; 96 pixels are an inch.
import type { Stage } from "./stage";
import { $ } from "./ui";

const THICK = 18;
const FEWEST = 56; // pixels of the screen between two numbers
const PER_UNIT = { px: 1, mm: 96 / 25.4 } as const;
const SHOWN = [undefined, "px", "mm"] as const;

export class Rulers {
  #unit: keyof typeof PER_UNIT | undefined;
  readonly #canvas = $<HTMLCanvasElement>("rulers");

  constructor(private readonly stage: Stage) {
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.draw());
  }

  /** Shows pixels, millimetres or nothing, in turn. */
  switch(): void {
    this.#unit = SHOWN[(SHOWN.indexOf(this.#unit) + 1) % SHOWN.length];
    this.draw();
  }

  draw(): void {
    this.#canvas.hidden = !this.#unit;
    if (!this.#unit) return;
    const { clientWidth: width, clientHeight: height } = this.stage.host;
    [this.#canvas.width, this.#canvas.height] = [width * devicePixelRatio, height * devicePixelRatio];
    const ctx = this.#canvas.getContext("2d")!;
    const style = getComputedStyle(document.documentElement);
    ctx.scale(devicePixelRatio, devicePixelRatio);
    ctx.fillStyle = style.getPropertyValue("--panel");
    ctx.fillRect(0, 0, width, THICK);
    ctx.fillRect(0, 0, THICK, height);
    ctx.fillStyle = ctx.strokeStyle = style.getPropertyValue("--dim");
    ctx.font = "10px system-ui, sans-serif";
    const [zoom, , , , x, y] = this.stage.canvas.viewportTransform;
    const unit = zoom * PER_UNIT[this.#unit];
    ctx.fillText(this.#unit, 2, 12);
    this.#drawScale(ctx, x, unit, width, 1);
    ctx.rotate(-Math.PI / 2); // the other one is the same upwards
    ctx.textAlign = "right";
    this.#drawScale(ctx, y, unit, height, -1);
  }

  #drawScale(ctx: CanvasRenderingContext2D, origin: number, unit: number, length: number, way: 1 | -1): void {
    const magnitude = 10 ** Math.floor(Math.log10(FEWEST / unit));
    const step = [1, 2, 5, 10].map((n) => n * magnitude).find((n) => n * unit >= FEWEST)!;
    ctx.beginPath();
    for (let tick = Math.ceil(((THICK - origin) / unit / step) * 10); tick * step * unit <= (length - origin) * 10; tick++) {
      const at = Math.round(origin + (tick / 10) * step * unit) + 0.5;
      ctx.moveTo(way * at, THICK);
      ctx.lineTo(way * at, tick % 10 === 0 ? 4 : tick % 5 === 0 ? 11 : 14);
      if (tick % 10 === 0) ctx.fillText(String(Math.round((tick / 10) * step * 1000) / 1000), way * (at + 2), 9);
    }
    ctx.stroke();
  }
}
