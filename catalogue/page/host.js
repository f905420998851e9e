// The page's side of the connection with the CAD application. The script that the application injects runs in a world
// of its own; it and the page share events of the document alone, whose details are JSON texts.

const ConnectEvent = "velmart:connect"; // to the page: {context}
const RequestEvent = "velmart:request"; // to the host: {event, content}
const OutcomeEvent = "velmart:outcome"; // to the page, within the request: {accepted, reason}
const SearchEvent = "velmart:search"; // to the page: {query}
const ProgressEvent = "velmart:progress"; // to the page: {event, id, state, ...}

function readDetail(event) {
    try {
        const detail = JSON.parse(event.detail);
        return typeof detail === "object" && detail !== null ? detail : {};
    } catch {
        return {};
    }
}

const addressOf = (path) => new URL(path, location.origin).href;

export const host = {
    connected: false,
    /// Where the page is used: "SidePanel" or "DocChooser".
    context: "",

    /// Calls `changed` when an application connects, and `progressed` with what it tells of a request.
    listen(changed, progressed) {
        document.addEventListener(ConnectEvent, (event) => {
            const {context} = readDetail(event);
            this.connected = true;
            this.context = typeof context === "string" ? context : "";
            this.send("velmart_ready", {
                searchByUploadUrl: addressOf("/upload"),
                zalpartTemplate: addressOf("/files/templates/PartTemplate.ZALPart"),
                zalproductTemplate: addressOf("/files/templates/ProductTemplate.ZALProduct"),
                preferredSaveMethod: "save as",
            });
            changed();
        });
        document.addEventListener(SearchEvent, (event) => {
            const {query} = readDetail(event);
            if (typeof query === "string")
                window.OpApi.sendMessage("search", {query});
        });
        document.addEventListener(ProgressEvent, (event) => progressed(readDetail(event)));
    },

    /// Sends an event of the page to the host. Whether it was taken.
    send(name, content) {
        let accepted = false;
        const hear = (event) => { accepted = readDetail(event).accepted === true; };
        document.addEventListener(OutcomeEvent, hear, {once: true});
        document.dispatchEvent(new CustomEvent(RequestEvent, {detail: JSON.stringify({event: name, content})}));
        document.removeEventListener(OutcomeEvent, hear);
        return accepted;
    },
};
