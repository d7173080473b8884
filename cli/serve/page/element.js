// Makes the elements of the page. Text becomes text nodes only, so that a text of the set never becomes markup.

const SVG = "http://www.w3.org/2000/svg";

const SHAPES = {
    start: ["M3 5h18v12H3z", "M7 11h2.5l1.5-3 2 6 1.5-3H17", "M9 20.5h6"],
    home: ["M4 11.5 12 4l8 7.5", "M6.5 10v9.5h11V10", "M10 19.5v-5h4v5"],
    storage: ["M4 6.5h16v4.5H4z", "M4 13h16v4.5H4z", "M7 8.7h.1", "M7 15.2h.1"],
    history: ["M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18z", "M12 7v5.2l3.4 2"],
    journal: ["M6 3.5h12v17H6z", "M9 8h6", "M9 12h6", "M9 16h4"],
    ok: ["M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18z", "m8 12.3 2.8 2.7 5.2-5.6"],
    problem: ["M12 3.5 21.5 20h-19z", "M12 10v4.5", "M12 17.3h.1"],
    failure: ["M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18z", "m9 9 6 6", "m15 9-6 6"],
    help: ["M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18z", "M9.4 9.4a2.7 2.7 0 1 1 4 2.5c-1 .6-1.4 1.1-1.4 2.1", "M12 17h.1"],
    search: ["M10.5 4a6.5 6.5 0 1 0 0 13 6.5 6.5 0 0 0 0-13z", "m15.5 15.5 5 5"],
    clean: ["M5 7h14", "M9 7V4.5h6V7", "m6.5 7 1 13h9l1-13", "M10 11v5", "M14 11v5"],
    boost: ["M13 3 5.5 13.5H11L10.5 21 18 10.5h-5.5z"],
    guide: ["M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18z", "m15.5 8.5-2 5-5 2 2-5z"],
    refresh: ["M19.5 8A8.5 8.5 0 1 0 20.5 12", "M20 3.5V8h-4.5"],
    care: ["M12 20s-8-4.8-8-10.5A4.5 4.5 0 0 1 12 7a4.5 4.5 0 0 1 8 2.5C20 15.2 12 20 12 20z"],
};

export function icon(name) {
    const picture = document.createElementNS(SVG, "svg");
    picture.setAttribute("viewBox", "0 0 24 24");
    picture.setAttribute("class", "icon");
    picture.setAttribute("aria-hidden", "true");
    for (const shape of SHAPES[name]) {
        const path = document.createElementNS(SVG, "path");
        path.setAttribute("d", shape);
        picture.append(path);
    }
    return picture;
}

/// element("div", "a class", child, "text", ...); null children are left out.
export function element(tag, className, ...children) {
    const made = document.createElement(tag);
    if (className) {
        made.className = className;
    }
    made.append(...children.filter((child) => child !== null && child !== undefined));
    return made;
}

/// A button that the remote control reaches. key: its name, by which it is found again after a new drawing.
export function button(key, className, press, ...children) {
    const made = element("button", className, ...children);
    made.type = "button";
    made.dataset.key = key;
    made.addEventListener("click", press);
    return made;
}

/// "1.5 GiB", "312 KiB", "17 B", as the command writes sizes.
export function sizeText(bytes) {
    const units = ["B", "KiB", "MiB", "GiB", "TiB"];
    let size = bytes;
    let unit = 0;
    while (Math.abs(size) >= 1024 && unit + 1 < units.length) {
        size /= 1024;
        ++unit;
    }
    return `${unit === 0 || size >= 100 ? size.toFixed(0) : size.toFixed(1)} ${units[unit]}`;
}

let texts = {};

export async function loadTexts() {
    const answer = await fetch("texts.json");
    texts = await answer.json();
}

/// The page's own text; {name} is replaced by values.name.
export function text(id, values = {}) {
    return (texts[id] ?? id).replace(/\{(\w+)\}/g, (whole, name) => values[name] ?? whole);
}

/// Text with a number: the texts id.one and id.many.
export function countText(id, count) {
    return text(count === 1 ? `${id}.one` : `${id}.many`, { count });
}
