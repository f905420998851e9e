// What the address of the page says.

/// The value of the address parameter `name`, or null. A plus sign is one; bytes that are no UTF-8 are characters of
/// Latin-1.
export function readParameter(name) {
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

function decode(text) {
    try {
        return decodeURIComponent(text);
    } catch {
        return text;
    }
}

/// What the part after "#" names.
export function readRoute(hash = location.hash) {
    const [, kind, ...rest] = hash.split("/");
    const name = decode(rest.join("/"));
    if (kind === "items" && name)
        return {view: "item", id: name};
    if (kind === "shapes")
        return {view: "shapes", query: name};
    return {view: "list", category: kind === "categories" && name ? name : null};
}

export const addressOfItem = (id) => `#/items/${encodeURIComponent(id)}`;
export const addressOfCategory = (name) => (name === null ? "#/" : `#/categories/${encodeURIComponent(name)}`);
export const addressOfShape = (query) => `#/shapes/${encodeURIComponent(query)}`;
