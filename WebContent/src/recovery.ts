// Work of earlier runs of the page, to be taken back or discarded.
import type { Autosave, Session } from "./autosave";
import { language, t } from "./language";
import { UNTITLED } from "./names";
import type { ProjectFile } from "./projectFile";
import { $, guarded } from "./ui";

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
