// What everybody needs who does not see the page, sees it badly, or has no mouse: the checks of the usual tools for
// accessibility, as far as they apply to a page of buttons and lists. arguments[0]: names of the groups to run.
// Returns the findings as sentences; none when nothing is wrong.

const groups = arguments[0];
const findings = [];
const all = (selector, root = document) => [...root.querySelectorAll(selector)];
const tell = (element, what) => findings.push(`${what}: ${element.outerHTML.slice(0, 160)}`);
const demand = (selector, what, holds) => all(selector).filter((found) => !holds(found)).forEach((found) => tell(found, what));

const isShown = (element) => element.checkVisibility({ visibilityProperty: true }) && !element.closest("[inert]");
const isTold = (element) => isShown(element) && !element.closest('[aria-hidden="true"]');
const CONTROLS = "button, a[href], input, select, textarea, summary, [tabindex]";
const controls = () => all(CONTROLS).filter((found) => isShown(found) && !found.disabled);

/// The text that a screen reader says for it.
function nameOf(element) {
    const ids = element.getAttribute("aria-labelledby");
    if (ids) {
        return ids.split(/\s+/).map((id) => document.getElementById(id)?.textContent ?? "").join(" ").trim();
    }
    return (element.getAttribute("aria-label") || element.getAttribute("alt") || wordsIn(element) ||
        element.title || "").trim();
}

function wordsIn(element) {
    return [...element.childNodes].map((node) => {
        if (node.nodeType === Node.TEXT_NODE) {
            return node.data;
        }
        const isHidden = node.nodeType !== Node.ELEMENT_NODE || node.getAttribute("aria-hidden") === "true";
        return isHidden ? "" : node.getAttribute("aria-label") || node.getAttribute("alt") || wordsIn(node);
    }).join(" ").replace(/\s+/g, " ").trim();
}

function checkDocument() {
    const isLanguage = (found) => /^([a-z]{2,3}(-[A-Za-z0-9]{2,8})*)?$/.test(found.lang);
    if (!/^[a-z]{2,3}/.test(document.documentElement.lang) || !document.title.trim()) {
        findings.push("the page has no language or no title");
    }
    demand("[lang]", "is no language", isLanguage);
    demand('meta[name="viewport"]', "forbids to zoom", (found) => !/user-scalable|maximum-scale/.test(found.content));
    const ids = all("[id]").map(({ id }) => id);
    ids.filter((id, place) => ids.indexOf(id) !== place).forEach((id) => findings.push(`two elements have the id ${id}`));
}

function checkLandmarks() {
    if (all("main").length !== 1) {
        findings.push("there must be one main");
    }
    demand("nav", "a navigation without a name", nameOf);
    const isInside = (found) => found.closest("main, nav, [role=dialog]");
    for (const found of all("body *").filter((each) => isTold(each) && wordsIn(each) && !isInside(each))) {
        if (!all("main, nav, [role=dialog]", found).length) {
            tell(found, "stands in no landmark");
        }
    }
    const dialog = document.querySelector("[role=dialog]");
    if (!dialog && all("h1").filter(isTold).length !== 1) {
        findings.push("there must be one h1");
    }
    let before = dialog ? 1 : 0;
    for (const found of all("h1, h2, h3, h4, h5, h6").filter(isTold)) {
        const level = Number(found.tagName[1]);
        if (level > before + 1 || !wordsIn(found)) {
            tell(found, "a heading that is empty or leaves out a level");
        }
        before = level;
    }
}

function checkLists() {
    const hasOnly = (tags) => (found) => [...found.children].every(({ tagName }) => tags.includes(tagName));
    demand("ul, ol", "a list holds something else than items", hasOnly(["LI"]));
    demand("li", "an item outside a list", (found) => found.parentElement.matches("ul, ol"));
    demand("dl", "a list of terms holds something else", hasOnly(["DT", "DD", "DIV"]));
    demand("dl > div", "a group without term and value", (found) =>
        [...found.children].map(({ tagName }) => tagName).join() === "DT,DD");
    demand("dt, dd", "a term outside a list", (found) => found.closest("dl"));
    const isPhrase = (found) => !found.querySelector("p, div, ul, ol, dl, h1, h2, h3, h4, h5, h6, section");
    demand("button", "a button holds more than words", isPhrase);
}

function checkNames() {
    const NATIVE = "button, a[href], input, select, textarea, summary";
    for (const found of controls()) {
        if (!nameOf(found)) {
            tell(found, "a control without a name");
        }
        if (!found.matches(NATIVE) && !found.getAttribute("role")) {
            tell(found, "takes the focus and has no role");
        }
        if (found.tabIndex > 0) {
            tell(found, "changes the order of the tab key");
        }
        if (all(CONTROLS, found).length) {
            tell(found, "a control inside a control");
        }
        const label = (found.getAttribute("aria-label") ?? "").toLowerCase();
        if (label && found.matches(NATIVE) && !label.includes(wordsIn(found).toLowerCase())) {
            tell(found, "is called otherwise than it is labelled");
        }
    }
    demand("img", "a picture without alt", (found) => found.hasAttribute("alt"));
    demand("svg", "a drawing that is neither named nor hidden", (found) =>
        found.getAttribute("aria-hidden") === "true" || (found.getAttribute("role") === "img" && nameOf(found)));
    demand('[role="img"], [role="progressbar"], [role="region"], [role="log"], [role="dialog"]', "has no name", nameOf);
}

const ROLES = ["alert", "dialog", "group", "img", "list", "listitem", "log", "none", "progressbar", "region", "status"];
const TRUTH = ["true", "false"];
const ARIA = {
    "aria-atomic": TRUTH, "aria-current": ["page"], "aria-hidden": TRUTH, "aria-label": null, "aria-labelledby": null,
    "aria-live": ["polite", "assertive", "off"], "aria-modal": TRUTH, "aria-pressed": TRUTH, "aria-valuemax": null,
    "aria-valuemin": null, "aria-valuenow": null, "aria-valuetext": null,
};

function checkAria() {
    for (const found of all("*")) {
        for (const { name, value } of [...found.attributes].filter((each) => each.name.startsWith("aria-"))) {
            if (!(name in ARIA) || (ARIA[name] ? !ARIA[name].includes(value) : !value.trim())) {
                tell(found, `${name} is not right`);
            }
        }
    }
    demand("[role]", "is no known role", (found) => ROLES.includes(found.getAttribute("role")));
    demand("[aria-label]", "nobody reads the name of such an element", (found) =>
        found.hasAttribute("role") || found.matches("nav, button, a, section, main, ul, ol"));
    demand("[aria-labelledby]", "is named by nothing", nameOf);
    demand("[aria-pressed]", "only a button is pressed", (found) => found.tagName === "BUTTON");
    demand('[aria-hidden="true"]', "hides a control", (found) => !all(CONTROLS, found).some(isShown));
    demand('[role="progressbar"]', "tells no progress", (found) => {
        const now = found.getAttribute("aria-valuenow");
        return now === null || (Number(now) >= 0 && Number(now) <= Number(found.getAttribute("aria-valuemax") ?? 100));
    });
}

function checkDialog() {
    const dialog = document.querySelector("[role=dialog]");
    if (!dialog) {
        return;
    }
    if (dialog.getAttribute("aria-modal") !== "true" || !dialog.contains(document.activeElement)) {
        tell(dialog, "a dialog that is not modal or lacks the focus");
    }
    controls().filter((found) => !dialog.contains(found)).forEach((found) => tell(found, "can be reached behind a dialog"));
}

// --- Room ---

function checkRoom() {
    for (const found of controls()) {
        const { width, height } = found.getBoundingClientRect();
        if (width < 24 || height < 24) {
            tell(found, `is too small to hit, ${width}x${height}`);
        }
    }
    const isLong = (found) => /auto|scroll/.test(getComputedStyle(found).overflowY) && found.scrollHeight > found.clientHeight + 1;
    all("body *").filter((found) => isShown(found) && isLong(found)).forEach((found) => {
        if (found.tabIndex < 0 && !all(CONTROLS, found).some(isShown)) {
            tell(found, "the keyboard cannot scroll");
        }
    });
    const isOut = ({ left, right, width }) => width > 0 && (left < 0 || right > innerWidth + 1);
    all("[data-key], h1, h2, p, li, dd").filter((found) => isShown(found) && isOut(found.getBoundingClientRect()))
        .forEach((found) => tell(found, "leaves the screen"));
    all("[data-key]").filter((found) => isShown(found) && !found.matches(".app, [data-scroller]") &&
        found.scrollWidth > found.clientWidth + 1).forEach((found) => tell(found, "its words do not fit"));
    if (document.documentElement.scrollWidth > innerWidth) {
        findings.push("the page is wider than the screen");
    }
    // On a phone the words below a picture may be smaller.
    const isInHand = innerWidth <= 720 || innerHeight >= innerWidth;
    const leastFor = (holder) => !isInHand ? Math.min(innerHeight / 45, innerWidth / 80) :
        holder.closest(".rail") ? 12 : 16;
    words(document.body).filter(({ holder }) => parseFloat(getComputedStyle(holder).fontSize) < leastFor(holder) - 0.01)
        .forEach(({ holder }) => tell(holder, "its letters are too small"));
}

// --- Colours ---

let known = new Map();  // until the focus moves
const parts = (colour) => colour.match(/[\d.]+/g).map(Number);
const over = ([r, g, b, a = 1], below) => [r, g, b].map((part, place) => a * part + (1 - a) * below[place]);

function light(colour) {
    const [r, g, b] = colour.map((part) => part / 255).map((part) =>
        part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}

function contrast(one, other) {
    const [dark, bright] = [light(one), light(other)].sort((a, b) => a - b);
    return (bright + 0.05) / (dark + 0.05);
}

/// The colours that may be behind the content of an element: several where it has a gradient.
function grounds(element) {
    if (!element) {
        return [[255, 255, 255]];
    }
    if (!known.has(element)) {
        known.set(element, groundsOf(element));
    }
    return known.get(element);
}

function groundsOf(element) {
    const style = getComputedStyle(element);
    const plain = grounds(element.parentElement).map((below) => over(parts(style.backgroundColor), below));
    const gradient = style.backgroundImage.match(/rgba?\([^)]*\)/g) ?? [];
    const coloured = gradient.flatMap((colour) => plain.map((below) => over(parts(colour), below)));
    const isWhole = gradient.length > 0 && gradient.every((colour) => (parts(colour)[3] ?? 1) === 1);
    return isWhole ? coloured : [...plain, ...coloured];
}

/// How much of an element its ancestors let through.
function opacity(element) {
    return element ? Number(getComputedStyle(element).opacity) * opacity(element.parentElement) : 1;
}

function words(root) {
    const found = [];
    const walker = document.createTreeWalker(root, NodeFilter.SHOW_TEXT);
    for (let node = walker.nextNode(); node; node = walker.nextNode()) {
        const holder = node.parentElement;
        if (node.data.trim() && isShown(holder)) {
            found.push({ words: node.data, holder });
        }
    }
    return found;
}

function checkContrast(root) {
    const rem = parseFloat(getComputedStyle(document.documentElement).fontSize);
    for (const { words: said, holder } of words(root)) {
        const style = getComputedStyle(holder);
        // Of a size that does not depend on the television: 16 pixels are one rem.
        const size = parseFloat(style.fontSize) / rem * 16;
        const least = size >= 24 || (size >= 18.66 && Number(style.fontWeight) >= 700) ? 3 : 4.5;
        const [r, g, b, a = 1] = parts(style.color);
        const ratio = Math.min(...grounds(holder).map((below) =>
            contrast(over([r, g, b, a * opacity(holder)], below), below)));
        if (ratio < least) {
            findings.push(`contrast ${ratio.toFixed(2)}, not ${least}: ${said.trim()} (${holder.className})`);
        }
    }
}

/// Every control shows that it has the focus, in a colour that stands out; its words may then have other colours.
function checkFocus() {
    const before = document.activeElement;
    for (const found of controls()) {
        found.focus({ preventScroll: true });
        known = new Map();
        const style = getComputedStyle(found);
        const isSeen = style.outlineStyle !== "none" && parseFloat(style.outlineWidth) >= 2 &&
            Math.min(...grounds(found.parentElement).map((below) => contrast(parts(style.outlineColor), below))) >= 3;
        if (document.activeElement !== found || !isSeen) {
            tell(found, "does not show that it has the focus");
        }
        checkContrast(found);
    }
    document.activeElement.blur();
    before.focus({ preventScroll: true });
}

/// The arrow keys lead to every control from wherever the focus is.
function checkRemote() {
    const before = document.activeElement;
    const press = (key) => document.activeElement.dispatchEvent(
        new KeyboardEvent("keydown", { key, bubbles: true, cancelable: true }));
    if (before === document.body) {
        press("ArrowDown");
    }
    const reached = new Set([document.activeElement]);
    for (const from of reached) {
        for (const key of ["ArrowUp", "ArrowDown", "ArrowLeft", "ArrowRight"]) {
            from.focus();
            // A long text scrolls to its end first.
            for (let count = 0; document.activeElement === from && count < 1000; ++count) {
                const scrolled = from.scrollTop;
                press(key);
                if (from.scrollTop === scrolled) {
                    break;
                }
            }
            reached.add(document.activeElement);
        }
    }
    controls().filter((found) => !reached.has(found)).forEach((found) => tell(found, "the remote control cannot reach"));
    controls().filter((found) => !found.dataset.key).forEach((found) => tell(found, "has no key"));
    document.activeElement.blur();
    before.focus();
}

/// Nothing moves for those who asked for less motion; a change of brightness is none.
function checkMotion() {
    const MOVES = ["transform", "left", "top", "width", "height", "translate", "scale", "rotate"];
    for (const animation of document.getAnimations()) {
        if (animation.effect.getKeyframes().some((frame) => MOVES.some((property) => property in frame))) {
            tell(animation.effect.target, "moves");
        }
    }
}

const CHECKS = {
    structure: [checkDocument, checkLandmarks, checkLists, checkNames, checkAria, checkDialog],
    room: [checkRoom],
    remote: [checkRemote],
    motion: [checkMotion],
    colours: [() => checkContrast(document.body), checkFocus],
};
groups.flatMap((group) => CHECKS[group]).forEach((check) => check());
return [...new Set(findings)];
