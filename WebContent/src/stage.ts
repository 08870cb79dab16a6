// The view of one page: a fabric canvas that fills the middle of the window, its objects and what of them is selected.
import { ActiveSelection, type FabricObject, Group } from "fabric";
import { Guides } from "./guides";
import { AssetImage } from "./images";
import { bakeScale, createObjects, groupAround } from "./objects";
import { PageCanvas, type PageFormat } from "./pageCanvas";
import { FormatError, type ObjectData, type PageData } from "./project";
import { identityOf, remember, topOf } from "./record";
import { CanvasText } from "./text";
import { Viewport } from "./viewport";

/** `changed` says that an object was changed by hand; `tag` names changes that may be merged. */
export type StageEvents = Record<"selected" | "moving" | "zoomed", () => void> & { changed(tag?: string): void };

export class Stage {
  readonly canvas: PageCanvas;
  readonly view: Viewport;
  /** Groups whose parts are selected one by one, until something outside of them is. */
  readonly #entered = new Set<Group>();
  #loading = 0;
  #selecting = false;

  constructor(readonly host: HTMLElement, readonly events: StageEvents) {
    this.canvas = new PageCanvas(host.appendChild(document.createElement("canvas")), {
      preserveObjectStacking: true,
      controlsAboveOverlay: true,
      altActionKey: null,
      stopContextMenu: false,
      fireMiddleClick: false,
    });
    const { canvas } = this;
    for (const name of ["selection:created", "selection:updated", "selection:cleared"] as const) {
      canvas.on(name, () => {
        this.#styleControls();
        queueMicrotask(() => this.#leaveGroups());
        if (!this.#loading && !this.#selecting) events.selected();
      });
    }
    for (const name of ["object:moving", "object:scaling", "object:rotating", "object:resizing"] as const) {
      canvas.on(name, () => events.moving());
    }
    canvas.on("object:modified", ({ target }) => {
      bakeScale(target);
      groupAround(target)?.triggerLayout();
      events.changed();
    });
    canvas.on("text:changed", () => events.changed("typing"));
    canvas.on("text:selection:changed", () => events.moving());
    canvas.on("text:editing:exited", ({ target }) => {
      if (target.text.trim() === "") canvas.remove(target);
      if (!this.#loading) events.changed("typing");
      host.focus({ preventScroll: true });
    });
    new Guides(canvas);
    canvas.on("mouse:dblclick", ({ target, subTargets }) => this.enterGroup(target, subTargets?.[0]));
    this.view = new Viewport(canvas, host, () => events.zoomed());
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => canvas.useTheme());
    canvas.useTheme();
    window.addEventListener("load", () => canvas.useTheme()); // the style sheet may come after the script
  }

  /** Puts a page on the canvas; its images are decoded already, so that this ends before the next event. */
  async show(page: PageData, selected?: ReadonlySet<object>): Promise<void> {
    const turn = ++this.#loading;
    this.canvas.discardActiveObject();
    const shown = this.#shown(this.objects);
    const objects = page.objects.map((data) => shown.get(data));
    const missing = page.objects.filter((_, i) => !objects[i]);
    const created = await createObjects(missing);
    if (turn !== this.#loading) return;
    created.forEach((o, i) => remember(o, missing[i]!));
    this.setFormat(page);
    const all = objects.map((o) => o ?? created.shift()!);
    this.canvas.arrange(all);
    this.#loading = 0;
    this.select(selected ? all.filter((_, i) => selected.has(identityOf(page.objects[i]!))) : []);
  }

  /** Objects on the canvas by what they stand for; without those that have no data, being out of bounds. */
  #shown(objects: readonly FabricObject[]): Map<ObjectData, FabricObject> {
    const shown = new Map<ObjectData, FabricObject>();
    for (const object of objects) {
      try {
        shown.set(this.canvas.dataOf(object), object);
      } catch (error) {
        if (!(error instanceof FormatError)) throw error;
      }
    }
    return shown;
  }

  setFormat({ width, height, background }: PageFormat): void {
    const { page } = this.canvas;
    const resized = width !== page.width || height !== page.height;
    if (resized || background !== page.background) this.canvas.page = { width, height, background };
    if (resized) this.view.fit();
    this.canvas.requestRenderAll();
  }

  /** Whether the canvas shows the page that it was told to show last, and nothing besides. */
  get isSettled(): boolean {
    return this.#loading === 0 && !(this.active instanceof AssetImage && this.active.isCropping);
  }

  /** What the canvas shows now, or undefined while a page is being put on it. */
  read(): PageData | undefined {
    if (this.#loading) return undefined;
    const { width, height, background } = this.canvas.page;
    return { width, height, background, objects: this.objects.map((o) => this.canvas.dataOf(o)) };
  }

  get objects(): FabricObject[] {
    return this.canvas.getObjects();
  }
  /** The selected objects from back to front. */
  get selection(): FabricObject[] {
    const { active } = this;
    if (active instanceof ActiveSelection && !this.groupAround) return this.objects.filter((o) => this.canvas.isSelected(o));
    return active ? [topOf(this.groupAround ?? active)] : [];
  }
  get selectedData(): ObjectData[] {
    return this.selection.map((o) => this.canvas.dataOf(o));
  }
  get selectedIdentities(): Set<object> {
    return new Set([...this.#shown(this.selection).keys()].map(identityOf));
  }
  /** What is edited in a group, or else what is selected. */
  get edited(): FabricObject[] {
    const { active } = this;
    if (!active || !groupAround(active)) return this.selection;
    return active instanceof ActiveSelection ? active.getObjects() : [active];
  }
  get groupAround(): Group | undefined {
    return groupAround(this.active);
  }
  /** The one thing that is moved and resized: an object, or several as a whole. */
  get active(): FabricObject | undefined {
    return this.canvas.getActiveObject();
  }
  get editedText(): CanvasText | undefined {
    const { active } = this;
    return active instanceof CanvasText && active.isEditing ? active : undefined;
  }
  /** Gives the keys to the text that is edited, or else to the canvas. */
  focus(): void {
    if (this.editedText) this.editedText.takeFocus();
    else this.host.focus({ preventScroll: true });
  }

  select(objects: FabricObject[]): void {
    this.#selecting = true; // told once, below
    this.canvas.discardActiveObject();
    if (objects.length > 1) this.canvas.setActiveObject(new ActiveSelection(objects, { canvas: this.canvas }));
    else if (objects[0]) this.canvas.setActiveObject(objects[0]);
    this.#selecting = false;
    this.canvas.requestRenderAll();
    this.events.selected();
  }

  enterGroup(group: FabricObject | undefined, part?: FabricObject): void {
    if (!(group instanceof Group) || group instanceof ActiveSelection || group.interactive || group.locked) return;
    group.set({ interactive: true });
    this.#entered.add(group);
    const first = part ?? group.getObjects()[0];
    if (first) this.canvas.setActiveObject(first);
    this.canvas.requestRenderAll();
  }
  #leaveGroups(): void {
    for (const group of this.#entered) {
      if (this.canvas.isSelected(group) && group !== this.active) continue;
      group.set({ interactive: false });
      this.#entered.delete(group);
    }
  }

  /** Adds an object on top, selected. */
  place(...objects: FabricObject[]): void {
    this.canvas.add(...objects);
    this.select(objects);
    this.events.changed();
  }

  #styleControls(): void {
    const { selectionBorderColor: accent } = this.canvas;
    for (const o of [...this.edited, this.active ?? {}]) { // not by its setters: nothing of the object itself changes
      Object.assign(o, { borderColor: accent, cornerStrokeColor: accent, editingBorderColor: accent, cursorColor: accent });
    }
  }

  /** Edits the selected text, all of it selected or with the cursor where it is said to be. */
  editText(cursor?: number): void {
    if (this.active instanceof CanvasText) this.active.edit(cursor);
  }
}
