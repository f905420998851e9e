// The page: what is shown for which address, and what happens when the user acts.
//
//   #/                  all items           #/items/ID       one item
//   #/categories/NAME   one category        #/shapes/QUERY   items like a shape

import {addressOfCategory, addressOfShape, readParameter, readRoute} from "./address.js";
import {host} from "./host.js";
import {fetchItem, fetchItems, searchShapes} from "./service.js";
import {alternativesOf, categoryName, language, texts, titleOf} from "./texts.js";
import {makeCategories, makeItem, makeList, makeResults, makeTrouble, makeWait} from "./views.js";
import {begin, isBusy, prepare} from "./work.js";

const content = document.getElementById("content");
const queryField = document.getElementById("query");

let overview = null; // of the whole catalogue, once the service has given it: {total, categories}
let listed = null; // the list shown last, as far as it was asked for, so that the way back finds it again
const chosen = {material: null, size: null};
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

/// `current` is the one that is shown, null for all of them.
function showCategories(current) {
    document.getElementById("categories")
        .replaceChildren(...makeCategories(overview.categories.map(({name}) => name), current));
}

/// The items that the address, the words and the choices ask for.
async function showList(category, view) {
    const words = queryField.value.trim();
    const wanted = {category, ...chosen, words: words.split(/\s+/).filter((word) => word !== "").map(alternativesOf)};
    const key = JSON.stringify(wanted);
    if (listed?.key !== key) {
        const page = await fetchItems(wanted);
        if (view !== shown)
            return;
        listed = {key, wanted, page};
    }
    list = {address: addressOfCategory(category), label: category === null ? texts.allItems : categoryName(category)};
    showCategories(category);
    show(makeList(list.label, listed.page, words, chosen, choose, showMore), category === null ? "" : list.label);
    announce(texts.itemsOf(listed.page.total, overview.total));
}

async function choose(name, value) {
    chosen[name] = value;
    places.clear();
    await showRoute(false);
    document.getElementById(name)?.focus();
}

/// The next page of the list, below the others.
async function showMore() {
    const {wanted, page} = listed;
    const button = document.getElementById("more");
    button.disabled = true;
    const before = page.items.length;
    try {
        const next = await fetchItems(wanted, before);
        if (page !== listed?.page || !button.isConnected)
            return;
        page.items.push(...next.items);
        if (next.items.length === 0) // the catalogue has become smaller
            page.total = before;
        await showRoute(false);
        content.querySelectorAll(".items a")[before]?.focus({preventScroll: true});
    } catch (error) {
        button.disabled = false;
        announce(error.message);
    }
}

async function showItem(id, view) {
    const item = await fetchItem(id);
    if (view !== shown)
        return;
    showCategories();
    if (!item) {
        show(makeTrouble(texts.noSuchItem, texts.notThere, () => { location.hash = list.address; }));
        return;
    }
    show(makeItem(item, {host, busy: isBusy(), back: list, search: searchShapes, signal: leaving.signal,
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
    showCategories();
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
        if (!overview) {
            show(makeWait(texts.loading));
            const page = await fetchItems({}, 0, 0);
            if (view !== shown)
                return;
            overview = page;
        }
        if (route.view === "item")
            await showItem(route.id, view);
        else if (route.view === "shapes")
            await showShapes(route.query, view);
        else
            await showList(route.category, view);
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
    if (overview && readRoute().view === "item")
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
