/**
 * States of a document, each a value that nobody changes afterwards; unchanged parts are shared between them.
 * Pushes under the same tag that follow each other closely (a held arrow key, typing) become one step.
 */
export class History<T> {
  static readonly mergeWithin = 800; // ms

  #states: T[];
  #at = 0;
  #saved: T | undefined;
  #tag = "";
  #time = 0;

  constructor(initial: T, readonly limit = 300, private readonly clock: () => number = Date.now) {
    this.#states = [initial];
    this.#saved = initial;
  }

  get current(): T {
    return this.#states[this.#at]!;
  }
  get canUndo(): boolean {
    return this.#at > 0;
  }
  get canRedo(): boolean {
    return this.#at < this.#states.length - 1;
  }
  /** Whether the current state is the one last marked as saved (a new history starts saved). */
  get isSaved(): boolean {
    return this.current === this.#saved;
  }

  push(state: T, tag = ""): void {
    const now = this.clock();
    const merges = tag !== "" && tag === this.#tag && now - this.#time < History.mergeWithin && !this.canRedo && !this.isSaved;
    this.#states.splice(merges ? this.#at : this.#at + 1, Infinity, state);
    if (this.#states.length > this.limit + 1) this.#states.shift();
    this.#at = this.#states.length - 1;
    this.#tag = tag;
    this.#time = now;
  }

  /** The state that is undone, or undefined at the start. */
  undo(): T | undefined {
    this.#tag = "";
    return this.canUndo ? this.#states[this.#at--] : undefined;
  }
  /** The state that is reached again, or undefined at the end. */
  redo(): T | undefined {
    this.#tag = "";
    return this.canRedo ? this.#states[++this.#at] : undefined;
  }
  markSaved(state: T | undefined = this.current): void {
    this.#saved = state;
  }
  markUnsaved(): void {
    this.#saved = undefined;
  }
}
