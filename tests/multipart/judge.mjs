// Reads a multipart body as a server would, and tells what it holds.
//
//     node judge.mjs BODY CONTENT_TYPE
//
// Writes one JSON list to standard output: for each part its field name and its value, or the file name, the media type
// and the SHA-256 of a file. Ends with status 1, and the reason in its place, for a body that is none.

import { createHash } from "node:crypto";
import { createReadStream } from "node:fs";
import busboy from "busboy";

const [body, contentType] = process.argv.slice(2);
const parts = [];
const refuse = (error) => {
    console.log(error.message);
    process.exit(1);
};
const parser = busboy({ headers: { "content-type": contentType }, defParamCharset: "utf8" });

parser.on("field", (name, value, info) => parts.push({ name, value, truncated: info.valueTruncated }));
parser.on("file", (name, stream, info) => {
    const part = { name, filename: info.filename, type: info.mimeType, size: 0 };
    const hash = createHash("sha256");
    parts.push(part);
    stream.on("error", refuse);
    stream.on("data", (bytes) => {
        part.size += bytes.length;
        hash.update(bytes);
    });
    stream.on("end", () => {
        part.sha256 = hash.digest("hex");
    });
});
parser.on("error", refuse);
parser.on("close", () => process.stdout.write(JSON.stringify(parts)));

createReadStream(body).pipe(parser);
