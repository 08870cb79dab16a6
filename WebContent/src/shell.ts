// The native shell around the page. It takes messages; what the user picks or pastes comes by a call of one of three
// functions on `window`, and how a request ended that asked for it by a call of a fourth.

import { t } from "./language";
import { guarded } from "./ui";

declare global {
  interface Window {
    webkit: { messageHandlers: Record<string, { postMessage(body: unknown): void }> };
    handleNativeFileContent(text: string): void;
    handleNativeImageContent(dataURL: string): void;
    handleNativePasteContent(text: string): void;
    handleNativeResult(json: string): void;
  }
}

/** Bodies hold text only: the shell turns down a whole message for one value of another type. */
export interface NamedFile {
  filename: string;
  /** A base64 data URL. */
  data: string;
}

/** How a request ended. */
export interface Answer {
  result: "saved" | "opened" | "cancelled" | "failed";
  /** Of the file or folder that the user chose. */
  name: string;
  /** Stands for that file as long as the page lives. */
  file?: string;
  /** Why it failed. */
  reason?: string;
}

const post = (name: string, body: unknown): void => window.webkit.messageHandlers[name]!.postMessage(body);

const waiting = new Map<string, (answer: Answer) => void>();
let asked = 0;

/** Posts a request that the shell answers when it has ended. */
function ask(name: string, body: Record<string, unknown>): Promise<Answer> {
  return new Promise((resolve) => {
    const reply = String(++asked);
    post(name, { ...body, reply });
    waiting.set(reply, resolve);
  });
}
window.handleNativeResult = guarded((json) => {
  const { reply, ...answer } = JSON.parse(json) as Answer & { reply: string };
  waiting.get(reply)?.(answer);
  waiting.delete(reply);
});

/** Fetches what the shell has for a page that asks; undefined where it has none. */
async function request(what: string, body?: ArrayBuffer): Promise<Response | undefined> {
  const answer = await fetch(`quillory:${what}`, body && { method: "POST", body }).catch(() => undefined);
  return answer?.ok ? answer : undefined;
}

export const shell = {
  /** The families of the installed fonts. */
  fonts: async (): Promise<string[]> => (await request("fonts"))?.json() ?? [],
  /** Makes a PNG file of a picture that the engine does not know. */
  toPng: async (picture: ArrayBuffer) => (await request("png", picture))?.blob(),
  /** Prints an HTML document into a PDF file; `sizes` are those of its pages in points, as in "595x842,300x225". */
  toPdf: async (html: ArrayBuffer, sizes: string): Promise<Blob> => {
    const answer = await fetch(`quillory:pdf?${sizes}`, { method: "POST", body: html });
    if (!answer.ok) throw new Error((await answer.text()) || t("This is too large for a PDF file."));
    return answer.blob();
  },
  /** Saves to the file that a handle stands for, or where the user says. */
  download: ({ filename, data }: NamedFile, file?: string) => ask("nativeDownload", { filename, data, ...(file !== undefined && { file }) }),
  downloadAll: (files: NamedFile[]) => ask("nativeBatchDownload", { files }),
  pickProject: () => ask("nativeFilePicker", {}),
  pickImage: () => post("nativeImagePicker", null),
  /** Where the file that has just come was dropped, if it was. */
  dropPlace: async (): Promise<MouseEvent | undefined> => (await request("dropped"))?.json(),
  /** Copies a text, and offers other programs a PNG file, which is made when one of them asks for it. */
  copy: async (text: string, png: () => Promise<ArrayBuffer>): Promise<void> => {
    post("nativeCopy", { data: text });
    if (await request("copied")) await request("copied", await png());
  },
  paste: () => post("nativePaste", null),
};
