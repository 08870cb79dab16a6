// PDF: a document with a drawing for each page, which the shell prints into a file. Shadows go into it as pictures, since
// the engine prints filters coarsely, and images no finer than they are to be seen.
import { FabricImage, type FabricObject, Shadow, type StaticCanvas, util } from "fabric";
import { drawnBox, visiblePart } from "./bounds";
import { AssetImage } from "./images";
import { partsOf } from "./objects";
import { imageType, type PageData } from "./project";
import { freeSheet, newSheet } from "./sheets";
import { canvasOf, drawing } from "./svg";

const POINTS_PER_UNIT = 0.75; // 96 units and 72 points are an inch
const MAX_SHADOW_PIXELS = 2 ** 21;
const FAR = 2 ** 13;
const KEPT = 0.8; // an image that would have this share of its pixels keeps all
const JPEG_QUALITY = 0.95;

/** Called as often as there is something to show of what is done, of `total`; throws to stop. */
export type Step = (done: number, total: number) => Promise<void>;

/** An object's shadow alone, as a picture of the page's part that it falls on: it is drawn while the object is out of sight. */
function shadowOf(o: FabricObject, canvas: StaticCanvas, finest: number): string | undefined {
  const boxAt = (scale: number) => {
    const box = drawnBox(o, util.multiplyTransformMatrices([scale, 0, 0, scale, 0, 0], o.calcTransformMatrix()));
    return { right: box[1].x, part: visiblePart(box, canvas.width * scale, canvas.height * scale) };
  };
  const { width: w, height: h } = boxAt(1).part ?? { width: 1, height: 1 };
  const scale = Math.min(finest, Math.sqrt(MAX_SHADOW_PIXELS / (w * h)));
  const { right, part } = boxAt(scale);
  if (!part) return "";
  const far = Math.ceil(right) - part.x;
  if (far > FAR) return undefined;
  const ctx = newSheet(part.width, part.height);
  canvas.viewportTransform = [scale, 0, 0, scale, -part.x - far, -part.y]; // shadows follow it
  ctx.setTransform(...canvas.viewportTransform);
  const { shadow, group } = o;
  o.shadow = new Shadow({ ...shadow, offsetX: shadow!.offsetX + far / scale / o.getObjectScaling().x });
  if (group) {
    ctx.transform(...group.calcTransformMatrix());
    group._transformDone = true;
  }
  o.render(ctx);
  if (group) group._transformDone = false;
  o.shadow = shadow;
  canvas.viewportTransform = [1, 0, 0, 1, 0, 0];
  const toPage = util.matrixToSVG(util.invertTransform(group?.calcTransformMatrix() ?? [1, 0, 0, 1, 0, 0]));
  const place = `x="${part.x / scale}" y="${part.y / scale}" width="${part.width / scale}" height="${part.height / scale}"`;
  const picture = `<image transform="${toPage}" ${place} preserveAspectRatio="none" xlink:href="${ctx.canvas.toDataURL()}" />\n`;
  freeSheet(ctx);
  return picture;
}

/** What is to be seen of an image, with as many pixels as `finest` has for a unit of the page. */
function pixelsOf(image: AssetImage, finest: number): string {
  const { x, y } = image.getObjectScaling();
  const [share, source] = [Math.max(x, y) * finest, image.getSrc(true)];
  if (share > KEPT) return source;
  const { width, height } = image.getOriginalSize();
  const ctx = newSheet(Math.ceil(width * share), Math.ceil(height * share));
  ctx.imageSmoothingQuality = "high";
  ctx.drawImage(image.getElement(), 0, 0, ctx.canvas.width, ctx.canvas.height);
  const data = ctx.canvas.toDataURL(imageType(source) === "image/jpeg" ? "image/jpeg" : "image/png", JPEG_QUALITY);
  freeSheet(ctx);
  return data;
}

async function printed(page: PageData, finest: number, step: (share: number) => Promise<void>): Promise<string> {
  const canvas = await canvasOf(page);
  const parts = partsOf(canvas.getObjects());
  const shadows = new Map<FabricObject, string>();
  for (const [i, o] of parts.entries()) {
    if (!o.shadow && !(o instanceof FabricImage)) continue;
    await step(i / parts.length);
    if (o instanceof AssetImage) {
      const source = pixelsOf(o, finest);
      o.getSrc = () => source;
    }
    const shadow = o.shadow && shadowOf(o, canvas, finest);
    if (shadow === undefined || shadow === null) continue;
    shadows.set(o, shadow);
    o.shadow = null;
  }
  return drawing(page, canvas, (o) => shadows.get(o) ?? "").replace("<svg ", '<svg preserveAspectRatio="none" ');
}

/** A document and the sizes of its pages, as the shell wants them. */
export async function printedDocument(name: string, pages: readonly PageData[], finest: number, step: Step) {
  const title = name.replace(/[&<]/g, (c) => `&#${c.charCodeAt(0)};`);
  const parts = [`<!doctype html><meta charset="utf-8"><title>${title}</title>\n`];
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    parts.push(await printed(page, finest, (share) => step(i + share, pages.length)));
  }
  const points = (side: number) => Math.max(1, Math.round(side * POINTS_PER_UNIT));
  return { html: new Blob(parts), sizes: pages.map(({ width, height }) => `${points(width)}x${points(height)}`).join() };
}
