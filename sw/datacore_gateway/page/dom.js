// Small helpers for elements. Text always goes in as text, never as markup.

/** An element with properties (class, text, hidden …), attributes (whatever is no property) and children. */
export function element(tag, properties = {}, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (name === "class") {
            made.className = value;
        } else if (name === "text") {
            made.textContent = value;
        } else if (name.startsWith("on")) {
            made.addEventListener(name.slice(2), value);
        } else if (name in made && !name.includes("-")) {
            made[name] = value;
        } else {
            made.setAttribute(name, value);
        }
    }
    made.append(...children.filter((child) => child !== null));
    return made;
}

/** A drawing of icon.svg; the name beside it says what it stands for. */
export function icon(name) {
    const svg = document.createElementNS("http://www.w3.org/2000/svg", "svg");
    svg.setAttribute("class", "icon");
    svg.setAttribute("aria-hidden", "true");
    const use = document.createElementNS("http://www.w3.org/2000/svg", "use");
    use.setAttribute("href", `icon.svg#${name}`);
    svg.append(use);
    return svg;
}

/** Sets a text only where it differs, which costs no layout otherwise. */
export function setText(target, text) {
    if (target.textContent !== text) {
        target.textContent = text;
    }
}

/** Sets an attribute only where it differs. */
export function setAttribute(target, name, value) {
    if (target.getAttribute(name) !== String(value)) {
        target.setAttribute(name, value);
    }
}

let flashes = new WeakMap();
const wantsStillness = matchMedia("(prefers-reduced-motion: reduce)");

/** Lets the element flash, anew if it is flashing. */
export function flash(target) {
    if (wantsStillness.matches) {
        return;
    }
    const known = flashes.get(target);
    if (known) {
        known.currentTime = 0;
        known.play();
    } else {
        flashes.set(
            target,
            target.animate([{ backgroundColor: colour("--flash") }, { backgroundColor: "transparent" }], {
                duration: 700,
                easing: "ease-out",
            }),
        );
    }
}

const colours = new Map();
let probe = null;

/** A colour of the style sheet as the canvas takes it, in the theme that is shown. */
export function colour(name) {
    if (!colours.has(name)) {
        probe ??= document.body.appendChild(element("span", { hidden: true }));
        probe.style.color = `var(${name})`;
        colours.set(name, getComputedStyle(probe).color);
    }
    return colours.get(name);
}

/** To be called when the theme changes. */
export function forgetColours() {
    colours.clear();
    flashes = new WeakMap();
}

/** Reads a text to whoever listens to the page; the newest of a burst. */
export function announce(text) {
    document.getElementById("announcer").textContent = text;
}

let sizes = null; // reading them makes the browser work out the style of the whole page
window.addEventListener("resize", () => {
    sizes = null;
});

function getSizes() {
    if (!sizes) {
        const font = parseFloat(getComputedStyle(document.documentElement).fontSize);
        sizes = { font, row: Math.round(font * (matchMedia("(pointer: coarse)").matches ? 2.6 : 1.9)) };
    }
    return sizes;
}

/** The size of the page's font in CSS pixels. */
export const rem = () => getSizes().font;

/** The height of a row that holds one line, in CSS pixels; larger for fingers. */
export const rowHeight = () => getSizes().row;
