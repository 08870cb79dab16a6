// Files dropped on the page: nothing ever takes the page away.
import type { Point } from "fabric";
import { readAsDataURL } from "./images";
import { t } from "./language";
import type { Pasteboard } from "./pasteboard";
import { readProject } from "./project";
import type { ProjectFile } from "./projectFile";
import type { Stage } from "./stage";
import { guarded, tell } from "./ui";

export function listenToDrops(stage: Stage, pasteboard: Pasteboard, projectFile: ProjectFile): void {
  const drop = async (file: File, at?: Point): Promise<void> => {
    if (/^image\/(?!svg)/.test(file.type)) await pasteboard.addImage(await readAsDataURL(file), at);
    else if (file.type.startsWith("image/svg")) await pasteboard.addSvg(await file.text());
    else if (/\.json$/i.test(file.name)) {
      await projectFile.replace(async () => readProject(await file.text()));
    } else throw new Error(t("“{name}” is neither an image nor a project.", { name: file.name }));
  };
  document.addEventListener("dragover", (e) => e.preventDefault());
  document.addEventListener("drop", (e) => {
    e.preventDefault();
    const over = stage.host.contains(e.target as Node);
    const at = over ? stage.canvas.getScenePoint(e) : undefined;
    const files = [...(e.dataTransfer?.files ?? [])];
    if (files.length === 0) return tell(t("Nothing that was dropped can be read here. “Add image” (I) takes image files."), "error");
    guarded(async () => {
      for (const file of files) await drop(file, at);
    })();
  });
}
