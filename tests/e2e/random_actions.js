// Works in the editor at random, 1,000 steps from one seed, then undoes all and does all again. Reports the steps at which
// the document is not what it was on the way back. What is saved comes to this script alone.
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
  const mouse = (target, type, clientX, clientY) => target.dispatchEvent(new MouseEvent(type, {bubbles: true, clientX, clientY}));
  const drag = (canvas = document.querySelector(".upper-canvas"), x = 200 + 2 * number(), y = 120 + 2 * number()) =>
    [[canvas, "mousemove"], [canvas, "mousedown"], [document, "mousemove", x + 50, y + 40],
     [document, "mousemove", x + number(), y + number()], [document, "mouseup"]].forEach(([a, b, c = x, d = y]) => mouse(a, b, c, d));
  const change = (field, value, ...events) => field?.checkVisibility() && Object.assign(field, {value}) &&
    events.forEach((event) => field.dispatchEvent(new Event(event, {bubbles: true})));
  const type = () => change(document.querySelector("textarea"), pick(["Fair", "two words", "ü\n"]), "input");
  const button = (command) => document.querySelector(`[data-command="${command}"]`);
  const actions = [
    () => (press(pick("rolt")), drag()), drag, drag, type, type, () => press(pick(["Enter", "Escape", "Tab", "Delete"])),
    () => change(pick(document.querySelectorAll("[inputmode][data-prop]")), number(), "input", "change"),
    () => press(pick("gdbza"), "ctrl"), () => press(pick("gz"), "ctrl", "shift"), () => press(pick(["PageUp", "PageDown"])),
    () => press(pick(["ArrowUp", "ArrowLeft"]), pick(["", "ctrl"]), pick(["", "shift"])),
    () => button(pick(["page-add", "page-duplicate", "page-delete", "page-left", "page-right"])).click(),
  ];
  const state = async () => { for (saved = null, press("s", "ctrl"); !saved; ) await turn(1); return saved; };
  for (let step = 0; step < 1000; step++) await turn(pick(actions)());
  for (let i = 0; i < 2; i++) press("Escape");
  const states = [await state()];
  for (let step = 1; !button("undo").disabled; step++) {
    await turn(press("z", "ctrl"));
    if (step % 10 === 0 || button("undo").disabled) states[step] = await state();
  }
  const [steps, differing] = [states.length - 1, []];
  for (let step = steps - 1; !button("redo").disabled; step--) {
    await turn(press("z", "ctrl", "shift"));
    if (states[step] && (await state()) !== states[step]) differing.push(step);
  }
  const found = {steps, differing, ended: saved === states[0], errors};
  shell.postMessage({filename: `Trandom ${encodeURIComponent(JSON.stringify(found))}`, data: ""});
})();
