// What a value is edited with, by the kind of its description.
import { announce, colour, element, setAttribute } from "./dom.js";
import { asList, isNumber, macNumber, macText } from "./texts.js";

const RASTER = { width: 1920, height: 1080 };
const SLIDER_STEPS = 10000;

/** Whether a node holds a list. A description without a bound on their number does not tell. */
export function isList({ description: { most, unique, isUnknown }, values }) {
    return most === undefined ? Boolean(unique) || asList(values).length > 1 : most !== 1 && !isUnknown;
}

/** {element, show()}; show() takes over the node's value, but for what the user is editing. */
export function makeEditor(node, writes, isCompact = false) {
    const { description } = node;
    const { kind, values } = description;
    const context = {
        node,
        description,
        isCompact,
        label: `Value of ${node.name}`,
        write: (text) => writes.write(node, text),
        wanted: () => asList(writes.wanted(node))[0] ?? "",
    };
    if (isList(node)) {
        return isCompact ? null : listEditor(context);
    }
    if (kind === "Bool") {
        return switchEditor(context);
    }
    if (values) {
        return choiceEditor(context);
    }
    if (isNumber(description)) {
        return numberEditor(context);
    }
    return kind === "Point" && !isCompact ? pointEditor(context) : textEditor(context);
}

const single = (node) => asList(node.values)[0] ?? "";

function switchEditor({ node, write, wanted, label }) {
    const knob = element("button", {
        class: "switch",
        type: "button",
        role: "switch",
        "aria-label": label,
        onclick: () => write(wanted() === "true" ? "false" : "true"),
    });
    return { element: knob, show: () => setAttribute(knob, "aria-checked", single(node) === "true") };
}

function choiceEditor({ node, write, description, label }) {
    const box = element("select", { "aria-label": label, onchange: () => write(box.value) });
    return {
        element: box,
        show() {
            const value = single(node);
            const texts = description.values.includes(value)
                ? description.values
                : [value, ...description.values];
            if (box.options.length !== texts.length || box.options[0].value !== texts[0]) {
                box.replaceChildren(
                    ...texts.map((text) => element("option", { value: text, text: text || "–" })),
                );
            }
            box.value = value;
        },
    };
}

/** A text box that is written by Enter or on leaving it, and given up by Escape. */
function makeBox({ node, write, label }, properties, toText = (text) => text, toValue = (text) => text) {
    let isEdited = false;
    const current = () => toText(single(node));
    const box = element("input", {
        "aria-label": label,
        spellcheck: false,
        autocomplete: "off",
        ...properties,
    });
    const commit = () => {
        if (isEdited) {
            isEdited = false;
            box.classList.remove("is-edited");
            if (box.value !== current()) {
                write(toValue(box.value));
            }
        }
    };
    box.addEventListener("input", () => {
        isEdited = true;
        box.classList.add("is-edited");
    });
    box.addEventListener("focus", () => box.select());
    box.addEventListener("blur", commit);
    box.addEventListener("keydown", (event) => {
        if (event.key === "Enter") {
            commit();
        } else if (event.key === "Escape") {
            isEdited = false;
            box.classList.remove("is-edited");
            box.value = current();
        }
    });
    return {
        element: box,
        show() {
            if (!isEdited && box.value !== current()) {
                box.value = current();
            }
        },
    };
}

function textEditor(context) {
    return context.description.kind === "MacAddress"
        ? makeBox(context, { type: "text", class: "mono" }, macText, macNumber)
        : makeBox(context, { type: "text" });
}

/** The text with a step added, exact for 64 bits. */
function stepped(text, description, steps) {
    const { kind, min, max } = description;
    const clamp = (value, toNumber) => {
        if (min !== undefined && value < toNumber(min)) {
            return toNumber(min);
        }
        return max !== undefined && value > toNumber(max) ? toNumber(max) : value;
    };
    if (kind.includes("Int")) {
        return String(clamp((/^-?\d+$/.test(text) ? BigInt(text) : 0n) + BigInt(steps), BigInt));
    }
    const step =
        min !== undefined && max !== undefined ? 10 ** Math.floor(Math.log10((max - min) / 50)) : 0.1;
    return String(+clamp((Number(text) || 0) + steps * step, Number).toPrecision(12));
}

function numberEditor(context) {
    const { node, write, wanted, description, isCompact, label } = context;
    const { min, max } = description;
    const box = makeBox(context, { type: "text", inputMode: "decimal", role: "spinbutton", class: "number" });
    const step = (steps) => write(stepped(wanted(), description, steps));
    box.element.addEventListener("keydown", (event) => {
        const steps = { ArrowUp: 1, ArrowDown: -1, PageUp: 10, PageDown: -10 }[event.key];
        if (steps) {
            event.preventDefault();
            step(steps);
        }
    });
    for (const [name, limit] of [
        ["aria-valuemin", min],
        ["aria-valuemax", max],
    ]) {
        if (limit !== undefined) {
            box.element.setAttribute(name, limit);
        }
    }
    const stepper = (text, what, steps) =>
        element("button", {
            type: "button",
            class: "step",
            text,
            tabIndex: -1,
            "aria-label": `${what} ${node.name}`,
            onclick: () => step(steps),
        });
    const spinner = element(
        "span",
        { class: "spinner" },
        stepper("−", "Lower", -1),
        box.element,
        stepper("+", "Raise", 1),
    );
    const span = max - min;
    const hasSlider = !isCompact && span > 0 && span <= Number.MAX_SAFE_INTEGER;
    const slider = hasSlider
        ? element("input", {
              type: "range",
              "aria-label": `${label}, slider`,
              min,
              max,
              step: description.kind.includes("Int")
                  ? Math.max(1, Math.round(span / SLIDER_STEPS))
                  : span / 1000,
              oninput: () => write(slider.value),
          })
        : null;
    let isDragged = false;
    slider?.addEventListener("pointerdown", () => {
        isDragged = true;
    });
    slider?.addEventListener("pointerup", () => {
        isDragged = false;
    });
    return {
        element: hasSlider
            ? element(
                  "div",
                  { class: "number-editor" },
                  spinner,
                  slider,
                  element(
                      "span",
                      { class: "ends" },
                      element("span", { text: min }),
                      element("span", { text: max }),
                  ),
              )
            : spinner,
        show() {
            box.show();
            setAttribute(box.element, "aria-valuenow", Number(single(node)) || 0);
            setAttribute(box.element, "aria-invalid", node.isInvalid);
            if (slider && !isDragged && slider.value !== single(node)) {
                slider.value = single(node);
            }
        },
    };
}

/** A raster to click on: 1920 by 1080, larger if the point or its limits are beyond. */
function pointEditor(context) {
    const { node, write, wanted, label, description } = context;
    const box = makeBox(context, { type: "text", class: "number", "aria-label": `${label}: x,y` });
    const canvas = element("canvas", {
        class: "raster",
        tabIndex: 0,
        role: "application",
        "aria-label": `${label}: raster, arrow keys move by 1, with Shift by 10`,
    });
    const point = (text = single(node)) => (/^-?\d+,-?\d+$/.test(text) ? text.split(",").map(Number) : null);
    const raster = () => {
        const limits = (description.max ?? "").split(",").map(Number);
        const [x, y] = point() ?? [0, 0];
        return {
            width: Math.max(RASTER.width, x + 1, limits[0] || 0),
            height: Math.max(RASTER.height, y + 1, limits[1] || 0),
        };
    };
    const send = (x, y) => {
        const { width, height } = raster();
        const inside = (place, size) => Math.max(0, Math.min(size - 1, Math.round(place)));
        write(`${inside(x, width)},${inside(y, height)}`);
    };
    const sendPointer = (event) => {
        const place = canvas.getBoundingClientRect();
        const { width, height } = raster();
        send(
            ((event.clientX - place.left) * width) / place.width,
            ((event.clientY - place.top) * height) / place.height,
        );
    };
    canvas.addEventListener("pointerdown", (event) => {
        canvas.setPointerCapture(event.pointerId);
        sendPointer(event);
    });
    canvas.addEventListener("pointermove", (event) => event.buttons === 1 && sendPointer(event));
    canvas.addEventListener("keydown", (event) => {
        const far = event.shiftKey ? 10 : 1;
        const [dx, dy] = {
            ArrowLeft: [-far, 0],
            ArrowRight: [far, 0],
            ArrowUp: [0, -far],
            ArrowDown: [0, far],
        }[event.key] ?? [0, 0];
        if (dx || dy) {
            event.preventDefault();
            const [x, y] = point(wanted()) ?? [0, 0];
            send(x + dx, y + dy);
        }
    });
    return {
        element: element("div", { class: "point-editor" }, canvas, box.element),
        show() {
            box.show();
            drawRaster(canvas, raster(), point());
        },
    };
}

function drawRaster(canvas, { width, height }, point) {
    canvas.width = 640;
    canvas.height = Math.round((640 * height) / width);
    const pen = canvas.getContext("2d");
    const scale = canvas.width / width;
    pen.strokeStyle = colour("--line");
    pen.lineWidth = 1;
    pen.beginPath();
    for (let part = 1; part < 8; part++) {
        const x = Math.round((canvas.width * part) / 8) + 0.5;
        const y = Math.round((canvas.height * part) / 8) + 0.5;
        pen.moveTo(x, 0);
        pen.lineTo(x, canvas.height);
        pen.moveTo(0, y);
        pen.lineTo(canvas.width, y);
    }
    pen.stroke();
    if (point) {
        const [x, y] = point.map((part) => Math.round(part * scale) + 0.5);
        pen.strokeStyle = colour("--accent");
        pen.lineWidth = 2;
        pen.beginPath();
        pen.moveTo(x, 0);
        pen.lineTo(x, canvas.height);
        pen.moveTo(0, y);
        pen.lineTo(canvas.width, y);
        pen.stroke();
        pen.beginPath();
        pen.arc(x, y, 7, 0, 2 * Math.PI);
        pen.stroke();
    }
}

/** One value a line; written by the button or Ctrl+Enter. */
function listEditor({ node, write, label, description }) {
    const { most = Infinity } = description;
    const area = element("textarea", { "aria-label": `${label}, one a line`, rows: 4, spellcheck: false });
    const apply = element("button", { type: "button", text: "Apply" });
    let isEdited = false;
    const current = () => asList(node.values).join("\n");
    const edit = (value) => {
        isEdited = value;
        area.classList.toggle("is-edited", value);
        apply.disabled = !value;
    };
    const commit = () => {
        const lines = area.value === "" ? [] : area.value.split("\n");
        if (lines.length > most) {
            announce(`At most ${most} values are valid.`);
        }
        edit(false);
        write(lines.length === 0 ? null : lines.length === 1 ? lines[0] : lines);
    };
    area.addEventListener("input", () => edit(true));
    area.addEventListener("keydown", (event) => {
        if (event.key === "Enter" && event.ctrlKey) {
            commit();
        } else if (event.key === "Escape") {
            edit(false);
            area.value = current();
        }
    });
    apply.addEventListener("click", commit);
    edit(false);
    return {
        element: element("div", { class: "list-editor" }, area, apply),
        show() {
            if (!isEdited && area.value !== current()) {
                area.value = current();
            }
        },
    };
}
