// The images of the project: each file is kept once, decoded once, and named by the objects that show it.
import { classRegistry, FabricImage, type ObjectEvents } from "fabric";
import { enterCropMode } from "fabric/extensions";
import { t } from "./language";
import { type Assets, imageType } from "./project";

interface StoredImage {
  data: string;
  element: HTMLImageElement;
}

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
  #next = 1;

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
    const element = await decode(data);
    while (this.#images.has(`image-${this.#next}`)) this.#next++;
    const name = `image-${this.#next}`;
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
      this.#next = 1;
    };
  }
}

export const images = new ImageStore();

/** An image object that holds the name of its image instead of the image's data. */
export class AssetImage extends FabricImage {
  static override type = "Image";
  declare asset: string;
  #cropping = false;

  // eslint-disable-next-line @typescript-eslint/no-explicit-any
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
    return new AssetImage(images.element(data.asset as string), options);
  }
  override getSvgSrc(): string {
    return images.assets[this.asset] ?? "";
  }
  override getSrc(): string {
    return ""; // toObject asks for it; the data stays in the store
  }
  // eslint-disable-next-line @typescript-eslint/no-explicit-any
  override toObject(keys: any[] = []): any {
    return { ...super.toObject(keys), asset: this.asset };
  }
}
classRegistry.setClass(AssetImage, "Image");
classRegistry.setClass(AssetImage, "image");

export const readAsDataURL = (blob: Blob): Promise<string> =>
  new Promise((resolve, reject) => {
    const reader = new FileReader();
    reader.onload = () => resolve(reader.result as string);
    reader.onerror = () => reject(reader.error ?? new Error(t("The file can't be read.")));
    reader.readAsDataURL(blob);
  });
