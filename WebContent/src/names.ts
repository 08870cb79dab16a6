// Names of the files that leave the page. A file system allows 255 bytes; the rest is room for page numbers and suffixes.
const MAX_BYTES = 200;
export const UNTITLED = "Untitled";

const bytes = (text: string): number => new TextEncoder().encode(text).length;

/** A project's name as the stem of a file name: no path, nothing that a file system or a shell trips over. */
export function fileStem(name: string): string {
  let stem = name
    .normalize("NFC")
    .replace(/[\p{Cc}\p{Cf}\p{Cs}]/gu, "")
    .replace(/[\\/:*?"<>|]+/g, "-")
    .replace(/\s+/g, " ")
    .replace(/^[\s.-]+|[\s.]+$/g, "");
  if (bytes(stem) > MAX_BYTES) {
    const letters = [...stem];
    while (bytes(letters.join("")) > MAX_BYTES) letters.length -= Math.ceil((bytes(letters.join("")) - MAX_BYTES) / 4);
    stem = letters.join("").trimEnd();
  }
  return stem || UNTITLED;
}

export const fileName = (project: string, extension: string): string => `${fileStem(project)}.${extension}`;

/** One name a page: numbered from 1, padded so that they sort, and so never the same twice. */
export function pageFileNames(project: string, pages: number, extension: string): string[] {
  const width = Math.max(2, String(pages).length);
  return Array.from({ length: pages }, (_, i) => `${fileStem(project)}-${String(i + 1).padStart(width, "0")}.${extension}`);
}
