import assert from "node:assert/strict";
import { test } from "node:test";
import { History } from "../src/history";

const filled = (steps, limit) => {
  const history = new History(0, limit);
  for (let i = 1; i <= steps; i++) history.push(i);
  return history;
};

test("a hundred steps are undone and done again in order", () => {
  const history = filled(100);
  for (let i = 100; i >= 1; i--) {
    assert.equal(history.undo(), i, "gives the step that is undone");
    assert.equal(history.current, i - 1);
  }
  assert.equal(history.canUndo, false);
  assert.equal(history.undo(), undefined);
  for (let i = 1; i <= 100; i++) assert.equal(history.redo(), i);
  assert.equal(history.redo(), undefined);
  assert.equal(history.current, 100);
});

test("a new step after undoing drops what was undone", () => {
  const history = filled(3);
  history.undo();
  history.undo();
  history.push(9);
  assert.equal(history.canRedo, false);
  assert.equal(history.current, 9);
  history.undo();
  assert.equal(history.current, 1);
});

test("beyond the limit the oldest steps go", () => {
  const history = filled(25, 10);
  let steps = 0;
  while (history.undo() !== undefined) steps++;
  assert.equal(steps, 10);
  assert.equal(history.current, 15);
});

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
    let steps = 0;
    while (history.undo() !== undefined) steps++;
    assert.equal(steps, expected, what);
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
