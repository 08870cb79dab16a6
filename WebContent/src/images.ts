// The images of the project: each file is kept once, decoded once, and named by the objects that show it.
import { Canvas2dFilterBackend, classRegistry, FabricImage, filters, type ObjectEvents, setFilterBackend } from "fabric";
import { enterCropMode } from "fabric/extensions";
import { t } from "./language";
import { type Assets, imageType } from "./project";
import { shell } from "./shell";
import { tell } from "./ui";

const LARGE = 4_000_000; // letters of a data URL that take a while to be converted
type StoredImage = { data: string; element: HTMLImageElement };

async function decode(data: string): Promise<HTMLImageElement> {
  const type = imageType(data);
  const element = new Image();
  try {
    if (!type) throw new Error("not an image");
    element.src = URL.createObjectURL(await (await fetch(data)).blob());
    await element.decode();
  } catch {
    URL.revokeObjectURL(element.src);
    throw new Error(type
      ? t("This image can't be shown ({type}): it is damaged or of an unknown format.", { type })
      : t("This image can't be shown: it is damaged or of an unknown format."));
  }
  return element;
}

class ImageStore {
  #images = new Map<string, StoredImage>();

  element(name: string): HTMLImageElement {
    const image = this.#images.get(name);
    if (!image) throw new Error(t("The image “{name}” is missing.", { name }));
    return image.element;
  }

  get assets(): Assets {
    return Object.fromEntries([...this.#images].map(([name, { data }]) => [name, data]));
  }

  /** Decodes an image file and gives its name; the same file always has the same name. */
  async add(data: string): Promise<string> {
    for (const [name, image] of this.#images) if (image.data === data) return name;
    let element: HTMLImageElement;
    try {
      element = await decode(data);
    } catch (error) {
      if (data.length > LARGE) tell(t("Converting the picture…"));
      const png = imageType(data) && (await shell.toPng(await (await fetch(data)).arrayBuffer()));
      const shown = png && (await readAsDataURL(png));
      if (!shown || shown === data) throw error;
      return this.add(shown);
    }
    let number = 1;
    while (this.#images.has(`image-${number}`)) number++;
    const name = `image-${number}`;
    this.#images.set(name, { data, element });
    return name;
  }

  /** Decodes a project's images; gives the function that puts them in place of all others. */
  async prepare(assets: Assets): Promise<() => void> {
    const decoded = await Promise.all(
      Object.entries(assets).map(async ([name, data]) => [name, { data, element: await decode(data) }] as const),
    );
    return () => {
      for (const { element } of this.#images.values()) URL.revokeObjectURL(element.src);
      this.#images = new Map(decoded);
    };
  }
}

export const images = new ImageStore();

setFilterBackend(new Canvas2dFilterBackend()); // the other one cuts off what is larger than a texture
export const ADJUSTMENTS = ["brightness", "contrast", "saturation"] as const;
export type Adjustment = (typeof ADJUSTMENTS)[number];
const KEPT_ADJUSTED = 4;
/** The pixels of images as they were adjusted last: an object is made anew at many occasions. */
const adjusted = new Map<string, HTMLCanvasElement>();

function colourMatrix(brightness: number, contrast: number, saturation: number): number[] {
  const offset = brightness - contrast / 2;
  const row = (own: number): number[] =>
    [0.2126, 0.7152, 0.0722].map((light, i) => (1 + contrast) * (i === own ? 1 + saturation - saturation * light : -saturation * light));
  return [...row(0), 0, offset, ...row(1), 0, offset, ...row(2), 0, offset, 0, 0, 0, 1, 0] as number[];
}

/** An image object that holds the name of its image instead of the image's data. */
export class AssetImage extends FabricImage {
  static override type = "Image";
  static override customProperties = ["asset", ...ADJUSTMENTS];
  declare asset: string;
  /** From -1 to 1; left out, or 0, as in the image itself. */
  declare brightness?: number;
  declare contrast?: number;
  declare saturation?: number;
  #cropping = false;

  constructor(...options: any[]) {
    super(...(options as [HTMLImageElement]));
    this.once("mousedblclick", enterCropMode); // which then listens for its end, and for the next time
    this.on("mousedblclick", () => (this.#cropping = !this.#cropping));
    this.on("deselected", () => this.#cropping && this.crop());
  }
  /** Whether the pointer moves what is shown of the image, not the image. */
  get isCropping(): boolean {
    return this.#cropping;
  }
  /** Begins or ends cropping, as a double click does. */
  crop(): void {
    this.fire("mousedblclick", { target: this } as unknown as ObjectEvents["mousedblclick"]);
  }

  static override async fromObject(data: Record<string, unknown>): Promise<AssetImage> {
    const { type: _, ...options } = data;
    const image = new AssetImage(images.element(data.asset as string), options);
    if (ADJUSTMENTS.some((key) => image[key])) image.adjust();
    return image;
  }
  adjust(): void {
    const { brightness = 0, contrast = 0, saturation = 0 } = this;
    this.applyFilters([]); // what was applied may be another image's as well
    if (brightness || contrast || saturation) {
      const name = [images.element(this.asset).src, brightness, contrast, saturation].join();
      const known = adjusted.get(name);
      if (known) this._element = known;
      else {
        this.applyFilters([new filters.ColorMatrix({ matrix: colourMatrix(brightness, contrast, saturation) })]);
        adjusted.set(name, this._element as HTMLCanvasElement);
      }
      for (const [old] of adjusted) if (adjusted.size > KEPT_ADJUSTED) adjusted.delete(old);
    }
    this.set("dirty", true);
  }
  /** For drawings; toObject asks for it as well, and the data stays in the store. */
  override getSrc(filtered?: boolean): string {
    if (!filtered) return "";
    return this._element instanceof HTMLCanvasElement ? this._element.toDataURL() : (images.assets[this.asset] ?? "");
  }
}
classRegistry.setClass(AssetImage);

export const readAsDataURL = (blob: Blob): Promise<string> =>
  new Promise((resolve, reject) => {
    const reader = new FileReader();
    reader.onload = () => resolve(reader.result as string);
    reader.onerror = () => reject(reader.error ?? new Error(t("The file can't be read.")));
    reader.readAsDataURL(blob);
  });
