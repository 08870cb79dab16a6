// The parts of the page, put together, and what each command does.
import { Autosave, offerRecovery } from "./autosave";
import { listenToContextMenu } from "./contextMenu";
import { Drawing, TOOLS } from "./drawing";
import { blankProject, Editor } from "./editor";
import { listenToUndoCommands } from "./editMenu";
import { exportProject } from "./export";
import { Inspector } from "./inspector";
import { announceSelection, type Commands, goToPane, KEYS, listenToKeyboard, showShortcuts } from "./keyboard";
import { t, translatePage } from "./language";
import { Layers, Pages } from "./lists";
import { UNTITLED } from "./names";
import { listenToNumberFields } from "./numbers";
import { AXES, ObjectEdits, PLACES, SIDES } from "./objectEdits";
import { SHAPES } from "./objects";
import { Pasteboard } from "./pasteboard";
import { listenToMoving, listenToPanning } from "./pointer";
import { PathPoints } from "./points";
import type { Project } from "./project";
import { ProjectFile } from "./projectFile";
import { Rulers } from "./rulers";
import { shell } from "./shell";
import { $, announce, guarded, painted, tell, tellError } from "./ui";

translatePage((command) => Object.keys(KEYS).find((keys) => KEYS[keys] === command));

const editor: Editor = new Editor($("stage"), {
  changed: () => update(),
  selected: () => {
    updateSelection();
    announceSelection(stage);
  },
  moving: () => inspector.refresh(),
  zoomed: () => {
    $("zoom-level").textContent = `${Math.round(editor?.stage.canvas.getZoom() * 100)} %`;
    rulers.draw();
  },
});
const { stage } = editor;
const drawing = new Drawing(stage, (tool) => {
  for (const button of document.querySelectorAll<HTMLElement>("[data-tool]")) {
    button.setAttribute("aria-pressed", String(button.dataset.tool === (tool ?? "select")));
  }
});
const points = new PathPoints(stage);
const edits = new ObjectEdits(editor);
const pasteboard = new Pasteboard(editor, edits);
const rulers = new Rulers(stage);
const inspector = new Inspector(editor, edits);
const layers = new Layers(editor, edits);
const pages = new Pages(editor);
let autosave: Autosave | undefined;

function update(): void {
  const { name } = editor.state;
  document.title = `${editor.history.isSaved ? "" : "• "}${name || UNTITLED} – Quillory`;
  const field = $<HTMLInputElement>("project-name");
  if (field !== document.activeElement) field.value = name;
  updateSelection();
  pages.refresh();
  if (editor.history.canUndo || editor.history.canRedo || !editor.history.isSaved) autosave?.schedule();
}

function updateSelection(): void {
  inspector.refresh();
  layers.refresh();
  const selected = stage.selection.length > 0;
  const enabled: Record<string, boolean> = {
    undo: editor.history.canUndo,
    redo: editor.history.canRedo,
    "page-delete": editor.state.pages.length > 1,
    "page-left": editor.page > 0,
    "page-right": editor.page < editor.state.pages.length - 1,
    group: stage.selection.length > 1,
    ungroup: stage.selection.some((o) => o.isType("Group")),
  };
  for (const command of ["cut", "copy", "duplicate", "delete", "lock", "hide", "rename", "front", "back"]) enabled[command] = selected;
  for (const axis in AXES) enabled[`distribute-${axis}`] = stage.selection.length > 2;
  for (const [command, on] of Object.entries(enabled)) {
    for (const b of document.querySelectorAll<HTMLButtonElement>(`[data-command="${command}"]`)) b.disabled = !on;
  }
}

async function openProject(project: Project, saved: boolean): Promise<void> {
  await editor.open(project, saved, () => autosave?.startSession());
  stage.view.fit();
  announce(t("{name} opened", { name: project.name || UNTITLED }));
}
const projectFile = new ProjectFile(editor, () => (update(), autosave?.schedule()), openProject);

const tasks: Commands = {
  new: () => projectFile.replace(blankProject),
  open: () => projectFile.pick(),
  save: () => projectFile.save(),
  "save-as": () => projectFile.save(true),
  export: () => exportProject(editor),
  image: () => shell.pickImage(),
  undo: editor.undo,
  redo: editor.redo,
  copy: () => pasteboard.copy(),
  cut: () => pasteboard.copy() && edits.remove(),
  paste: () => shell.paste(),
  duplicate: () => pasteboard.duplicate(),
  delete: () => edits.remove(),
  "select-all": () => stage.select(stage.objects.filter((o) => !o.locked && o.visible)),
  group: () => edits.group(),
  ungroup: () => edits.ungroup(),
  lock: () => edits.switch("locked"),
  hide: () => edits.switch("visible"),
  rename: () => layers.rename(),
  "flip-x": () => edits.changeWhole((o) => o.toggle("flipX")),
  "flip-y": () => edits.changeWhole((o) => o.toggle("flipY")),
  proportions: () => ($("proportions").ariaPressed = String($("proportions").ariaPressed !== "true")),
  crop: () => edits.crop(),
  rulers: () => rulers.switch(),
  shortcuts: showShortcuts,
  bold: () => edits.switchStyle("fontWeight", "bold", "normal"),
  italic: () => edits.switchStyle("fontStyle", "italic", "normal"),
  underline: () => edits.switchStyle("underline", true, false),
  /** Goes into what is selected: a group, the points of an outline, a text. */
  enter: () => {
    const { active } = stage;
    if (active?.isType("Group")) return stage.enterGroup(active);
    points.switch(active);
    stage.editText();
  },
  escape: () => (drawing.tool ? drawing.arm(null) : stage.select([])),
  fit: () => stage.view.fit(),
  "zoom-selection": () => stage.view.fitSelection(),
  "zoom-100": () => stage.view.zoomTo(1),
  "zoom-in": () => stage.view.zoomTo(stage.canvas.getZoom() * 1.25),
  "zoom-out": () => stage.view.zoomTo(stage.canvas.getZoom() / 1.25),
  "page-add": () => editor.addPage(),
  "page-duplicate": () => editor.addPage(true),
  "page-delete": () => editor.deletePage(),
  "page-left": () => editor.takePage(editor.page, editor.page - 1),
  "page-right": () => editor.takePage(editor.page, editor.page + 1),
  "page-previous": () => editor.goTo(editor.page - 1),
  "page-next": () => editor.goTo(editor.page + 1),
  "pane-next": () => goToPane(1),
  "pane-previous": () => goToPane(-1),
  "tool-select": () => drawing.arm(null),
};
for (const tool of TOOLS) tasks[`tool-${tool}`] = () => drawing.arm(tool);
for (const place of PLACES) tasks[place] = () => edits.reorder(place);
for (const [name, side] of Object.entries(SIDES)) tasks[`align-${name}`] = () => edits.align(side);
for (const [name, axis] of Object.entries(AXES)) tasks[`distribute-${name}`] = () => edits.distribute(axis);
const commands: Commands = Object.fromEntries(Object.entries(tasks).map(([name, task]) => [name, guarded(task)]));

document.addEventListener("click", (e) => {
  const button = (e.target as Element).closest<HTMLElement>("[data-command]");
  if (!button) return;
  const command = button.dataset.command!;
  const shape = SHAPES.find((s) => command === `tool-${s}`);
  if (shape && e.detail === 0) {
    stage.host.focus(); // pressed from the keyboard: there is no pointer to draw with
    drawing.placeInMiddle(shape);
  } else commands[command]!();
});
listenToKeyboard(stage, drawing, edits, pasteboard, commands);
listenToMoving(stage);
listenToPanning(stage);
listenToNumberFields();
listenToContextMenu(stage);
listenToUndoCommands(commands.undo!, commands.redo!);

const nameField = $<HTMLInputElement>("project-name");
nameField.addEventListener("input", () => editor.rename(nameField.value));

window.addEventListener("error", (e) => tellError(e.error));

window.handleNativeFileContent = guarded((text) => projectFile.receive(text));
window.handleNativePasteContent = guarded((text) => pasteboard.paste(text));
window.handleNativeImageContent = guarded(async (dataURL) => {
  const at = await shell.dropPlace();
  const over = at && document.elementFromPoint(at.clientX, at.clientY)?.closest("#stage");
  await pasteboard.addImage(dataURL, over ? stage.canvas.getScenePoint(at) : undefined);
});
update();
stage.host.focus();
void painted().then(guarded(async () => { // the page is seen first
  autosave = await Autosave.open(
    () => ({ ...editor.project, unsaved: !editor.history.isSaved }),
    (error) => tell(t("Your work can't be kept in case of a crash: {reason}", { reason: String(error) }), "error"),
  );
  update();
  offerRecovery(await autosave.earlier(), autosave, projectFile);
}));
