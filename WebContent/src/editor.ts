// The open project: its pages and its history.
import { util } from "fabric";
import { drawnBox } from "./bounds";
import { History } from "./history";
import { images } from "./images";
import { MAX_PAGE_SIDE, type PageData, type Project } from "./project";
import { Stage, type StageEvents } from "./stage";

/** `page` is the one that was worked on. */
type DocumentState = Readonly<Pick<Project, "name" | "pages"> & { page: number }>;

const blankPage = (format: Partial<PageData> = {}): PageData => ({
  width: 1080, height: 1080, background: "#ffffff", ...format, objects: [],
});
export const blankProject = (): Project => ({ name: "", pages: [blankPage()], assets: {} });

const isSame = (a: PageData, b: PageData): boolean =>
  a.width === b.width && a.height === b.height && a.background === b.background &&
  a.objects.length === b.objects.length && a.objects.every((o, i) => o === b.objects[i]);

export class Editor {
  readonly stage: Stage;
  history = new History<DocumentState>({ ...blankProject(), page: 0 });
  page = 0;

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
    this.stage.editedText?.exitEditing();
    const state = step();
    if (!state) return;
    const samePage = state.page === this.page;
    this.page = state.page;
    await this.#refresh(samePage);
    if (cursor !== undefined) this.stage.editText(cursor);
  }
  undo = (): Promise<void> => this.#travel(() => this.history.undo());
  redo = (): Promise<void> => this.#travel(() => this.history.redo());

  rename(name: string): void {
    if (name !== this.state.name) this.#push({ name }, "name");
  }

  async goTo(page: number): Promise<void> {
    if (page !== this.page && this.state.pages[page]) await this.#turnTo(page);
  }
  async #turnTo(page: number, pages?: PageData[]): Promise<void> {
    this.stage.editedText?.exitEditing();
    this.page = page;
    if (pages) this.#push({ pages });
    await this.#refresh();
  }
  addPage = (copy = false): Promise<void> => {
    const page = copy ? { ...this.pageData } : blankPage(this.pageData);
    return this.#turnTo(this.page + 1, this.state.pages.toSpliced(this.page + 1, 0, page));
  };
  async deletePage(): Promise<void> {
    const pages = this.state.pages.toSpliced(this.page, 1);
    if (pages.length > 0) await this.#turnTo(Math.min(this.page, pages.length - 1), pages);
  }
  async takePage(from: number, to: number): Promise<void> {
    const { pages } = this.state;
    if (pages[from] && pages[to]) await this.#turnTo(to, pages.toSpliced(from, 1).toSpliced(to, 0, pages[from]));
  }
  /** What is selected, as a page of its own that is as large. */
  get selectionAsPage(): PageData | undefined {
    const { active, selectedData } = this.stage;
    if (!active) return undefined;
    const [from, to] = drawnBox(active, active.calcTransformMatrix());
    const side = (length: number) => util.capValue(1, Math.ceil(length), MAX_PAGE_SIDE);
    const objects = selectedData.map((o) => ({ ...o, left: ((o.left as number) ?? 0) - from.x, top: ((o.top as number) ?? 0) - from.y }));
    return { width: side(to.x - from.x), height: side(to.y - from.y), background: this.pageData.background, objects };
  }
  setPageFormat(format: Partial<PageData>): void {
    this.stage.setFormat({ ...this.pageData, ...format });
    this.commit("format");
  }
}
