// What the page asks of the catalogue's service. Everything that comes back is checked before it is used.

import {texts} from "./texts.js";

/// Milliseconds after which the service counts as not answering.
const Limit = 30000;
/// Most bytes of a shape.
const LargestShape = 64 << 20;

export class ServiceError extends Error {}

/// Items of a page of a list.
export const PageItems = 60;

async function fetchJson(path) {
    let response;
    try {
        response = await fetch(path, {headers: {Accept: "application/json"}, signal: limited()});
    } catch {
        throw new ServiceError(texts.noAnswer);
    }
    if (!response.ok)
        throw new ServiceError(response.status === 404 ? texts.notThere : texts.errorCode(response.status));
    try {
        return await response.json();
    } catch {
        throw new ServiceError(texts.unreadable);
    }
}

function limited() {
    const controller = new AbortController();
    setTimeout(() => controller.abort(), Limit);
    return controller.signal;
}

const isObject = (value) => typeof value === "object" && value !== null && !Array.isArray(value);
const textOf = (value) => (typeof value === "string" ? value : "");
const isPoint = (value) => Array.isArray(value) && value.length === 3 && value.every(Number.isFinite);

function unreadable() {
    return new ServiceError(texts.unreadable);
}

/// An entry of the list as the views want it, or null for what is none.
function readItem(entry) {
    if (!isObject(entry) || !textOf(entry.id) || !textOf(entry.title))
        return null;
    const dimensions = Object.entries(isObject(entry.dimensions) ? entry.dimensions : {})
        .filter(([, value]) => Number.isFinite(value));
    const box = isObject(entry.boundingBox) ? entry.boundingBox : {};
    return {
        id: entry.id,
        title: entry.title,
        category: textOf(entry.category) || "Other",
        description: textOf(entry.description),
        file: textOf(entry.file),
        shape: textOf(entry.shape),
        parts: (Array.isArray(entry.parts) ? entry.parts : []).filter((part) =>
            isObject(part) && textOf(part.name) && Number.isInteger(part.count) && part.count > 0)
            .map((part) => ({id: textOf(part.id), name: part.name, count: part.count})),
        dimensions,
        size: isPoint(box.lowest) && isPoint(box.highest) ? box.highest.map((high, i) => high - box.lowest[i]) : null,
        volume: Number.isFinite(entry.volume) ? entry.volume : null,
        area: Number.isFinite(entry.area) ? entry.area : null,
        centerOfMass: isPoint(entry.centerOfMass) ? entry.centerOfMass : null,
    };
}

const isCount = (value) => Number.isInteger(value) && value >= 0;

function readChoices(list) {
    return (Array.isArray(list) ? list : [])
        .filter((choice) => isObject(choice) && textOf(choice.name) && isCount(choice.count))
        .map(({name, count}) => ({name, count}));
}

function readSizes(list) {
    return (Array.isArray(list) ? list : [])
        .filter((size) => isObject(size) && Number.isFinite(size.from) && isCount(size.count))
        .map(({from, to, count}) => ({from, to: Number.isFinite(to) ? to : null, count}));
}

/// The items after the first `first` ones that `wanted` asks for: {words, category, material, size}, where `words` is a
/// list of lists of alternatives, and null leaves open what it stands for. Gives {total, items, categories, materials,
/// sizes, meant}: how many there are, a page of them, what else could be chosen, and the words that were searched in
/// place of mistyped ones, or null. `most` is how many items the page has.
export async function fetchItems({words = [], category = null, material = null, size = null}, first = 0, most = PageItems) {
    const parameters = new URLSearchParams();
    for (const alternatives of words)
        parameters.append("word", alternatives.map((text) => text.replaceAll("|", " ")).join("|"));
    for (const [name, value] of Object.entries({category, material, size, first: first || null, count: most}))
        if (value !== null)
            parameters.append(name, value);
    const answer = await fetchJson(`/items?${parameters}`);
    if (!isObject(answer) || !isCount(answer.total) || !Array.isArray(answer.items))
        throw unreadable();
    const items = answer.items.map(readItem).filter((item) => item !== null);
    if (answer.items.length > 0 && items.length === 0)
        throw unreadable();
    const meant = (Array.isArray(answer.meant) ? answer.meant : []).filter(textOf).join(" ");
    return {total: answer.total, items, categories: readChoices(answer.categories),
            materials: readChoices(answer.materials), sizes: readSizes(answer.sizes), meant: meant || null};
}

/// What is known of the item `id`, or null when there is none.
export async function fetchItem(id) {
    let entry;
    try {
        entry = await fetchJson(`/items/${encodeURIComponent(id)}/entry`);
    } catch (error) {
        if (error.message === texts.notThere)
            return null;
        throw error;
    }
    const item = readItem(entry);
    if (item === null)
        throw unreadable();
    return item;
}

/// What the application needs for the item `id`.
export async function fetchRequest(id) {
    const request = await fetchJson(`/items/${encodeURIComponent(id)}`);
    if (!isObject(request) || !isObject(request.attributes))
        throw unreadable();
    return request;
}

/// The items that are like the shape of `query`, the closest first, with scores from 0 to 1.
export async function searchShapes(query) {
    const answer = await fetchJson(`/search?query=${encodeURIComponent(query)}`);
    const list = isObject(answer) ? answer.items : answer;
    if (!Array.isArray(list))
        throw unreadable();
    return list.filter((entry) => isObject(entry) && textOf(entry.id) && Number.isFinite(entry.score))
        .map((entry) => ({id: entry.id, title: textOf(entry.title) || entry.id, score: entry.score}));
}

/// The bytes of the item's shape.
export async function fetchShape(id, signal) {
    const response = await fetch(`/items/${encodeURIComponent(id)}/shape`, {signal});
    if (!response.ok)
        throw new ServiceError(texts.notThere);
    const pieces = [];
    let size = 0;
    for (const reader = response.body.getReader(); ;) {
        const {done, value} = await reader.read();
        if (done)
            break;
        size += value.length;
        if (size > LargestShape) {
            reader.cancel();
            throw unreadable();
        }
        pieces.push(value);
    }
    return new Blob(pieces).arrayBuffer();
}

export const pictureOf = (id) => `/items/${encodeURIComponent(id)}/picture`;
export const fileOf = (item) => (item.file ? `/files/${encodeURIComponent(item.file)}` : "");
