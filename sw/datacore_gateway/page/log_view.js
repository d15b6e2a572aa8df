// The log of changes: newest first, filtered by words, as a file of comma-separated values.
import { element, setText } from "./dom.js";
import { asList, count, timeText, valueText } from "./texts.js";
import { VirtualList } from "./virtual_list.js";

const MOST = 20000;
const STATES = ["never received", "current", "stale"];

/** Words that must be in an entry; those that begin with "-" must not. */
export function makeFilter(text) {
    const words = text
        .toLowerCase()
        .split(/\s+/)
        .filter((word) => word !== "" && word !== "-");
    return (entry) =>
        words.every((word) =>
            word.startsWith("-") ? !entry.text.includes(word.slice(1)) : entry.text.includes(word),
        );
}

/** One field of RFC 4180; what a spreadsheet would take for a formula is quoted as text. */
export function csvField(text) {
    const safe = /^[=@+\t\r]|^-(?![\d.])/.test(text) ? `'${text}` : text;
    return /[",\r\n]/.test(safe) ? `"${safe.replaceAll('"', '""')}"` : safe;
}

export class LogView {
    #entries = []; // oldest first
    #shown = []; // newest first
    #filter = makeFilter("");
    #isPaused = false;
    #isDirty = false;

    constructor(container, store) {
        this.container = container;
        this.filter = element("input", {
            type: "search",
            placeholder: "Filter: words, -without",
            "aria-label": "Filter changes",
            oninput: () => this.#refilter(),
        });
        this.note = element("span", { class: "dim" });
        const pause = element("button", {
            type: "button",
            class: "quiet toggle",
            text: "Pause",
            "aria-pressed": false,
            onclick: () => {
                this.#isPaused = !this.#isPaused;
                pause.setAttribute("aria-pressed", this.#isPaused);
                this.#refilter();
            },
        });
        this.body = element("div", {
            class: "log",
            role: "table",
            "aria-label": "Changes, newest first",
            tabIndex: 0,
        });
        container.append(
            element(
                "div",
                { class: "bar" },
                this.filter,
                pause,
                element("button", {
                    type: "button",
                    class: "quiet",
                    text: "Clear",
                    onclick: () => {
                        this.#entries = [];
                        this.#refilter();
                    },
                }),
                element("button", {
                    type: "button",
                    class: "quiet",
                    text: "Export CSV",
                    onclick: () => this.#export(),
                }),
                this.note,
            ),
            this.body,
        );
        this.list = new VirtualList(this.body, (entry) => this.#makeRow(entry));
        store.addEventListener("changes", ({ detail }) => this.#take(detail));
    }

    /** To be called when the view comes into sight. */
    show() {
        this.#isDirty = true;
        this.#render();
    }

    #take({ time, changes }) {
        const entries = changes.map(({ node, before }) => ({
            time,
            path: node.path,
            before: before.values,
            values: node.values,
            description: node.description,
            reasons: [...node.invalid, ...node.inactive],
            isInvalid: node.isInvalid,
            state: node.state,
            text: [node.path, ...asList(node.values), ...node.invalid, STATES[node.state]]
                .join(" ")
                .toLowerCase(),
        }));
        this.#entries.push(...entries);
        if (this.#entries.length > MOST * 1.2) {
            this.#entries = this.#entries.slice(-MOST);
        }
        if (!this.#isPaused) {
            this.#isDirty = true;
            this.#render();
        }
    }

    #refilter() {
        this.#filter = makeFilter(this.filter.value);
        this.#isDirty = true;
        this.#render();
    }

    /** At most a thousand times as cheap when nobody looks. */
    #render() {
        if (this.#isDirty && !this.container.hidden) {
            this.#isDirty = false;
            this.#shown = this.#entries.filter(this.#filter).reverse();
            this.list.setItems(this.#shown);
            setText(this.note, `${count(this.#shown.length, "change")}${this.#isPaused ? ", paused" : ""}`);
        }
    }

    #makeRow(entry) {
        const value = (values) => valueText(values, entry.description);
        const unit = entry.description.unit ? ` ${entry.description.unit}` : "";
        const row = element(
            "div",
            { class: `log-row ${entry.isInvalid ? "is-invalid" : ""}`, role: "row" },
            element("span", { role: "cell", class: "mono dim", text: timeText(entry.time) }),
            element("span", { role: "cell", class: "log-path", text: entry.path, title: entry.path }),
            element(
                "span",
                { role: "cell", class: "log-value" },
                element("span", { class: "dim", text: `${value(entry.before)} → ` }),
                value(entry.values) + unit,
            ),
            element("span", {
                role: "cell",
                class: "reason",
                text: [...entry.reasons, ...(entry.state === 1 ? [] : [STATES[entry.state]])].join("; "),
            }),
        );
        return { element: row, update() {} };
    }

    #export() {
        const lines = [
            ["time", "path", "before", "value", "unit", "state", "reasons"],
            ...[...this.#shown]
                .reverse()
                .map((entry) => [
                    new Date(entry.time).toISOString(),
                    entry.path,
                    asList(entry.before).join(";"),
                    asList(entry.values).join(";"),
                    entry.description.unit ?? "",
                    STATES[entry.state],
                    entry.reasons.join("; "),
                ]),
        ];
        const text = lines.map((fields) => fields.map(csvField).join(",")).join("\r\n") + "\r\n";
        const url = URL.createObjectURL(new Blob([text], { type: "text/csv" }));
        element("a", {
            href: url,
            download: `changes-${new Date().toISOString().replace(/[:.]/g, "-")}.csv`,
        }).click();
        setTimeout(() => URL.revokeObjectURL(url), 10000);
    }
}
