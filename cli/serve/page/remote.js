// The page as a remote control sees it: arrows move the focus to the nearest button in that direction, Enter
// presses it, Back (Escape) leaves. No mouse is needed, and none is in the way.

const DIRECTIONS = {
    ArrowUp: { along: "y", sign: -1 },
    ArrowDown: { along: "y", sign: 1 },
    ArrowLeft: { along: "x", sign: -1 },
    ArrowRight: { along: "x", sign: 1 },
};
const BACK = ["Escape", "Backspace", "GoBack", "BrowserBack"];
/// An element beside the straight way is this much farther than one on it.
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

/// How far a candidate is in that direction; Infinity when it is not there.
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

function nearest(from, direction) {
    let best = null;
    let least = Infinity;
    for (const candidate of reachable()) {
        const far = candidate === from ? Infinity : distance(from.getBoundingClientRect(),
            candidate.getBoundingClientRect(), direction);
        if (far < least) {
            least = far;
            best = candidate;
        }
    }
    return best;
}

export function focusOn(target) {
    target.focus({ preventScroll: true });
    target.scrollIntoView({ block: "nearest", inline: "nearest" });
}

let lastOnStage = null;
/// The screen had nothing to press when it came up; the first thing that it gets takes the focus.
let awaited = false;

function move(direction) {
    const from = document.activeElement;
    if (!from || from === document.body) {
        return focusFirst();
    }
    // Into the stage where it was left, into the rail at the screen that is shown.
    if (rail.contains(from) && direction.along === "x" && direction.sign > 0) {
        return focusFirst();
    }
    const target = nearest(from, direction);
    if (target && rail.contains(target) && !rail.contains(from)) {
        return direction.along === "x" ? focusRail() : undefined;
    }
    if (target && rail.contains(from) && !rail.contains(target)) {
        return undefined;
    }
    if (target) {
        focusOn(target);
    }
}

export function focusRail() {
    focusOn(rail.querySelector("[aria-current]") ?? rail.querySelector("[data-key]"));
}

/// Where the focus was on the stage, or what the screen offers first.
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

/// Draws, and puts the focus back: on the same button, or the one that took its place in the list.
export function keepingFocus(draw) {
    const active = document.activeElement;
    const buttons = () => [...content.querySelectorAll("[data-key]")];
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

/// back: what Back does.
export function listen(back) {
    document.addEventListener("focusin", (event) => {
        if (stage.contains(event.target) && event.target.dataset.key) {
            lastOnStage = event.target.dataset.key;
        }
    });
    document.addEventListener("keydown", (event) => {
        if (event.ctrlKey || event.altKey || event.metaKey) {
            return;
        }
        awaited = false;
        // A key that is held down must not answer the question that it has brought up.
        if (event.repeat && (event.key === "Enter" || event.key === " ")) {
            return event.preventDefault();
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

/// A long text takes up and down for itself until its end.
function scrollBy(scroller, { along, sign }) {
    if (along !== "y") {
        return false;
    }
    const before = scroller.scrollTop;
    scroller.scrollTop += sign * scroller.clientHeight * 0.4;
    return scroller.scrollTop !== before;
}
