// Connects the catalogue's page to the host of the CAD session. The module runs it in each page that it takes for the
// catalogue's. The host runs it in a world of its own, which alone has `hostPanel`, the way to the host; it shares with
// the page events of the document, whose details are JSON texts. Where there is no `hostPanel`, which is among the other
// scripts that a module runs, it gives these the object to call and nothing else.
//
// A page can bring about the messages below and no others. Running the script again greets the page again.
(() => {
    "use strict";

    const context = "%USAGE_CONTEXT%";

    const ConnectEvent = "velmart:connect"; // to the page: {context}
    const RequestEvent = "velmart:request"; // of the page: {event, content}
    const OutcomeEvent = "velmart:outcome"; // to the page, within the request: {accepted, reason}
    const SearchEvent = "velmart:search"; // to the page: {query}

    const LongestRequest = 1 << 20; // UTF-16 units

    const tell = (name, detail) => document.dispatchEvent(new CustomEvent(name, {detail: JSON.stringify(detail)}));
    const isObject = (value) => typeof value === "object" && value !== null && !Array.isArray(value);

    // Only the page itself, over a connection that nobody else can have written to.
    const isTrustworthy = () => {
        const isLoopback = /^(localhost|127(\.\d{1,3}){3}|\[::1\])$/.test(location.hostname);
        return window === window.top &&
            (location.protocol === "https:" || (location.protocol === "http:" && isLoopback));
    };

    // The text before the path is compared as it stands: readers of addresses differ in what they make of an odd one.
    const isOwnAddress = (text) => typeof text === "string" && text.startsWith(`${location.origin}/`);

    // What is wrong with the content of a message, or an empty text.
    const checkReady = (content) => {
        if (!isObject(content))
            return "no map";
        // What the user uploads goes to the catalogue and to nobody else, and what is rebuilt on comes from it alone.
        for (const key of ["searchByUploadUrl", "zalpartTemplate", "zalproductTemplate"])
            if (content[key] !== undefined && !isOwnAddress(content[key]))
                return `${key} is no address of the page's origin`;
        if (content.preferredSaveMethod !== undefined && typeof content.preferredSaveMethod !== "string")
            return "preferredSaveMethod must be text";
        return "";
    };
    const checkItem = (content) => (isObject(content) ? "" : "no item");
    const checks = new Map([
        ["velmart_ready", checkReady],
        ["velmart_over", () => ""],
        ["velmart_open", checkItem],
        ["velmart_download", checkItem],
        ["velmart_insert", checkItem],
        ["velmart_replace", checkItem],
    ]);

    const refusalOf = (text) => {
        if (typeof text !== "string" || text.length > LongestRequest)
            return "no text of a message";
        let request;
        try {
            request = JSON.parse(text);
        } catch {
            return "no JSON";
        }
        if (!isObject(request) || Object.keys(request).sort().join() !== "content,event")
            return "no message";
        if (!checks.has(request.event))
            return "an unknown event";
        return checks.get(request.event)(request.content);
    };

    const connect = () => {
        document.addEventListener(RequestEvent, (event) => {
            const reason = refusalOf(event.detail);
            if (reason === "")
                hostPanel.sendMessage(event.detail);
            tell(OutcomeEvent, {accepted: reason === "", reason});
        });
        addEventListener("pagehide", () => hostPanel.sendMessage('{"event":"velmart_over","content":{}}'));
    };

    const provide = () => {
        // The module speaks to the page's own object of that name, which lives in the other world.
        globalThis.OpApi = Object.freeze({
            sendMessage(name, message) {
                if (name === "search" && typeof message?.query === "string")
                    tell(SearchEvent, {query: message.query});
            },
        });
    };

    if (!isTrustworthy())
        return;
    const isFirst = !globalThis.OpApi;
    if (isFirst)
        provide();
    if (!globalThis.hostPanel)
        return;
    if (isFirst)
        connect();
    tell(ConnectEvent, {context});
})();
