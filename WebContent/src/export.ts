// Files that are made of pages: what the user says of them, how they are made, and where they go.
import { util } from "fabric";
import type { Editor } from "./editor";
import type { EncoderRequest, EncoderResponse } from "./encoder";
import { readAsDataURL } from "./images";
import { t } from "./language";
import { fileName, pageFileNames } from "./names";
import { fieldNumber } from "./numbers";
import { printedDocument, type Step } from "./pdf";
import { PagePicture } from "./picture";
import type { PageData } from "./project";
import { type NamedFile, shell } from "./shell";
import { writeSvg } from "./svg";
import { $, openDialog, tell, withProgress } from "./ui";

type Bitmap = "png" | "jpeg";
/** `scale` is in pixels per page unit, `quality`, of JPEG, from 0 to 1. */
type ExportOptions = { format: Bitmap | "pdf" | "svg"; scale: number; quality: number };

const STRIP_PIXELS = 2 ** 21;
const PDF_MIN_SCALE = 2; // of pictures: 192 pixels an inch, so that paper shows no steps
/** JPEG files are made of all pixels at once, four bytes each. */
const MAX_PIXELS = { png: 2 ** 28, jpeg: 2 ** 27 } as const;

/** Refuses what would not fit into memory before anything is done. */
function checkSize(page: PageData, format: Bitmap, scale: number): void {
  const fitting = Math.sqrt(MAX_PIXELS[format] / (page.width * page.height));
  if (scale <= fitting) return;
  const [width, height] = [page.width, page.height].map((side) => Math.round(side * scale)) as [number, number];
  const [fitWidth, fitHeight] = [page.width, page.height].map((side) => Math.floor(side * fitting)) as [number, number];
  throw new Error(t("A picture of {width} × {height} pixels is too large; {fitWidth} × {fitHeight} would do.", { width, height, fitWidth, fitHeight }));
}

/** A worker compresses one strip while the next is drawn; it ends when the file is made or the work is given up. */
async function encode(picture: PagePicture, kind: Bitmap, quality: number, step: (share: number) => Promise<void>): Promise<Blob> {
  const { width, height } = picture;
  const stripHeight = util.capValue(1, Math.floor(STRIP_PIXELS / width), height);
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
async function makeFiles(project: string, pages: readonly PageData[], options: ExportOptions, step: Step): Promise<NamedFile[]> {
  const { format, scale, quality } = options;
  if (format === "pdf") {
    const { html, sizes } = await printedDocument(project, pages, Math.max(scale, PDF_MIN_SCALE), step);
    const pdf = await shell.toPdf(await html.arrayBuffer(), sizes);
    return [{ filename: fileName(project, "pdf"), data: await readAsDataURL(pdf) }];
  }
  if (format !== "svg") for (const page of pages) checkSize(page, format, scale);
  const extension = format === "jpeg" ? "jpg" : format;
  const names = pages.length === 1 ? [fileName(project, extension)] : pageFileNames(project, pages.length, extension);
  const files: NamedFile[] = [];
  for (const [i, page] of pages.entries()) {
    await step(i, pages.length);
    const file = format === "svg" ? await writeSvg(page)
      : await encode(await PagePicture.of(page, scale, format === "jpeg" ? "#ffffff" : ""), format, quality, (share) => step(i + share, pages.length));
    files.push({ filename: names[i]!, data: await readAsDataURL(file) });
  }
  return files;
}

/** Asks the user what to export, and has the shell save it. */
export async function exportProject(editor: Editor): Promise<void> {
  editor.commit();
  const selection = editor.selectionAsPage;
  $<HTMLInputElement>("export-selection").disabled = !selection;
  if (!selection && $<HTMLInputElement>("export-selection").checked) $("export").querySelector<HTMLInputElement>('[value="this"]')!.checked = true;
  const answer = openDialog($<HTMLDialogElement>("export"));
  $("export").querySelector<HTMLInputElement>(":checked")?.focus();
  if ((await answer) !== "export") return;
  const form = new FormData($<HTMLFormElement>("export-form"));
  const options = { format: form.get("format") as ExportOptions["format"], scale: Number(form.get("scale")), quality: (fieldNumber($("export-quality")) ?? 95) / 100 };
  const which = { all: editor.state.pages, this: [editor.pageData], selection: [selection ?? editor.pageData] }[String(form.get("pages"))]!;
  const chosen = form.has("transparent") ? which.map((page) => ({ ...page, background: null })) : which;
  const pixels = chosen.reduce((sum, p) => sum + p.width * p.height * options.scale ** 2, 0);
  const files = await withProgress(t("Exporting"), pixels > 6e6, (step) => makeFiles(editor.state.name, chosen, options, step));
  const ended = await (files.length === 1 ? shell.download(files[0]!) : shell.downloadAll(files));
  if (ended.result === "failed") throw new Error(t("“{name}” was not saved: {reason}", { name: ended.name, reason: ended.reason ?? "" }));
  if (ended.result === "saved") tell(files.length === 1
    ? t("Saved as “{name}”", { name: ended.name })
    : t("Saved {count} files in “{name}”", { count: files.length, name: ended.name }));
}
