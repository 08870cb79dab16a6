// Objects moved with the pointer.
import { createObjects } from "./objects";
import type { ObjectData } from "./project";
import type { Stage } from "./stage";

/** Shift keeps to one axis; with Alt a copy stays where the object was. */
export function listenToMoving(stage: Stage): void {
  const { canvas } = stage;
  let left: ObjectData[] | undefined;
  canvas.on("mouse:down", ({ e, target, transform }) => {
    left = e.altKey && target && !canvas.skipTargetFind && !transform?.corner ? stage.selectedData : undefined;
  });
  canvas.on("object:moving", ({ e, target, transform }) => {
    const { original } = transform;
    if (e.shiftKey) {
      const across = Math.abs(target.left - original.left) > Math.abs(target.top - original.top);
      target.set(across ? { top: original.top } : { left: original.left });
    }
    if (!left) return;
    const below = stage.objects.indexOf(stage.selection[0]!);
    void createObjects(left).then((copies) => canvas.insertAt(below, ...copies));
    left = undefined;
  });
}
