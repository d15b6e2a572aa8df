// The WebSocket to the gateway: it comes back by itself, and each request gets one answer.

const FIRST_PAUSE_MS = 500;
const LONGEST_PAUSE_MS = 15000;
const ANSWER_MS = 12000;
const HELLO_MS = 800; // a gateway that says nothing for so long waits for a token
const POLICY_VIOLATION = 1008; // RFC 6455, section 7.4.1

/**
 * Emits "open", "message" (detail: the object), "lost" (detail: {retryMs}) and "token" when the gateway wants
 * one. The token is kept in memory only.
 */
export class Connection extends EventTarget {
    #socket = null;
    #pauseMs = FIRST_PAUSE_MS;
    #timer = 0;
    #nextId = 1;
    #waiting = new Map();
    #token = "";
    #hasHello = false;
    #helloTimer = 0;

    /** Connects now; also what "try now" does. */
    connect() {
        clearTimeout(this.#timer);
        this.#drop();
        this.#hasHello = false;
        const url = new URL("api/live", location.href);
        url.protocol = location.protocol === "https:" ? "wss:" : "ws:";
        url.hash = "";
        const socket = new WebSocket(url, "datacore.1");
        this.#socket = socket;
        socket.onopen = () => {
            if (this.#token) {
                this.send({ type: "token", token: this.#token });
            }
            this.#helloTimer = setTimeout(() => this.#askForToken(), HELLO_MS);
        };
        socket.onmessage = (event) => this.#take(JSON.parse(event.data));
        socket.onclose = ({ code }) => {
            this.#drop();
            if (code === POLICY_VIOLATION && !this.#hasHello) {
                this.#askForToken(); // trying again would be in vain
            } else {
                this.#wait();
            }
        };
    }

    /** Shows who is at the page, from now on. */
    useToken(token) {
        this.#token = token;
        this.#pauseMs = FIRST_PAUSE_MS;
        this.connect();
    }

    get isOpen() {
        return this.#socket?.readyState === WebSocket.OPEN;
    }

    /** Sends an object; false without a link. */
    send(message) {
        if (this.isOpen) {
            this.#socket.send(JSON.stringify(message));
        }
        return this.isOpen;
    }

    /** Sends a request; gives its answer, which is {ok: false, code, text} where there is none. */
    request(message) {
        const id = this.#nextId++;
        return new Promise((resolve) => {
            const giveUp = (code, text) => {
                clearTimeout(timer);
                this.#waiting.delete(id);
                resolve({ ok: false, code, text });
            };
            const timer = setTimeout(() => giveUp("timeout", "The gateway has not answered."), ANSWER_MS);
            this.#waiting.set(id, {
                giveUp,
                resolve: (answer) => {
                    clearTimeout(timer);
                    resolve(answer);
                },
            });
            if (!this.send({ ...message, id })) {
                giveUp("lost", "There is no link to the gateway.");
            }
        });
    }

    #take(message) {
        if (message.type === "hello") {
            this.#pauseMs = FIRST_PAUSE_MS;
            this.#hasHello = true;
            clearTimeout(this.#helloTimer);
        }
        if ((message.type === "answer" || message.type === "history") && this.#waiting.has(message.id)) {
            const { resolve } = this.#waiting.get(message.id);
            this.#waiting.delete(message.id);
            resolve(message);
            return;
        }
        if (message.type === "error" && message.code === "token") {
            this.#askForToken(message.text);
            return;
        }
        this.dispatchEvent(new CustomEvent("message", { detail: message }));
    }

    #askForToken(text = "The gateway wants a token.") {
        clearTimeout(this.#helloTimer);
        this.dispatchEvent(new CustomEvent("token", { detail: text }));
    }

    #drop() {
        clearTimeout(this.#helloTimer);
        if (this.#socket) {
            this.#socket.onopen = this.#socket.onmessage = this.#socket.onclose = null;
            this.#socket.close();
            this.#socket = null;
        }
        for (const { giveUp } of [...this.#waiting.values()]) {
            giveUp("lost", "The link to the gateway broke before the answer.");
        }
    }

    #wait() {
        const retryMs = this.#pauseMs;
        this.#pauseMs = Math.min(LONGEST_PAUSE_MS, this.#pauseMs * 1.7);
        this.#timer = setTimeout(() => this.connect(), retryMs);
        this.dispatchEvent(new CustomEvent("lost", { detail: { retryMs } }));
    }
}
