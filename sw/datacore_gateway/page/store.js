// All nodes of all servers as a tree, with the newest value of each. Changes are taken at most once a frame.

export const State = Object.freeze({ NeverReceived: 0, Current: 1, Stale: 2 });
const PORTIONS_MS = 300; // a large tree is shown as it comes, but not for each of its portions
const NOTHING = Object.freeze([]);
const UNDESCRIBED = Object.freeze({ kind: "Text", isUnknown: true });

/** One node. `kids` may be sorted late, see Store.kids. */
class TreeNode {
    constructor(path, name, parent) {
        this.path = path;
        this.name = name;
        this.parent = parent;
        this.depth = parent ? parent.depth + 1 : -1;
        this.index = -1; // no node of a server, but a name on the way to one
        this.kids = [];
        this.areSorted = true;
        this.description = UNDESCRIBED;
        this.descriptionIndex = -1;
        this.values = null;
        this.invalid = NOTHING;
        this.inactive = NOTHING;
        this.state = State.NeverReceived;
        this.invalidCount = 0; // of this node and all below
        this.generation = 0;
    }

    get isInvalid() {
        return this.invalid.length > 0;
    }

    /** What search looks at; made when it is first needed. */
    get searchText() {
        this.foundBy ??= `${this.path} ${this.description.text ?? ""}`.toLowerCase();
        return this.foundBy;
    }
}

const isSame = (a, b) =>
    a === b ||
    (Array.isArray(a) && Array.isArray(b) && a.length === b.length && a.every((text, at) => text === b[at]));
const sortKey = (name) => name.replace(/\d+/g, (digits) => digits.padStart(12, "0"));

/**
 * Emits "structure" (nodes have come, gone or got descriptions), "changes" (detail: {time, changes: [{node,
 * before}]}), "servers" and "ready" (the first whole tree).
 */
export class Store extends EventTarget {
    root = new TreeNode("", "", null);
    mayWrite = false;
    isConnected = false;
    servers = [];
    openedAt = Date.now();
    #byPath = new Map([["", this.root]]);
    #byIndex = [];
    #descriptions = [];
    #generation = 0;
    #isReady = false;
    #shownAt = performance.now();
    #waiting = new Map(); // changes by index, until the next frame
    #waitingTime = 0;
    #structureChanged = false;
    #isAsked = false;

    /** The node of a path; undefined if there is none. */
    find(path) {
        return this.#byPath.get(path);
    }

    /** The nodes right below one, numbers in their names in order of value. */
    kids(node) {
        if (!node.areSorted) {
            node.kids.sort((a, b) => (a.sortKey < b.sortKey ? -1 : 1));
            node.areSorted = true;
        }
        return node.kids;
    }

    /** All nodes, above before below. */
    *walk(node = this.root) {
        for (const kid of this.kids(node)) {
            yield kid;
            if (kid.kids.length > 0) {
                yield* this.walk(kid);
            }
        }
    }

    get nodeCount() {
        return this.#byPath.size - 1;
    }

    /** Whether what the node shows may be out of date. */
    isStale(node) {
        return (
            !this.isConnected ||
            node.state === State.Stale ||
            (node.index >= 0 && node.generation !== this.#generation)
        );
    }

    /** Takes a message of the gateway. */
    take(message) {
        switch (message.type) {
            case "hello":
                this.mayWrite = message.mayWrite;
                this.servers = message.servers;
                this.isConnected = true;
                this.#generation++;
                this.#byIndex = [];
                this.#descriptions = [];
                this.#waiting.clear();
                this.#emit("servers");
                break;
            case "server":
                this.servers = this.servers.map((server) =>
                    server.name === message.name ? message : server,
                );
                this.#emit("servers");
                break;
            case "descriptions":
                this.#takeDescriptions(message);
                break;
            case "nodes":
                this.#takeNodes(message);
                break;
            case "removed":
                message.list
                    .filter((index) => this.#byIndex[index])
                    .forEach((index) => this.#removeNode(index));
                break;
            case "changes":
                message.list.forEach((entry) => this.#waiting.set(entry[0], entry));
                this.#waitingTime = message.t;
                this.#ask();
                break;
            default:
        }
    }

    /** The link is gone: all is stale. */
    lose() {
        this.isConnected = false;
        this.#emit("servers");
    }

    #emit(type, detail = undefined) {
        this.dispatchEvent(new CustomEvent(type, { detail }));
    }

    #takeDescriptions({ from, list }) {
        list.forEach((description, at) => {
            this.#descriptions[from + at] = description;
        });
        for (const node of this.#byIndex) {
            if (node && node.descriptionIndex >= from && node.descriptionIndex < from + list.length) {
                this.#describe(node, node.descriptionIndex);
            }
        }
        this.#restructure();
    }

    #describe(node, index) {
        node.descriptionIndex = index;
        node.description = this.#descriptions[index] ?? UNDESCRIBED;
        node.foundBy = undefined;
    }

    #takeNodes({ list, last }) {
        for (const [index, path, description, ...content] of list) {
            const node = this.#enter(path);
            const isNew = node.generation === 0;
            node.index = index;
            node.generation = this.#generation;
            this.#byIndex[index] = node;
            this.#describe(node, description);
            if (isNew) {
                this.#set(node, ...content);
            } else {
                this.#waiting.set(index, [index, ...content]);
                this.#waitingTime = Date.now();
            }
        }
        if (last) {
            const old = [...this.#byPath.values()].filter(
                (node) => node.index >= 0 && node.generation !== this.#generation,
            );
            old.forEach((node) => this.#remove(node));
        }
        if (last || performance.now() - this.#shownAt > PORTIONS_MS) {
            this.#shownAt = performance.now();
            this.#restructure();
        }
        if (last && !this.#isReady) {
            this.#isReady = true;
            this.#flush();
            this.#emit("ready");
        }
    }

    /** The node of a path, made with all above it where they are not there. */
    #enter(path) {
        const known = this.#byPath.get(path);
        if (known) {
            return known;
        }
        const cut = path.lastIndexOf("/");
        const parent = cut < 0 ? this.root : this.#enter(path.slice(0, cut));
        const node = new TreeNode(path, path.slice(cut + 1), parent);
        node.sortKey = sortKey(node.name);
        parent.kids.push(node);
        parent.areSorted = false;
        this.#byPath.set(path, node);
        return node;
    }

    #removeNode(index) {
        const node = this.#byIndex[index];
        delete this.#byIndex[index];
        this.#remove(node);
        this.#restructure();
    }

    /** Its name stays as long as something is below it. */
    #remove(node) {
        this.#set(node, null, NOTHING, NOTHING, State.NeverReceived);
        node.index = -1;
        node.generation = 0;
        while (node !== this.root && node.index < 0 && node.kids.length === 0) {
            this.#byPath.delete(node.path);
            node.isGone = true;
            node.parent.kids.splice(node.parent.kids.indexOf(node), 1);
            node = node.parent;
        }
    }

    #set(node, values, invalid, inactive, state) {
        const step = (invalid.length > 0) - node.isInvalid;
        node.values = values;
        node.invalid = invalid.length > 0 ? invalid : NOTHING;
        node.inactive = inactive.length > 0 ? inactive : NOTHING;
        node.state = state;
        for (let above = node; step !== 0 && above; above = above.parent) {
            above.invalidCount += step;
        }
    }

    #restructure() {
        this.#structureChanged = true;
        this.#ask();
    }

    /** A hidden page has no frames, but must not fall behind without end. */
    #ask() {
        if (!this.#isAsked) {
            this.#isAsked = true;
            if (document.hidden) {
                setTimeout(() => this.#flush(), 500);
            } else {
                requestAnimationFrame(() => this.#flush());
            }
        }
    }

    #flush() {
        this.#isAsked = false;
        if (this.#structureChanged) {
            this.#structureChanged = false;
            this.#emit("structure");
        }
        if (this.#waiting.size === 0) {
            return;
        }
        const changes = [];
        for (const [index, values, invalid, inactive, state] of this.#waiting.values()) {
            const node = this.#byIndex[index];
            if (
                node &&
                !(
                    isSame(node.values, values) &&
                    isSame(node.invalid, invalid) &&
                    isSame(node.inactive, inactive) &&
                    node.state === state
                )
            ) {
                const before = { values: node.values, state: node.state };
                this.#set(node, values, invalid, inactive, state);
                changes.push({ node, before });
            }
        }
        this.#waiting.clear();
        if (changes.length > 0) {
            this.#emit("changes", { time: this.#waitingTime, changes });
        }
    }
}
