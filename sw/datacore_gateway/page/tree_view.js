// The tree at the left: only rows in sight are elements; arrow keys, search, marks of what is invalid.
import { announce, element, flash, icon, setAttribute, setText } from "./dom.js";
import { State } from "./store.js";
import { count, isGroup, valueText } from "./texts.js";
import { VirtualList } from "./virtual_list.js";

const TYPE_AHEAD_MS = 700;

/** Emits "choose" (detail: {node, isMore}): isMore adds to or takes from what is chosen. */
export class TreeView extends EventTarget {
    #expanded = new Set();
    #words = [];
    #onlyInvalid = false;
    #found = null; // all nodes that a search shows, or null
    #active = null; // the row that Tab leads to
    #chosen = new Set();
    #typed = { text: "", at: 0 };

    constructor(store) {
        super();
        this.store = store;
        this.search = document.getElementById("search");
        this.note = document.getElementById("tree-note");
        this.container = document.getElementById("tree");
        this.list = new VirtualList(this.container, (node) => this.#makeRow(node));
        this.container.addEventListener("keydown", (event) => this.#onKey(event));
        this.search.addEventListener("input", () => this.#onSearch());
        this.search.addEventListener("keydown", (event) => {
            if (event.key === "ArrowDown" || event.key === "Enter") {
                event.preventDefault();
                this.list.focus(0);
            }
        });
        const toggle = document.getElementById("only-invalid");
        toggle.addEventListener("click", () => {
            this.#onlyInvalid = !this.#onlyInvalid;
            toggle.setAttribute("aria-pressed", this.#onlyInvalid);
            this.#onSearch();
        });
        store.addEventListener("structure", () => this.refresh());
        store.addEventListener("ready", () => this.#expandFirst());
        store.addEventListener("changes", ({ detail }) => this.#onChanges(detail.changes));
        store.addEventListener("servers", () => this.list.render());
    }

    /** Shows which nodes are chosen. */
    setChosen(paths) {
        this.#chosen = new Set(paths);
        this.list.render();
    }

    /** Opens all above a node and brings it into sight. */
    reveal(node) {
        for (let above = node.parent; above && above.parent; above = above.parent) {
            this.#expanded.add(above.path);
        }
        this.#active = node;
        this.refresh();
        this.list.reveal(this.list.items.indexOf(node));
        this.list.render();
    }

    /** Works out which rows there are. */
    refresh() {
        const items = [];
        const visit = (node) => {
            for (const kid of this.store.kids(node)) {
                if (!this.#found || this.#found.has(kid)) {
                    items.push(kid);
                    if (kid.kids.length > 0 && this.#isOpen(kid)) {
                        visit(kid);
                    }
                }
            }
        };
        if (this.#found) {
            this.#search();
        }
        visit(this.store.root);
        if (!this.#active || this.#active.isGone || !items.includes(this.#active)) {
            this.#active = items[0] ?? null;
        }
        this.list.setItems(items);
        const total = this.store.nodeCount;
        setText(
            this.note,
            this.#found
                ? `${count(this.#hits, "match", "matches")} of ${total}`
                : total === 0
                  ? "No nodes yet"
                  : count(total, "node"),
        );
    }

    #isOpen(node) {
        return this.#found !== null || this.#expanded.has(node.path);
    }

    #expandFirst() {
        const kids = this.store.kids(this.store.root);
        if (kids.length <= 8) {
            kids.forEach((kid) => this.#expanded.add(kid.path));
        }
        this.refresh();
    }

    #onSearch() {
        this.#words = this.search.value.toLowerCase().split(/\s+/).filter(Boolean);
        this.#found = this.#words.length > 0 || this.#onlyInvalid ? new Set() : null;
        this.container.scrollTop = 0;
        this.refresh();
        announce(this.note.textContent);
    }

    #search() {
        this.#found = new Set();
        this.#hits = 0;
        for (const node of this.store.walk()) {
            if (
                (!this.#onlyInvalid || node.isInvalid) &&
                this.#words.every((word) => node.searchText.includes(word))
            ) {
                this.#hits++;
                for (let above = node; above && !this.#found.has(above); above = above.parent) {
                    this.#found.add(above);
                }
            }
        }
    }

    #hits = 0;

    #onChanges(changes) {
        if (this.#onlyInvalid && changes.some(({ node }) => node.isInvalid !== this.#found.has(node))) {
            this.refresh();
            return;
        }
        const above = new Set();
        for (const { node } of changes) {
            const row = this.list.row(node);
            if (row) {
                row.update(node, row.at);
                flash(row.value);
            }
            for (let on = node.parent; on && !above.has(on); on = on.parent) {
                above.add(on);
            }
        }
        this.list.update(above);
    }

    #makeRow(node) {
        const twisty = element("span", { class: "twisty" }, icon("chevron"));
        const name = element("span", { class: "name", text: node.name });
        const value = element("span", { class: "value" });
        const badge = element("span", { class: "badge", "aria-hidden": true });
        const spoken = element("span", { class: "unseen" });
        const row = element(
            "div",
            { class: "tree-row", role: "treeitem", tabIndex: -1 },
            twisty,
            name,
            value,
            badge,
            spoken,
        );
        row.style.setProperty("--depth", node.depth);
        row.addEventListener("click", (event) => {
            this.#activate(node);
            if (event.target.closest(".twisty") && node.kids.length > 0) {
                this.#toggle(node);
            } else {
                this.#choose(node, event.ctrlKey || event.metaKey);
            }
        });
        row.addEventListener("dblclick", () => node.kids.length > 0 && this.#toggle(node));
        row.addEventListener("focus", () => this.#activate(node));
        return { element: row, value, update: () => this.#showRow(node, row, value, badge, spoken) };
    }

    #showRow(node, row, value, badge, spoken) {
        const hasKids = node.kids.length > 0;
        const siblings = this.#found ? null : node.parent.kids;
        setAttribute(row, "aria-level", node.depth + 1);
        setAttribute(row, "aria-selected", this.#chosen.has(node.path));
        setAttribute(row, "aria-setsize", siblings ? siblings.length : -1);
        if (hasKids) {
            setAttribute(row, "aria-expanded", this.#isOpen(node));
        } else {
            row.removeAttribute("aria-expanded");
        }
        row.classList.toggle("is-leaf", !hasKids);
        row.classList.toggle("is-stale", this.store.isStale(node) && !isGroup(node));
        row.classList.toggle("is-inactive", node.inactive.length > 0);
        const tabIndex = node === this.#active ? 0 : -1;
        if (row.tabIndex !== tabIndex) {
            row.tabIndex = tabIndex;
        }
        const { description } = node;
        const showsValue = !isGroup(node) && node.state !== State.NeverReceived;
        setText(
            value,
            showsValue
                ? valueText(node.values, description) + (description.unit ? ` ${description.unit}` : "")
                : "",
        );
        setText(badge, node.invalidCount > 0 ? (hasKids ? String(node.invalidCount) : "!") : "");
        const wrong =
            node.invalidCount === 0 ? "" : hasKids ? `${node.invalidCount} invalid` : node.invalid.join("; ");
        setAttribute(badge, "title", wrong);
        setText(spoken, `${wrong} ${row.classList.contains("is-stale") ? "stale" : ""}`);
    }

    #activate(node) {
        const before = this.#active;
        this.#active = node;
        this.list.update([before, node]);
    }

    #choose(node, isMore) {
        this.dispatchEvent(new CustomEvent("choose", { detail: { node, isMore } }));
    }

    #toggle(node, isOpen = !this.#expanded.has(node.path)) {
        if (isOpen) {
            this.#expanded.add(node.path);
        } else {
            this.#expanded.delete(node.path);
        }
        this.refresh();
    }

    /** Keys as in the ARIA practice for trees. */
    #onKey(event) {
        const { items } = this.list;
        const node = this.#active;
        const at = items.indexOf(node);
        if (at < 0 || event.altKey) {
            return;
        }
        const page = Math.max(1, Math.floor(this.container.clientHeight / this.list.height) - 1);
        const moves = {
            ArrowDown: at + 1,
            ArrowUp: at - 1,
            Home: 0,
            End: items.length - 1,
            PageDown: at + page,
            PageUp: at - page,
        };
        if (event.key in moves) {
            this.#move(Math.max(0, Math.min(items.length - 1, moves[event.key])));
        } else if (event.key === "ArrowRight") {
            if (node.kids.length > 0 && !this.#isOpen(node)) {
                this.#toggle(node, true);
                this.#move(at);
            } else if (node.kids.length > 0) {
                this.#move(at + 1);
            }
        } else if (event.key === "ArrowLeft") {
            if (node.kids.length > 0 && this.#isOpen(node) && !this.#found) {
                this.#toggle(node, false);
                this.#move(at);
            } else if (node.parent.parent) {
                this.#move(items.indexOf(node.parent));
            }
        } else if (event.key === "Enter" || event.key === " ") {
            this.#choose(node, event.key === " " || event.ctrlKey);
        } else if (event.key === "*") {
            node.parent.kids.forEach((kid) => kid.kids.length > 0 && this.#expanded.add(kid.path));
            this.refresh();
        } else if (event.key.length === 1 && event.key !== "/" && !event.ctrlKey && !event.metaKey) {
            this.#typeAhead(event.key.toLowerCase(), at);
        } else {
            return;
        }
        event.preventDefault();
    }

    #move(position) {
        if (position >= 0) {
            this.#activate(this.list.items[position]);
            this.list.focus(position);
        }
    }

    #typeAhead(letter, at) {
        const now = performance.now();
        const typed = this.#typed;
        const isNew = now - typed.at > TYPE_AHEAD_MS;
        typed.text = isNew ? letter : typed.text + letter;
        typed.at = now;
        const { items } = this.list;
        for (let step = isNew ? 1 : 0; step <= items.length; step++) {
            const candidate = (at + step) % items.length;
            if (items[candidate].name.toLowerCase().startsWith(typed.text)) {
                this.#move(candidate);
                return;
            }
        }
    }
}
