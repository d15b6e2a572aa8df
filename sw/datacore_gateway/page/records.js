// Measurement records, drawn for what they are: histograms as pictures, spectra as curves, meters as bars,
// captions as a screen.
import { colour, element, rem, setAttribute, setText } from "./dom.js";
import { followWidth, loadUPlot, plotOptions } from "./plots.js";
import { timeText } from "./texts.js";

const METER_FLOOR_DB = -60;
const METER_TICKS_DB = [0, -6, -12, -18, -24, -36, -48, -60];
const WARM_DB = -18;
const HOT_DB = -9;
const HOLD_MS = 2000;
const FALL_DB_PER_S = 20;
const CAPTION_COLOURS = ["white", "green", "blue", "cyan", "red", "yellow", "magenta", "italic"];

const KINDS = {
    EyeHistogram: ["Eye", HistogramPicture],
    EyeHorizontalHistogram: ["Eye, horizontal", HistogramPicture],
    EyeWindowedHistogram: ["Eye, windowed", HistogramPicture],
    JitterHistogram: ["Jitter histogram", HistogramPicture],
    JitterSpectrum: ["Jitter spectrum", SpectrumCurve],
    Meters: ["Audio meters", MeterBars],
    InstantPeakMeters: ["Instant peaks", MeterBars],
    InstantPeakLinearMeters: ["Instant peaks, linear", MeterBars],
    PhaseMeters: ["Phase", MeterBars],
    Captions: ["Captions", CaptionScreen],
};

/** The view of all records; asks the gateway for them only while it is in sight. */
export class RecordsView {
    #panels = new Map(); // by server and name

    constructor(container, store, connection) {
        this.container = container;
        this.connection = connection;
        this.store = store;
        this.empty = element("p", { class: "empty", text: "No measurement record has come yet." });
        container.append(this.empty);
        store.addEventListener("servers", () => this.#showState());
    }

    /** Asks for the records; also after each hello. */
    ask() {
        this.connection.send({ type: "records", names: this.container.hidden ? [] : Object.keys(KINDS) });
    }

    /** Takes a record of the gateway. */
    take({ server, name, t, data }) {
        if (!(name in KINDS)) {
            return;
        }
        const key = `${server}/${name}`;
        if (!this.#panels.has(key)) {
            this.#panels.set(key, new RecordPanel(server, name));
            const order = [...this.#panels.entries()].sort(([a], [b]) => this.#rank(a) - this.#rank(b));
            this.container.replaceChildren(...order.map(([, panel]) => panel.element));
        }
        this.#panels.get(key).take(t, data);
    }

    /** Draws anew in other colours. */
    repaint() {
        this.#panels.forEach((panel) => panel.repaint());
    }

    #rank(key) {
        return Object.keys(KINDS).indexOf(key.slice(key.lastIndexOf("/") + 1));
    }

    #showState() {
        for (const panel of this.#panels.values()) {
            const server = this.store.servers.find(({ name }) => name === panel.server);
            panel.element.classList.toggle(
                "is-stale",
                !this.store.isConnected || server?.state !== "current",
            );
        }
    }
}

class RecordPanel {
    #newest = null;
    #isAsked = false;

    constructor(server, name) {
        this.server = server;
        const [title, Drawing] = KINDS[name];
        this.when = element("span", { class: "dim mono" });
        this.drawing = new Drawing(title);
        this.element = element(
            "article",
            { class: `panel record record-${name}` },
            element(
                "header",
                { class: "panel-head" },
                element("h2", { text: title }),
                element("span", { class: "path", text: server }),
                this.when,
            ),
            this.drawing.element,
        );
    }

    take(t, data) {
        this.#newest = { t, data };
        if (!this.#isAsked) {
            this.#isAsked = true;
            requestAnimationFrame(() => {
                this.#isAsked = false;
                setText(this.when, timeText(this.#newest.t));
                this.drawing.show(this.#newest.data);
            });
        }
    }

    repaint() {
        this.drawing.repaint?.();
        this.drawing.show(this.#newest.data);
    }
}

/** Colours from black over blue, green and yellow to white, by how full a bin is; few hits stay visible. */
const HEAT = (() => {
    const stops = [
        [0, 5, 8, 14],
        [0.15, 16, 52, 110],
        [0.4, 20, 140, 140],
        [0.65, 120, 200, 80],
        [0.85, 250, 210, 70],
        [1, 255, 255, 245],
    ];
    const table = new Uint32Array(256);
    const bytes = new Uint8Array(table.buffer);
    for (let level = 0; level < 256; level++) {
        const share = Math.sqrt(level / 255);
        const above = Math.max(
            1,
            stops.findIndex(([at]) => at >= share),
        );
        const [from, to] = [stops[above - 1], stops[above]];
        const part = (share - from[0]) / (to[0] - from[0]);
        for (let channel = 0; channel < 3; channel++) {
            bytes[4 * level + channel] = from[channel + 1] + part * (to[channel + 1] - from[channel + 1]);
        }
        bytes[4 * level + 3] = 255;
    }
    return table;
})();

function HistogramPicture(title) {
    const canvas = element("canvas", { class: "eye", role: "img" });
    const about = element("span", { class: "dim" });
    this.element = element("figure", {}, canvas, element("figcaption", {}, about));
    this.show = ({ width, height, most, pixels }) => {
        const bytes = Uint8Array.from(atob(pixels ?? ""), (letter) => letter.charCodeAt(0));
        if (!(width > 0 && height > 0) || bytes.length !== width * height) {
            setText(about, "The record does not fit its size.");
            return;
        }
        const isLine = width === 1 || height === 1;
        canvas.width = isLine ? Math.max(width, height) : width;
        canvas.height = isLine ? 100 : height;
        canvas.classList.toggle("is-line", isLine);
        const image = new ImageData(canvas.width, canvas.height);
        const target = new Uint32Array(image.data.buffer);
        if (isLine) {
            target.fill(HEAT[0]);
            bytes.forEach((level, at) => {
                for (let y = 99; y > 99 - Math.round((level * 100) / 255); y--) {
                    target[y * canvas.width + at] = HEAT[140];
                }
            });
        } else {
            bytes.forEach((level, at) => {
                target[at] = HEAT[level];
            });
        }
        canvas.getContext("2d").putImageData(image, 0, 0);
        const text = `${isLine ? canvas.width : `${width} × ${height}`} bins, fullest ${most ?? 255} hits`;
        setText(about, text);
        setAttribute(canvas, "aria-label", `${title}: ${text}`);
    };
}

function SpectrumCurve(title) {
    const place = element("div", { class: "plot-place", role: "img", "aria-label": title });
    const height = () => Math.round(18 * rem());
    let uPlot = null;
    let plot = null;
    let newest = null;
    this.element = place;
    const make = () => {
        const width = Math.floor(place.clientWidth);
        if (width <= 0 || newest === null || !uPlot) {
            return null;
        }
        const hertz = (value) =>
            value === null
                ? ""
                : value >= 1e6
                  ? `${+(value / 1e6).toPrecision(3)} MHz`
                  : value >= 1e3
                    ? `${+(value / 1e3).toPrecision(3)} kHz`
                    : `${+value.toPrecision(3)} Hz`;
        const isLog = newest[0][0] > 0 && newest[0].at(-1) / newest[0][0] > 50;
        const options = plotOptions(
            { width, height: height() },
            [{ values: (_, ticks) => ticks.map(hertz) }, { size: 4 * rem() }],
            [
                {},
                {
                    stroke: colour("--accent"),
                    width: 1.5,
                    points: { show: false },
                    fill: colour("--accent-soft"),
                },
                { stroke: colour("--bad"), width: 1, dash: [6, 4], points: { show: false } },
            ],
        );
        options.scales = { x: { time: false, ...(isLog ? { distr: 3 } : {}) } };
        plot = new uPlot(options, newest, place);
        return plot;
    };
    followWidth(place, () => plot ?? make(), height);
    loadUPlot().then((loaded) => {
        uPlot = loaded;
        make();
    });
    this.repaint = () => {
        plot?.destroy();
        plot = null;
    };
    this.show = ({ frequencies = [], values = [], limits = [] }) => {
        const isRising =
            frequencies.length >= values.length &&
            frequencies.every((hertz, at) => hertz !== null && (at === 0 || hertz > frequencies[at - 1]));
        newest = [
            values.map((_, at) => (isRising ? frequencies[at] : at)),
            values,
            values.map((_, at) => limits[at] ?? null),
        ];
        if (plot) {
            plot.setData(newest);
        } else {
            make();
        }
        const most = values.reduce((a, b, at) => (b !== null && (values[a] ?? -Infinity) < b ? at : a), 0);
        setAttribute(
            place,
            "aria-label",
            `${title}: ${values.length} points, highest ${values[most] ?? "none"} at ` +
                `${newest[0][most] ?? "none"}${isRising ? " Hz" : ""}`,
        );
    };
}

function MeterBars(title) {
    const canvas = element("canvas", { class: "meters", role: "img" });
    const held = new Map();
    let described = 0;
    this.element = canvas;
    /** The record's own peak, or the highest level of the last two seconds, which then falls. */
    const peakOf = ({ label, level, peak }, now) => {
        if (peak !== undefined && peak !== null) {
            return peak;
        }
        const hold = held.get(label);
        const fallen = hold
            ? hold.level - (Math.max(0, now - hold.at - HOLD_MS) / 1000) * FALL_DB_PER_S
            : -Infinity;
        if (!(fallen > level)) {
            held.set(label, { level, at: now });
            return level;
        }
        return fallen;
    };
    this.show = ({ unit, bars = [] }) => {
        const now = performance.now();
        const isDb = unit === "dB";
        const known = bars.map(({ level }) => level).filter((level) => level !== null);
        const top = isDb ? 0 : Math.max(1, ...known);
        const floor = isDb ? METER_FLOOR_DB : Math.min(0, ...known);
        const scale = devicePixelRatio;
        const [width, height] = [canvas.clientWidth, canvas.clientHeight];
        canvas.width = Math.round(width * scale);
        canvas.height = Math.round(height * scale);
        const pen = canvas.getContext("2d");
        pen.scale(scale, scale);
        const size = Math.round(parseFloat(getComputedStyle(canvas).fontSize));
        pen.font = `${size}px system-ui`;
        const area = { left: size * 2.8, top: size, right: width - 4, bottom: height - size * 1.7 };
        const y = (level) =>
            area.bottom -
            ((Math.max(floor, Math.min(top, level)) - floor) / (top - floor)) * (area.bottom - area.top);
        pen.textAlign = "right";
        pen.textBaseline = "middle";
        for (const tick of isDb ? METER_TICKS_DB : [floor, (floor + top) / 2, top]) {
            pen.fillStyle = colour("--line");
            pen.fillRect(area.left, Math.round(y(tick)), area.right - area.left, 1);
            pen.fillStyle = colour("--dim");
            pen.fillText(String(+tick.toPrecision(3)).replace("-", "−"), area.left - 6, y(tick));
        }
        pen.textAlign = "center";
        const pitch = (area.right - area.left) / Math.max(1, bars.length);
        const breadth = Math.max(2, Math.min(pitch * 0.7, size * 3));
        bars.forEach((bar, at) => {
            const left = area.left + pitch * (at + 0.5) - breadth / 2;
            const fill = (from, to, name) => {
                if (to > from) {
                    pen.fillStyle = colour(name);
                    pen.fillRect(left, y(to), breadth, y(from) - y(to));
                }
            };
            pen.fillStyle = colour("--raised");
            pen.fillRect(left, area.top, breadth, area.bottom - area.top);
            if (bar.level !== null) {
                fill(
                    floor,
                    isDb ? Math.min(bar.level, WARM_DB) : bar.level,
                    isDb ? "--meter-good" : "--accent",
                );
                fill(WARM_DB, isDb ? Math.min(bar.level, HOT_DB) : -Infinity, "--meter-warm");
                fill(HOT_DB, isDb ? bar.level : -Infinity, "--meter-hot");
                pen.fillStyle = colour("--text");
                pen.fillRect(left, Math.round(y(peakOf(bar, now))) - 1, breadth, 2);
            }
            pen.fillStyle = colour("--dim");
            pen.fillText(bar.label, left + breadth / 2, height - size * 0.7);
        });
        if (now - described > 1000) {
            described = now;
            setAttribute(
                canvas,
                "aria-label",
                `${title}: ${bars
                    .map(
                        ({ label, level }) =>
                            `${label}: ${level === null ? "none" : level.toFixed(1)} ${unit ?? ""}`,
                    )
                    .join(", ")}`,
            );
        }
    };
}

function CaptionScreen() {
    const screens = element("div", { class: "caption-screens" });
    const shown = new Map(); // by service
    this.element = screens;
    const makeScreen = (service) => {
        const rows = element("div", { class: "caption-rows" });
        shown.set(service, { rows, last: "" });
        screens.append(
            element(
                "figure",
                {},
                element("div", { class: "caption-screen", role: "img" }, rows),
                element("figcaption", { class: "dim", text: service }),
            ),
        );
    };
    this.show = ({ more = [], ...first }) => {
        for (const { service, rows, columns, lines = [], runs } of [first, ...more]) {
            if (!shown.has(service)) {
                makeScreen(service);
            }
            const screen = shown.get(service);
            const text = JSON.stringify([lines, runs]);
            if (screen.last === text) {
                continue;
            }
            screen.last = text;
            setAttribute(
                screen.rows.parentElement,
                "aria-label",
                `${service}: ${lines.join(" ").trim() || "nothing"}`,
            );
            const count = Math.max(1, Math.min(64, rows));
            screen.rows.style.setProperty("--rows", count);
            screen.rows.style.setProperty("--columns", Math.max(1, Math.min(128, columns)));
            screen.rows.replaceChildren(
                ...Array.from({ length: count }, (_, row) =>
                    makeRow(
                        lines[row] ?? "",
                        runs?.filter(([at]) => at === row),
                    ),
                ),
            );
        }
    };
    /** A row of cells, so that any font keeps the columns. */
    const makeRow = (line, runs) => {
        const row = element("div", { class: "caption-row" });
        const pieces = runs ?? (line.trim() ? [[0, line.search(/\S/), line.trim(), 0, 0]] : []);
        for (const [, column, text, tint, isUnderlined] of pieces) {
            const run = element("span", {
                text,
                class:
                    `caption-run caption-${CAPTION_COLOURS[tint] ?? "white"}` +
                    (isUnderlined ? " caption-underlined" : ""),
            });
            run.style.setProperty("--column", column + 1);
            run.style.setProperty("--length", [...text].length);
            row.append(run);
        }
        return row;
    };
}
