// The view of one page: a fabric canvas that fills the middle of the window, with zoom, pan and drawing tools.
import { ActiveSelection, Canvas, type FabricObject, Group, type Path, PencilBrush, Point, Rect, Textbox, util } from "fabric";
import { boxOf } from "./arrange";
import { Guides } from "./guides";
import { AssetImage } from "./images";
import { inSteps } from "./line";
import { bakeScale, createObjects, createShape, eachLeaf, INK, type Shape } from "./objects";
import { FormatError, type ObjectData, type PageData } from "./project";
import { dataOf, identityOf, remember } from "./record";
import { StillLayers } from "./still";
import { CanvasText } from "./text";

const MARGIN = 48;
const MIN_ZOOM = 0.02;
const MAX_ZOOM = 16;

type PageFormat = Omit<PageData, "objects">;

/** The group that an object is edited in, or several are. */
const groupAround = (active: FabricObject | undefined): Group | undefined =>
  (active instanceof ActiveSelection ? active.getObjects()[0] : active)?.parent as Group | undefined;

/**
 * Draws the page below its objects and dims what lies outside of it. While something is dragged or a text is edited, what
 * lies below and above it is drawn once.
 */
class PageCanvas extends Canvas {
  page: PageFormat = { width: 1, height: 1, background: null };
  #outside = "";
  #edge = "";
  #checks: CanvasPattern | null = null;
  #still: StillLayers | undefined;

  useTheme(): void {
    const style = getComputedStyle(document.documentElement);
    this.#outside = style.getPropertyValue("--outside");
    this.#edge = style.getPropertyValue("--page-edge");
    this.selectionColor = style.getPropertyValue("--marquee");
    this.selectionBorderColor = style.getPropertyValue("--accent");
    this.#checks = null;
    this.requestRenderAll();
  }

  #pageBox(): [number, number, number, number] {
    const [zoom, , , , x, y] = this.viewportTransform;
    return [x, y, this.page.width * zoom, this.page.height * zoom];
  }

  #checkerboard(ctx: CanvasRenderingContext2D): CanvasPattern | string {
    if (!this.#checks) {
      const tile = new OffscreenCanvas(16, 16);
      const t = tile.getContext("2d")!;
      t.fillStyle = "#ffffff";
      t.fillRect(0, 0, 16, 16);
      t.fillStyle = "#dcdfe5";
      t.fillRect(0, 0, 8, 8);
      t.fillRect(8, 8, 8, 8);
      this.#checks = ctx.createPattern(tile, "repeat");
    }
    return this.#checks ?? "#ffffff";
  }

  /** What the document knows of an object on this canvas. */
  dataOf(object: FabricObject): ObjectData {
    return dataOf(object, this.isSelected(object), () => this._toObject(object, "toObject", []));
  }
  /** Whether an object is selected, or something in it. */
  isSelected(object: FabricObject): boolean {
    const active = this._activeObject;
    if (!active || object === active || object.group === active) return active !== undefined;
    let around = groupAround(active);
    while (around && around !== object) around = around.parent as Group | undefined;
    return around !== undefined;
  }

  /** Puts these objects on the canvas, in this order; those that are on it already stay. */
  arrange(objects: FabricObject[]): void {
    const [before, after] = [new Set(this._objects), new Set(objects)];
    this.remove(...this._objects.filter((o) => !after.has(o)));
    this.add(...objects.filter((o) => !before.has(o)));
    this._objects = [...objects];
    this.requestRenderAll();
  }

  /** The first and the last of the objects that are being changed by hand, by their places in the pile. */
  #changing(objects: FabricObject[]): [number, number] | undefined {
    const active = this._activeObject;
    const isEdited = active instanceof CanvasText && active.isEditing;
    if (!active || !(isEdited || this._currentTransform?.actionPerformed)) return undefined;
    const isActive = (o: FabricObject) => this.isSelected(o);
    const first = objects.findIndex(isActive);
    return first < 0 ? undefined : [first, objects.findLastIndex(isActive)];
  }

  override _renderObjects(ctx: CanvasRenderingContext2D, objects: FabricObject[]): void {
    const changing = ctx === this.getContext() ? this.#changing(objects) : undefined;
    if (!changing) {
      if (ctx === this.getContext()) this.#still = undefined;
      return super._renderObjects(ctx, objects);
    }
    const [first, last] = changing;
    const [below, above] = [objects.slice(0, first), objects.slice(last + 1)];
    const draw = (layer: CanvasRenderingContext2D, still: FabricObject[]) => super._renderObjects(layer, still);
    if (!this.#still?.shows(ctx, this.page, below, above)) this.#still = new StillLayers(ctx, this.page, below, above, draw);
    this.#still.drawBelow(ctx);
    draw(ctx, objects.slice(first, last + 1));
    this.#still.drawAbove(ctx);
  }

  /** A small picture of the page as it is now. */
  picture(scale: number): HTMLCanvasElement {
    const canvas = document.createElement("canvas");
    canvas.width = Math.max(1, Math.round(this.page.width * scale));
    canvas.height = Math.max(1, Math.round(this.page.height * scale));
    const ctx = canvas.getContext("2d", { willReadFrequently: true })!;
    ctx.fillStyle = this.page.background ?? "transparent";
    ctx.fillRect(0, 0, canvas.width, canvas.height);
    ctx.scale(scale, scale);
    const { viewportTransform } = this; // shadows follow it
    Object.assign(this, { skipOffscreen: false, viewportTransform: [scale, 0, 0, scale, 0, 0] });
    super._renderObjects(ctx, this._objects);
    Object.assign(this, { skipOffscreen: true, viewportTransform });
    return canvas;
  }

  override _renderBackground(ctx: CanvasRenderingContext2D): void {
    ctx.fillStyle = this.page.background ?? this.#checkerboard(ctx);
    ctx.fillRect(...this.#pageBox());
  }

  override _renderOverlay(ctx: CanvasRenderingContext2D): void {
    const box = this.#pageBox();
    ctx.save();
    ctx.beginPath();
    ctx.rect(0, 0, this.width, this.height);
    ctx.rect(...box);
    ctx.fillStyle = this.#outside;
    ctx.fill("evenodd");
    ctx.strokeStyle = this.#edge;
    ctx.strokeRect(box[0] - 0.5, box[1] - 0.5, box[2] + 1, box[3] + 1);
    ctx.restore();
  }
}

export interface StageEvents {
  /** An object was changed by hand: `tag` names changes that may be merged. */
  changed(tag?: string): void;
  selected(): void;
  moving(): void;
  zoomed(): void;
  toolChanged(): void;
}

export class Stage {
  readonly canvas: PageCanvas;
  tool: Shape | "draw" | null = null;
  #fitted = true;
  readonly #entered = new Set<Group>();
  #loading = 0;

  constructor(readonly host: HTMLElement, private readonly events: StageEvents) {
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
        if (!this.#loading) events.selected();
      });
    }
    canvas.on("mouse:dblclick", ({ target, subTargets }) => this.#enter(target, subTargets?.[0]));
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
    new Guides(canvas, () => {
      const { width, height } = canvas.page;
      return new Rect({ left: width / 2, top: height / 2, width, height, strokeWidth: 0 });
    });
    this.#listenForDrawing();
    this.#listenForMoving();
    this.#listenForPanning();
    new ResizeObserver(() => this.#resize()).observe(host);
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => canvas.useTheme());
    canvas.useTheme();
    window.addEventListener("load", () => canvas.useTheme()); // the style sheet may come after the script
  }

  // ---- the page ----

  /** Puts a page on the canvas; its images are decoded already, so that this ends before the next event. */
  async show(page: PageData, selected?: ReadonlySet<object>): Promise<void> {
    const turn = ++this.#loading;
    this.canvas.discardActiveObject();
    const shown = this.#shown();
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

  /** The objects on the canvas by what they stand for; without those that have no data, being out of bounds. */
  #shown(): Map<ObjectData, FabricObject> {
    const shown = new Map<ObjectData, FabricObject>();
    for (const object of this.objects) {
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
    this.canvas.page = { width, height, background };
    if (resized) this.fit();
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

  // ---- selection ----

  get objects(): FabricObject[] {
    return this.canvas.getObjects();
  }
  /** The selected objects from back to front. */
  get selection(): FabricObject[] {
    const { active } = this;
    if (!active || (active instanceof ActiveSelection && !this.groupAround)) return active ? this.objects.filter((o) => this.canvas.isSelected(o)) : [];
    let outermost = this.groupAround ?? active;
    while (outermost.parent) outermost = outermost.parent as Group;
    return [outermost];
  }
  get selectedData(): ObjectData[] {
    return this.selection.map((o) => this.canvas.dataOf(o));
  }
  get selectedIdentities(): Set<object> {
    return new Set([...this.#shown()].filter(([, o]) => this.canvas.isSelected(o)).map(([data]) => identityOf(data)));
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
    this.canvas.discardActiveObject();
    if (objects.length > 1) this.canvas.setActiveObject(new ActiveSelection(objects, { canvas: this.canvas }));
    else if (objects[0]) this.canvas.setActiveObject(objects[0]);
    this.canvas.requestRenderAll();
    this.events.selected();
  }

  /** Has the parts of a group selected one by one, until something outside of it is. */
  #enter(group: FabricObject | undefined, part: FabricObject | undefined): void {
    if (!(group instanceof Group) || group instanceof ActiveSelection || group.interactive || group.locked) return;
    group.set({ interactive: true });
    this.#entered.add(group);
    const first = part ?? group.getObjects()[0];
    if (first) this.canvas.setActiveObject(first);
    this.canvas.requestRenderAll();
  }
  enterGroup(): void {
    this.#enter(this.active, undefined);
  }
  #leaveGroups(): void {
    for (const group of this.#entered) {
      if (this.canvas.isSelected(group) && group !== this.active) continue;
      group.set({ interactive: false });
      this.#entered.delete(group);
    }
  }

  #styleControls(): void {
    const accent = getComputedStyle(document.documentElement).getPropertyValue("--accent");
    for (const o of new Set([...this.edited, ...(this.active ? [this.active] : [])])) {
      o.set({
        borderColor: accent, cornerColor: "#ffffff", cornerStrokeColor: accent, cornerStyle: "circle", cornerSize: 10,
        transparentCorners: false, borderScaleFactor: 1.5, padding: 0, lockScalingFlip: true, snapAngle: 15, snapThreshold: 4,
      });
      if (o instanceof Textbox) o.set({ editingBorderColor: accent, cursorColor: accent });
    }
  }

  /** Edits the selected text, all of it selected or with the cursor where it is said to be. */
  editText(cursor?: number): void {
    if (this.active instanceof CanvasText) this.active.edit(cursor);
  }

  // ---- drawing ----

  arm(tool: Stage["tool"]): void {
    this.tool = tool;
    this.canvas.isDrawingMode = tool === "draw";
    this.canvas.selection = tool === null;
    this.canvas.skipTargetFind = tool !== null;
    this.canvas.defaultCursor = tool ? "crosshair" : "default";
    this.events.toolChanged();
  }

  /** Adds an object on top, selected. */
  place(...objects: FabricObject[]): void {
    for (const o of objects) eachLeaf(o, (leaf) => leaf.set({ strokeUniform: true }));
    this.canvas.add(...objects);
    this.select(objects);
    this.events.changed();
  }

  /** Adds a shape of a handy size in the middle of the page: drawing without a pointer. */
  placeInMiddle(shape: Shape): void {
    const { width, height } = this.canvas.page;
    const side = this.#handySide;
    const [w, h] = shape === "Line" ? [side, 0] : [side, side];
    this.place(createShape(shape, (width - w) / 2, (height - h) / 2, (width + w) / 2, (height + h) / 2));
    this.arm(null);
    if (shape === "Textbox") this.editText();
  }

  get #handySide(): number {
    return Math.round(Math.min(this.canvas.page.width, this.canvas.page.height) / 4);
  }

  #listenForDrawing(): void {
    const { canvas } = this;
    canvas.freeDrawingBrush = Object.assign(new PencilBrush(canvas), { color: INK, width: 6, decimate: 2 });
    canvas.on("path:created", ({ path }) => {
      canvas.remove(path);
      this.arm(null);
      this.place((path as Path).set({ fill: null }));
    });
    let start: Point | null = null;
    let drawn: FabricObject | null = null;
    let tool: Shape | null = null;
    canvas.on("mouse:down", ({ scenePoint }) => {
      tool = this.tool === "draw" ? null : this.tool;
      if (tool) start = scenePoint;
    });
    canvas.on("mouse:move", ({ scenePoint, e }) => {
      if (!start || !tool) return;
      if (drawn) canvas.remove(drawn);
      const end = e.shiftKey ? constrain(tool, start, scenePoint) : scenePoint;
      drawn = createShape(tool, start.x, start.y, end.x, end.y);
      canvas.add(drawn);
    });
    canvas.on("mouse:up", () => {
      const [from, rough] = [start, drawn];
      start = drawn = null;
      if (rough) canvas.remove(rough);
      if (!from || !tool || !this.tool) return; // Escape gives up what is being drawn
      this.arm(null);
      const tiny = !rough || Math.max(rough.width, rough.height) * canvas.getZoom() < 4;
      const side = this.#handySide;
      const shape = tiny ? createShape(tool, from.x, from.y, from.x + side, from.y + (tool === "Line" ? 0 : side)) : rough;
      if (tool === "Textbox") shape.set({ top: from.y + shape.height / 2 });
      this.place(shape);
      this.editText();
    });
  }

  /** Shift keeps to one axis; with Alt a copy stays where the object was. */
  #listenForMoving(): void {
    const { canvas } = this;
    let left: ObjectData[] | undefined;
    canvas.on("mouse:down", ({ e, target, transform }) => {
      left = e.altKey && target && !this.tool && !transform?.corner ? this.selectedData : undefined;
    });
    canvas.on("object:moving", ({ e, target, transform }) => {
      const { original } = transform;
      if (e.shiftKey) {
        const across = Math.abs(target.left - original.left) > Math.abs(target.top - original.top);
        target.set(across ? { top: original.top } : { left: original.left });
      }
      if (!left) return;
      const below = this.objects.indexOf(this.selection[0]!);
      void createObjects(left).then((copies) => canvas.insertAt(below, ...copies));
      left = undefined;
    });
  }

  // ---- zoom and pan ----

  get zoom(): number {
    return this.canvas.getZoom();
  }

  fit(): void {
    const { width, height } = this.canvas.page;
    const margin = Math.min(MARGIN, this.canvas.height / 20);
    const zoom = Math.min((this.canvas.width - 2 * margin) / width, (this.canvas.height - 2 * margin) / height);
    this.#view(zoom, width / 2, height / 2);
    this.#fitted = true;
  }

  fitSelection(): void {
    if (!this.active) return this.fit();
    const { left, top, width, height } = boxOf([this.active]);
    const zoom = Math.min((this.canvas.width - 2 * MARGIN) / width, (this.canvas.height - 2 * MARGIN) / height);
    this.#fitted = false;
    this.#view(zoom, left + width / 2, top + height / 2);
  }

  /** Zooms, keeping the middle of the view or the given point of it in place. */
  zoomTo(zoom: number, at = new Point(this.canvas.width / 2, this.canvas.height / 2)): void {
    this.#fitted = false;
    this.canvas.zoomToPoint(at, Math.min(MAX_ZOOM, Math.max(MIN_ZOOM, zoom)));
    const [z, , , , x, y] = this.canvas.viewportTransform;
    this.canvas.setViewportTransform([z, 0, 0, z, Math.round(x), Math.round(y)]); // whole pixels are sharp
    this.#viewChanged();
  }

  #view(zoom: number, x: number, y: number): void {
    const z = Math.min(MAX_ZOOM, Math.max(MIN_ZOOM, zoom));
    const { width, height } = this.canvas;
    this.canvas.setViewportTransform([z, 0, 0, z, Math.round(width / 2 - x * z), Math.round(height / 2 - y * z)]);
    this.#viewChanged();
  }

  #viewChanged(): void {
    for (const o of this.objects) o.setCoords();
    this.active?.setCoords();
    this.events.zoomed();
  }

  #resize(): void {
    const { canvas } = this;
    const middle = util.transformPoint(
      new Point(canvas.width / 2, canvas.height / 2), util.invertTransform(canvas.viewportTransform),
    );
    canvas.setDimensions({ width: this.host.clientWidth, height: this.host.clientHeight });
    if (this.#fitted) this.fit();
    else this.#view(this.zoom, middle.x, middle.y);
  }

  #listenForPanning(): void {
    const { host, canvas } = this;
    let space = false;
    let from: Point | null = null;
    const cursor = (name: string) => canvas.setCursor(name);
    host.addEventListener("wheel", (e) => {
      e.preventDefault();
      if (e.ctrlKey) return this.zoomTo(this.zoom * 1.0015 ** -e.deltaY, new Point(e.offsetX, e.offsetY));
      this.#fitted = false;
      canvas.relativePan(new Point(e.shiftKey ? -e.deltaY : -e.deltaX, e.shiftKey ? 0 : -e.deltaY));
      this.#viewChanged();
    }, { passive: false });
    host.addEventListener("keydown", (e) => {
      if (e.key !== " " || this.editedText) return;
      e.preventDefault();
      space = true;
      cursor("grab");
    });
    window.addEventListener("keyup", (e) => {
      if (e.key === " ") space = false;
    });
    host.addEventListener("mousedown", (e) => {
      if (!this.editedText) host.focus({ preventScroll: true });
      if (e.button !== 1 && !(e.button === 0 && space)) return;
      e.preventDefault();
      e.stopPropagation();
      from = new Point(e.clientX, e.clientY);
      cursor("grabbing");
    }, { capture: true });
    window.addEventListener("mousemove", (e) => {
      if (!from) return;
      const to = new Point(e.clientX, e.clientY);
      this.#fitted = false;
      canvas.relativePan(to.subtract(from));
      this.#viewChanged();
      from = to;
    });
    window.addEventListener("mouseup", () => {
      if (from) cursor("default");
      from = null;
    });
  }
}

/** The end point for a square or circle, or for a line in steps of 45 degrees. */
function constrain(shape: Shape, start: Point, end: Point): Point {
  if (shape === "Line") return inSteps(start, end);
  const d = end.subtract(start);
  const side = Math.max(Math.abs(d.x), Math.abs(d.y));
  return new Point(start.x + Math.sign(d.x) * side, start.y + Math.sign(d.y) * side);
}
