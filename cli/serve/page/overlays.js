// Everything that is shown over the screens: questions, one application's card, short messages.

import { button, element, icon, text } from "./element.js";
import { focusFirst, focusOn, keepFocusInSight } from "./remote.js";

const overlay = document.getElementById("overlay");
const toasts = document.getElementById("toasts");
const stage = document.getElementById("stage");
const rail = document.getElementById("rail");
const TOAST_MS = 5000;

let closing = null;
let before = null;

export function isOpen() {
    return !overlay.hidden;
}

/// body: elements; buttons: [{key, label, press, className, first}]; the one with first gets the focus, or the first
/// of them. closed: called at its end.
export function open(title, body, buttons, closed) {
    if (!isOpen()) {
        before = document.activeElement;
    }
    closing = closed ?? null;
    const row = element("div", "dialog-buttons", ...buttons.map(({ key, label, press, className }) =>
        button(key, `pill ${className ?? ""}`, press, label)));
    const dialog = element("div", "dialog", element("h2", "", title), ...body, row);
    dialog.setAttribute("role", "dialog");
    dialog.setAttribute("aria-modal", "true");
    dialog.setAttribute("aria-label", title);
    overlay.replaceChildren(dialog);
    overlay.hidden = false;
    stage.inert = true;
    rail.inert = true;
    focusOn(row.children[Math.max(0, buttons.findIndex(({ first }) => first))]);
}

export function close() {
    if (!isOpen()) {
        return;
    }
    overlay.hidden = true;
    overlay.replaceChildren();
    stage.inert = false;
    rail.inert = false;
    if (before?.isConnected) {
        focusOn(before);
    } else {
        focusFirst();
    }
    const tell = closing;
    closing = null;
    tell?.();
}

/// Asks a question; true when the answer is yes. careful: yes destroys something, so no has the focus.
export function ask(title, body, yes, no, careful = false) {
    return new Promise((answer) => {
        const settle = (value) => () => {
            answer(value);
            close();
        };
        open(title, body, [
            { key: "yes", label: yes, press: settle(true), className: "strong" },
            { key: "no", label: no, press: settle(false), first: careful },
        ], () => answer(false));
    });
}

/// kind: "ok", "busy" or "failure"; reason may be empty.
export function toast(kind, title, reason) {
    const made = element("div", `toast ${kind}`, icon(kind === "busy" ? "refresh" : kind),
        element("div", "", element("strong", "", title), reason ? element("span", "", reason) : null));
    toasts.replaceChildren(made);
    keepFocusInSight();
    setTimeout(() => made.remove(), kind === "failure" ? 2 * TOAST_MS : TOAST_MS);
}

/// Whether the viewer has given the call up.
export function isLeft(document) {
    return document.error?.kind === "left";
}

/// The reason in a failed answer, for people.
export function reasonOf(document) {
    if (isLeft(document)) {
        return text("left.detail");
    }
    return document.error?.message ?? text("failure.unknown");
}
