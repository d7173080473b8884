// Draws the screens from the server's state. The page decides nothing: the problems and the figures come from the
// library.

import { button, countText, element, icon, sizeText, text } from "./element.js";
import { isLeft, reasonOf } from "./overlays.js";

/// An icon with fewer pixels is only a placeholder.
const SMALLEST_ICON = 16;
const JOURNAL_LINES = 500;

export function paragraph(className, words) {
    return element("p", className, words);
}

/// A state that fills the screen: nothing found, failed, not asked yet.
export function fullState(kind, picture, title, words, action) {
    const made = element("div", `full ${kind}`, element("div", "full-picture", icon(picture)),
        element("h2", "", title), words ? paragraph("", words) : null, action ?? null);
    made.dataset.state = kind;
    return made;
}

/// Cards are a list; each is a button, or several.
function cardList(cards) {
    return element("ul", "cards", ...cards.map((card) => element("li", "", ...[card].flat())));
}

/// Above what was known before a check failed.
export function failureBanner(title, reasons, again) {
    const made = element("div", "banner", icon("failure"),
        element("div", "", element("strong", "", title),
            ...reasons.map((reason) => paragraph("reason", reason)), paragraph("", text("failure.known"))),
        button("retry", "pill strong", again, text("failure.again")));
    made.lastChild.dataset.first = "";
    made.dataset.state = "failure";
    made.setAttribute("role", "alert");
    return made;
}

export function firstButton(key, press, label) {
    const made = button(key, "pill strong big", press, label);
    made.dataset.first = "";
    return made;
}

/// The rows of a list, one group for each issue: its solutions are applied together.
export function issuesOf(rows) {
    const issues = new Map();
    for (const row of rows) {
        if (!issues.has(row.issue_code)) {
            issues.set(row.issue_code, []);
        }
        issues.get(row.issue_code).push(row);
    }
    return [...issues.values()];
}

function problemCard(rows, place, { fix, explain, language }, running) {
    const [first] = rows;
    const busy = running?.verb === "fix" && running.argument === first.issue_code;
    const solutions = rows.map((row) => element("span", "solution", row.texts.solution));
    const made = button(`issue-${first.issue_code}`, `card problem${busy ? " busy" : ""}`, () => fix(rows),
        element("span", "problem-mark", icon("problem")),
        element("span", "problem-text", element("strong", "", first.texts.issue), ...solutions),
        element("span", "problem-since", element("small", "", text("problems.since")),
            first.last_time.slice(0, 10)),
        element("span", "pill-look", busy ? element("span", "spinner") : null,
            busy ? text("problems.fixing") : first.texts.button1 || text("problems.fix")));
    made.dataset.issue = first.issue_code;
    made.lang = language;
    if (place === 0) {
        made.dataset.first = "";
    }
    const more = button(`more-${first.issue_code}`, "card more", () => explain(rows), icon("help"));
    more.setAttribute("aria-label", text("problems.more", { title: first.texts.issue }));
    return [made, more];
}

/// The screens that list problems. names: the ids of the texts; actions: {again, fix, explain, guide}; those without
/// guide have no way to the guided diagnosis.
function problemScreen(names, screen, state, actions) {
    const again = button("again", "pill", actions.again, icon("refresh"), text(`${names}.again`));
    const guide = actions.guide ? button("guide", "pill", actions.guide, icon("guide"), text("guide.title")) : null;
    const issues = screen.document ? issuesOf(screen.document.problems) : [];
    const head = { title: text(`${names}.title`), actions: screen.document && !screen.error ? [again, guide] : [guide] };
    head.actions = head.actions.filter(Boolean);
    const title = isLeft(screen) ? text("left.done") : text("failure.short");
    if (screen.error && issues.length === 0) {
        head.detail = title;
        return { head, body: [fullState("failure", "failure", isLeft(screen) ? title : text(`${names}.failed`), reasonOf(screen),
            firstButton("retry", actions.again, text("failure.again")))] };
    }
    if (!screen.document) {
        head.detail = text(`${names}.intro`);
        return { head, body: [fullState("unasked", "search", text(`${names}.unasked`), "",
            firstButton("check", actions.again, text(`${names}.check`)))] };
    }
    if (issues.length === 0) {
        head.detail = text("problems.checked", { time: screen.at });
        return { head, body: [fullState("empty", "ok", text(`${names}.none`), text(`${names}.none.detail`),
            firstButton("recheck", actions.again, text(`${names}.again`)))] };
    }
    head.detail = `${countText(`${names}.found`, issues.length)} · ${text("problems.checked", { time: screen.at })}`;
    const language = state.set.texts ? state.language : "";
    const list = cardList(issues.map((rows, place) =>
        problemCard(rows, place, { ...actions, language }, state.running)));
    return { head, body: screen.error ? [failureBanner(title, [reasonOf(screen)], actions.again), list] : [list] };
}

export function startScreen(state, actions) {
    return problemScreen("start", state.screens.start, state, actions);
}

/// What the guided diagnosis found, and the file in which the guide application reads it.
export function guideScreen(state, actions) {
    const screen = state.screens.guide;
    const { head, body } = problemScreen("guide", screen, state, actions);
    const file = screen.document ? [paragraph("note", text("guide.file", { file: screen.document.file }))] : [];
    return { head, body: [...body, ...file] };
}

export function homeScreen(state, actions) {
    return problemScreen("home", state.screens.home, state, actions);
}

/// Why an issue is on the list: each condition in the library's order, and what was seen. The words are the command's.
export function reasonList({ issues }) {
    const tests = issues.flatMap((issue) => issue.tests);
    return explanation(tests.map(({ test, saw, passed }) =>
        element("li", passed ? "passed" : "failed", icon(passed ? "ok" : "failure"),
            element("span", "", element("strong", "", test), ` · ${saw}`))), "explain.gone");
}

/// What a repair would do, step by step.
export function stepList({ steps }) {
    return explanation(steps.map((step) => element("li", "", element("span", "", step.text))), "explain.nothing");
}

function explanation(lines, none) {
    const list = element("ol", "explained", ...lines);
    list.lang = "en";
    return lines.length > 0 ? list : paragraph("", text(none));
}

function letterTile(title, id) {
    let hash = 7;
    for (const letter of id) {
        hash = (hash * 31 + letter.codePointAt(0)) % 360;
    }
    const tile = element("span", "app-icon letter", [...title][0]?.toUpperCase() ?? "?");
    tile.style.setProperty("--hue", String(hash));
    return tile;
}

/// The application's picture, or its first letter while there is none.
export function appIcon(app) {
    const holder = element("span", "app-icon-holder", letterTile(app.title, app.app_id));
    if (app.has_icon) {
        const picture = element("img", "app-icon");
        picture.alt = "";
        picture.addEventListener("load", () => {
            if (picture.naturalWidth >= SMALLEST_ICON) {
                holder.replaceChildren(picture);
            }
        });
        picture.src = `api/icon?app=${encodeURIComponent(app.app_id)}`;
    }
    return holder;
}

/// The contents of the partitions as parts of one bar.
export function partsOf(storage, apps) {
    const used = storage.opt.used;
    const installed = Math.min(used, apps.reduce((sum, app) => sum + app.total_size, 0));
    const parts = [
        { name: "system", size: storage.flash.system_used },
        { name: "apps", size: installed },
        { name: "other", size: used - installed },
        { name: "free", size: storage.opt.remaining },
    ];
    return parts.filter((part) => part.size > 0);
}

function storageBar(storage, apps) {
    const parts = partsOf(storage, apps);
    const whole = parts.reduce((sum, part) => sum + part.size, 0);
    const bar = element("div", "bar", ...parts.map((part) => {
        const made = element("div", `bar-part ${part.name}`);
        made.dataset.part = part.name;
        made.style.flexGrow = String(part.size / whole);
        return made;
    }));
    bar.setAttribute("role", "img");
    bar.setAttribute("aria-label", parts.map((part) =>
        `${text(`storage.${part.name}`)} ${sizeText(part.size)}`).join(", "));
    const legend = element("dl", "legend", ...parts.map((part) => element("div", `legend-part ${part.name}`,
        element("dt", "", text(`storage.${part.name}`)), element("dd", "", sizeText(part.size)))));
    const free = element("p", "bar-title", element("strong", "", sizeText(storage.opt.remaining)),
        text("storage.free.of", { size: sizeText(whole) }));
    return element("div", "panel", free, bar, legend);
}

/// The storage before and after the last call that made room, as bars of one scale.
function comparison({ verb, argument, at, before, after }) {
    const freed = before.opt.used - after.opt.used;
    const most = Math.max(before.opt.used, after.opt.used, 1);
    const rows = [["before", before.opt.used], ["after", after.opt.used], ["freed", Math.max(0, freed)]];
    const list = element("dl", "compare", ...rows.map(([name, size]) => {
        const track = element("span", "compare-track", element("span", `compare-part ${name}`));
        track.firstChild.style.width = `${100 * size / most}%`;
        track.dataset.compare = name;
        track.setAttribute("aria-hidden", "true");
        return element("div", "", element("dt", "", text(`storage.${name}`)),
            element("dd", "", track, element("span", "", sizeText(size))));
    }));
    const what = argument ? `${text(`app.${verb}`)} (${argument})` : text(`storage.${verb}`);
    return [element("h2", "section", text("storage.compared"), element("small", "", `${what} · ${at}`)),
        element("div", "panel", list, freed > 0 ? null : paragraph("", text("storage.nothing-freed")))];
}

function appRow(app, largest, choose, place) {
    const share = element("span", "share");
    share.append(element("span", "share-part"));
    share.firstChild.style.width = `${largest > 0 ? Math.max(1, 100 * app.total_size / largest) : 0}%`;
    const made = button(`app-${app.app_id}`, "card app", () => choose(app),
        appIcon(app),
        element("span", "app-text", element("strong", "", app.title), element("small", "", app.app_id)),
        share, element("span", "app-size", sizeText(app.total_size)));
    if (place === 0) {
        made.dataset.app = "largest";
    }
    return made;
}

function appList(screen, choose) {
    if (screen.error && !screen.document) {
        return fullState("failure", "failure", text("storage.apps.failed"), "");
    }
    if (!screen.document) {
        return fullState("loading", "search", text("storage.apps.loading"), "");
    }
    const { apps } = screen.document;
    if (apps.length === 0) {
        return fullState("empty", "storage", text("storage.apps.none"), "");
    }
    const largest = apps[0].total_size;
    return cardList(apps.map((app, place) => appRow(app, largest, choose, place)));
}

/// actions: {again, clean, boost, optimize, app}
export function storageScreen(state, actions) {
    const { storage, apps } = state.screens;
    const failed = [storage, apps].filter(({ error }) => error);
    const reasons = [...new Set(failed.map(reasonOf))];
    const title = failed.some(isLeft) ? text("left.done") : text("failure.short");
    const head = { title: text("storage.title"), detail: text("storage.intro"), actions: reasons.length > 0 ? [] : [
        button("again", "pill", actions.again, icon("refresh"), text("storage.again"))] };
    if (storage.error && !storage.document) {
        return { head, body: [fullState("failure", "failure", isLeft(storage) ? title : text("storage.failed"), reasonOf(storage),
            firstButton("retry", actions.again, text("failure.again")))] };
    }
    if (!storage.document) {
        return { head: { ...head, actions: [] }, body: [fullState("loading", "storage", text("storage.loading"), "")] };
    }
    const tools = [["clean", "clean"], ["boost", "boost"], ["optimize", "care"]].map(([name, picture], place) => {
        const made = button(name, "tool", actions[name], icon(picture),
            element("span", "", element("strong", "", text(`storage.${name}`)),
                element("small", "", text(`storage.${name}.detail`))));
        if (place === 0) {
            made.dataset.first = "";
        }
        return made;
    });
    const listed = apps.document?.apps ?? [];
    head.detail = text("problems.checked", { time: storage.at });
    const banner = reasons.length > 0 ? [failureBanner(title, reasons, actions.again)] : [];
    const compared = state.freed?.after ? comparison(state.freed) : [];
    return { head, body: [...banner, storageBar(storage.document, listed), ...compared, element("div", "tools", ...tools),
        element("h2", "section", text("storage.apps"), listed.length > 0 ? element("small", "",
            countText("storage.apps.count", listed.length)) : null), appList(apps, actions.app)] };
}

/// One entry of the journal: the request in one word, and its members as [name, value].
function membersOf(entry) {
    if (entry.kind === "log") {
        return { what: entry.function ?? "", members: [["", entry.message ?? ""]] };
    }
    const told = ["time", "kind", "op"];
    const words = (value) => typeof value === "string" ? value : JSON.stringify(value);
    const members = Object.entries(entry).filter(([name]) => !told.includes(name));
    return { what: entry.op ?? "", members: members.map(([name, value]) => [name, words(value)]) };
}

function entryParts(entry) {
    const { what, members } = membersOf(entry);
    const parts = members.map(([name, value]) => element("span", "member",
        name ? element("small", "", `${name} `) : null, value));
    return what ? [element("strong", "member", what), ...parts] : parts;
}

function journalLine(entry) {
    const kind = String(entry.kind ?? "");
    const warns = kind === "damaged" || (kind === "log" && entry.priority >= 5);
    const made = element("li", `line kind-${/^[a-z]+$/.test(kind) ? kind : "other"}${warns ? " warns" : ""}`,
        element("time", "", String(entry.time ?? "").slice(11, 23)), element("span", "kind", kind),
        element("span", "words", ...entryParts(entry)));
    return made;
}

/// The journal keeps its lines between drawings and shows its end unless somebody has scrolled up.
export class JournalScreen {
    constructor() {
        this.filter = "requests";
        this.entries = [];
        this.list = element("ol", "lines");
        this.none = element("p", "none", "");
        this.box = element("div", "journal", this.none, this.list);
        this.box.tabIndex = 0;
        this.box.setAttribute("role", "log");
        this.box.dataset.key = "journal";
        this.box.dataset.scroller = "";
    }

    shows(entry) {
        return this.filter === "all" || (entry.kind === "log") === (this.filter === "log");
    }

    add({ fresh, entries }) {
        if (fresh) {
            this.entries = [];
            this.list.replaceChildren();
        }
        this.entries.push(...entries);
        this.entries.splice(0, Math.max(0, this.entries.length - 4 * JOURNAL_LINES));
        this.append(entries);
    }

    append(entries) {
        const atEnd = this.box.scrollHeight - this.box.scrollTop - this.box.clientHeight < 40;
        this.list.append(...entries.filter((entry) => this.shows(entry)).slice(-JOURNAL_LINES).map(journalLine));
        while (this.list.childElementCount > JOURNAL_LINES) {
            this.list.firstChild.remove();
        }
        this.none.hidden = this.list.childElementCount > 0;
        if (atEnd) {
            this.toEnd();
        }
    }

    toEnd() {
        this.box.scrollTop = this.box.scrollHeight;
    }

    choose(filter) {
        this.filter = filter;
        this.list.replaceChildren();
        this.append(this.entries);
        this.toEnd();
    }

    draw(redraw) {
        const filters = ["requests", "log", "all"].map((name) => {
            const made = button(`filter-${name}`, "pill", () => {
                this.choose(name);
                redraw();
            }, text(`journal.${name}`));
            made.setAttribute("aria-pressed", String(this.filter === name));
            if (this.filter === name) {
                made.dataset.first = "";
            }
            return made;
        });
        this.none.textContent = text("journal.none");
        this.box.setAttribute("aria-label", text("journal.title"));
        return { head: { title: text("journal.title"), detail: text("journal.intro"), actions: filters },
            body: [this.box] };
    }
}
