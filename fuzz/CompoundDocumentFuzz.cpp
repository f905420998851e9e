// The document reader over any bytes, as a compound file and as the streams inside a sound one.

#include "openhost/documents/CadDocument.h"
#include "openhost/documents/DocumentStream.h"

#include <cstdlib>

namespace {

using namespace openhost;

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

/// What was read can be written, and reads the same.
void ReadTwice(std::string_view bytes)
{
    CadDocument document;
    try {
        document = ParseDocument(bytes, "fuzz");
    } catch (const CompoundFileError&) {
        return;
    }
    Require(ParseDocument(BuildDocument(document), "again") == document);
}

/// `payload` as the stream `name` of a document, after a head that fits it.
std::string DocumentWith(const char* name, std::string_view mark, std::string_view payload)
{
    const std::string_view stream(name);
    CadDocument document;
    if (stream != "Geometry" && stream != "Features")
        document.kind = DocumentKind::Product;
    document.links = {"A.ZALPart", "B.ZALProduct"};
    const CompoundStorage sound = *CompoundStorage::OpenBytes(BuildDocument(document), "sound").FindStorage("ZALOR1");

    CompoundContents storage{DocumentStorageName, {}, {}};
    for (const char* other : {"Links", "Properties", "Children"})
        if (auto bytes = other != stream ? sound.ReadStream(other, 1 << 20) : std::nullopt)
            storage.streams.emplace_back(other, std::move(*bytes));
    StreamWriter writer;
    writer.PutBytes(payload);
    storage.streams.emplace_back(name, writer.Finish(mark, 1));
    CompoundContents root;
    root.storages.push_back(std::move(storage));
    return BuildCompoundFile(root);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.starts_with("\xD0\xCF\x11\xE0"))
        ReadTwice(bytes);
    else if (bytes.starts_with("L"))
        ReadTwice(DocumentWith("Links", "ZLNK", bytes.substr(1)));
    else if (bytes.starts_with("P"))
        ReadTwice(DocumentWith("Properties", "ZPRP", bytes.substr(1)));
    else if (bytes.starts_with("C"))
        ReadTwice(DocumentWith("Children", "ZCHD", bytes.substr(1)));
    else if (bytes.starts_with("G"))
        ReadTwice(DocumentWith("Geometry", "ZGEO", bytes.substr(1)));
    else if (bytes.starts_with("A"))
        ReadTwice(DocumentWith("Parameters", "ZPAR", bytes.substr(1)));
    else if (bytes.starts_with("V"))
        ReadTwice(DocumentWith("Cameras", "ZCAM", bytes.substr(1)));
    else if (bytes.starts_with("F"))
        ReadTwice(DocumentWith("Features", "ZFEA", bytes.substr(1)));
    else
        ReadTwice(bytes);
    return 0;
}
