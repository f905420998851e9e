// What the page shows. Texts of the service become text nodes, never markup.

import {addressOfCategory, addressOfItem} from "./address.js";
import {parseShape} from "./lvr.js";
import {fetchShape, fileOf, PageItems, pictureOf} from "./service.js";
import {categoryName, describe, dimensionName, materialName, number, texts, titleOf} from "./texts.js";
import {showMesh} from "./viewer.js";

const NeutralPicture = "/page/part.svg";

/// Lowest score of what counts as alike. The sizes of a family lie above it, and hardly anything else.
const Alike = 0.6;
/// Most similar items on the page of an item.
const MostSimilar = 6;

/// An element with attributes and children; a child is an element or a text.
export function make(name, attributes = {}, ...children) {
    const element = document.createElement(name);
    for (const [key, value] of Object.entries(attributes))
        if (value !== null && value !== false)
            element.setAttribute(key, value === true ? "" : value);
    element.append(...children.filter((child) => child !== null));
    return element;
}

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

function describeSize(item) {
    return item.dimensions.slice(0, 4).map(([name, value]) => `${name} ${number.format(value)}`).join(" · ");
}

/// In whole percent, cut off: 100 % is the very same shape alone.
const describeScore = (score) => `${Math.floor(Math.max(0, Math.min(1, score)) * 100)} %`;

// ---------------------------------------------------------------------------------------------
// Lists

export function makeCategories(names, current) {
    return [null, ...names].map((name) =>
        make("li", {}, make("a", {href: addressOfCategory(name), "aria-current": name === current ? "page" : null},
                            name === null ? texts.all : categoryName(name))));
}

function makeRow(id, title, detail, end = null) {
    return make("li", {}, make("a", {href: addressOfItem(id)}, makePicture(id, ""),
                               make("span", {}, make("span", {class: "title"}, title),
                                    make("span", {class: "detail"}, detail)), end));
}

/// A box to choose one of `choices`, each {value, text}, or none; nothing when there is no choice. `choose` is called with
/// the value, or null.
function makeChooser(id, label, none, choices, chosen, choose) {
    if (choices.length < 2 && chosen === null)
        return null;
    const value = chosen === null ? "" : String(chosen);
    const box = make("select", {id}, make("option", {value: ""}, none),
        ...choices.map((choice) => make("option", {value: choice.value, selected: String(choice.value) === value},
                                        choice.text)));
    // What was chosen before may fit nothing now.
    if (chosen !== null && !choices.some((choice) => String(choice.value) === value))
        box.append(make("option", {value, selected: true}, value));
    box.addEventListener("change", () => choose(box.value === "" ? null : box.value));
    return make("label", {for: id}, make("span", {class: "unseen"}, label), box);
}

function makeChoosers({materials, sizes}, {material, size}, choose) {
    const choosers = [
        makeChooser("material", texts.material, texts.anyMaterial,
                    materials.map(({name, count}) => ({value: name, text: texts.choice(materialName(name), count)})), material,
                    (value) => choose("material", value)),
        makeChooser("size", texts.size, texts.anySize,
                    sizes.map(({from, to, count}) => ({value: from, text: texts.choice(texts.sizeRange(from, to), count)})),
                    size, (value) => choose("size", value)),
    ].filter((chooser) => chooser !== null);
    return choosers.length > 0 ? make("div", {class: "choosers"}, ...choosers) : null;
}

/// A page of items under `heading`. `words` is what was searched, `chosen` {material, size} what the user has chosen;
/// `choose` is called with one of its names and a value, and `more` when more items are wanted.
export function makeList(heading, page, words, chosen, choose, more) {
    const {items, total, meant} = page;
    const count = total === 0 ? (words ? texts.nothingMatches(words) : texts.noItems)
        : meant !== null ? texts.meant(words, meant) : texts.items(total);
    const button = items.length < total
        ? make("button", {id: "more", type: "button"}, texts.more(Math.min(total - items.length, PageItems))) : null;
    button?.addEventListener("click", more);
    return [makeHeading(heading), make("p", {class: "count"}, count), makeChoosers(page, chosen, choose),
            items.length === 0 ? null
                : make("ul", {class: "items"},
                       ...items.map((item) => makeRow(item.id, titleOf(item.title), describeSize(item)))),
            button].filter((element) => element !== null);
}

/// Rows for shapes, of which the first has the rank `first`.
const makeShapes = (shapes, first) => make("ol", {class: "items", start: String(first)},
    ...shapes.map(({id, title, score}, index) =>
        makeRow(id, titleOf(title), texts.rank(first + index),
                make("span", {class: "score"}, describeScore(score), make("small", {}, texts.alike)))));

export function makeResults(shapes) {
    const alike = shapes.filter(({score}) => score >= Alike);
    const others = shapes.filter(({score}) => score < Alike);
    return [makeHeading(texts.similarShapes),
            make("p", {class: "count"}, alike.length > 0 ? texts.closestFirst(alike.length) : texts.noSimilarShape),
            alike.length > 0 ? makeShapes(alike, 1) : null,
            others.length === 0 ? null
                : make("details", {id: "others"}, make("summary", {}, texts.notAlike(others.length)),
                       makeShapes(others, alike.length + 1))].filter((element) => element !== null);
}

// ---------------------------------------------------------------------------------------------
// An item

function makeTable(item) {
    const rows = item.dimensions.map(([name, value]) => [dimensionName(item.category, name), number.format(value)]);
    if (item.size)
        rows.push([texts.overallSize, item.size.map((length) => number.format(length)).join(" × ")]);
    if (item.volume !== null)
        rows.push([texts.volume, `${number.format(item.volume / 1000)} cm³`]);
    if (item.area !== null)
        rows.push([texts.area, `${number.format(item.area / 100)} cm²`]);
    if (item.centerOfMass !== null)
        rows.push([texts.centerOfMass, item.centerOfMass.map((length) => number.format(length)).join("; ")]);
    if (rows.length === 0)
        return null;
    return make("table", {}, make("caption", {}, texts.dimensions),
                make("tbody", {}, ...rows.map(([name, value]) =>
                    make("tr", {}, make("th", {scope: "row"}, name), make("td", {}, value)))));
}

/// The picture, and the view in its place once the shape is there.
function makePreview(item, signal) {
    const title = titleOf(item.title);
    const image = makePicture(item.id, texts.picture(title));
    const hint = make("figcaption", {id: "hint", class: "hint", hidden: true}, texts.viewHint);
    const canvas = make("canvas", {id: "view", tabindex: "0", role: "img", "aria-label": texts.view(title),
                                   "aria-describedby": "hint", hidden: true});
    const showView = (shown) => {
        canvas.hidden = hint.hidden = !shown;
        image.hidden = shown;
    };
    fetchShape(item.id, signal).then((bytes) => {
        const mesh = parseShape(bytes);
        if (mesh && !signal.aborted) {
            showView(true);
            if (!showMesh(canvas, mesh, signal, () => showView(false)))
                showView(false);
        }
    }).catch(() => {}); // the picture stays
    return make("figure", {class: "picture"}, image, canvas, hint);
}

/// The parts of an assembly.
function makeParts(item) {
    if (item.parts.length === 0)
        return null;
    const rows = item.parts.map(({id, name, count}) =>
        make("li", {}, make("span", {class: "number"}, texts.partCount(count)), " ",
             id ? make("a", {href: addressOfItem(id)}, titleOf(name)) : make("span", {}, titleOf(name))));
    return make("section", {class: "parts", "aria-labelledby": "parts"}, make("h3", {id: "parts"}, texts.parts),
                make("ul", {}, ...rows));
}

/// A section to be filled with the items like `item`, the scores of which `search` gives.
function makeSimilar(item, search, signal) {
    if (!item.shape)
        return null;
    const section = make("section", {class: "similar", "aria-labelledby": "similar", hidden: true},
                         make("h3", {id: "similar"}, texts.similarItems));
    search(item.shape).then((shapes) => {
        if (signal.aborted)
            return;
        const alike = shapes.filter(({id, score}) => id !== item.id && score >= Alike).slice(0, MostSimilar);
        section.append(alike.length > 0 ? makeShapes(alike, 1) : make("p", {class: "count"}, texts.noSimilarItems));
        section.hidden = false;
    }).catch(() => {}); // an item without it is shown all the same
    return section;
}

const Actions = [
    {name: "insert", needsProduct: true},
    {name: "replace", needsProduct: true},
    {name: "open", needsProduct: false},
    {name: "download", needsProduct: false},
];

/// `back` is {address, label}; `act` is called with the name of the button that was pressed. What takes time goes on
/// until `signal` aborts.
export function makeItem(item, {host, busy, back, act, search, signal}) {
    const buttons = Actions.filter(({needsProduct}) => !needsProduct || host.context !== "DocChooser")
        .map(({name}, index) => {
            const button = make("button", {id: name, type: "button", class: index === 0 ? "first" : null,
                                           disabled: !host.connected || busy, "data-action": name,
                                           "aria-describedby": host.connected ? "status" : "unconnected"}, texts[name]);
            button.addEventListener("click", () => act(name));
            return button;
        });
    const file = fileOf(item);
    return [
        make("a", {class: "back", href: back.address}, texts.back(back.label)),
        makeHeading(titleOf(item.title)),
        make("p", {class: "description"}, describe(item)),
        makePreview(item, signal),
        make("div", {class: "actions", role: "group", "aria-label": texts.actions}, ...buttons),
        host.connected ? null : make("p", {class: "note", id: "unconnected"}, texts.unconnected),
        host.connected || !file ? null
            : make("p", {}, make("a", {id: "file", href: file, download: item.file}, texts.downloadFile(item.file))),
        makeTable(item),
        makeParts(item),
        makeSimilar(item, search, signal),
    ].filter((element) => element !== null);
}

// ---------------------------------------------------------------------------------------------
// Neither

export function makeTrouble(heading, text, again) {
    const button = make("button", {id: "again", type: "button"}, texts.tryAgain);
    button.addEventListener("click", again);
    return [makeHeading(heading), make("div", {class: "trouble"},
        make("p", {class: "status", "data-state": "failed", role: "alert"}, text), button)];
}

export function makeWait(text) {
    return [makeHeading(text), make("p", {class: "status", "data-state": "working"}, texts.moment)];
}
