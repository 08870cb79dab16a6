import assert from "node:assert/strict";
import { test } from "node:test";
import { History } from "../src/history";

const undoneSteps = (history) => {
  const steps = [];
  for (let step = history.undo(); step !== undefined; step = history.undo()) steps.push(step);
  assert.equal(history.canUndo, false);
  return steps;
};

test("steps merge only when they follow each other closely under one tag", () => {
  const within = History.mergeWithin - 1;
  const cases = [
    ["the same tag in time", [["move", 0], ["move", within]], 1],
    ["a held key, longer than the time in all", [["move", 0], ["move", within], ["move", 2 * within]], 1],
    ["too late", [["move", 0], ["move", History.mergeWithin]], 2],
    ["another tag", [["move", 0], ["colour", 1]], 2],
    ["no tag", [["", 0], ["", 1]], 2],
    ["after something else", [["move", 0], ["", 1], ["move", 2]], 3],
  ];
  for (const [what, pushes, expected] of cases) {
    let now = 0;
    const history = new History("start", 300, () => now);
    for (const [tag, time] of pushes) {
      now = time;
      history.push(`${tag}@${time}`, tag);
    }
    assert.equal(undoneSteps(history).length, expected, what);
    assert.equal(history.current, "start", what);
  }
});

test("saved is the state that was saved, whatever way leads to it", () => {
  const history = new History("a", 300, () => 0);
  assert.equal(history.isSaved, true);
  history.push("b", "tag");
  assert.equal(history.isSaved, false);
  history.markSaved();
  history.push("c", "tag");
  assert.equal(history.isSaved, false);
  history.undo();
  assert.equal(history.current, "b", "a saved state is not merged into");
  assert.equal(history.isSaved, true);
  history.undo();
  assert.equal(history.isSaved, false);
  history.markUnsaved();
  history.redo();
  assert.equal(history.isSaved, false);
});
