// What the user says of an export, and where the files go.
import type { Editor } from "./editor";
import { exportPages, type Format } from "./export";
import { t } from "./language";
import { fieldNumber } from "./numbers";
import { hasShell, shell } from "./shell";
import { $, openDialog, tell, withProgress } from "./ui";

export async function exportProject(editor: Editor): Promise<void> {
  editor.commit();
  $<HTMLButtonElement>("export-ok").disabled = !hasShell();
  const selection = editor.selectionAsPage;
  $<HTMLInputElement>("export-selection").disabled = !selection;
  if (!selection && $<HTMLInputElement>("export-selection").checked) $("export").querySelector<HTMLInputElement>('[value="this"]')!.checked = true;
  const answer = openDialog($<HTMLDialogElement>("export"));
  $("export").querySelector<HTMLInputElement>(":checked")?.focus();
  if ((await answer) !== "export") return;
  const form = new FormData($<HTMLFormElement>("export-form"));
  const options = { format: form.get("format") as Format, scale: Number(form.get("scale")), quality: (fieldNumber($("export-quality")) ?? 95) / 100 };
  const which = { all: editor.state.pages, this: [editor.pageData], selection: [selection ?? editor.pageData] }[String(form.get("pages"))]!;
  const chosen = form.has("transparent") ? which.map((page) => ({ ...page, background: null })) : which;
  const pixels = chosen.reduce((sum, p) => sum + p.width * p.height * options.scale ** 2, 0);
  const files = await withProgress(t("Exporting"), pixels > 6e6, (step) =>
    exportPages(editor.state.name, chosen, options, step),
  );
  const ended = await (files.length === 1 ? shell.download(files[0]!) : shell.downloadAll(files));
  if (ended.result === "failed") throw new Error(t("“{name}” was not saved: {reason}", { name: ended.name, reason: ended.reason ?? "" }));
  if (ended.result === "saved") tell(files.length === 1
    ? t("Saved as “{name}”", { name: ended.name })
    : t("Saved {count} files in “{name}”", { count: files.length, name: ended.name }));
}
