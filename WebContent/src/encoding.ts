// What the page and the worker that makes files of pictures (encoder.ts) say to each other.

export type Kind = "png" | "jpeg";
export interface PictureInfo {
  kind: Kind;
  width: number;
  height: number;
  isOpaque: boolean;
  /** Of JPEG, from 0 to 1. */
  quality: number;
}
/** First what the picture is, then rows of RGBA pixels as often as there are some, then the end. */
export type EncoderRequest = PictureInfo | { pixels: ArrayBufferLike } | "end";
/** Comes when rows were taken, at the end with the file, or when it failed. */
export interface EncoderResponse {
  file?: Blob;
  error?: string;
}
