// The page: what is shown for which address, and what happens when the user acts.
//
//   #/                  all items           #/items/ID       one item
//   #/categories/NAME   one category        #/shapes/QUERY   items like a shape

import {fetchItems, fetchRequest, searchShapes} from "./service.js";
import {host} from "./host.js";
import {addressOfCategory, makeCategories, makeItem, makeList, makeResults, makeTrouble, makeWait} from "./views.js";

const content = document.getElementById("content");
const queryField = document.getElementById("query");

let items = null; // once the service has given them
let listAddress = addressOfCategory(null); // of the list or the results shown last
let listLabel = "All items";
let shown = 0; // views begun; an answer for an earlier one is dropped
let working = false;

function announce(text) {
    document.getElementById("announcer").textContent = text;
}

function show(elements) {
    content.replaceChildren(...elements);
    content.dataset.view = String(shown);
}

function focusHeading() {
    content.querySelector("h2")?.focus();
    scrollTo(0, 0);
}

function decode(text) {
    try {
        return decodeURIComponent(text);
    } catch {
        return text;
    }
}

/// What the address names.
function readRoute() {
    const [, kind, ...rest] = location.hash.split("/");
    const name = decode(rest.join("/"));
    if (kind === "items" && name)
        return {view: "item", id: name};
    if (kind === "shapes")
        return {view: "shapes", query: name};
    return {view: "list", category: kind === "categories" && name ? name : null};
}

function matches(item, words) {
    const text = [item.title, item.category, item.description, item.id,
                  ...item.dimensions.map(([name, value]) => `${name}${value} ${name}=${value}`)].join(" ").toLowerCase();
    return words.every((word) => text.includes(word));
}

function showCategories(current) {
    const names = [...new Set((items ?? []).map((item) => item.category))];
    document.getElementById("categories").replaceChildren(...makeCategories(names, current));
}

function showList(category) {
    const words = queryField.value.trim();
    const found = items.filter((item) => (category === null || item.category === category) &&
                                         matches(item, words.toLowerCase().split(/\s+/)));
    listAddress = addressOfCategory(category);
    listLabel = category ?? "All items";
    show(makeList(listLabel, found, words));
    announce(`${found.length} of ${items.length} items`);
}

function showItem(id) {
    const item = items.find((candidate) => candidate.id === id);
    if (!item) {
        show(makeTrouble("No such item", "The catalogue does not have this.", () => { location.hash = listAddress; }));
        return;
    }
    show(makeItem(item, host, {address: listAddress, label: listLabel}, (action) => act(action, item)));
}

async function showShapes(query, view) {
    show(makeWait("Searching for similar shapes"));
    const shapes = await searchShapes(query);
    if (view !== shown)
        return;
    listAddress = location.hash;
    listLabel = "Similar shapes";
    show(makeResults(shapes));
    announce(`${shapes.length} similar shapes`);
}

/// Shows what the address names. The focus follows, unless the user is typing or the page has just come up.
async function showRoute(moveFocus) {
    const view = ++shown;
    const route = readRoute();
    try {
        if (!items) {
            show(makeWait("Loading the catalogue"));
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
        show(makeTrouble("This cannot be shown", error.message, () => showRoute(true)));
    }
    if (moveFocus && view === shown)
        focusHeading();
}

// ---------------------------------------------------------------------------------------------
// What the user does

const Done = {
    open: "The application opens the item. Follow the progress there.",
    download: "The application downloads the item. Follow the progress there.",
    insert: "Now select the product in the application into which the item goes.",
    replace: "Now select the component in the application that the item replaces.",
};

function setStatus(state, text) {
    const status = document.getElementById("status");
    if (!status)
        return;
    status.dataset.state = state;
    status.textContent = text;
}

async function act(action, item) {
    if (working)
        return;
    working = true;
    const view = shown;
    setStatus("working", "Downloading the description of the item…");
    let state = "failed";
    let text = "The application did not take the item.";
    try {
        if (host.send(`velmart_${action}`, await fetchRequest(item.id))) {
            state = "done";
            text = Done[action];
        }
    } catch (error) {
        text = error.message;
    }
    working = false;
    if (view === shown)
        setStatus(state, state === "failed" ? `Failed. ${text}` : text);
}

document.getElementById("search").addEventListener("submit", (event) => {
    event.preventDefault();
    if (queryField.value.trim() !== "")
        focusHeading();
});

queryField.addEventListener("input", () => {
    const route = readRoute();
    if (route.view === "list")
        showRoute(false);
    else
        location.hash = addressOfCategory(null);
});

addEventListener("hashchange", () => showRoute(document.activeElement !== queryField));

// ---------------------------------------------------------------------------------------------
// What the application does

/// The programming interface of the page: sendMessage("search", {query}) shows the items like an uploaded shape.
window.OpApi = Object.freeze({
    sendMessage(name, message) {
        if (name !== "search" || typeof message?.query !== "string")
            return false;
        const address = `#/shapes/${encodeURIComponent(message.query)}`;
        if (location.hash === address)
            showRoute(true);
        else
            location.hash = address;
        return true;
    },
});

/// The value of the address parameter `name`. A plus sign is one; bytes that are no UTF-8 are characters of Latin-1.
function readParameter(name) {
    for (const part of location.search.slice(1).split("&")) {
        if (!part.startsWith(`${name}=`))
            continue;
        const value = part.slice(name.length + 1);
        try {
            return decodeURIComponent(value);
        } catch {
            return value.replace(/%([0-9a-f]{2})/gi, (_, digits) => String.fromCharCode(parseInt(digits, 16)));
        }
    }
    return null;
}

host.listen(() => {
    const connection = document.getElementById("connection");
    connection.dataset.state = "connected";
    connection.textContent = "Connected to the application";
    if (items && readRoute().view === "item")
        showRoute(false);
});

const query = readParameter("extq");
if (query !== null && location.hash === "")
    history.replaceState(null, "", `${location.pathname}${location.search}#/shapes/${encodeURIComponent(query)}`);
showRoute(false);
