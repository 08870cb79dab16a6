// PDF documents with a picture on each page. A script of its own, because only an export to PDF needs jsPDF.
import { jsPDF } from "jspdf";

export interface PdfPicture {
  kind: "jpeg" | "deflated";
  /** In pixels. */
  width: number;
  height: number;
  bytes: Uint8Array;
}

/** jsPDF puts JPEG files into a document as they are; this teaches it the same for pixels that are compressed already. */
const deflated = new Map<string, PdfPicture>();
Object.assign(jsPDF.API, {
  processDEFLATED(this: { __addimage__: { arrayBufferToBinaryString(b: Uint8Array): string } }, _: unknown, index: number, alias: string) {
    const { width, height, bytes } = deflated.get(alias)!;
    const data = this.__addimage__.arrayBufferToBinaryString(bytes);
    return { data, index, alias, width, height, colorSpace: "DeviceRGB", bitsPerComponent: 8, filter: "FlateDecode" };
  },
});

export class PdfDocument {
  #pdf: jsPDF | undefined;
  #pages = 0;

  /** Adds a page of a size in points that is filled by its picture. */
  add(width: number, height: number, picture: PdfPicture): void {
    const size: [number, number] = [width, height];
    const orientation = width > height ? "landscape" : "portrait";
    if (this.#pdf) this.#pdf.addPage(size, orientation);
    else this.#pdf = new jsPDF({ unit: "pt", format: size, orientation });
    const alias = `page-${this.#pages++}`;
    deflated.set(alias, picture);
    this.#pdf.addImage(picture.bytes, picture.kind.toUpperCase(), 0, 0, ...size, alias);
    deflated.delete(alias);
  }

  file(): Blob {
    return this.#pdf!.output("blob");
  }
}
