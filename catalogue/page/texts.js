// The language of the page: that of the address parameter "lang", otherwise the first of the browser's that is there.

import {readParameter} from "./address.js";
import english from "./texts-en.js";
import german from "./texts-de.js";

const tables = {en: english, de: german};

const wanted = [readParameter("lang"), ...(navigator.languages ?? [navigator.language])];
export const language = wanted.map((name) => String(name ?? "").toLowerCase().split("-")[0])
    .find((name) => Object.hasOwn(tables, name)) ?? "en";

/// The texts.
export const texts = tables[language];

const own = (table, key) => (Object.hasOwn(table, key) ? table[key] : null);

export const number = new Intl.NumberFormat(language, {maximumFractionDigits: 2});

export const categoryName = (category) => own(texts.category, category) ?? category;
export const describe = (item) => own(texts.description, item.description) ?? item.description;

export function titleOf(title) {
    for (const [word, other] of texts.titleWords)
        title = title.replace(new RegExp(`\\b${word}\\b`), other);
    return title;
}

/// Such as "Inner diameter d", or the symbol alone.
export function dimensionName(category, symbol) {
    const name = own(own(texts.dimension, category) ?? {}, symbol) ?? own(texts.dimension[""], symbol);
    // Words that are no symbols add nothing to their name.
    return name === null ? symbol : symbol.length > 2 ? name : `${name} ${symbol}`;
}
