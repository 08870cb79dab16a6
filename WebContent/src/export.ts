// Pictures of pages, drawn by the same code as on the canvas, and the files made of them.
import { StaticCanvas } from "fabric";
import { jsPDF } from "jspdf";
import { readAsDataURL } from "./images";
import { t } from "./language";
import { fileName, pageFileNames } from "./names";
import { createObjects } from "./objects";
import { type PageData, usedAssets } from "./project";
import type { NamedFile } from "./shell";

export type Format = "png" | "jpeg" | "pdf";
export interface ExportOptions {
  format: Format;
  /** Pixels per page unit. */
  scale: number;
}
/** Called before each page; waits until the window has shown the progress, throws to stop. */
export type Step = (done: number, total: number) => Promise<void>;

const EXTENSION = { png: "png", jpeg: "jpg", pdf: "pdf" } as const;
const JPEG_QUALITY = 0.95;
const MAX_SIDE = 16384;
const POINTS_PER_UNIT = 0.75; // 96 units and 72 points are an inch
const PDF_MIN_SCALE = 2; // 192 pixels an inch, so that paper shows no steps

/** Draws a page into a canvas of its own; `background` fills in where the page is transparent. */
export async function drawPage(page: PageData, scale: number, background = ""): Promise<HTMLCanvasElement> {
  const fitting = Math.min(scale, MAX_SIDE / page.width, MAX_SIDE / page.height);
  const element = document.createElement("canvas");
  element.getContext("2d", { willReadFrequently: true }); // drawn where it is encoded: three times as fast as reading back
  const canvas = new StaticCanvas(element, {
    width: Math.max(1, Math.round(page.width * fitting)),
    height: Math.max(1, Math.round(page.height * fitting)),
    backgroundColor: page.background ?? background,
    enableRetinaScaling: false,
    renderOnAddRemove: false,
  });
  canvas.add(...(await createObjects(page.objects)));
  canvas.setZoom(fitting);
  canvas.renderAll();
  return canvas.getElement();
}

const toBlob = (canvas: HTMLCanvasElement, type: string): Promise<Blob> =>
  new Promise((resolve, reject) =>
    canvas.toBlob((blob) => (blob ? resolve(blob) : reject(new Error(t("The page is too large to export.")))), type, JPEG_QUALITY),
  );

async function pageFile(page: PageData, { format, scale }: ExportOptions, filename: string): Promise<NamedFile> {
  const canvas = await drawPage(page, scale, format === "jpeg" ? "#ffffff" : "");
  const data = await readAsDataURL(await toBlob(canvas, `image/${format}`));
  canvas.width = canvas.height = 0; // frees the pixels at once
  return { filename, data };
}

interface PdfImage {
  width: number;
  height: number;
  bytes: Uint8Array;
}
/** jsPDF puts JPEG files into a document as they are; this teaches it the same for pixels that are compressed already. */
const deflated = new Map<string, PdfImage>();
Object.assign(jsPDF.API, {
  processDEFLATED(this: { __addimage__: { arrayBufferToBinaryString(b: Uint8Array): string } }, _: unknown, index: number, alias: string) {
    const { width, height, bytes } = deflated.get(alias)!;
    const data = this.__addimage__.arrayBufferToBinaryString(bytes);
    return { data, index, alias, width, height, colorSpace: "DeviceRGB", bitsPerComponent: 8, filter: "FlateDecode" };
  },
});

async function deflate(canvas: HTMLCanvasElement): Promise<PdfImage> {
  const { width, height } = canvas;
  const { data } = canvas.getContext("2d")!.getImageData(0, 0, width, height);
  const rgb = new Uint8Array(width * height * 3);
  for (let from = 0, to = 0; from < data.length; from += 4) {
    rgb[to++] = data[from]!;
    rgb[to++] = data[from + 1]!;
    rgb[to++] = data[from + 2]!;
  }
  const stream = new CompressionStream("deflate");
  const writer = stream.writable.getWriter();
  const written = writer.write(rgb).then(() => writer.close());
  const bytes = new Uint8Array(await new Response(stream.readable).arrayBuffer());
  await written;
  return { width, height, bytes };
}

/** Pages of shapes and text keep every pixel; those with pictures are JPEG, or the file would be far too large. */
async function pdfFile(pages: readonly PageData[], scale: number, filename: string, step: Step): Promise<NamedFile> {
  let pdf: jsPDF | undefined;
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    const size: [number, number] = [page.width * POINTS_PER_UNIT, page.height * POINTS_PER_UNIT];
    const orientation = page.width > page.height ? "landscape" : "portrait";
    if (pdf) pdf.addPage(size, orientation);
    else pdf = new jsPDF({ unit: "pt", format: size, orientation });
    const canvas = await drawPage(page, Math.max(scale, PDF_MIN_SCALE), "#ffffff");
    const alias = `page-${i}`;
    if (usedAssets(page.objects).size > 0) {
      const bytes = new Uint8Array(await (await toBlob(canvas, "image/jpeg")).arrayBuffer());
      pdf.addImage(bytes, "JPEG", 0, 0, ...size, alias);
    } else {
      const image = await deflate(canvas);
      deflated.set(alias, image);
      pdf.addImage(image.bytes, "DEFLATED", 0, 0, ...size, alias);
      deflated.delete(alias);
    }
    canvas.width = canvas.height = 0;
  }
  return { filename, data: await readAsDataURL(pdf!.output("blob")) };
}

/** One file for each page, or one PDF file for all. */
export async function exportPages(
  project: string, pages: readonly PageData[], options: ExportOptions, step: Step,
): Promise<NamedFile[]> {
  const extension = EXTENSION[options.format];
  if (options.format === "pdf") return [await pdfFile(pages, options.scale, fileName(project, extension), step)];
  const names = pages.length === 1 ? [fileName(project, extension)] : pageFileNames(project, pages.length, extension);
  const files: NamedFile[] = [];
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    files.push(await pageFile(page, options, names[i]!));
  }
  return files;
}
