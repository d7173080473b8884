// The page as a whole: it chooses the screen, carries out the buttons, and shows the running call.

import { button, element, icon, loadTexts, sizeText, text } from "./element.js";
import { ask, close, isLeft, isOpen, open, reasonOf, toast } from "./overlays.js";
import { focusFirst, focusOn, focusRail, forgetFocus, keepingFocus, listen } from "./remote.js";
import { historyScreen } from "./history.js";
import { appIcon, guideScreen, homeScreen, JournalScreen, reasonList, startScreen, stepList, storageScreen } from "./screens.js";
import { call, follow } from "./server.js";

const part = (id) => document.getElementById(id);
const NAMES = ["start", "home", "storage", "history", "journal"];
/// Screens that another one opens, which the rail shows in their place.
const OPENED_BY = { guide: "start" };
/// The calls that fill each screen, and where the server keeps the answer of each.
const FILLING = { start: ["diagnose"], home: ["problems"], guide: ["guide"], storage: ["storage", "apps"],
    history: ["history"], journal: [] };
const KEPT = { diagnose: "start", problems: "home", guide: "guide", history: "history", storage: "storage", apps: "apps" };

const journal = new JournalScreen();
let state = null;
let shown = "start";
let connected = true;
let present = true;
let waiting = [];  // calls that fill a screen and wait for another call to end
let pressed = null;  // goes on with a button that waits until a screen is filled
let since = 0;
/// A call that takes longer than this can be given up.
const LONG_WAIT_MS = 2000;

// --- Calls ---

/// Fills a screen. While another call runs, it waits for its end. The screen itself shows why it stays empty.
async function fill(verbs) {
    for (const verb of verbs) {
        const answer = await call(verb);
        if (answer.status === 409) {
            waiting = verbs.slice(verbs.indexOf(verb));
            return;
        }
        if (isLeft(answer.document)) {
            return;
        }
        if (answer.status === 0) {
            return toast("failure", text("failure.short"), reasonOf(answer.document));
        }
    }
}

/// Asks again for what the screen shows of an older set. It waits while the set is away.
function refresh() {
    const old = FILLING[shown].filter((verb) => state.screens[KEPT[verb]].stale);
    if (old.length > 0 && !state.running && present && connected) {
        fill(old);
    }
}

/// Gives up the running call. The server ends the program that waits; the library cannot call a diagnosis back.
async function leave() {
    const { ok, document: answer } = await call("leave", { number: state.running?.number ?? 0 });
    if (ok) {
        toast("busy", text("left.done"), text("left.detail"));
    } else {
        toast("failure", text("failure.short"), reasonOf(answer));
    }
}

function catchUp() {
    if (waiting.length > 0) {
        const verbs = waiting;
        waiting = [];
        fill(verbs);
    } else {
        refresh();
    }
}

/// True when no call runs; otherwise it shows a message.
function isFree() {
    if (state?.running) {
        toast("busy", text("work.busy"), workText(state.running));
        return false;
    }
    return true;
}

/// The same, but waits for a screen that is being filled: the page does that by itself, too.
async function whenFree() {
    if (state?.running?.verb in KEPT && !pressed) {
        await new Promise((goOn) => {
            pressed = goOn;
        });
    }
    return isFree();
}

function again() {
    if (isFree()) {
        fill(FILLING[shown]);
    }
}

async function fix(rows) {
    const [first] = rows;
    if (!await whenFree()) {
        return;
    }
    if (rows.some((row) => row.action === "CONFIRM")) {
        const body = rows.map((row) => element("p", "", row.texts.solution));
        if (!await ask(first.texts.issue, body, first.texts.button1 || text("problems.fix"),
            first.texts.button2 || text("dialog.cancel"))) {
            return catchUp();
        }
    }
    const answer = await call("fix", { code: first.issue_code });
    if (answer.ok) {
        toast("ok", first.texts.toast1 || text("problems.fixed"), "");
    } else {
        toast("failure", first.texts.toast2 || text("failure.short"), reasonOf(answer.document));
    }
    const opensStorage = answer.document.requests?.some((request) =>
        request.kind === "screen" && request.screen === "storage" && request.event === "opened");
    if (opensStorage && !isOpen()) {
        show("storage");
    }
}

/// Tells why a problem is listed and what its repair would do. The server asks the command, on a copy of the set.
async function explain(rows) {
    const [first] = rows;
    const answers = element("div", "answers", ...rows.map((row) => element("p", "", row.texts.solution)));
    answers.dataset.key = "answers";
    answers.dataset.scroller = "";
    answers.tabIndex = 0;
    answers.setAttribute("role", "region");
    answers.setAttribute("aria-label", first.texts.issue);
    const tell = (verb, list) => async () => {
        if (!await whenFree()) {
            return;
        }
        answers.replaceChildren(element("p", "", "…"));
        const { ok, document: answer } = await call(verb, { code: first.issue_code });
        answers.replaceChildren(ok ? list(answer) : element("p", "reason", reasonOf(answer)));
        answers.dataset.told = verb;
    };
    open(first.texts.issue, [answers], [
        { key: "why", label: text("explain.why"), press: tell(shown === "home" ? "why-home" : "why", reasonList) },
        { key: "preview", label: text("explain.preview"), press: tell("preview", stepList) },
        { key: "close", label: text("dialog.close"), press: close }]);
}

/// Runs maintenance of the whole set from the storage screen.
async function care(verb) {
    if (!await whenFree()) {
        return;
    }
    const answer = await call(verb);
    if (answer.ok) {
        toast("ok", text(`storage.${verb}.done`), "");
    } else {
        toast("failure", text(`storage.${verb}.failed`), reasonOf(answer.document));
    }
}

async function careForApp(verb, app) {
    close();
    if (!await whenFree()) {
        return;
    }
    if (verb === "clear-data" &&
        !await ask(text("app.clear-data.ask", { title: app.title }), [element("p", "", text("app.clear-data.detail"))],
            text("app.clear-data"), text("dialog.cancel"), true)) {
        return catchUp();
    }
    const answer = await call(verb, { id: app.app_id });
    if (answer.ok) {
        toast("ok", text(`app.${verb}.done`, { title: app.title }), "");
    } else {
        toast("failure", text(`app.${verb}.failed`, { title: app.title }), reasonOf(answer.document));
    }
}

async function chooseApp(app) {
    if (!await whenFree()) {
        return;
    }
    const figures = element("dl", "figures");
    const figure = (name, size) => element("div", "", element("dt", "", text(`app.${name}`)),
        element("dd", "", size));
    figures.append(...["total", "data", "cache"].map((name) => figure(name, "…")));
    const verbs = ["clear-cache", "clear-data", "kill"].map((verb) =>
        ({ key: verb, label: text(`app.${verb}`), press: () => careForApp(verb, app) }));
    const note = element("p", "note", "");
    open(app.title, [element("div", "app-card", appIcon(app), element("small", "", app.app_id)), figures, note],
        [...verbs, { key: "close", label: text("dialog.close"), press: close }]);
    const { ok, document: sizes } = await call("app", { id: app.app_id });
    if (ok) {
        figures.replaceChildren(figure("total", sizeText(sizes.total_size)), figure("data", sizeText(sizes.data_size)),
            figure("cache", sizeText(sizes.cache_size)));
        if (sizes.total_size !== app.total_size) {
            note.textContent = text("app.figures", { size: sizeText(app.total_size) });
        }
    } else {
        figures.replaceChildren(element("p", "reason", reasonOf(sizes)));
    }
}

// --- Drawing ---

function drawRail() {
    const items = NAMES.map((name) => {
        const made = button(`rail-${name}`, "rail-item", () => show(name), icon(name), text(`rail.${name}`));
        if (name === (OPENED_BY[shown] ?? shown)) {
            made.setAttribute("aria-current", "page");
        }
        return made;
    });
    const focused = document.activeElement?.closest?.(".rail-item")?.dataset.key;
    part("rail").setAttribute("aria-label", text("rail.name"));
    part("rail").replaceChildren(element("div", "brand", icon("care"), "Kura"), ...items,
        element("div", "rail-set", element("small", "", text("rail.set")), state?.set.model || "–"));
    part("rail").querySelector(`[data-key="${focused}"]`)?.focus();
}

function screenNow() {
    switch (shown) {
        case "start":
            return startScreen(state, { again, fix, explain, guide: () => show("guide") });
        case "guide":
            return guideScreen(state, { again, fix, explain });
        case "home":
            return homeScreen(state, { again, fix, explain });
        case "storage":
            return storageScreen(state, { again, clean: () => care("clean"), boost: () => care("boost"),
                optimize: () => care("optimize"), app: chooseApp });
        case "history":
            return historyScreen(state, { again });
        default:
            return journal.draw(draw);
    }
}

function draw() {
    if (!state) {
        return;
    }
    const content = part("content");
    keepingFocus(() => {
        const { head, body } = screenNow();
        const scrolled = content.scrollTop;
        document.title = `${head.title} · ${state.set.model} · Kura`;
        part("head").replaceChildren(
            element("div", "", element("h1", "", head.title), element("p", "detail", head.detail ?? "")),
            element("div", "head-actions", ...(head.actions ?? [])));
        content.replaceChildren(...body);
        content.dataset.screen = shown;
        content.scrollTop = scrolled;
    });
    drawWork();
}

function workText(running) {
    const name = text(`work.${running.verb}`);
    return running.argument ? `${name} (${running.argument})` : name;
}

/// Shows the running call: its name, how long it runs, and the part of its usual time if that is known.
function drawWork() {
    const work = part("work");
    const running = state?.running;
    document.body.classList.toggle("is-busy", Boolean(running));
    if (!running) {
        const hadFocus = work.contains(document.activeElement);
        work.replaceChildren();
        return hadFocus ? focusFirst() : undefined;
    }
    const seconds = Math.floor((performance.now() - since) / 1000);
    const words = running.usual_s > 0 ? text("work.of", { seconds, most: running.usual_s })
        : text("work.for", { seconds });
    if (!work.firstChild) {
        work.append(element("span", "spinner"), element("strong", "", ""), element("span", "work-time", ""),
            element("div", "track", element("div", "track-part")));
        // Only the name of the call is told, not each second of it.
        work.children[2].setAttribute("aria-hidden", "true");
    }
    work.children[1].textContent = workText(running);
    work.children[2].textContent = words;
    if (running.may_be_left && performance.now() - since > LONG_WAIT_MS && !work.querySelector("button")) {
        work.insertBefore(button("leave", "pill", leave, text("work.leave")), work.children[3]);
    }
    const track = work.querySelector(".track-part");
    track.classList.toggle("endless", running.usual_s === 0);
    track.style.width = running.usual_s > 0
        ? `${Math.min(100, 100 * (performance.now() - since) / 1000 / running.usual_s)}%` : "";
}

function drawFoot() {
    const key = (sign, words) => element("span", "hint", element("kbd", "", sign), words);
    part("foot").replaceChildren(key("↑ ↓ ← →", text("keys.move")), key("Enter", text("keys.choose")),
        key("Esc", text("keys.back")));
}

function drawNotice() {
    const notice = part("notice");
    const words = !connected ? text("notice.server") : !present ? text("notice.set", { path: state?.set.path })
        : languageText();
    notice.hidden = words === "";
    notice.classList.toggle("mild", connected && present);
    notice.replaceChildren(icon("failure"), element("span", "", words));
}

/// Says which texts the language lacks.
function languageText() {
    const language = state?.language ?? text("language");
    return [["notice.language", language === text("language")], ["notice.problems", state?.set.texts ?? true]]
        .map(([id, isThere]) => isThere ? "" : text(id, { language })).filter(Boolean).join(" ");
}

// --- Where we are ---

function show(name) {
    const changed = name !== shown;
    shown = name;
    if (changed) {
        forgetFocus();
        part("content").scrollTop = 0;
    }
    location.hash = name;
    drawRail();
    draw();
    if (name === "journal") {
        journal.toEnd();
    }
    focusFirst();
    const missing = FILLING[name].some((verb) => !state.screens[KEPT[verb]].document);
    // Only the viewer starts the first diagnosis; the other screens fill themselves.
    if (name !== "start" && missing) {
        fill(FILLING[name]);
    } else {
        refresh();
    }
}

function back() {
    if (isOpen()) {
        close();
    } else if (part("rail").contains(document.activeElement)) {
        show("start");
    } else {
        focusRail();
    }
}

function takeState(news) {
    const first = state === null;
    const renamed = state && state.set.model !== news.set.model;
    state = news;
    since = performance.now() - (state.running?.elapsed_ms ?? 0);
    document.body.dataset.version = String(state.version);
    if (first) {
        show(location.hash.slice(1) in FILLING ? location.hash.slice(1) : "start");
    } else {
        if (renamed) {
            drawRail();
        }
        draw();
    }
    drawNotice();
    if (state.running) {
        return;
    }
    if (pressed) {
        pressed();
        pressed = null;
    } else {
        catchUp();
    }
}

async function begin() {
    await loadTexts();
    document.documentElement.lang = text("language");
    listen(back);
    drawFoot();
    setInterval(drawWork, 250);
    follow({
        state: takeState,
        set: (news) => {
            present = news.present;
            drawNotice();
            if (state) {
                refresh();
            }
        },
        journal: (news) => {
            journal.add(news);
        },
        connected: (news) => {
            connected = news;
            drawNotice();
        },
    });
}

begin();
