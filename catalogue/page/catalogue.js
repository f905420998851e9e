// The page: what is shown for which address, and what happens when the user acts.
//
//   #/                  all items           #/items/ID       one item
//   #/categories/NAME   one category        #/shapes/QUERY   items like a shape

import {addressOfCategory, addressOfShape, readParameter, readRoute} from "./address.js";
import {host} from "./host.js";
import {fetchItems, searchShapes} from "./service.js";
import {categoryName, describe, language, texts, titleOf} from "./texts.js";
import {makeCategories, makeItem, makeList, makeResults, makeTrouble, makeWait} from "./views.js";
import {begin, isBusy, prepare} from "./work.js";

const content = document.getElementById("content");
const queryField = document.getElementById("query");

let items = null; // once the service has given them
let list = {address: addressOfCategory(null), label: texts.allItems}; // or the results, shown last
let shown = 0; // views begun; an answer for an earlier one is dropped
let leaving = new AbortController(); // of what the view shown has begun
let found = {query: null, shapes: []}; // by the search shown last, so that the way back finds them again
const places = new Map(); // of the lists that were left for an item: how far they were scrolled, and the link

function announce(text) {
    document.getElementById("announcer").textContent = text;
}

function show(elements, name = "") {
    content.replaceChildren(...elements);
    content.dataset.view = String(shown);
    document.title = texts.pageTitle(name);
}

function focusHeading() {
    content.querySelector("h2")?.focus();
    scrollTo(0, 0);
}

function matches(item, words) {
    const text = [item.title, titleOf(item.title), item.category, categoryName(item.category), item.description,
                  describe(item), item.id,
                  ...item.dimensions.map(([name, value]) => `${name}${value} ${name}=${value}`)].join(" ").toLowerCase();
    return words.every((word) => text.includes(word));
}

function showCategories(current) {
    const names = [...new Set((items ?? []).map((item) => item.category))];
    document.getElementById("categories").replaceChildren(...makeCategories(names, current));
}

function showList(category) {
    const words = queryField.value.trim();
    const matching = items.filter((item) => (category === null || item.category === category) &&
                                            matches(item, words.toLowerCase().split(/\s+/)));
    list = {address: addressOfCategory(category), label: category === null ? texts.allItems : categoryName(category)};
    show(makeList(list.label, matching, words), category === null ? "" : list.label);
    announce(texts.itemsOf(matching.length, items.length));
}

const titleOfItem = (id) => items.find((item) => item.id === id)?.title ?? null;

function showItem(id) {
    const item = items.find((candidate) => candidate.id === id);
    if (!item) {
        show(makeTrouble(texts.noSuchItem, texts.notThere, () => { location.hash = list.address; }));
        return;
    }
    show(makeItem(item, {host, busy: isBusy(), back: list, titleOfItem, search: searchShapes, signal: leaving.signal,
                         act: (action) => begin(action, item)}), titleOf(item.title));
}

async function showShapes(query, view) {
    if (found.query !== query) {
        show(makeWait(texts.searching));
        const shapes = await searchShapes(query);
        if (view !== shown)
            return;
        found = {query, shapes};
    }
    list = {address: addressOfShape(query), label: texts.similarShapes};
    show(makeResults(found.shapes), list.label);
    announce(texts.similarFound(found.shapes.length));
}

/// Shows what the address names. The focus follows, unless the user is typing or the page has just come up; on the way
/// back from an item the list is as it was left.
async function showRoute(moveFocus, place = null) {
    const view = ++shown;
    const route = readRoute();
    leaving.abort();
    leaving = new AbortController();
    try {
        if (!items) {
            show(makeWait(texts.loading));
            items = await fetchItems();
            if (view !== shown)
                return;
        }
        showCategories(route.view === "list" ? route.category : undefined);
        if (route.view === "item")
            showItem(route.id);
        else if (route.view === "shapes")
            await showShapes(route.query, view);
        else
            showList(route.category);
    } catch (error) {
        if (view !== shown)
            return;
        show(makeTrouble(texts.cannotShow, error.message, () => showRoute(true)));
    }
    if (view !== shown)
        return;
    if (place)
        restore(place);
    else if (moveFocus)
        focusHeading();
}

// ---------------------------------------------------------------------------------------------
// The place in a list

function keepPlace(hash) {
    const links = [...content.querySelectorAll("a[href]")].map((link) => link.getAttribute("href"));
    const href = document.activeElement?.getAttribute?.("href");
    places.set(hash || addressOfCategory(null), {
        top: scrollY,
        href: links.includes(href) ? href : location.hash,
        opened: content.querySelector("#others")?.open === true,
    });
}

function restore({top, href, opened}) {
    const others = content.querySelector("#others");
    if (others)
        others.open = opened;
    const link = [...content.querySelectorAll("a[href]")].find((candidate) => candidate.getAttribute("href") === href);
    (link ?? content.querySelector("h2"))?.focus({preventScroll: true});
    scrollTo(0, top);
}

addEventListener("hashchange", (event) => {
    const before = new URL(event.oldURL).hash;
    const hash = location.hash || addressOfCategory(null);
    const wasItem = readRoute(before).view === "item";
    const isItem = readRoute().view === "item";
    if (!wasItem && isItem)
        keepPlace(before);
    showRoute(document.activeElement !== queryField, wasItem && !isItem ? places.get(hash) ?? null : null);
});

// ---------------------------------------------------------------------------------------------
// What the user does

document.getElementById("search").addEventListener("submit", (event) => {
    event.preventDefault();
    if (queryField.value.trim() !== "")
        focusHeading();
});

queryField.addEventListener("input", () => {
    places.clear();
    if (readRoute().view === "list")
        showRoute(false);
    else
        location.hash = addressOfCategory(null);
});

// ---------------------------------------------------------------------------------------------
// What the application does

/// The programming interface of the page: sendMessage("search", {query}) shows the items like an uploaded shape.
window.OpApi = Object.freeze({
    sendMessage(name, message) {
        if (name !== "search" || typeof message?.query !== "string")
            return false;
        const address = addressOfShape(message.query);
        if (location.hash === address)
            showRoute(true);
        else
            location.hash = address;
        return true;
    },
});

function showConnection() {
    const connection = document.getElementById("connection");
    connection.dataset.state = "connected";
    connection.textContent = texts.connected;
    if (items && readRoute().view === "item")
        showRoute(false);
}

/// Nothing is pressed while a request is under way.
function showBusy() {
    for (const button of content.querySelectorAll("button[data-action]"))
        button.disabled = !host.connected || isBusy();
}

// ---------------------------------------------------------------------------------------------
// The start

document.documentElement.lang = language;
// An application tells the colours of its window; elsewhere they are those of the system.
document.documentElement.dataset.colours ??= matchMedia("(prefers-color-scheme: dark)").matches ? "dark" : "light";
document.title = texts.pageTitle("");
for (const element of document.querySelectorAll("[data-text]"))
    element.textContent = texts[element.dataset.text];
for (const element of document.querySelectorAll("[data-label]"))
    element.setAttribute("aria-label", texts[element.dataset.label]);
queryField.placeholder = texts.searchHint;
history.scrollRestoration = "manual";
// What the head covers is not where the focus goes.
new ResizeObserver(([entry]) => {
    document.documentElement.style.scrollPaddingTop = `${Math.ceil(entry.target.offsetHeight) + 8}px`;
}).observe(document.getElementById("bar"));

host.listen(showConnection, prepare(showBusy));

const query = readParameter("extq");
if (query !== null && location.hash === "")
    history.replaceState(null, "", `${location.pathname}${location.search}${addressOfShape(query)}`);
showRoute(false);
