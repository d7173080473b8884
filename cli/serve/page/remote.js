// The page for a remote control: arrows move the focus to the nearest button in that direction, Enter presses it,
// Back (Escape) leaves. The page needs no mouse, and works with one.

const DIRECTIONS = {
    ArrowUp: { along: "y", sign: -1 },
    ArrowDown: { along: "y", sign: 1 },
    ArrowLeft: { along: "x", sign: -1 },
    ArrowRight: { along: "x", sign: 1 },
};
const BACK = ["Escape", "Backspace", "GoBack", "BrowserBack"];
/// Sideways distance counts this many times as much as distance straight ahead.
const ASIDE = 3;
const TOUCHING = 2;

const overlay = document.getElementById("overlay");
const rail = document.getElementById("rail");
const stage = document.getElementById("stage");
const content = document.getElementById("content");

function reachable() {
    const scope = overlay.hidden ? document.body : overlay;
    return [...scope.querySelectorAll("[data-key]")].filter((candidate) => candidate.offsetParent !== null);
}

function spans(box, along) {
    return along === "x" ? [box.left, box.right, box.top, box.bottom] : [box.top, box.bottom, box.left, box.right];
}

/// How far a candidate lies in that direction; Infinity when it lies in another one.
function distance(from, to, { along, sign }) {
    const [start, end, low, high] = spans(from, along);
    const [otherStart, otherEnd, otherLow, otherHigh] = spans(to, along);
    const gap = sign > 0 ? otherStart - end : start - otherEnd;
    if (gap < -TOUCHING) {
        return Infinity;
    }
    const aside = Math.max(0, otherLow - high, low - otherHigh);
    return Math.max(gap, 0) + ASIDE * aside;
}

function nearest(from, direction, candidates) {
    let best = null;
    let least = Infinity;
    for (const candidate of candidates) {
        const far = candidate === from ? Infinity : distance(from.getBoundingClientRect(),
            candidate.getBoundingClientRect(), direction);
        if (far < least) {
            least = far;
            best = candidate;
        }
    }
    return best;
}

/// On a narrow screen.
function railIsBelow() {
    return rail.getBoundingClientRect().top >= stage.getBoundingClientRect().bottom - TOUCHING;
}

export function focusOn(target) {
    target.focus({ preventScroll: true });
    target.scrollIntoView({ block: "nearest", inline: "nearest" });
}

/// Call it when the screen's content has got less room.
export function keepFocusInSight() {
    if (content.contains(document.activeElement)) {
        focusOn(document.activeElement);
    }
}

let lastOnStage = null;
/// True when the screen had no button when it was shown; its first button then takes the focus.
let awaited = false;

function move(direction) {
    const from = document.activeElement;
    if (!from || from === document.body) {
        focusFirst();
        return awaited ? focusRail() : undefined;
    }
    // The focus enters the stage at its last place, and the rail at the screen that is shown.
    const across = railIsBelow() ? DIRECTIONS.ArrowUp : DIRECTIONS.ArrowRight;
    if (rail.contains(from) && direction === across) {
        return focusFirst();
    }
    // What stands further down on a narrow screen lies behind the rail until it is scrolled to.
    const around = railIsBelow() && stage.contains(from) ? reachable().filter((other) => !rail.contains(other)) : [];
    const target = nearest(from, direction, around) ?? nearest(from, direction, reachable());
    if (target && rail.contains(target) && !rail.contains(from)) {
        return direction.along === across.along ? focusRail() : undefined;
    }
    if (target && rail.contains(from) && !rail.contains(target)) {
        return undefined;
    }
    if (target) {
        focusOn(target);
    }
}

export function focusRail() {
    awaited = false;
    focusOn(rail.querySelector("[aria-current]") ?? rail.querySelector("[data-key]"));
}

/// The button that last had the focus on the stage, or the first one of the screen.
export function focusFirst() {
    const candidates = reachable().filter((candidate) => !rail.contains(candidate));
    const target = candidates.find((candidate) => candidate.dataset.key === lastOnStage) ??
        candidates.find((candidate) => candidate.dataset.first !== undefined) ?? candidates[0];
    awaited = !target;
    if (target) {
        focusOn(target);
    }
}

export function forgetFocus() {
    lastOnStage = null;
}

/// Draws and puts the focus back: on the same button, or on the one that took its place in the list.
export function keepingFocus(draw) {
    const active = document.activeElement;
    const buttons = () => [...content.querySelectorAll("[data-key]:not(.more)")];
    const inside = overlay.hidden && stage.contains(active);
    const place = buttons().indexOf(active);
    draw();
    if (!inside) {
        if (overlay.hidden && (awaited || active === document.body)) {
            focusFirst();
        }
        return;
    }
    const after = buttons();
    const same = [...stage.querySelectorAll("[data-key]")].find((other) => other.dataset.key === active.dataset.key);
    if (same) {
        focusOn(same);
    } else if (place > 0 && after.length > 0) {
        focusOn(after[Math.min(place, after.length - 1)]);
    } else {
        focusFirst();
    }
}

/// back: the function that Back calls.
export function listen(back) {
    document.addEventListener("focusin", (event) => {
        // The button of a running call goes away with it.
        if (stage.contains(event.target) && event.target.dataset.key && !event.target.closest("#work")) {
            lastOnStage = event.target.dataset.key;
        }
    });
    document.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.altKey || event.metaKey) {
            return;
        }
        awaited = false;
        // A key that is held down must not answer the question that it opened.
        if (event.repeat && (event.key === "Enter" || event.key === " ")) {
            return event.preventDefault();
        }
        if (event.key === "Tab" && !overlay.hidden) {
            keepInside(event);
        }
        const direction = DIRECTIONS[event.key];
        if (direction) {
            const scroller = document.activeElement?.closest("[data-scroller]");
            if (!scroller || !scrollBy(scroller, direction)) {
                move(direction);
            }
            event.preventDefault();
        } else if (BACK.includes(event.key)) {
            event.preventDefault();
            back();
        }
    });
}

/// The tab key goes round in a dialog; the page behind it is inert, and the browser's own buttons are not part of it.
function keepInside(event) {
    const inside = reachable();
    const place = inside.indexOf(document.activeElement) + (event.shiftKey ? -1 : 1);
    if (place < 0 || place >= inside.length) {
        event.preventDefault();
        focusOn(inside.at(place < 0 ? -1 : 0));
    }
}

/// A long text scrolls with up and down until its end; only then do the keys move the focus.
function scrollBy(scroller, { along, sign }) {
    if (along !== "y") {
        return false;
    }
    const before = scroller.scrollTop;
    scroller.scrollTop += sign * scroller.clientHeight * 0.4;
    return scroller.scrollTop !== before;
}
