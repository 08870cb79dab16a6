// The open project: its pages, its history, and everything that can be done to them.
import { ActiveSelection, type FabricObject, Group, Point } from "fabric";
import { align, type Axis, distribute, type Side } from "./arrange";
import { History } from "./history";
import { drawnBox } from "./bounds";
import { AssetImage, images } from "./images";
import { applyLock, createImage, createObjects, createShape, eachLeaf } from "./objects";
import { type Clipboard, MAX_PAGE_SIDE, type ObjectData, type PageData, type Project, readClipboard, writeClipboard } from "./project";
import { Stage, type StageEvents } from "./stage";
import { looksLikeSvg, readSvg } from "./svg";
import { CanvasText, type CharacterKey } from "./text";

export interface DocumentState {
  readonly name: string;
  readonly pages: readonly PageData[];
  /** The page that was worked on. */
  readonly page: number;
}

const blankPage = (format: Partial<PageData> = {}): PageData => ({
  width: 1080, height: 1080, background: "#ffffff", ...format, objects: [],
});
export const blankProject = (): Project => ({ name: "", pages: [blankPage()], assets: {} });

const PASTE_OFFSET = 24;

const isSame = (a: PageData, b: PageData): boolean =>
  a.width === b.width && a.height === b.height && a.background === b.background &&
  a.objects.length === b.objects.length && a.objects.every((o, i) => o === b.objects[i]);

export class Editor {
  readonly stage: Stage;
  history = new History<DocumentState>({ ...blankProject(), page: 0 });
  page = 0;
  #pastes = 0;
  #copied = "";

  constructor(host: HTMLElement, private readonly events: Omit<StageEvents, "changed"> & { changed(): void }) {
    this.stage = new Stage(host, { ...events, changed: (tag) => this.commit(tag) });
    void this.#refresh();
  }

  get state(): DocumentState {
    return this.history.current;
  }
  get project(): Project {
    return { name: this.state.name, pages: this.state.pages, assets: images.assets };
  }
  get pageData(): PageData {
    return this.state.pages[this.page]!;
  }

  /** Opens a project in place of the present one, or, if an image in it is broken, changes nothing. */
  async open(project: Project, saved: boolean, beforeChange: () => void): Promise<void> {
    const useImages = await images.prepare(project.assets);
    beforeChange();
    useImages();
    this.history = new History<DocumentState>({ name: project.name, pages: project.pages, page: 0 });
    if (!saved) this.history.markUnsaved();
    this.page = 0;
    await this.#refresh();
  }

  // ---- history ----

  #push(change: Partial<DocumentState>, tag?: string): void {
    this.history.push({ ...this.state, page: this.page, ...change }, tag);
    this.events.changed();
  }

  /** Takes what the canvas shows into the history, if it differs. */
  commit(tag?: string): void {
    let page: PageData | undefined;
    try {
      page = this.stage.read();
    } catch (error) {
      void this.#refresh(true); // what went beyond the format's limits goes back
      throw error;
    }
    if (!page || isSame(page, this.pageData)) return;
    this.#push({ pages: this.state.pages.map((p, i) => (i === this.page ? page : p)) }, tag);
  }

  async #refresh(keepSelection = false): Promise<void> {
    const selected = keepSelection ? this.stage.selectedIdentities : undefined;
    this.page = Math.min(this.page, this.state.pages.length - 1);
    await this.stage.show(this.pageData, selected);
    this.events.changed();
  }

  async #travel(step: () => DocumentState | undefined): Promise<void> {
    const cursor = this.stage.editedText?.selectionEnd;
    this.#finishText();
    const state = step();
    if (!state) return;
    const samePage = state.page === this.page;
    this.page = state.page;
    await this.#refresh(samePage);
    if (cursor !== undefined) this.stage.editText(cursor);
  }
  undo = (): Promise<void> => this.#travel(() => this.history.undo());
  redo = (): Promise<void> => this.#travel(() => this.history.redo());

  #finishText(): void {
    this.stage.editedText?.exitEditing();
  }

  rename(name: string): void {
    if (name !== this.state.name) this.#push({ name }, "name");
  }

  // ---- pages ----

  async goTo(page: number): Promise<void> {
    if (page === this.page || !this.state.pages[page]) return;
    this.#finishText();
    this.page = page;
    await this.#refresh();
  }

  async #setPages(pages: PageData[], page: number): Promise<void> {
    this.#finishText();
    this.page = page;
    this.#push({ pages });
    await this.#refresh();
  }
  addPage = (copy = false): Promise<void> => {
    const page = copy ? { ...this.pageData } : blankPage(this.pageData);
    return this.#setPages([...this.state.pages.slice(0, this.page + 1), page, ...this.state.pages.slice(this.page + 1)], this.page + 1);
  };
  async deletePage(): Promise<void> {
    const pages = this.state.pages.filter((_, i) => i !== this.page);
    if (pages.length > 0) await this.#setPages(pages, Math.min(this.page, pages.length - 1));
  }
  movePage = (by: number): Promise<void> => this.takePage(this.page, this.page + by);
  async takePage(from: number, to: number): Promise<void> {
    const page = this.state.pages[from];
    if (!page || !this.state.pages[to]) return;
    const pages = this.state.pages.filter((_, i) => i !== from);
    pages.splice(to, 0, page);
    await this.#setPages(pages, to);
  }
  /** What is selected, as a page of its own that is as large. */
  get selectionAsPage(): PageData | undefined {
    const { active, selectedData } = this.stage;
    if (!active) return undefined;
    const { left, top, right, bottom } = drawnBox(active, active.calcTransformMatrix());
    const side = (length: number) => Math.min(MAX_PAGE_SIDE, Math.max(1, Math.ceil(length)));
    const objects = selectedData.map((o) => ({ ...o, left: ((o.left as number) ?? 0) - left, top: ((o.top as number) ?? 0) - top }));
    return { width: side(right - left), height: side(bottom - top), background: this.pageData.background, objects };
  }
  setPageFormat(format: Partial<PageData>): void {
    this.stage.setFormat({ ...this.pageData, ...format });
    this.commit("format");
  }

  // ---- objects ----

  /** Changes every selected object, as one step. */
  change(edit: (object: FabricObject) => void, tag?: string): void {
    this.stage.selection.forEach(edit);
    this.#changed(tag);
  }
  /** Changes the selection as a whole. */
  changeWhole(edit: (object: FabricObject) => void, tag?: string): void {
    const { active } = this.stage;
    if (active) edit(active);
    this.#changed(tag);
  }
  #changed(tag?: string): void {
    const { active, canvas } = this.stage;
    if (active instanceof ActiveSelection) active.triggerLayout();
    this.stage.groupAround?.triggerLayout();
    active?.setCoords();
    canvas.requestRenderAll();
    this.commit(tag);
  }

  /** Switches bold, italic or underlined letters on or off: in what is selected, or in what is typed next. */
  switchStyle(key: CharacterKey, on: unknown, off: unknown): void {
    const texts: CanvasText[] = [];
    for (const o of this.stage.selection) eachLeaf(o, (leaf) => leaf instanceof CanvasText && texts.push(leaf));
    const value = texts.every((text) => text.valuesOf(key).every((v) => v === on)) ? off : on;
    for (const text of texts) {
      if (text.hasCursor) text.styleNext(key, value);
      else text.style(key, value);
    }
    this.changeWhole(() => {});
    this.events.selected();
  }

  /** Changes objects by where they are on the page, several as several. */
  #place(change: (objects: FabricObject[]) => void): void {
    const { canvas, selection } = this.stage;
    canvas.discardActiveObject();
    change(selection);
    this.stage.select(selection);
    this.commit();
  }
  align(side: Side): void {
    const { width, height } = this.pageData;
    this.#place((objects) => align(objects, side, { left: 0, top: 0, width, height }));
  }
  distribute(axis: Axis): void {
    this.#place((objects) => distribute(objects, axis));
  }
  flip(key: "flipX" | "flipY"): void {
    this.changeWhole((o) => o.toggle(key));
  }
  /** Switches a property on for all selected objects, or off if all have it. */
  #switch(key: "locked" | "visible"): void {
    const { selection } = this.stage;
    const to = !selection.every((o) => o[key]);
    this.#place(() => selection.forEach((o) => applyLock(o.set(key, to))));
  }
  lock = (): void => this.#switch("locked");
  hide = (): void => this.#switch("visible");
  renameObject(object: FabricObject, name: string): void {
    object.set("name", name);
    this.commit();
  }

  nudge(x: number, y: number): void {
    if (this.stage.selection.some((o) => o.locked)) return;
    this.changeWhole((o) => o.set({ left: o.left + x, top: o.top + y }), "nudge");
  }

  remove(): void {
    const { canvas, groupAround } = this.stage;
    if (groupAround && groupAround.size() > this.stage.edited.length) return this.#removeParts(groupAround);
    const selection = this.stage.selection.filter((o) => !o.locked);
    if (selection.length === 0) return;
    canvas.discardActiveObject();
    canvas.remove(...selection);
    this.commit();
  }

  #removeParts(group: Group): void {
    const parts = this.stage.edited;
    this.stage.canvas.discardActiveObject();
    group.remove(...parts);
    this.stage.select([group]);
    this.commit();
  }

  reorder(where: "front" | "forward" | "backward" | "back"): void {
    const { canvas, selection } = this.stage;
    const upward = where === "front" || where === "backward";
    for (const o of upward ? selection : [...selection].reverse()) {
      if (where === "front") canvas.bringObjectToFront(o);
      else if (where === "back") canvas.sendObjectToBack(o);
    }
    if (where === "forward" || where === "backward") this.#step(selection, where === "forward" ? 1 : -1);
    this.#changed();
  }
  /** Takes an object to a place in the pile. */
  takeObject(object: FabricObject, to: number): void {
    this.stage.canvas.moveObjectTo(object, to);
    this.#changed();
  }
  crop(): void {
    const { active } = this.stage;
    if (active instanceof AssetImage && !active.locked) active.crop();
  }
  /** Moves objects one place up or down; those that touch the end of the pile stay. */
  #step(selection: FabricObject[], by: number): void {
    const { canvas } = this.stage;
    for (const o of by > 0 ? [...selection].reverse() : selection) {
      const at = this.stage.objects.indexOf(o);
      const next = this.stage.objects[at + by];
      if (next && !selection.includes(next)) canvas.moveObjectTo(o, at + by);
    }
  }

  group(): void {
    const { canvas, selection } = this.stage;
    if (selection.length < 2) return;
    canvas.discardActiveObject();
    const at = this.stage.objects.indexOf(selection.at(-1)!) - selection.length + 1;
    canvas.remove(...selection);
    const group = new Group(selection);
    canvas.insertAt(at, group);
    this.stage.select([group]);
    this.commit();
  }
  ungroup(): void {
    const { canvas, selection } = this.stage;
    const freed = selection.flatMap((group) => {
      if (!(group instanceof Group)) return [group];
      const at = this.stage.objects.indexOf(group);
      const parts = group.removeAll() as FabricObject[];
      for (const o of parts) o.set({ opacity: o.opacity * group.opacity });
      canvas.remove(group);
      canvas.insertAt(at, ...parts);
      return parts;
    });
    this.stage.select(freed);
    this.commit();
  }

  async addImage(dataURL: string, at?: Point): Promise<void> {
    const { width, height } = this.pageData;
    const image = await createImage(dataURL, width, height);
    image.setXY(at ?? new Point(width / 2, height / 2));
    this.stage.place(image);
  }

  /** The objects of an SVG drawing, as a group. */
  async addSvg(source: string): Promise<void> {
    this.stage.place(...(await createObjects(await readSvg(source, this.pageData))));
    this.group();
  }

  // ---- copy and paste ----

  /** The selected objects as text, or undefined if nothing is selected. */
  copy(): string | undefined {
    const objects = this.stage.selectedData;
    if (objects.length === 0) return undefined;
    this.#pastes = 0;
    return (this.#copied = writeClipboard({ objects, assets: images.assets }));
  }
  async paste(text: string): Promise<void> {
    const clipboard = readClipboard(text);
    this.#pastes = text === this.#copied ? this.#pastes + 1 : 1;
    await this.#insert(clipboard, this.#pastes * PASTE_OFFSET);
  }
  /** Text of another program. */
  pasteText(text: string): void | Promise<void> {
    if (looksLikeSvg(text)) return this.addSvg(text);
    const { width, height } = this.pageData;
    const box = createShape("Textbox", width / 6, height / 2, (width * 5) / 6, height / 2) as CanvasText;
    box.set({ text: text.replace(/\r\n?/g, "\n"), left: width / 2, top: height / 2 });
    this.stage.place(box);
  }
  async duplicate(): Promise<void> {
    await this.#insert({ objects: this.stage.selectedData, assets: {} }, PASTE_OFFSET);
  }
  async #insert({ objects, assets }: Clipboard, offset: number): Promise<void> {
    const names = new Map<string, string>();
    for (const [name, data] of Object.entries(assets)) names.set(name, await images.add(data));
    const renamed = (o: ObjectData): ObjectData => ({
      ...o,
      ...(o.asset !== undefined && { asset: names.get(o.asset) ?? o.asset }),
      ...(o.objects && { objects: o.objects.map(renamed) }),
    });
    const created = await createObjects(objects.map(renamed));
    for (const o of created) o.set({ left: o.left + offset, top: o.top + offset });
    if (created.length > 0) this.stage.place(...created);
  }
}
