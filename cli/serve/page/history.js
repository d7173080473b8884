// The history: what was found and repaired, the newest first, and the same as a small timeline. The server asks the
// command, which reads the set's journal.

import { button, countText, element, icon, text } from "./element.js";
import { isLeft, reasonOf } from "./overlays.js";
import { failureBanner, firstButton, fullState, paragraph } from "./screens.js";

/// So many events are shown.
const SHOWN = 60;

const signOf = ({ what, failure, issues }) =>
    failure ? "failure" : what === "repair" || issues.length === 0 ? "ok" : "problem";

function titleOf({ what, failure, issues }) {
    if (what === "repair") {
        return text(failure ? "history.repair.failed" : "history.repair.done");
    }
    const found = issues.length === 0 ? text("start.none") : countText("start.found", issues.length);
    return `${text(`history.${what}`)}: ${failure ? text("history.broken-off") : found}`;
}

/// One column an event, the oldest at the left: a diagnosis is as high as it found problems, a repair is a dot.
function timeline(events) {
    const most = Math.max(1, ...events.map(({ what, issues }) => what === "repair" ? 0 : issues.length));
    const made = element("div", "timeline", ...events.map((event) => {
        const mark = element("span", `mark ${event.what === "repair" ? "dot" : "bar"} ${signOf(event)}`);
        if (event.what !== "repair") {
            mark.style.height = `${Math.max(6, 100 * event.issues.length / most)}%`;
        }
        return mark;
    }));
    const repairs = events.filter(({ what, failure }) => what === "repair" && !failure).length;
    const checks = events.filter(({ what }) => what !== "repair").length;
    made.setAttribute("role", "img");
    made.setAttribute("aria-label", text("history.timeline", { checks, repairs }));
    return element("div", "panel", made, paragraph("timeline-text", text("history.timeline", { checks, repairs })));
}

function eventItem(event, language) {
    const issues = event.issues.map(({ issue_code: code, title }) => title || code);
    const list = element("span", "event-issues", issues.join(" · "));
    list.lang = language;
    const reason = event.failure ? element("span", "reason", event.failure) : null;
    if (reason) {
        reason.lang = "en";
    }
    const made = element("li", `event ${signOf(event)}`, icon(signOf(event)),
        element("div", "", element("strong", "", titleOf(event)), list, reason),
        element("time", "", event.time.slice(0, 19).replace("T", " ")));
    made.dataset.event = event.what;
    return made;
}

/// actions: {again}
export function historyScreen(state, actions) {
    const screen = state.screens.history;
    const head = { title: text("history.title"), detail: text("history.intro") };
    const title = isLeft(screen) ? text("left.done") : text("failure.short");
    if (!screen.document) {
        return { head, body: [screen.error
            ? fullState("failure", "failure", title, reasonOf(screen), firstButton("retry", actions.again, text("failure.again")))
            : fullState("loading", "history", text("work.history"), "")] };
    }
    const banner = screen.error ? [failureBanner(title, [reasonOf(screen)], actions.again)] : [];
    const events = screen.document.history.slice(-SHOWN);
    if (events.length === 0) {
        return { head, body: [...banner, fullState("empty", "history", text("history.none"), text("history.none.detail"),
            firstButton("recheck", actions.again, text("history.again")))] };
    }
    head.actions = screen.error ? [] : [button("again", "pill", actions.again, icon("refresh"), text("history.again"))];
    const language = state.set.texts ? state.language : "";
    const list = element("ol", "events", ...[...events].reverse().map((event) => eventItem(event, language)));
    const box = element("div", "events-box", list);
    box.tabIndex = 0;
    box.dataset.key = "events";
    box.dataset.scroller = "";
    box.dataset.first = "";
    box.setAttribute("role", "region");
    box.setAttribute("aria-label", text("history.title"));
    return { head, body: [...banner, timeline(events), box] };
}
