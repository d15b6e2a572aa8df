// Writes from the page: what is pending, accepted or refused, by path.
import { announce } from "./dom.js";
import { valueText } from "./texts.js";

const ACCEPTED_MS = 2500;

/** Emits "write" (detail: the node) when a write's state changes. While one is pending, only the newest of
 *  those that follow waits, so that a slider sends as fast as the server answers. */
export class Writes extends EventTarget {
    #states = new Map();

    constructor(connection, store) {
        super();
        this.connection = connection;
        this.store = store;
    }

    /** {kind: "pending" | "accepted" | "refused", text}; undefined when nothing was written. */
    state(node) {
        return this.#states.get(node.path);
    }

    /** What the node holds, or will once a pending write is taken: what a further step begins at. */
    wanted(node) {
        const state = this.#states.get(node.path);
        return state?.kind === "pending" ? (state.next ?? state).values : node.values;
    }

    /** Writes null, a text or a list of texts. */
    async write(node, values) {
        const running = this.#states.get(node.path);
        if (running?.kind === "pending") {
            running.next = { values };
            return;
        }
        const state = { kind: "pending", text: "Waiting for the server …", values };
        this.#set(node, state);
        const answer = await this.connection.request({ type: "write", path: node.path, values });
        if (state.next) {
            this.#states.delete(node.path);
            this.write(node, state.next.values);
            return;
        }
        if (answer.ok) {
            this.#set(node, { kind: "accepted", text: "Accepted" });
            announce(`${node.name}: accepted, ${valueText(answer.values, node.description)}`);
            setTimeout(() => {
                if (this.#states.get(node.path)?.kind === "accepted") {
                    this.forget(node);
                }
            }, ACCEPTED_MS);
        } else {
            this.#set(node, { kind: "refused", text: answer.text || answer.code });
            announce(`${node.name}: refused. ${answer.text || answer.code}`);
        }
    }

    /** Takes a refusal away, as when the user begins anew. */
    forget(node) {
        this.#states.delete(node.path);
        this.dispatchEvent(new CustomEvent("write", { detail: node }));
    }

    #set(node, state) {
        this.#states.set(node.path, state);
        this.dispatchEvent(new CustomEvent("write", { detail: node }));
    }
}
