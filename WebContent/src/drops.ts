// What is dropped on the page: files come from the shell, texts as those that are pasted. Nothing takes the page away.
import { t } from "./language";
import type { Pasteboard } from "./pasteboard";
import { guarded, tell } from "./ui";

export function listenToDrops(pasteboard: Pasteboard): void {
  document.addEventListener("dragover", (e) => e.preventDefault());
  document.addEventListener("drop", (e) => {
    e.preventDefault();
    const text = e.dataTransfer?.getData("text/plain") ?? "";
    if (text.trim()) guarded(() => pasteboard.pasteText(text))();
    else tell(t("Nothing that was dropped can be read here. “Add image” (I) takes image files."), "error");
  });
}
