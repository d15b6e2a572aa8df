// Puts the page together: link, tree, chosen nodes, records, log of changes, theme.
import { Connection } from "./connection.js";
import { announce, element, forgetColours, icon, setAttribute, setText } from "./dom.js";
import { LogView } from "./log_view.js";
import { NodeView } from "./node_view.js";
import { RecordsView } from "./records.js";
import { Store } from "./store.js";
import { TreeView } from "./tree_view.js";
import { Writes } from "./writes.js";

const MOST_CHOSEN = 24;
const MOST_SERVERS = 4; // more are counted, not listed
const byId = (id) => document.getElementById(id);

const connection = new Connection();
const store = new Store();
const writes = new Writes(connection, store);
const tree = new TreeView(store);
const nodes = new NodeView(byId("view-nodes"), store, writes, connection);
const log = new LogView(byId("view-log"), store);
const records = new RecordsView(byId("view-records"), store, connection);

// ---- what is chosen stands in the address, so that it can be kept and passed on

let chosen = [];

function readAddress() {
    const parameters = new URLSearchParams(location.hash.slice(1));
    return {
        paths: parameters.getAll("node").slice(0, MOST_CHOSEN),
        view: parameters.get("view") ?? "nodes",
    };
}

function choose(paths) {
    chosen = paths.slice(-MOST_CHOSEN);
    tree.setChosen(chosen);
    nodes.setChosen(chosen);
    writeAddress();
}

function writeAddress() {
    const parameters = new URLSearchParams(chosen.map((path) => ["node", path]));
    if (view !== "nodes") {
        parameters.set("view", view);
    }
    if (location.hash.slice(1) !== String(parameters)) {
        history.replaceState(null, "", `#${parameters}`);
    }
}

tree.addEventListener("choose", ({ detail: { node, isMore } }) => {
    const others = chosen.filter((path) => path !== node.path);
    choose(!isMore ? [node.path] : others.length < chosen.length ? others : [...chosen, node.path]);
    if (!isMore || view === "tree") {
        showView(isMore ? view : "nodes");
    }
});
nodes.addEventListener("dismiss", ({ detail }) => {
    choose(chosen.filter((path) => path !== detail));
    byId("main").focus();
});
nodes.addEventListener("choose", ({ detail: { node } }) => {
    choose([...chosen.filter((path) => path !== node.path), node.path]);
    tree.reveal(node);
});

// ---- views

const VIEWS = ["tree", "nodes", "records", "log"];
let view = "nodes";

function showView(name) {
    view = VIEWS.includes(name) ? name : "nodes";
    document.body.dataset.view = view;
    for (const each of VIEWS) {
        setAttribute(byId(`tab-${each}`), "aria-selected", each === view);
        byId(`tab-${each}`).tabIndex = each === view ? 0 : -1;
        const section = byId(`view-${each}`);
        if (section) {
            section.hidden = each !== view && !(each === "nodes" && view === "tree");
        }
    }
    log.show();
    records.ask();
    tree.refresh();
    writeAddress();
}

VIEWS.forEach((name) => byId(`tab-${name}`).addEventListener("click", () => showView(name)));
byId("main")
    .querySelector(".tabs")
    .addEventListener("keydown", (event) => {
        const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
        if (step) {
            const tabs = VIEWS.filter((name) => byId(`tab-${name}`).offsetParent);
            const next = tabs[(tabs.indexOf(view) + step + tabs.length) % tabs.length];
            showView(next);
            byId(`tab-${next}`).focus();
        }
    });

// ---- the state of the links

let countdown = 0;

function notice(text, ...buttons) {
    const place = byId("notice");
    place.hidden = text === "";
    if (place.firstChild?.textContent !== text || buttons.length > 0) {
        place.replaceChildren(element("span", { text }), ...buttons);
    }
}

const lossText = ({ name, address, state, problem }) =>
    `No link to ${name || address}: ${problem || state}. Its values are stale.`;

store.addEventListener("servers", () => {
    const { servers } = store;
    byId("mode").hidden = !store.isConnected || store.mayWrite;
    const stateOf = (server) => (store.isConnected ? server.state : "stale");
    const listed =
        servers.length <= MOST_SERVERS ? servers : servers.filter((server) => server.state !== "current");
    const others = servers.length - listed.length;
    byId("servers").replaceChildren(
        ...listed.slice(0, MOST_SERVERS).map((server) =>
            element(
                "span",
                {
                    class: `server state-${stateOf(server)}`,
                    title: `${server.address}: ${server.problem || stateOf(server)}`,
                    text: server.name || server.address,
                },
                element("span", { class: "unseen", text: `: ${stateOf(server)}` }),
            ),
        ),
        ...(others > 0
            ? [element("span", { class: "server state-current", text: `${others} more current` })]
            : []),
    );
    const lost = servers.filter((server) => server.state !== "current");
    if (store.isConnected) {
        notice(lost.length === 0 ? "" : lost.map(lossText).join(" "));
    }
    document.title =
        servers.length === 1 ? `${servers[0].name || servers[0].address} · Instrument` : "Instrument";
});

function summarise() {
    const invalid = store.root.invalidCount;
    setText(byId("summary"), invalid > 0 ? `${invalid} invalid` : store.nodeCount > 0 ? "All valid" : "");
    setAttribute(byId("summary"), "class", invalid > 0 ? "summary bad" : "summary");
}
store.addEventListener("structure", summarise);
store.addEventListener("changes", summarise);
store.addEventListener("ready", () => performance.mark("tree-shown"));

connection.addEventListener("message", ({ detail }) => {
    if (detail.type === "record") {
        records.take(detail);
        return;
    }
    if (detail.type === "error") {
        notice(detail.text || detail.code);
        return;
    }
    const wasConnected = store.isConnected;
    store.take(detail);
    if (detail.type === "hello") {
        clearInterval(countdown);
        records.ask();
        if (!wasConnected) {
            announce("Connected");
        }
    }
});

connection.addEventListener("lost", ({ detail: { retryMs } }) => {
    if (store.isConnected) {
        announce("The link to the gateway is lost. Values are stale.");
    }
    store.lose();
    const until = Date.now() + retryMs;
    const button = element("button", {
        type: "button",
        text: "Try now",
        onclick: () => connection.connect(),
    });
    const show = () =>
        notice(
            `No link to the gateway: values are stale. Next attempt in ${Math.max(
                0,
                Math.ceil((until - Date.now()) / 1000),
            )} s.`,
            button,
        );
    clearInterval(countdown);
    countdown = setInterval(show, 1000);
    show();
});

connection.addEventListener("token", ({ detail }) => {
    clearInterval(countdown);
    if (document.querySelector(".token")) {
        setText(byId("notice").firstChild, detail);
        return;
    }
    const box = element("input", { type: "password", "aria-label": "Token", autocomplete: "off" });
    const form = element(
        "form",
        {
            class: "token",
            onsubmit: (event) => {
                event.preventDefault();
                connection.useToken(box.value);
            },
        },
        box,
        element("button", { text: "Use token" }),
    );
    notice(detail, form);
    box.focus();
});

// ---- theme, width of the tree, keys

const THEMES = ["auto", "dark", "light"];

function showTheme(theme) {
    document.documentElement.dataset.theme = theme;
    byId("theme").replaceChildren(icon("theme"), { auto: "Auto", dark: "Dark", light: "Light" }[theme]);
    setAttribute(byId("theme"), "aria-label", `Theme: ${theme}`);
    forgetColours();
    nodes.repaint();
    records.repaint();
}

byId("theme").addEventListener("click", () => {
    const next = THEMES[(THEMES.indexOf(document.documentElement.dataset.theme) + 1) % THEMES.length];
    localStorage.setItem("theme", next);
    showTheme(next);
});
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () =>
    showTheme(document.documentElement.dataset.theme),
);

function setTreeWidth(width) {
    const bounded = Math.max(200, Math.min(800, Math.round(width)));
    document.documentElement.style.setProperty("--tree-width", `${bounded}px`);
    byId("divider").setAttribute("aria-valuenow", bounded);
    localStorage.setItem("treeWidth", bounded);
}
const divider = byId("divider");
divider.addEventListener("pointerdown", (event) => divider.setPointerCapture(event.pointerId));
divider.addEventListener("pointermove", (event) => event.buttons === 1 && setTreeWidth(event.clientX));
divider.addEventListener("keydown", (event) => {
    const step = { ArrowLeft: -20, ArrowRight: 20 }[event.key];
    if (step) {
        setTreeWidth(Number(divider.getAttribute("aria-valuenow")) + step);
    }
});

document.addEventListener("keydown", (event) => {
    if (event.key === "/" && !event.target.closest("input, textarea, select")) {
        event.preventDefault();
        if (matchMedia("(max-width: 700px)").matches) {
            showView("tree");
        }
        byId("search").focus();
        byId("search").select();
    }
});

window.addEventListener("hashchange", () => {
    const { paths, view: name } = readAddress();
    choose(paths);
    showView(name);
});

const startsAt = readAddress();
showTheme(THEMES.includes(localStorage.getItem("theme")) ? localStorage.getItem("theme") : "auto");
if (localStorage.getItem("treeWidth")) {
    setTreeWidth(Number(localStorage.getItem("treeWidth")));
}
choose(startsAt.paths);
showView(
    startsAt.view === "nodes" && startsAt.paths.length === 0 && matchMedia("(max-width: 700px)").matches
        ? "tree"
        : startsAt.view,
);
connection.connect();
