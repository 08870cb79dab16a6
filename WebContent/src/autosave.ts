// Work in progress, kept in the page's own storage so that it outlives a crash. Every run of the page writes a
// session of its own; what earlier runs left stays until the user takes it back or discards it.
import { language, t } from "./language";
import { UNTITLED } from "./names";
import { type Assets, type Project, usedAssets } from "./project";
import type { ProjectFile } from "./projectFile";
import { $, guarded } from "./ui";

export interface Session extends Omit<Project, "assets"> {
  /** When the run began, in milliseconds; also its key. */
  id: number;
  changed: number;
  unsaved: boolean;
}

const DELAY = 400; // ms after the last change
const MAX_DELAY = 1500; // ms after the first one
const KEPT_SESSIONS = 5;

const result = <T>(request: IDBRequest<T>): Promise<T> =>
  new Promise((resolve, reject) => {
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => reject(request.error);
  });
const assetRange = (id: number): IDBKeyRange => IDBKeyRange.bound([id], [id, []]); // a list sorts behind every text

export class Autosave {
  #id = Date.now();
  #written = new Set<string>();
  #timer = 0;
  /** By when what has changed is to be written, if something has. */
  #due = 0;

  private constructor(
    private readonly db: IDBDatabase,
    private readonly work: () => Omit<Session, "id" | "changed"> & { assets: Assets },
    private readonly report: (error: unknown) => void,
  ) {
    for (const event of ["visibilitychange", "pagehide"]) window.addEventListener(event, () => this.flush());
  }

  static async open(work: Autosave["work"], report: Autosave["report"]): Promise<Autosave> {
    const request = indexedDB.open("quillory", 1);
    request.onupgradeneeded = () => {
      request.result.createObjectStore("sessions", { keyPath: "id" });
      request.result.createObjectStore("assets");
    };
    return new Autosave(await result(request), work, report);
  }

  /** Sessions of earlier runs, the latest first; the oldest beyond a handful are dropped. */
  async earlier(): Promise<Session[]> {
    const all: Session[] = await result(this.db.transaction("sessions").objectStore("sessions").getAll());
    const sessions = all.filter((s) => s.id !== this.#id).sort((a, b) => b.changed - a.changed);
    for (const { id } of sessions.slice(KEPT_SESSIONS)) this.discard(id);
    return sessions.slice(0, KEPT_SESSIONS);
  }

  async assetsOf({ id, pages }: Session): Promise<Assets> {
    const store = this.db.transaction("assets").objectStore("assets");
    const names = [...usedAssets(pages)];
    return Object.fromEntries(await Promise.all(names.map(async (n) => [n, await result(store.get([id, n]))])));
  }

  /** Takes place after everything that was asked for before, so that what replaces the session is written first. */
  discard(id: number): void {
    const change = this.#change();
    change.objectStore("sessions").delete(id);
    result(change.objectStore("assets").delete(assetRange(id))).catch(this.report);
  }

  /** The database does changes in the order in which they are asked for, so none waits here, where the end could catch it. */
  #change = (): IDBTransaction => this.db.transaction(["sessions", "assets"], "readwrite");

  /** Another project takes the place of this one, which is saved, or the user has no more use for it. */
  startSession(): void {
    this.#due = 0;
    const last = this.#id;
    this.#id = Math.max(Date.now(), last + 1);
    this.#written = new Set();
    this.discard(last);
  }

  schedule(): void {
    this.#due ||= Date.now() + MAX_DELAY;
    clearTimeout(this.#timer);
    this.#timer = window.setTimeout(() => this.flush(), Math.min(DELAY, this.#due - Date.now()));
  }

  flush(): void {
    if (!this.#due) return;
    this.#due = 0;
    const written = this.#written;
    this.#write(this.#id, written).catch((error) => {
      written.clear(); // the next time everything is
      this.report(error);
    });
  }

  async #write(id: number, written: Set<string>): Promise<void> {
    const { assets, ...work } = this.work();
    const change = this.#change();
    for (const [name, data] of Object.entries(assets)) {
      if (!written.has(name)) change.objectStore("assets").put(data, [id, name]);
      written.add(name);
    }
    await result(change.objectStore("sessions").put({ ...work, id, changed: Date.now() }));
  }
}

/** Offers the work of earlier runs, one after the other. */
export function offerRecovery([session, ...rest]: Session[], autosave: Autosave, projectFile: ProjectFile): void {
  const bar = $("recovery");
  bar.hidden = !session;
  if (!session) return $("stage").focus();
  const time = new Date(session.changed).toLocaleString(language, { dateStyle: "medium", timeStyle: "short" });
  const what = { name: session.name || UNTITLED, time };
  $("recovery-text").textContent = session.unsaved
    ? t("Restore unsaved work? “{name}” of {time}", what) : t("Reopen the last project? “{name}” of {time}", what);
  $("recovery-restore").textContent = session.unsaved ? t("Restore") : t("Reopen");
  $("recovery-restore").focus();
  const next = () => offerRecovery(rest, autosave, projectFile);
  $("recovery-discard").onclick = () => {
    autosave.discard(session.id);
    next();
  };
  $("recovery-restore").onclick = guarded(async () => {
    const { name, pages } = session;
    const project = async () => ({ name, pages, assets: await autosave.assetsOf(session) });
    await projectFile.replace(project, undefined, !session.unsaved);
    autosave.schedule();
    autosave.flush();
    autosave.discard(session.id);
    next();
  });
}
