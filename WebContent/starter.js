"use strict";

const canvas = document.getElementById("canvas");
const context = canvas.getContext("2d");
const strokes = [];
let current = null;

function post(name, body) {
    const handler = window.webkit?.messageHandlers?.[name];
    if (handler)
        handler.postMessage(body);
    else
        document.getElementById("file-content").value = "The page runs outside the application.";
}

function draw() {
    context.fillStyle = "white";
    context.fillRect(0, 0, canvas.width, canvas.height);
    context.lineCap = context.lineJoin = "round";
    context.lineWidth = 4;
    for (const { colour, points } of strokes) {
        context.strokeStyle = colour;
        context.beginPath();
        for (const [x, y] of points)
            context.lineTo(x, y);
        context.stroke();
    }
}

canvas.addEventListener("pointerdown", (event) => {
    canvas.setPointerCapture(event.pointerId);
    current = { type: "stroke", left: 0, colour: document.getElementById("colour").value, points: [[event.offsetX, event.offsetY]] };
    strokes.push(current);
    draw();
});
canvas.addEventListener("pointermove", (event) => {
    current?.points.push([event.offsetX, event.offsetY]);
    draw();
});
canvas.addEventListener("pointerup", () => { current = null; });

function on(id, action) {
    document.getElementById(id).addEventListener("click", action);
}

const baseName = () => document.getElementById("name").value || "drawing";
const project = () => JSON.stringify({ type: "drawing", objects: strokes });
const jsonURL = (text) => "data:application/json;base64," + btoa(String.fromCharCode(...new TextEncoder().encode(text)));

const files = () => [
    { filename: `${baseName()}.png`, data: canvas.toDataURL("image/png") },
    { filename: `${baseName()}.jpg`, data: canvas.toDataURL("image/jpeg", 0.92) },
    { filename: `${baseName()}.json`, data: jsonURL(project()) },
];

on("export-png", () => post("nativeDownload", files()[0]));
on("export-jpeg", () => post("nativeDownload", files()[1]));
on("export-json", () => post("nativeDownload", files()[2]));
on("export-batch", () => post("nativeBatchDownload", { files: files() }));
on("open", () => post("nativeFilePicker", null));
on("add-image", () => post("nativeImagePicker", null));
on("copy", () => post("nativeCopy", { data: project() }));
on("paste", () => post("nativePaste", null));
on("clear", () => { strokes.length = 0; draw(); });

function load(id, text) {
    document.getElementById(id).value = text;
    try {
        const { objects } = JSON.parse(text);
        strokes.splice(0, strokes.length, ...objects.filter((stroke) => Array.isArray(stroke.points)));
        draw();
    } catch {
        document.getElementById(id).value = `Not a drawing: ${text}`;
    }
}

window.handleNativeFileContent = (text) => { load("file-content", text); };
window.handleNativePasteContent = (text) => { load("paste-content", text); };
window.handleNativeImageContent = (dataURL) => {
    document.getElementById("image-content").value = dataURL.slice(0, 60);
    const image = new Image();
    image.onload = () => context.drawImage(image, 20, 20);
    image.src = dataURL;
};

draw();
