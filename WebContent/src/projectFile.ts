// The file that the open project belongs to: the one that it was opened from or saved to last. The project counts as
// saved only once the shell says that it is.
import type { Editor } from "./editor";
import { readAsDataURL } from "./images";
import { t } from "./language";
import { fileName, UNTITLED } from "./names";
import { type Project, readProject, writeProject } from "./project";
import { type Answer, shell } from "./shell";
import { $, Cancelled, openDialog, tell } from "./ui";

export class ProjectFile {
  #file: Answer | undefined;
  /** What the user picked, until its text comes. */
  #picked: Answer | undefined;

  #turn: Promise<void> = Promise.resolve();

  constructor(
    private readonly editor: Editor,
    private readonly changed: () => void,
    private readonly open: (project: Project, saved: boolean) => Promise<void>,
  ) {}

  /** Saves to the project's own file, or to one that the user is asked for; false if the user thought better of it. */
  async save(elsewhere = false): Promise<boolean> {
    const { editor } = this;
    editor.commit();
    const { history, state } = editor;
    const file = elsewhere ? undefined : this.#file;
    const data = await readAsDataURL(new Blob([writeProject(editor.project)], { type: "application/json" }));
    const answer = await shell.download({ filename: file?.name ?? fileName(state.name, "json"), data }, file?.file);
    if (answer.result === "failed") throw new Error(t("“{name}” was not saved: {reason}", { name: answer.name, reason: answer.reason ?? "" }));
    if (answer.result !== "saved") return false;
    history.markSaved(state);
    if (history === editor.history) this.#file = answer;
    this.changed();
    tell(t("Saved as “{name}”", { name: answer.name }));
    return true;
  }

  /** Has the user pick a project; its text comes by itself. */
  async pick(): Promise<void> {
    const answer = await shell.pickProject();
    if (answer.result === "failed") throw new Error(t("“{name}” was not opened: {reason}", { name: answer.name, reason: answer.reason ?? "" }));
    this.#picked = answer.result === "opened" ? answer : undefined;
  }

  /** A project's text has come: it was picked, or else dropped on the window. */
  receive(text: string): Promise<void> {
    const file = this.#picked;
    this.#picked = undefined;
    return this.replace(() => readProject(text), file);
  }

  /** Puts a project in place of the open one, after those that came before it; asks first if that has unsaved changes. */
  replace(read: () => Project | Promise<Project>, file?: Answer, saved = true): Promise<void> {
    const task = async () => {
      const project = await read();
      if (!(await this.#mayReplace())) throw new Cancelled();
      await this.open(project, saved);
      this.#file = file;
    };
    return (this.#turn = this.#turn.catch(() => {}).then(task));
  }

  async #mayReplace(): Promise<boolean> {
    this.editor.commit();
    if (this.editor.history.isSaved) return true;
    $("ask-text").textContent = t("Save the changes to “{name}” before another project takes its place?", {
      name: this.editor.state.name || UNTITLED,
    });
    const answer = await openDialog($<HTMLDialogElement>("ask"));
    if (answer !== "save") return answer === "discard";
    return (await this.save()) && this.#mayReplace(); // it may have been changed while the panel was open
  }
}
