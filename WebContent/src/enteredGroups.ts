// Groups whose parts are selected one by one, until something outside of them is.
import { ActiveSelection, type FabricObject, Group } from "fabric";
import type { PageCanvas } from "./pageCanvas";

export class EnteredGroups {
  readonly #groups = new Set<Group>();

  constructor(private readonly canvas: PageCanvas) {
    canvas.on("mouse:dblclick", ({ target, subTargets }) => this.enter(target, subTargets?.[0]));
  }

  enter(group: FabricObject | undefined, part?: FabricObject): void {
    if (!(group instanceof Group) || group instanceof ActiveSelection || group.interactive || group.locked) return;
    group.set({ interactive: true });
    this.#groups.add(group);
    const first = part ?? group.getObjects()[0];
    if (first) this.canvas.setActiveObject(first);
    this.canvas.requestRenderAll();
  }
  leave(): void {
    for (const group of this.#groups) {
      if (this.canvas.isSelected(group) && group !== this.canvas.getActiveObject()) continue;
      group.set({ interactive: false });
      this.#groups.delete(group);
    }
  }
}
