// Snapping: what is moved or resized is drawn to the edges and middles of the page and of the other objects, and lines
// show to which. Ctrl switches it off.
import { type BasicTransformEvent, type FabricObject, type Point, Rect } from "fabric";
import { AligningGuidelines } from "fabric/extensions";
import { AssetImage } from "./images";
import type { PageCanvas } from "./pageCanvas";

type Change = BasicTransformEvent & { target: FabricObject };

export class Guides extends AligningGuidelines {
  /** The others, as long as one thing is moved. */
  private others: Set<FabricObject> | undefined;
  private readonly points = new Map<FabricObject, Point[]>();
  private shown = false;

  constructor(private readonly page: PageCanvas) {
    super(page, { margin: 6, width: 1, xSize: 3 });
  }

  override getObjectsByTarget(target: FabricObject): Set<FabricObject> {
    const { width, height } = this.page.page;
    const page = () => new Rect({ left: width / 2, top: height / 2, width, height, strokeWidth: 0 });
    return (this.others ??= super.getObjectsByTarget(target).add(page()));
  }
  override getCaCheMapValue(object: FabricObject): Point[] {
    const points = this.points.get(object) ?? [...object.getCoords(), object.getCenterPoint()];
    this.points.set(object, points);
    return points;
  }
  override moving(change: Change): void {
    if (this.applies(change)) super.moving(change);
  }
  override scalingOrResizing(change: Change): void {
    if (this.applies(change)) super.scalingOrResizing(change);
  }
  private applies({ e, target }: Change): boolean {
    const free = e.ctrlKey || (target instanceof AssetImage && target.isCropping);
    if (free) {
      this.verticalLines.clear();
      this.horizontalLines.clear();
    }
    return !free;
  }
  override mouseUp(): void {
    this.others = undefined;
    this.points.clear();
    super.mouseUp();
  }
  /** Without lines there is nothing to clear; what else is drawn on top is others' own. */
  override beforeRender(): void {
    if (this.shown) super.beforeRender();
    this.shown = this.verticalLines.size + this.horizontalLines.size > 0;
  }
}
