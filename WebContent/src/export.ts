// Pictures of pages, drawn by the same code as on the canvas, and the files made of them.
import { StaticCanvas } from "fabric";
import { jsPDF } from "jspdf";
import { readAsDataURL } from "./images";
import { fileName, pageFileNames } from "./names";
import { createObjects } from "./objects";
import type { PageData } from "./project";
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

/** Draws a page into a canvas of its own; `background` fills in where the page is transparent. */
export async function drawPage(page: PageData, scale: number, background = ""): Promise<HTMLCanvasElement> {
  const fitting = Math.min(scale, MAX_SIDE / page.width, MAX_SIDE / page.height);
  const canvas = new StaticCanvas(undefined, {
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
    canvas.toBlob((blob) => (blob ? resolve(blob) : reject(new Error("The page is too large to export."))), type, JPEG_QUALITY),
  );

async function pageFile(page: PageData, { format, scale }: ExportOptions, filename: string): Promise<NamedFile> {
  const canvas = await drawPage(page, scale, format === "jpeg" ? "#ffffff" : "");
  const data = await readAsDataURL(await toBlob(canvas, `image/${format}`));
  canvas.width = canvas.height = 0; // frees the pixels at once
  return { filename, data };
}

async function pdfFile(pages: readonly PageData[], scale: number, filename: string, step: Step): Promise<NamedFile> {
  let pdf: jsPDF | undefined;
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    const format = [page.width * POINTS_PER_UNIT, page.height * POINTS_PER_UNIT];
    const orientation = page.width > page.height ? "landscape" : "portrait";
    if (pdf) pdf.addPage(format, orientation);
    else pdf = new jsPDF({ unit: "pt", format, orientation, compress: false });
    const canvas = await drawPage(page, scale, "#ffffff");
    const bytes = new Uint8Array(await (await toBlob(canvas, "image/jpeg")).arrayBuffer());
    pdf.addImage(bytes, "JPEG", 0, 0, format[0]!, format[1]!, `page-${i}`);
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
