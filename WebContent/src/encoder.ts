// Makes a file of rows of pixels as they come; runs in a worker, beside the page.

export interface PictureInfo {
  kind: "png" | "jpeg";
  width: number;
  height: number;
  isOpaque: boolean;
  /** Of JPEG, from 0 to 1. */
  quality: number;
}
/** First what the picture is, then rows of RGBA pixels as often as there are some, then the end. */
export type EncoderRequest = PictureInfo | { pixels: ArrayBufferLike } | "end";
/** Comes when rows were taken, at the end with the file, or when it failed. */
export interface EncoderResponse {
  file?: Blob;
  error?: string;
}

const CRC = new Uint32Array(256).map((_, n) => {
  for (let k = 0; k < 8; k++) n = n & 1 ? 0xedb88320 ^ (n >>> 1) : n >>> 1;
  return n;
});
function crc(...parts: Uint8Array[]): number {
  let value = 0xffffffff;
  for (const bytes of parts) for (let i = 0; i < bytes.length; i++) value = CRC[(value ^ bytes[i]!) & 0xff]! ^ (value >>> 8);
  return ~value >>> 0;
}
const uint32 = (value: number) => new Uint8Array([value >>> 24, value >>> 16, value >>> 8, value]);
function chunk(type: string, data: Uint8Array<ArrayBuffer>): BlobPart[] {
  const name = new TextEncoder().encode(type);
  return [uint32(data.length), name, data, uint32(crc(name, data))];
}

const [SUB, UP] = [1, 2] as const;
const SAMPLED = 7; // one byte of so many tells which way suits a row
const size = (difference: number): number => Math.abs((difference << 24) >> 24);

class Png {
  readonly #parts: BlobPart[] = [];
  readonly #stream = new CompressionStream("deflate");
  readonly #writer = this.#stream.writable.getWriter();
  readonly #read = this.#stream.readable.pipeTo(new WritableStream({ write: (data) => void this.#parts.push(...chunk("IDAT", data)) }));
  readonly #pixel: number;
  /** The row before, after as many zeros as a pixel has bytes. */
  #above: Uint8Array;
  #row: Uint8Array;

  constructor(private readonly info: PictureInfo) {
    this.#pixel = info.isOpaque ? 3 : 4;
    this.#above = new Uint8Array((info.width + 1) * this.#pixel);
    this.#row = new Uint8Array(this.#above.length);
    const signature = new Uint8Array([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a]);
    const header = new Uint8Array([...uint32(info.width), ...uint32(info.height), /* bits: */ 8, info.isOpaque ? 2 : 6, 0, 0, 0]);
    this.#parts.push(signature, ...chunk("IHDR", header));
  }

  /** Each byte as its difference from the one above it or to its left, whichever way looks smaller for the row. */
  #prepare(pixels: ArrayBufferLike): Uint8Array<ArrayBuffer> {
    const [pixel, rows] = [this.#pixel, pixels.byteLength / 4 / this.info.width];
    const result = new Uint8Array(rows * (this.info.width * pixel + 1));
    let to = 0;
    for (let i = 0; i < rows; i++) {
      const [row, above] = [this.#row, this.#above];
      this.#take(new Uint8Array(pixels, i * this.info.width * 4, this.info.width * 4));
      const way = this.#choose();
      result[to++] = way;
      if (way === UP) for (let i = pixel; i < row.length; i++) result[to++] = row[i]! - above[i]!;
      else for (let i = pixel; i < row.length; i++) result[to++] = row[i]! - row[i - pixel]!;
      [this.#row, this.#above] = [above, row];
    }
    return result;
  }

  /** Red, green, blue and, unless it is opaque, alpha of each pixel. */
  #take(rgba: Uint8Array): void {
    const row = this.#row;
    if (!this.info.isOpaque) return row.set(rgba, this.#pixel);
    for (let to = this.#pixel, from = 0; to < row.length; to += 3, from += 4) {
      row[to] = rgba[from]!;
      row[to + 1] = rgba[from + 1]!;
      row[to + 2] = rgba[from + 2]!;
    }
  }

  #choose(): typeof SUB | typeof UP {
    const [pixel, row, above] = [this.#pixel, this.#row, this.#above];
    let balance = 0;
    for (let i = pixel; i < row.length; i += SAMPLED) balance += size(row[i]! - above[i]!) - size(row[i]! - row[i - pixel]!);
    return balance <= 0 ? UP : SUB;
  }

  async add(pixels: ArrayBufferLike): Promise<void> {
    await this.#writer.write(this.#prepare(pixels));
  }
  async end(): Promise<Blob> {
    await this.#writer.close();
    await this.#read;
    return new Blob([...this.#parts, ...chunk("IEND", new Uint8Array())], { type: "image/png" });
  }
}

class Jpeg {
  readonly #ctx: OffscreenCanvasRenderingContext2D;
  #top = 0;

  constructor(private readonly info: PictureInfo) {
    this.#ctx = new OffscreenCanvas(info.width, info.height).getContext("2d", { willReadFrequently: true })!;
  }
  add(pixels: ArrayBufferLike): void {
    const strip = new ImageData(new Uint8ClampedArray(pixels as ArrayBuffer), this.info.width);
    this.#ctx.putImageData(strip, 0, this.#top);
    this.#top += strip.height;
  }
  end(): Promise<Blob> {
    return this.#ctx.canvas.convertToBlob({ type: "image/jpeg", quality: this.info.quality });
  }
}

let encoder: Png | Jpeg;
async function answer(request: EncoderRequest): Promise<EncoderResponse> {
  if (request === "end") return { file: await encoder.end() };
  if ("pixels" in request) await encoder.add(request.pixels);
  else encoder = new { png: Png, jpeg: Jpeg }[request.kind](request);
  return {};
}
onmessage = async ({ data }: MessageEvent<EncoderRequest>) => postMessage(await answer(data).catch((error) => ({ error: String(error) })));
