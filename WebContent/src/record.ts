// What the document knows of the objects on the canvas: the data that each stands for, and whether it may have changed
// since. So a step costs what it changes, whatever else is on the page.
import { type FabricObject, FabricObject as Base } from "fabric";
import { cleanObject, type ObjectData } from "./project";

interface Entry {
  data: ObjectData;
  /**
   * How the canvas described the object when it had this data: a file may leave out what is usual. Made when the object is
   * about to change for the first time, which most of a page's never do.
   */
  text?: string;
}
const entries = new WeakMap<FabricObject, Entry>();
const touched = new WeakSet<FabricObject>();
const drawn = new WeakSet<FabricObject>();
const identities = new WeakMap<ObjectData, object>();

const set = Base.prototype._set;
Base.prototype._set = function (this: FabricObject, key: string, value: unknown) {
  if (key !== "canvas" && (key !== "dirty" || value)) {
    const top = topOf(this);
    drawn.delete(top);
    if (key !== "dirty" && !touched.has(top)) {
      describe(top);
      touched.add(top);
    }
  }
  return set.call(this, key, value);
};
export const topOf = (object: FabricObject): FabricObject => {
  while (object.parent) object = object.parent;
  return object;
};

/** Notes what an object was made from. */
export function remember(object: FabricObject, data: ObjectData): void {
  entries.set(object, { data });
  touched.delete(object);
}

/** To be called before an object may change in other ways than by its setters. */
export function describe(object: FabricObject): void {
  const entry = entries.get(topOf(object));
  if (entry) entry.text ??= JSON.stringify(cleanObject(topOf(object).toObject()));
}

/** Notes that an object was drawn as it is. */
export const noteDrawn = (object: FabricObject): unknown => drawn.add(object);
/** Whether an object looks as it did then. */
export const isAsDrawn = (object: FabricObject): boolean => drawn.has(object);

/** An object's data, the very same as before if it did not change; `raw` gives fabric's own description of it. */
export function dataOf(object: FabricObject, mayHaveChanged: boolean, raw: () => unknown): ObjectData {
  const entry = entries.get(object);
  if (entry && !mayHaveChanged && !touched.has(object)) return entry.data;
  const data = cleanObject(raw());
  const text = JSON.stringify(data);
  touched.delete(object);
  if (entry?.text === text) return entry.data;
  if (entry) identities.set(data, identityOf(entry.data));
  entries.set(object, { data, text });
  return data;
}

/** What stays the same of an object in all the data that it goes through, as long as the page is open. */
export function identityOf(data: ObjectData): object {
  const identity = identities.get(data) ?? {};
  identities.set(data, identity);
  return identity;
}
