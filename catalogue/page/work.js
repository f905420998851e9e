// The one request to the application at a time, and what is shown of it at the head of the page.

import {host} from "./host.js";
import {fetchRequest} from "./service.js";
import {texts, titleOf} from "./texts.js";

/// Milliseconds in which an application that tells of requests tells of the first.
const FirstWord = 800;
/// Milliseconds without a word after which the user may stop to wait.
const Silence = 20000;

const element = (id) => document.getElementById(id);
const textOf = (value) => (typeof value === "string" ? value : "");

let work = null; // {action, item, busy}, as long as something is shown
let timer = 0;
let changed = () => {};
let pressed = null; // the button that has begun it, which gets the focus back

/// Whether a request is under way.
export const isBusy = () => work !== null && work.busy;

function showLine(id, text) {
    element(id).textContent = text;
    element(id).hidden = text === "";
}

/// Shows a state: "working", "waiting", "done", "failed", "cancelled", or "sent" when nothing is told.
function show(state, text, {share, folder = "", files = "", again = false} = {}) {
    element("work").dataset.state = state;
    const status = element("status");
    status.dataset.state = state;
    // The same text again would be read out again.
    if (status.textContent !== text)
        status.textContent = text;
    const bar = element("share");
    bar.hidden = share === undefined;
    if (typeof share === "number")
        bar.value = share;
    else
        bar.removeAttribute("value");
    showLine("folder", folder);
    showLine("files", files);
    element("retry").hidden = !again;
    element("close").hidden = isBusy();
}

/// The focus goes along with the request, unless the user is somewhere else.
function setBusy(busy) {
    if (!work || work.busy === busy)
        return;
    const active = document.activeElement;
    work.busy = busy;
    changed();
    if (busy && (active === document.body || active.id === pressed || active.id === "retry")) {
        element("work").dataset.state = "working"; // what is not shown takes no focus
        element("work").focus({preventScroll: true});
    } else if (!busy && (active === document.body || active.id === "work")) {
        document.getElementById(pressed)?.focus({preventScroll: true});
    }
}

function end(state, text, more) {
    clearTimeout(timer);
    setBusy(false);
    show(state, text, more);
}

function fail(reason) {
    end("failed", `${texts.failed[work.action](work.title)} ${reason}`, {again: true});
}

/// Calls `silent` when nothing more is heard.
function expect(milliseconds, silent) {
    clearTimeout(timer);
    timer = setTimeout(silent, milliseconds);
}

function describeFiles({files, count}) {
    const names = Array.isArray(files) ? files.filter((name) => typeof name === "string") : [];
    if (names.length === 0)
        return "";
    const more = Number.isInteger(count) ? count - names.length : 0;
    return texts.files(more > 0 ? [...names, texts.andMore(more)] : names);
}

/// What the application tells of the request.
function hear(detail) {
    if (!work || !work.sent || detail.event !== `velmart_${work.action}` || (detail.id ?? work.item.id) !== work.item.id)
        return;
    const {action, title} = work;
    const again = () => {
        setBusy(true);
        expect(Silence, () => { element("close").hidden = false; });
    };
    switch (detail.state) {
    case "started":
        again();
        return show("working", texts.started(title));
    case "running":
        again();
        return show("working", texts.running(title), {share: Number.isFinite(detail.share) ? detail.share : null});
    case "waiting":
        again();
        return show("waiting", (textOf(detail.prompt) !== "" && texts.pick[action] || texts.chooseFolder)(title));
    case "done": {
        const note = textOf(detail.note);
        const folder = textOf(detail.folder);
        work.sent = false;
        return end("done", [texts.done[action](title), note].join(" ").trim(),
                   {folder: folder && texts.folder(folder), files: describeFiles(detail)});
    }
    case "failed": {
        const cause = textOf(detail.cause);
        work.sent = false;
        return fail((textOf(detail.reason) || texts.noReason) + (cause && ` (${cause})`));
    }
    case "cancelled":
        work.sent = false;
        return end("cancelled", texts.cancelled(title), {again: true});
    default:
        return undefined;
    }
}

/// Has the application do `action` with `item`: "insert", "replace", "open" or "download".
export async function begin(action, item) {
    if (isBusy())
        return;
    const mine = work = {action, item, title: titleOf(item.title), busy: false, sent: false};
    pressed = action;
    setBusy(true);
    show("working", texts.describing(mine.title));
    let request;
    try {
        request = await fetchRequest(item.id);
    } catch (error) {
        return fail(error.message);
    }
    mine.sent = true;
    if (!host.send(`velmart_${action}`, request)) {
        mine.sent = false;
        return fail(texts.refused);
    }
    // Other applications say nothing.
    expect(FirstWord, () => end("sent", texts.sent[action](mine.title)));
}

/// Calls `whenChanged` when a request begins or ends.
export function prepare(whenChanged) {
    changed = whenChanged;
    element("retry").addEventListener("click", () => begin(work.action, work.item));
    element("close").addEventListener("click", () => {
        clearTimeout(timer);
        work = null;
        changed();
        show("none", "");
        document.getElementById(pressed)?.focus({preventScroll: true});
    });
    return hear;
}
