// The files that are made of pages.
import type { EncoderRequest, EncoderResponse, Kind } from "./encoding";
import { readAsDataURL } from "./images";
import { t } from "./language";
import { fileName, pageFileNames } from "./names";
import { PagePicture } from "./picture";
import type * as Pdf from "./pdf";
import { type PageData, usedAssets } from "./project";
import type { NamedFile } from "./shell";
import { writeSvg } from "./svg";

export type Format = "png" | "jpeg" | "pdf" | "svg";
export interface ExportOptions {
  format: Format;
  /** Pixels per page unit. */
  scale: number;
  /** Of JPEG, from 0 to 1. */
  quality?: number;
}
/** Called as often as there is something to show of what is done, of `total`; throws to stop. */
export type Step = (done: number, total: number) => Promise<void>;

const EXTENSION = { png: "png", jpeg: "jpg", pdf: "pdf", svg: "svg" } as const;
const JPEG_QUALITY = 0.95;
const POINTS_PER_UNIT = 0.75; // 96 units and 72 points are an inch
const PDF_MIN_SCALE = 2; // 192 pixels an inch, so that paper shows no steps
/** JPEG files are made of all pixels at once, four bytes each. */
const MAX_PIXELS = { png: 2 ** 28, jpeg: 2 ** 27 } as const;

const fittingScale = ({ width, height }: PageData, kind: "png" | "jpeg"): number => Math.sqrt(MAX_PIXELS[kind] / (width * height));

/** Refuses what would not fit into memory before anything is done. */
function checkSize(page: PageData, { format, scale }: ExportOptions): void {
  if (format === "pdf" || format === "svg") return; // its resolution is ours to choose
  const fitting = fittingScale(page, format);
  if (scale <= fitting) return;
  const [width, height] = [page.width, page.height].map((side) => Math.round(side * scale)) as [number, number];
  const [fitWidth, fitHeight] = [page.width, page.height].map((side) => Math.floor(side * fitting)) as [number, number];
  throw new Error(t("A picture of {width} × {height} pixels is too large; {fitWidth} × {fitHeight} would do.", { width, height, fitWidth, fitHeight }));
}

/** A worker compresses one strip while the next is drawn; it ends when the file is made or the work is given up. */
async function encode(picture: PagePicture, kind: Kind, step: (share: number) => Promise<void>, quality = JPEG_QUALITY): Promise<Blob> {
  const { width, height, stripHeight } = picture;
  const worker = new Worker("encoder.js");
  const ask = (request: EncoderRequest, moved: Transferable[] = []): Promise<EncoderResponse> =>
    new Promise((resolve, reject) => {
      worker.onmessage = ({ data }: MessageEvent<EncoderResponse>) => (data.error ? reject(new Error(data.error)) : resolve(data));
      worker.onerror = (e) => reject(new Error(e.message));
      worker.postMessage(request, moved);
    });
  try {
    let taken = ask({ kind, width, height, isOpaque: picture.isOpaque, quality });
    for (let top = 0; top < height; top += stripHeight) {
      await step(top / height);
      const rows = Math.min(stripHeight, height - top);
      const { data } = picture.draw(top, rows).getContext("2d")!.getImageData(0, 0, width, rows);
      await taken;
      taken = ask({ pixels: data.buffer }, [data.buffer]);
      taken.catch(() => {}); // said where it is waited for
    }
    await taken;
    return (await ask("end")).file!;
  } finally {
    worker.terminate();
    picture.free();
  }
}

let pdfScript: Promise<typeof Pdf> | undefined;
const loadPdf = (): Promise<typeof Pdf> =>
  (pdfScript ??= new Promise((resolve, reject) => {
    const script = document.createElement("script");
    script.src = "pdf.js";
    script.onload = () => resolve((window as unknown as { quilloryPdf: typeof Pdf }).quilloryPdf);
    script.onerror = () => {
      pdfScript = undefined;
      reject(new Error(t("The file can't be read.")));
    };
    document.head.append(script);
  }));

/** Pages of shapes and text keep every pixel; those with pictures are JPEG, or the file would be far too large. */
async function pdfFile(pages: readonly PageData[], scale: number, step: Step): Promise<Blob> {
  const { PdfDocument } = await loadPdf();
  const pdf = new PdfDocument();
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    const picture = await PagePicture.of(page, Math.min(Math.max(scale, PDF_MIN_SCALE), fittingScale(page, "jpeg")), "#ffffff");
    const kind = usedAssets(page.objects).size > 0 ? "jpeg" : "deflated";
    const file = await encode(picture, kind, (share) => step(i + share, pages.length));
    const { width, height } = picture;
    pdf.add(page.width * POINTS_PER_UNIT, page.height * POINTS_PER_UNIT, { kind, width, height, bytes: new Uint8Array(await file.arrayBuffer()) });
  }
  return pdf.file();
}

/** One file for each page, or one PDF file for all. */
export async function exportPages(
  project: string, pages: readonly PageData[], options: ExportOptions, step: Step,
): Promise<NamedFile[]> {
  const { format, scale } = options;
  for (const page of pages) checkSize(page, options);
  const extension = EXTENSION[format];
  if (format === "pdf") return [{ filename: fileName(project, extension), data: await readAsDataURL(await pdfFile(pages, scale, step)) }];
  const names = pages.length === 1 ? [fileName(project, extension)] : pageFileNames(project, pages.length, extension);
  const files: NamedFile[] = [];
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    const share = (done: number): Promise<void> => step(i + done, pages.length);
    const file = format === "svg" ? await writeSvg(page)
      : await encode(await PagePicture.of(page, scale, format === "jpeg" ? "#ffffff" : ""), format, share, options.quality);
    files.push({ filename: names[i]!, data: await readAsDataURL(file) });
  }
  return files;
}
