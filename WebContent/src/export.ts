// The files that are made of pages.
import type { EncoderRequest, EncoderResponse, Kind } from "./encoding";
import { readAsDataURL } from "./images";
import { t } from "./language";
import { fileName, pageFileNames } from "./names";
import { printedDocument, type Step } from "./pdf";
import { PagePicture } from "./picture";
import type { PageData } from "./project";
import { type NamedFile, shell } from "./shell";
import { writeSvg } from "./svg";

export type Format = "png" | "jpeg" | "pdf" | "svg";
export interface ExportOptions {
  format: Format;
  /** Pixels per page unit. */
  scale: number;
  /** Of JPEG, from 0 to 1. */
  quality?: number;
}

const EXTENSION = { png: "png", jpeg: "jpg", pdf: "pdf", svg: "svg" } as const;
const JPEG_QUALITY = 0.95;
const PDF_MIN_SCALE = 2; // of pictures: 192 pixels an inch, so that paper shows no steps
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

/** One file for each page, or one PDF file for all. */
export async function exportPages(
  project: string, pages: readonly PageData[], options: ExportOptions, step: Step,
): Promise<NamedFile[]> {
  const { format, scale } = options;
  for (const page of pages) checkSize(page, options);
  const extension = EXTENSION[format];
  if (format === "pdf") {
    const { html, sizes } = await printedDocument(project, pages, Math.max(scale, PDF_MIN_SCALE), step);
    const pdf = await shell.toPdf(await html.arrayBuffer(), sizes);
    return [{ filename: fileName(project, extension), data: await readAsDataURL(pdf) }];
  }
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
