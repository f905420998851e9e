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

/// Most that the service takes for one word.
const MostAlternatives = 50;

const own = (table, key) => (Object.hasOwn(table, key) ? table[key] : null);

export const number = new Intl.NumberFormat(language, {maximumFractionDigits: 2});

export const categoryName = (category) => own(texts.category, category) ?? category;
export const describe = (item) => own(texts.description, item.description) ?? item.description;

function replaceWords(text, words) {
    for (const [word, other] of words)
        text = text.replace(new RegExp(`\\b${word}\\b`), other);
    return text;
}

export const titleOf = (title) => replaceWords(title, texts.titleWords);
export const materialName = (material) => replaceWords(material, texts.materialWords);

/// What may be searched for `word`: itself, and what the service calls that of which it is a part in this language.
export function alternativesOf(word) {
    const part = word.toLowerCase();
    const pairs = [...texts.titleWords, ...Object.entries(texts.category), ...Object.entries(texts.description)];
    return [word, ...new Set(pairs.filter(([, own]) => own.toLowerCase().includes(part)).map(([other]) => other))]
        .slice(0, MostAlternatives);
}

/// Such as "Inner diameter d", or the symbol alone.
export function dimensionName(category, symbol) {
    const name = own(own(texts.dimension, category) ?? {}, symbol) ?? own(texts.dimension[""], symbol);
    // Words that are no symbols add nothing to their name.
    return name === null ? symbol : symbol.length > 2 ? name : `${name} ${symbol}`;
}
