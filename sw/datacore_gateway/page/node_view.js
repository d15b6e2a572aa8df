// The chosen nodes, live: a panel for each leaf, a table for each group.
import { element, flash, icon, setAttribute, setText } from "./dom.js";
import { isList, makeEditor } from "./editors.js";
import { HistoryPlot } from "./plots.js";
import { State } from "./store.js";
import { count, isGroup, isPlottable, limitsText, timeText, valueText } from "./texts.js";
import { VirtualList } from "./virtual_list.js";

/** Emits "dismiss" (detail: path) and "choose" (detail: {node}) for a row of a table. */
export class NodeView extends EventTarget {
    #panels = new Map(); // by path
    #paths = [];

    constructor(container, store, writes, connection) {
        super();
        this.container = container;
        this.store = store;
        this.writes = writes;
        this.connection = connection;
        this.empty = element("p", {
            class: "empty",
            text: "Choose a node in the tree. Ctrl+click or Space adds more.",
        });
        // A task of its own: the tree is not to wait for the panels.
        store.addEventListener("structure", () => setTimeout(() => this.setChosen(this.#paths)));
        store.addEventListener("servers", () => this.#showAll());
        store.addEventListener("changes", ({ detail }) => this.#onChanges(detail));
        writes.addEventListener("write", ({ detail }) =>
            this.#panels.forEach((panel) => panel.showWrite(detail)),
        );
    }

    /** Shows these nodes, in this order. */
    setChosen(paths) {
        this.#paths = paths;
        const wanted = new Set(paths);
        for (const [path, panel] of this.#panels) {
            if (!wanted.has(path) || !panel.refresh(this.store.find(path))) {
                panel.remove();
                this.#panels.delete(path);
            }
        }
        for (const path of paths) {
            if (!this.#panels.has(path)) {
                this.#panels.set(path, this.#makePanel(path));
            }
        }
        const wantedElements =
            paths.length > 0 ? paths.map((path) => this.#panels.get(path).element) : [this.empty];
        if (
            wantedElements.length !== this.container.children.length ||
            wantedElements.some((panel, at) => panel !== this.container.children[at])
        ) {
            this.container.replaceChildren(...wantedElements);
        }
        this.#showAll();
    }

    /** Draws anew in other colours. */
    repaint() {
        this.#panels.forEach((panel) => panel.repaint());
    }

    #makePanel(path) {
        const node = this.store.find(path);
        const Panel = !node ? MissingPanel : isGroup(node) ? GroupPanel : LeafPanel;
        const panel = new Panel(this, node ?? { path, name: path, kids: [] });
        return panel;
    }

    #showAll() {
        this.#panels.forEach((panel) => panel.show());
    }

    #onChanges({ time, changes }) {
        for (const panel of this.#panels.values()) {
            panel.take(changes, time);
        }
    }
}

/** What all panels have: a title with the way to the node, and a button that takes the panel away. */
class Panel {
    constructor(view, node, kind) {
        this.view = view;
        this.node = node;
        const cut = node.path.lastIndexOf("/");
        this.element = element(
            "article",
            { class: `panel ${kind}`, "aria-label": node.path },
            element(
                "header",
                { class: "panel-head" },
                element("h2", { text: node.path.slice(cut + 1) }),
                element("span", {
                    class: "path",
                    text: node.path.slice(0, Math.max(cut, 0)),
                    title: node.path,
                }),
                element(
                    "button",
                    {
                        class: "quiet round",
                        type: "button",
                        "aria-label": `Take ${node.name} away`,
                        onclick: () => view.dispatchEvent(new CustomEvent("dismiss", { detail: node.path })),
                    },
                    icon("close"),
                ),
            ),
        );
    }

    /** Takes over what may have changed around the node; false if it needs another panel. */
    refresh(node) {
        return node === this.node;
    }

    show() {}
    take() {}
    showWrite() {}
    repaint() {}
    remove() {}
}

class MissingPanel extends Panel {
    constructor(view, node) {
        super(view, node, "missing");
        this.element.append(element("p", { class: "dim", text: "There is no such node now." }));
    }

    refresh(node) {
        return node === undefined;
    }
}

class LeafPanel extends Panel {
    constructor(view, node) {
        super(view, node, "leaf");
        const { description } = node;
        this.description = description;
        this.value = element("span", { class: "big-value" });
        this.chips = element("span", { class: "chips" });
        this.reasons = element("ul", { class: "reasons" });
        this.when = element("span", { class: "when dim" });
        this.status = new WriteStatus(view.writes, node);
        this.element.append(
            element(
                "div",
                { class: "reading" },
                this.value,
                element("span", { class: "unit", text: description.unit ?? "" }),
                this.chips,
            ),
            this.reasons,
            element(
                "p",
                { class: "about" },
                element("span", { text: description.text ?? "" }),
                element("span", { class: "dim limits", text: limitsText(description) }),
                this.when,
            ),
        );
        if (!description.readOnly) {
            this.editors = element("fieldset", { class: "editor" });
            this.element.append(this.editors);
        }
        if (isPlottable(node) && !isList(node)) {
            this.plot = new HistoryPlot(node, view.connection, view.store.openedAt);
            this.element.append(this.plot.element);
        }
    }

    refresh(node) {
        return super.refresh(node) && node.description === this.description && !isGroup(node);
    }

    show() {
        const {
            node,
            view: { store },
        } = this;
        const text = valueText(node.values, node.description);
        const isLong = text.length > 18;
        setText(
            this.value,
            node.state === State.NeverReceived
                ? "not received"
                : isLong
                  ? valueText(node.values, node.description, "\n")
                  : text,
        );
        this.value.classList.toggle("is-long", isLong);
        const isStale = store.isStale(node);
        this.element.classList.toggle("is-stale", isStale);
        this.element.classList.toggle("is-invalid", node.isInvalid);
        const chips = [
            node.isInvalid
                ? ["bad", "Invalid"]
                : node.state === State.NeverReceived
                  ? null
                  : ["good", "Valid"],
            node.inactive.length > 0 ? ["warn", "Inactive"] : null,
            isStale ? ["stale", "Stale"] : null,
            node.description.readOnly ? ["", "Read only"] : null,
        ].filter(Boolean);
        const shown = chips.map(([, text]) => text).join();
        if (this.shownChips !== shown) {
            this.shownChips = shown;
            this.chips.replaceChildren(
                ...chips.map(([kind, text]) => element("span", { class: `chip ${kind}`, text })),
            );
        }
        const reasons = [...node.invalid, ...node.inactive];
        if (this.shownReasons !== reasons.join("\n")) {
            this.shownReasons = reasons.join("\n");
            this.reasons.replaceChildren(
                ...reasons.map((text, at) =>
                    element("li", { class: at < node.invalid.length ? "bad" : "warn", text }),
                ),
            );
        }
        if (this.editors) {
            if (this.hasList !== isList(node)) {
                this.hasList = isList(node);
                this.editor = makeEditor(node, this.view.writes);
                this.editors.replaceChildren(this.editor.element, this.status.element);
            }
            const mayWrite = store.mayWrite && store.isConnected;
            this.editors.disabled = !mayWrite;
            setAttribute(
                this.editors,
                "title",
                mayWrite || !store.isConnected ? "" : "This page may only read.",
            );
            this.editor.show();
        }
    }

    take(changes, time) {
        const mine = changes.find(({ node }) => node === this.node);
        if (mine) {
            this.show();
            flash(this.value);
            setText(this.when, `changed ${timeText(time)}`);
            this.plot?.add(time, this.node.values);
        }
    }

    showWrite(node) {
        if (node === this.node) {
            this.status.show();
            this.editor?.show();
        }
    }

    repaint() {
        this.plot?.repaint();
        this.editor?.show();
    }

    remove() {
        this.plot?.remove();
    }
}

/** What became of a write, in words; a refusal stays until it is clicked away or the next write. */
class WriteStatus {
    constructor(writes, node) {
        this.writes = writes;
        this.node = node;
        this.element = element("span", {
            class: "write-status",
            onclick: () => {
                if (writes.state(node)?.kind === "refused") {
                    writes.forget(node);
                }
            },
        });
        this.show();
    }

    show() {
        const state = this.writes.state(this.node);
        setText(this.element, state?.text ?? "");
        setAttribute(this.element, "title", state?.text ?? "");
        this.element.className = `write-status ${state?.kind ?? ""}`;
    }
}

class GroupPanel extends Panel {
    constructor(view, node) {
        super(view, node, "group");
        this.summary = element("span", { class: "dim" });
        this.element.querySelector(".path").before(this.summary);
        this.body = element("div", {
            class: "table",
            role: "table",
            tabIndex: 0,
            "aria-label": `Leaves of ${node.path}`,
        });
        this.list = new VirtualList(this.body, (leaf) => this.#makeRow(leaf), undefined, 1.15);
        this.element.append(this.body);
        this.#collect();
    }

    refresh(node) {
        const isSame = super.refresh(node) && isGroup(node);
        if (isSame) {
            this.#collect();
        }
        return isSame;
    }

    show() {
        this.element.classList.toggle("is-stale", !this.view.store.isConnected);
        const { length } = this.list.items;
        this.#summarise();
        this.body.style.height = `${this.list.height * Math.min(length, 40) + 2}px`;
        this.list.render();
    }

    take(changes) {
        for (const { node } of changes) {
            const row = this.list.row(node);
            if (row) {
                row.update(node, row.at);
                flash(row.value);
            }
        }
        this.#summarise();
    }

    showWrite(node) {
        const row = this.list.row(node);
        row?.status.show();
        row?.update(node, row.at);
    }

    #summarise() {
        const { invalidCount } = this.node;
        setText(
            this.summary,
            count(this.list.items.length, "leaf", "leaves") +
                (invalidCount > 0 ? `, ${invalidCount} invalid` : ""),
        );
    }

    #collect() {
        const leaves = [...this.view.store.walk(this.node)].filter((node) => !isGroup(node));
        this.list.setItems(leaves);
        setAttribute(this.body, "aria-rowcount", leaves.length);
    }

    #makeRow(leaf) {
        const { view } = this;
        const { description } = leaf;
        const value = element("span", { class: "value", role: "cell" });
        const status = new WriteStatus(view.writes, leaf);
        const editor = description.readOnly ? null : makeEditor(leaf, view.writes, true);
        const box = element("fieldset", { class: "editor" }, editor?.element ?? null);
        const reason = element("span", { class: "reason" });
        const open = element("button", {
            class: "quiet link",
            type: "button",
            text: leaf.path.slice(this.node.path.length + 1),
            title: leaf.path,
            onclick: () => view.dispatchEvent(new CustomEvent("choose", { detail: { node: leaf } })),
        });
        const row = element(
            "div",
            { class: "table-row", role: "row" },
            element("span", { class: "cell-name", role: "cell" }, open),
            value,
            element("span", { role: "cell" }, box),
            element("span", { class: "cell-status", role: "cell" }, status.element, reason),
        );
        const update = (node, at) => {
            setAttribute(row, "aria-rowindex", at + 1);
            setText(
                value,
                valueText(node.values, description) + (description.unit ? ` ${description.unit}` : ""),
            );
            row.classList.toggle("is-stale", view.store.isStale(node));
            row.classList.toggle("is-invalid", node.isInvalid);
            setText(reason, [...node.invalid, ...node.inactive].join("; "));
            box.disabled = !(view.store.mayWrite && view.store.isConnected);
            editor?.show();
        };
        return { element: row, value, status, update };
    }
}
