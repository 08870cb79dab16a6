// Names of the files that leave the page. A file system allows 255 bytes; the rest is room for page numbers and suffixes.
import { t } from "./language";

const MAX_BYTES = 200;
export const UNTITLED = t("Untitled");

const bytes = (text: string): number => new TextEncoder().encode(text).length;

/** A project's name as the stem of a file name: no path, nothing that a file system or a shell trips over. */
export function fileStem(name: string): string {
  const safe = name
    .normalize("NFC")
    .replace(/[\p{Cc}\p{Cf}\p{Cs}]/gu, "")
    .replace(/[\\/:*?"<>|]+/g, "-")
    .replace(/\s+/g, " ")
    .replace(/^[\s.-]+|[\s.]+$/g, "");
  let stem = "";
  let size = 0;
  for (const letter of safe) {
    size += bytes(letter);
    if (size > MAX_BYTES) break;
    stem += letter;
  }
  return stem.trimEnd() || UNTITLED;
}

export const fileName = (project: string, extension: string): string => `${fileStem(project)}.${extension}`;

/** One name a page: numbered from 1, padded so that they sort, and so never the same twice. */
export function pageFileNames(project: string, pages: number, extension: string): string[] {
  const stem = fileStem(project);
  const width = Math.max(2, String(pages).length);
  return Array.from({ length: pages }, (_, i) => `${stem}-${String(i + 1).padStart(width, "0")}.${extension}`);
}
