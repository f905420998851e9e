// What the page asks of the catalogue's service. Everything that comes back is checked before it is used.

import {texts} from "./texts.js";

/// Milliseconds after which the service counts as not answering.
const Limit = 30000;
/// Most bytes of a shape.
const LargestShape = 64 << 20;

export class ServiceError extends Error {}

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
    };
}

/// All items.
export async function fetchItems() {
    const list = await fetchJson("/items");
    if (!Array.isArray(list))
        throw unreadable();
    const items = list.map(readItem).filter((item) => item !== null);
    if (list.length > 0 && items.length === 0)
        throw unreadable();
    return items;
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
