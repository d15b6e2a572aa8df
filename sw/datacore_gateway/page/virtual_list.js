// A list of rows of one height of which only those in sight are elements.
import { element, rowHeight } from "./dom.js";

const BEYOND = 6; // rows made ahead of and behind what is in sight

/**
 * Rows are made by `make(item)`, which gives {element, update(item, position), remove?()}, and are kept as
 * long as the item is in sight or holds the focus.
 */
export class VirtualList {
    #space = element("div", { class: "rows", role: "presentation" });
    #rows = new Map();
    #items = [];
    #frame = 0;

    constructor(container, make, key = (item) => item, heightFactor = 1) {
        this.container = container;
        this.make = make;
        this.key = key;
        this.heightFactor = heightFactor;
        container.append(this.#space);
        container.addEventListener("scroll", () => this.#later(), { passive: true });
        new ResizeObserver(() => this.#later()).observe(container);
    }

    get items() {
        return this.#items;
    }

    get height() {
        return Math.round(rowHeight() * this.heightFactor);
    }

    /** Shows these items, in this order. */
    setItems(items) {
        this.#items = items;
        this.render();
    }

    /** The row of an item, if it is an element now. */
    row(item) {
        return this.#rows.get(this.key(item));
    }

    /** Brings an item into sight and focuses its row. */
    focus(position) {
        const item = this.#items[position];
        if (item !== undefined) {
            this.reveal(position);
            this.render(item);
            this.row(item).element.focus({ preventScroll: true });
        }
    }

    /** Brings an item into sight. */
    reveal(position) {
        const { container, height } = this;
        const top = position * height;
        if (top < container.scrollTop) {
            container.scrollTop = top;
        } else if (top + height > container.scrollTop + container.clientHeight) {
            container.scrollTop = top + height - container.clientHeight;
        }
    }

    /** Makes, places and updates what is in sight, and `also`. */
    render(also = undefined) {
        const { container, height } = this;
        this.#space.style.height = `${this.#items.length * height}px`;
        const first = Math.max(0, Math.floor(container.scrollTop / height) - BEYOND);
        const end = Math.min(
            this.#items.length,
            Math.ceil((container.scrollTop + container.clientHeight) / height) + BEYOND,
        );
        const wanted = new Map();
        for (let at = first; at < end; at++) {
            wanted.set(this.key(this.#items[at]), at);
        }
        const held = also ?? this.#focusedItem();
        if (held !== undefined && !wanted.has(this.key(held))) {
            const at = this.#items.indexOf(held);
            if (at >= 0) {
                wanted.set(this.key(held), at);
            }
        }
        for (const [key, row] of this.#rows) {
            if (!wanted.has(key)) {
                row.remove?.();
                row.element.remove();
                this.#rows.delete(key);
            }
        }
        let before = null;
        for (const [key, at] of wanted) {
            const item = this.#items[at];
            let row = this.#rows.get(key);
            if (!row) {
                row = this.make(item);
                this.#rows.set(key, row);
                this.#space.insertBefore(row.element, before ? before.nextSibling : this.#space.firstChild);
            }
            before = row.element;
            const top = `translateY(${at * height}px)`;
            if (row.top !== top) {
                row.top = row.element.style.transform = top;
            }
            row.item = item;
            row.at = at;
            row.update(item, at);
        }
    }

    /** Updates the rows of these keys that are elements. */
    update(keys) {
        for (const key of keys) {
            const row = this.#rows.get(key);
            row?.update(row.item, row.at);
        }
    }

    #focusedItem() {
        for (const row of this.#rows.values()) {
            if (row.element.contains(document.activeElement)) {
                return row.item;
            }
        }
        return undefined;
    }

    #later() {
        this.#frame ||= requestAnimationFrame(() => {
            this.#frame = 0;
            this.render();
        });
    }
}
