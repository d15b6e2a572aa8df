// The course of a number as a plot: since the page was opened, or of the last hour.
import { colour, element, rem, setAttribute, setText } from "./dom.js";
import { asNumber, isNumber } from "./texts.js";

const RANGES = [
    ["1 min", 60],
    ["10 min", 600],
    ["1 hour", 3600],
    ["Since opened", 0],
];
const HOUR_S = 3600;
const MAX_POINTS = 20000;
const HEIGHT_REM = 11;
const AXIS_REM = 2;
const REDRAW_MS = 100;

let uPlot = null; // fetched when the first plot is needed: the page is there sooner
let loading = null;

/** The library that draws curves. */
export async function loadUPlot() {
    loading ??= new Promise((resolve, reject) => {
        const script = document.createElement("script");
        script.src = new URL("third_party/uPlot.iife.min.js", import.meta.url).href;
        script.onload = resolve;
        script.onerror = () => reject(new Error("The plot library is missing"));
        document.head.append(script);
    });
    await loading;
    uPlot = window.uPlot;
    return uPlot;
}

const clock = (seconds, hasSeconds) =>
    new Date(seconds * 1000).toLocaleTimeString("en-GB", {
        hour: "2-digit",
        minute: "2-digit",
        ...(hasSeconds ? { second: "2-digit" } : {}),
    });

/** The options that all plots of the page share. */
export function plotOptions(size, axes, series) {
    const font = `${Math.round(rem() * 0.8)}px system-ui`;
    return {
        ...size,
        padding: [8, 2 * rem(), 0, 0],
        cursor: { points: { size: 6 }, drag: { x: true, y: false } },
        legend: { show: false },
        axes: axes.map((axis, at) => ({
            ...(at === 0 ? { size: AXIS_REM * rem() } : {}),
            stroke: colour("--dim"),
            font,
            grid: { stroke: colour("--line"), width: 1 },
            ticks: { stroke: colour("--line"), width: 1, size: 4 },
            ...axis,
        })),
        series,
    };
}

/** Keeps a plot as wide as its place. */
export function followWidth(place, getPlot, height) {
    const observer = new ResizeObserver(() => {
        const width = Math.floor(place.clientWidth);
        const plot = getPlot();
        if (plot && width > 0 && plot.width !== width) {
            plot.setSize({ width, height: height() });
        }
    });
    observer.observe(place);
    return observer;
}

/** A panel's plot. The gateway keeps the last hour; what comes later is added here. */
export class HistoryPlot {
    #times = [];
    #numbers = [];
    #range = 0;
    #timer = 0;
    #plot = null;

    constructor(node, connection, openedAt) {
        this.node = node;
        this.openedAt = openedAt / 1000;
        this.place = element("div", { class: "plot-place" });
        this.summary = element("span", { class: "dim plot-summary" });
        this.buttons = RANGES.map(([text, seconds]) =>
            element("button", {
                type: "button",
                class: "quiet toggle",
                text,
                "aria-pressed": seconds === 0,
                onclick: () => this.#choose(seconds),
            }),
        );
        this.element = element(
            "div",
            { class: "plot", role: "group", "aria-label": `Course of ${node.name}` },
            element("div", { class: "plot-bar" }, ...this.buttons),
            this.place,
            this.summary,
        );
        this.observer = followWidth(
            this.place,
            () => this.#plot ?? this.#make(),
            () => this.#height(),
        );
        this.ticker = setInterval(() => this.#later(), 1000);
        this.#load(connection);
        loadUPlot().then(() => this.#draw());
    }

    /** Adds a point. */
    add(ms, values) {
        this.#times.push(ms / 1000);
        this.#numbers.push(this.#toNumber(values));
        if (this.#times.length > MAX_POINTS) {
            this.#times.splice(0, MAX_POINTS / 10);
            this.#numbers.splice(0, MAX_POINTS / 10);
        }
        this.#later();
    }

    /** Draws anew in other colours. */
    repaint() {
        this.#plot?.destroy();
        this.#plot = null;
        this.#make();
    }

    /** Ends all that it has begun. */
    remove() {
        clearTimeout(this.#timer);
        clearInterval(this.ticker);
        this.observer.disconnect();
        this.#plot?.destroy();
        this.#plot = null;
    }

    async #load(connection) {
        const answer = await connection.request({ type: "history", path: this.node.path, seconds: HOUR_S });
        if (answer.type === "history" && answer.points.length > 0) {
            const newest = answer.points.at(-1)[0] / 1000;
            const later = this.#times.findIndex((time) => time > newest);
            const from = later < 0 ? this.#times.length : later;
            this.#times = [...answer.points.map(([ms]) => ms / 1000), ...this.#times.slice(from)];
            this.#numbers = [...answer.points.map(([, number]) => number), ...this.#numbers.slice(from)];
        }
        this.#later();
    }

    #toNumber(values) {
        const number = asNumber(values);
        return Number.isFinite(number) ? number : null;
    }

    #choose(seconds) {
        this.#range = seconds;
        this.buttons.forEach((button, at) => setAttribute(button, "aria-pressed", RANGES[at][1] === seconds));
        this.#draw();
    }

    #later() {
        if (!this.#timer && !document.hidden) {
            this.#timer = setTimeout(() => {
                this.#timer = 0;
                requestAnimationFrame(() => this.#draw());
            }, REDRAW_MS);
        }
    }

    #height() {
        return Math.round(HEIGHT_REM * rem());
    }

    /** What is in range; a value lasts until the next, so the one before and now are ends. */
    #data() {
        const now = Date.now() / 1000;
        const from = this.#range === 0 ? this.openedAt : now - this.#range;
        let first = this.#times.findIndex((time) => time >= from);
        first = first < 0 ? this.#times.length : first;
        const times = this.#times.slice(first);
        const numbers = this.#numbers.slice(first);
        if (first > 0) {
            times.unshift(from);
            numbers.unshift(this.#numbers[first - 1]);
        }
        const last = numbers.length > 0 ? numbers.at(-1) : this.#toNumber(this.node.values);
        if (numbers.length === 0) {
            times.push(from);
            numbers.push(last);
        }
        times.push(Math.max(now, times.at(-1)));
        numbers.push(last);
        return [times, numbers];
    }

    #make() {
        const width = Math.floor(this.place.clientWidth);
        if (width <= 0 || !uPlot) {
            return null;
        }
        const isWhole = !isNumber(this.node.description) || this.node.description.kind.includes("Int");
        const options = plotOptions(
            { width, height: this.#height() },
            [
                {
                    values: (_, ticks, __, ___, step) => ticks.map((tick) => clock(tick, step < 60)),
                    space: 70,
                },
                {
                    size: 4 * rem(),
                    ...(isWhole
                        ? {
                              incrs: [
                                  1, 2, 5, 10, 20, 50, 100, 200, 500, 1e3, 2e3, 5e3, 1e4, 2e4, 5e4, 1e5, 2e5,
                                  5e5, 1e6, 1e7, 1e8, 1e9, 1e12, 1e15,
                              ],
                          }
                        : {}),
                },
            ],
            [
                {},
                {
                    stroke: colour("--accent"),
                    width: 1.5,
                    paths: uPlot.paths.stepped({ align: 1 }),
                    points: { show: false },
                },
            ],
        );
        this.#plot = new uPlot(options, this.#data(), this.place);
        return this.#plot;
    }

    #draw() {
        if (!this.element.isConnected) {
            return;
        }
        const plot = this.#plot ?? this.#make();
        if (!plot) {
            return;
        }
        const data = this.#data();
        plot.setData(data);
        const numbers = data[1].filter((number) => number !== null);
        const [least, most] = [
            numbers.reduce((a, b) => Math.min(a, b), Infinity),
            numbers.reduce((a, b) => Math.max(a, b), -Infinity),
        ].map((number) => String(+number.toPrecision(7)));
        const unit = this.node.description.unit ?? "";
        setText(
            this.summary,
            numbers.length === 0
                ? "no numbers"
                : least === most
                  ? `always ${least} ${unit}`
                  : `${least} to ${most} ${unit}`,
        );
    }
}
