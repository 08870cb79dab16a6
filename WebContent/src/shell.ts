// The native shell around the page. It takes messages and answers, where it answers at all, by calling
// one of three functions on `window`; it reports neither a cancelled panel nor a failure, so nothing here waits.

import { t } from "./language";

interface MessageHandler {
  postMessage(body: unknown): void;
}
declare global {
  interface Window {
    webkit?: { messageHandlers?: Record<string, MessageHandler | undefined> };
    handleNativeFileContent(text: string): void;
    handleNativeImageContent(dataURL: string): void;
    handleNativePasteContent(text: string): void;
  }
}

/** Bodies hold text only: the shell turns down a whole message for one value of another type. */
export interface NamedFile {
  filename: string;
  /** A base64 data URL. */
  data: string;
}

export const hasShell = (): boolean => window.webkit?.messageHandlers?.nativeDownload !== undefined;

function post(name: string, body: unknown): void {
  const handler = window.webkit?.messageHandlers?.[name];
  if (!handler) throw new Error(t("This works in the Quillory application only."));
  handler.postMessage(body);
}

export const shell = {
  download: (file: NamedFile) => post("nativeDownload", { filename: file.filename, data: file.data }),
  downloadAll: (files: NamedFile[]) => post("nativeBatchDownload", { files }),
  pickProject: () => post("nativeFilePicker", null),
  pickImage: () => post("nativeImagePicker", null),
  copy: (text: string) => post("nativeCopy", { data: text }),
  paste: () => post("nativePaste", null),
};

export interface ShellAnswers {
  projectText(text: string): void | Promise<void>;
  image(dataURL: string): void | Promise<void>;
  pastedText(text: string): void | Promise<void>;
}

/** Defines the functions that the shell calls; they return nothing and hand every failure to `report`. */
export function listenToShell(answers: ShellAnswers, report: (error: unknown) => void): void {
  const guarded = (answer: (text: string) => void | Promise<void>) => (text: string) => {
    void (async () => answer(String(text)))().catch(report);
  };
  window.handleNativeFileContent = guarded(answers.projectText);
  window.handleNativeImageContent = guarded(answers.image);
  window.handleNativePasteContent = guarded(answers.pastedText);
}
