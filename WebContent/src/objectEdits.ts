// What can be done to the selected objects; each is one step of the history.
import { ActiveSelection, type FabricObject, Group, type Point, util } from "fabric";
import type { Editor } from "./editor";
import { AssetImage } from "./images";
import { applyLock, leavesOf } from "./objects";
import { CanvasText, type CharacterKey } from "./text";

const ACROSS = { start: "left", size: "width" } as const;
const DOWN = { start: "top", size: "height" } as const;
type Axis = typeof ACROSS | typeof DOWN;
export const AXES: Record<string, Axis> = { horizontally: ACROSS, vertically: DOWN };
/** Of a box: the axis, and how far along it. */
export const SIDES: Record<string, [axis: Axis, share: number]> = {
  left: [ACROSS, 0], centre: [ACROSS, 0.5], right: [ACROSS, 1], top: [DOWN, 0], middle: [DOWN, 0.5], bottom: [DOWN, 1],
};
export const PLACES = ["front", "forward", "backward", "back"] as const;

function move(object: FabricObject, { start }: Axis, by: number): void {
  object.set(start, object[start] + by);
  object.setCoords();
}
const boxOf = (objects: readonly FabricObject[]) => util.makeBoundingBoxFromPoints(objects.flatMap((o) => o.getCoords()));

export class ObjectEdits {
  constructor(private readonly editor: Editor) {}

  /** Changes the selection as a whole. */
  changeWhole(edit: (object: FabricObject) => void, tag?: string): void {
    const { active } = this.editor.stage;
    if (active) edit(active);
    this.#changed(tag);
  }
  #changed(tag?: string): void {
    const { active, canvas } = this.editor.stage;
    if (active instanceof ActiveSelection) active.triggerLayout();
    this.editor.stage.groupAround?.triggerLayout();
    active?.setCoords();
    canvas.requestRenderAll();
    this.editor.commit(tag);
  }

  /** Switches bold, italic or underlined letters on or off: in what is selected, or in what is typed next. */
  switchStyle(key: CharacterKey, on: unknown, off: unknown): void {
    const texts = leavesOf(this.editor.stage.selection).filter((leaf) => leaf instanceof CanvasText);
    const value = texts.every((text) => text.valuesOf(key).every((v) => v === on)) ? off : on;
    for (const text of texts) {
      if (text.hasCursor) text.styleNext(key, value);
      else text.style(key, value);
    }
    this.changeWhole(() => {});
    this.editor.stage.events.selected();
  }

  /** Changes objects by where they are on the page, several as several. */
  #place(change: (objects: FabricObject[]) => void): void {
    const { canvas, selection } = this.editor.stage;
    canvas.discardActiveObject();
    change(selection);
    this.editor.stage.select(selection);
    this.editor.commit();
  }
  /** Puts one side, or the middle, of all objects in a line: that of all together, or of the page if there is but one. */
  align([axis, share]: [axis: Axis, share: number]): void {
    const { width, height } = this.editor.pageData;
    const { start, size } = axis;
    this.#place((objects) => {
      const frame = objects.length > 1 ? boxOf(objects) : { left: 0, top: 0, width, height };
      for (const o of objects) {
        const box = o.getBoundingRect();
        move(o, axis, frame[start] + share * (frame[size] - box[size]) - box[start]);
      }
    });
  }
  /** Leaves the same space between all, the first and the last staying where they are. */
  distribute(axis: Axis): void {
    const { start, size } = axis;
    this.#place((objects) => {
      const sorted = objects.map((o) => ({ o, box: o.getBoundingRect() })).sort((a, b) => a.box[start] - b.box[start]);
      const taken = sorted.reduce((sum, { box }) => sum + box[size], 0);
      const frame = boxOf(objects);
      let at = frame[start];
      for (const { o, box } of sorted) {
        move(o, axis, at - box[start]);
        at += box[size] + (frame[size] - taken) / (objects.length - 1);
      }
    });
  }
  /** Switches a property on for all selected objects, or off if all have it. */
  switch(key: "locked" | "visible"): void {
    const { selection } = this.editor.stage;
    const to = !selection.every((o) => o[key]);
    this.#place(() => selection.forEach((o) => applyLock(o.set(key, to))));
  }

  nudge({ x, y }: Point): void {
    if (this.editor.stage.selection.some((o) => o.locked)) return;
    this.changeWhole((o) => o.set({ left: o.left + x, top: o.top + y }), "nudge");
  }

  /** Removes what is selected, or what is selected in a group that has more. */
  remove(): void {
    const { canvas, groupAround, edited, selection } = this.editor.stage;
    const group = groupAround && groupAround.size() > edited.length ? groupAround : undefined;
    const removed = (group ? edited : selection).filter((o) => !o.locked);
    if (removed.length === 0) return;
    canvas.discardActiveObject();
    (group ?? canvas).remove(...removed);
    if (group) this.editor.stage.select([group]);
    this.editor.commit();
  }

  reorder(where: (typeof PLACES)[number]): void {
    const { canvas, selection, objects } = this.editor.stage;
    const [order, others] = [[...objects], objects.filter((o) => !selection.includes(o))];
    const by = where === "forward" ? 1 : -1;
    for (const o of by > 0 ? [...selection].reverse() : selection) {
      const at = order.indexOf(o);
      const next = order[at + by];
      if (next && !selection.includes(next)) [order[at], order[at + by]] = [next, o]; // those at the end of the pile stay
    }
    canvas.arrange(where === "front" ? [...others, ...selection] : where === "back" ? [...selection, ...others] : order);
    this.#changed();
  }
  takeObject(object: FabricObject, to: number): void {
    this.editor.stage.canvas.moveObjectTo(object, to);
    this.#changed();
  }
  crop(): void {
    const { active } = this.editor.stage;
    if (active instanceof AssetImage && !active.locked) active.crop();
  }

  group(): void {
    const { canvas, selection } = this.editor.stage;
    if (selection.length < 2) return;
    canvas.discardActiveObject();
    const at = this.editor.stage.objects.indexOf(selection.at(-1)!) - selection.length + 1;
    canvas.remove(...selection);
    const group = new Group(selection);
    canvas.insertAt(at, group);
    this.editor.stage.select([group]);
    this.editor.commit();
  }
  ungroup(): void {
    const { canvas, selection } = this.editor.stage;
    const freed = selection.flatMap((group) => {
      if (!(group instanceof Group)) return [group];
      const at = this.editor.stage.objects.indexOf(group);
      const parts = group.removeAll() as FabricObject[];
      for (const o of parts) o.set({ opacity: o.opacity * group.opacity });
      canvas.remove(group);
      canvas.insertAt(at, ...parts);
      return parts;
    });
    this.editor.stage.select(freed);
    this.editor.commit();
  }
}
