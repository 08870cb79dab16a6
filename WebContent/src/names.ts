// Names of the files that leave the page. A file system allows 255 bytes; the rest is room for page numbers and suffixes.
import { t } from "./language";

const MAX_BYTES = 200;
export const UNTITLED = t("Untitled");

/** A project's name as the stem of a file name: no path, nothing that a file system or a shell trips over. */
export function fileStem(name: string): string {
  const safe = name
    .normalize("NFC")
    .replace(/[\p{Cc}\p{Cf}\p{Cs}]/gu, "")
    .replace(/[\\/:*?"<>|]+/g, "-")
    .replace(/\s+/g, " ")
    .replace(/^[\s.-]+|[\s.]+$/g, "");
  const { read } = new TextEncoder().encodeInto(safe, new Uint8Array(MAX_BYTES)); // letters as a whole
  return safe.slice(0, read).trimEnd() || UNTITLED;
}

export const fileName = (project: string, extension: string): string => `${fileStem(project)}.${extension}`;

/** One name a page: numbered from 1, padded so that they sort, and so never the same twice. */
export function pageFileNames(project: string, pages: number, extension: string): string[] {
  const stem = fileStem(project);
  const width = Math.max(2, String(pages).length);
  return Array.from({ length: pages }, (_, i) => `${stem}-${String(i + 1).padStart(width, "0")}.${extension}`);
}
