// What the page shows. Texts of the service become text nodes, never markup.

import {fileOf, pictureOf} from "./service.js";

const NeutralPicture = "/page/part.svg";

/// An element with attributes and children; a child is an element or a text.
export function make(name, attributes = {}, ...children) {
    const element = document.createElement(name);
    for (const [key, value] of Object.entries(attributes))
        if (value !== null && value !== false)
            element.setAttribute(key, value === true ? "" : value);
    element.append(...children.filter((child) => child !== null));
    return element;
}

const number = new Intl.NumberFormat("en", {maximumFractionDigits: 2});

export const addressOfItem = (id) => `#/items/${encodeURIComponent(id)}`;
export const addressOfCategory = (name) => (name === null ? "#/" : `#/categories/${encodeURIComponent(name)}`);

function makePicture(id, alt) {
    const image = make("img", {src: pictureOf(id), alt, loading: "lazy", decoding: "async"});
    image.addEventListener("error", () => {
        image.src = NeutralPicture;
        image.alt = "";
        image.dataset.neutral = "";
    }, {once: true});
    return image;
}

function makeHeading(text) {
    return make("h2", {tabindex: "-1"}, text);
}

const countOf = (count, one, many) => (count === 1 ? `1 ${one}` : `${count} ${many}`);

export function describeSize(item) {
    return item.dimensions.slice(0, 4).map(([name, value]) => `${name} ${number.format(value)}`).join(" · ");
}

/// In whole percent, cut off: 100 % is the very same shape alone.
const describeScore = (score) => `${Math.floor(Math.max(0, Math.min(1, score)) * 100)} %`;

export function makeCategories(names, current) {
    return [null, ...names].map((name) =>
        make("li", {}, make("a", {href: addressOfCategory(name), "aria-current": name === current ? "page" : null},
                            name ?? "All")));
}

export function makeList(heading, items, words) {
    if (items.length === 0)
        return [makeHeading(heading), make("p", {class: "count"}, words ? `Nothing matches “${words}”.` : "No items.")];
    const rows = items.map((item) =>
        make("li", {}, make("a", {href: addressOfItem(item.id)}, makePicture(item.id, ""),
                            make("span", {}, make("span", {class: "title"}, item.title),
                                 make("span", {class: "detail"}, describeSize(item))))));
    return [makeHeading(heading), make("p", {class: "count"}, countOf(items.length, "item", "items")),
            make("ul", {class: "items"}, ...rows)];
}

export function makeResults(shapes) {
    if (shapes.length === 0)
        return [makeHeading("Similar shapes"), make("p", {class: "count"}, "The catalogue has no similar shape.")];
    const rows = shapes.map(({id, title, score}, index) =>
        make("li", {}, make("a", {href: addressOfItem(id)}, makePicture(id, ""),
                            make("span", {}, make("span", {class: "title"}, title),
                                 make("span", {class: "detail"}, `Rank ${index + 1}`)),
                            make("span", {class: "score"}, describeScore(score),
                                 make("small", {}, "alike")))));
    return [makeHeading("Similar shapes"),
            make("p", {class: "count"}, `${countOf(shapes.length, "item", "items")}, closest first`),
            make("ol", {class: "items"}, ...rows)];
}

function makeTable(item) {
    const rows = item.dimensions.map(([name, value]) => [name, number.format(value)]);
    if (item.size)
        rows.push(["Overall size", item.size.map((length) => number.format(length)).join(" × ")]);
    if (item.volume !== null)
        rows.push(["Volume", `${number.format(item.volume / 1000)} cm³`]);
    if (rows.length === 0)
        return null;
    return make("table", {}, make("caption", {}, "Dimensions in mm"),
                make("tbody", {}, ...rows.map(([name, value]) =>
                    make("tr", {}, make("th", {scope: "row"}, name), make("td", {}, value)))));
}

const Actions = [
    {name: "insert", label: "Insert", needsProduct: true},
    {name: "replace", label: "Replace", needsProduct: true},
    {name: "open", label: "Open", needsProduct: false},
    {name: "download", label: "Download", needsProduct: false},
];

/// `back` is {address, label}; `act` is called with the name of the button that was pressed.
export function makeItem(item, host, back, act) {
    const buttons = Actions.filter(({needsProduct}) => !needsProduct || host.context !== "DocChooser")
        .map(({name, label}, index) => {
            const button = make("button", {id: name, type: "button", class: index === 0 ? "first" : null,
                                           disabled: !host.connected,
                                           "aria-describedby": host.connected ? "status" : "unconnected"}, label);
            button.addEventListener("click", () => act(name));
            return button;
        });
    const file = fileOf(item);
    return [
        make("a", {class: "back", href: back.address}, `‹ ${back.label}`),
        makeHeading(item.title),
        make("p", {class: "description"}, item.description),
        make("figure", {class: "picture"}, makePicture(item.id, `Picture of ${item.title}`)),
        make("div", {class: "actions", role: "group", "aria-label": "What to do with the item"}, ...buttons),
        host.connected ? null : make("p", {class: "note", id: "unconnected"},
            "The page is not connected to a CAD application. Open it in the application’s panel to use the buttons."),
        make("p", {class: "status", id: "status", role: "status"}),
        host.connected || !file ? null
            : make("p", {}, make("a", {id: "file", href: file, download: item.file}, `Download ${item.file}`)),
        makeTable(item),
    ].filter((element) => element !== null);
}

export function makeTrouble(heading, text, again) {
    const button = make("button", {id: "again", type: "button"}, "Try again");
    button.addEventListener("click", again);
    return [makeHeading(heading), make("div", {class: "trouble"},
        make("p", {class: "status", "data-state": "failed", role: "alert"}, text), button)];
}

export function makeWait(text) {
    return [makeHeading(text), make("p", {class: "status", "data-state": "working"}, "One moment, please.")];
}
