// Works in the editor at random, 2,000 steps from one seed, then undoes all and does all again. Reports whether the document
// was the same on the way back, ten steps at a time. What is saved comes to this script alone.
(async () => {
  let [seed, saved] = [1, null];
  const pick = (list) => list[(seed = (seed * 48271) % 2147483647) % list.length];
  const number = () => pick([...Array(200).keys()]) + 1;
  const turn = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
  const [errors, shell] = [[], webkit.messageHandlers.nativeDownload];
  console.error = (error) => errors.push(String(error));
  window.kept = Object.defineProperty(webkit, "messageHandlers", {value: {nativeDownload: {postMessage({data, reply}) {
    setTimeout(handleNativeResult, 0, JSON.stringify({reply, result: "saved", name: (saved = data) && ""}));
  }}}});
  const press = (key, ...held) => document.activeElement.dispatchEvent(new KeyboardEvent("keydown", {
    key, bubbles: true, cancelable: true, ctrlKey: held.includes("ctrl"), shiftKey: held.includes("shift")}));
  const drag = (canvas = document.querySelector(".upper-canvas"), x = 200 + 2 * number(), y = 120 + 2 * number()) =>
    [[canvas, "mousemove"], [canvas, "mousedown"], [document, "mousemove", 50, 40], [document, "mousemove", number(), number()], [document, "mouseup"]]
      .forEach(([on, type, dx = 0, dy = 0]) => on.dispatchEvent(new MouseEvent(type, {bubbles: true, clientX: x + dx, clientY: y + dy})));
  const change = (field, value, ...events) => field?.checkVisibility() && Object.assign(field, {value}) &&
    events.forEach((event) => field.dispatchEvent(new Event(event, {bubbles: true})));
  const type = () => change(document.querySelector("textarea"), pick(["Fair", "two words", "ü\n"]), "input");
  const button = (command) => document.querySelector(`[data-command="${command}"]`);
  const actions = [
    () => (press(pick("rolts")), drag()), drag, drag, type, type, () => press(pick(["Enter", "Escape", "Tab", "Delete"])),
    () => change(pick(document.querySelectorAll("[inputmode][data-prop]")), number(), "input", "change"),
    () => press(pick("gdbzalh"), "ctrl"), () => press(pick("gz"), "ctrl", "shift"), () => press(pick(["PageUp", "PageDown"])),
    () => press(pick(["ArrowUp", "ArrowLeft"]), pick(["", "ctrl"]), pick(["", "shift"])),
    () => button(pick(["page-add", "page-duplicate", "page-delete", "page-left", "align-top", "flip-x"])).click(),
  ];
  const state = async () => { for (saved = null, press("s", "ctrl"); !saved; ) await turn(1); return saved; };
  const walk = async (command, ...held) => {
    const states = [await state()];
    for (; !button(command).disabled; states.push(await state())) for (let i = 0; i < 10; i++) await turn(press("z", ...held));
    return states;
  };
  for (let step = 0; step < 2000; step++) await turn(pick(actions)());
  await walk("redo", "ctrl", "shift");
  const [back, again] = [await walk("undo", "ctrl"), await walk("redo", "ctrl", "shift")];
  const found = JSON.stringify({states: back.length, same: back.reverse().join() === again.join(), errors});
  shell.postMessage({filename: `Trandom ${encodeURIComponent(found)}`, data: ""});
})();
