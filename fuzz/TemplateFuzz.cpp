// Rebuilding on templates, where one of the documents that it reads is any bytes. The first byte says which: S the
// downloaded part, P the downloaded product, T the template of parts, U the template of products. What comes of it may
// only be files in the user's folder, and the documents of before are as they were.

#include "fuzz/RenewedHost.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/CompoundDocumentKernel.h"
#include "openhost/cad/SolidKernel.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/text/Utf.h"
#include "templates/ApplyTemplates.h"
#include "tests/support/Installed.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>

// What a run writes need not survive the machine.
extern "C" int fsync(int)
{
    return 0;
}

namespace {

using namespace openhost;
using testing::Installed;
using testing::ScriptedHost;

/// Copies whatever it is given, and finds nothing wrong with it.
class AnySolids final : public SolidKernel {
public:
    SolidCopy Copy(const DocumentGeometry& geometry) override { return {geometry, {}}; }
    void Check(const DocumentGeometry&) override {}
};

std::string SoundPart(const char* number)
{
    CadDocument part;
    part.partNumber = number;
    part.geometry = DocumentGeometry{GeometryFacts{1, 6, 1, 6, {}}, "geometry"};
    return BuildDocument(part);
}

std::string SoundProduct(const char* number, const LinkTable& links)
{
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = number;
    product.links = links;
    for (std::uint32_t link = 0; link < links.size(); ++link)
        product.children.push_back({"child" + std::to_string(link), link, IdentityPlacement});
    return BuildDocument(product);
}

struct Source {
    char mark;
    const char* name;
    std::string bytes;
};

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(bytes).str();
}

ZALUnicodeString Path(const ScriptedHost& host, const char* name)
{
    return FromUtf8((host.Temp() / name).string());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::array<Source, 4> sound = {{{'S', "a.ZALPart", SoundPart("a")},
                                                 {'P', "p.ZALProduct", SoundProduct("p", {"a.ZALPart"})},
                                                 {'T', "t.ZALPart", SoundPart("t")},
                                                 {'U', "u.ZALProduct", SoundProduct("u", {})}}};
    if (size == 0)
        return -1;
    ScriptedHost& host = testing::RenewedHost();
    for (const Source& source : sound) {
        const std::string bytes = source.mark == static_cast<char>(*data)
                                      ? std::string(reinterpret_cast<const char*>(data) + 1, size - 1)
                                      : source.bytes;
        std::ofstream(host.Temp() / source.name, std::ios::binary) << bytes;
    }
    const std::array<std::string, 2> templates = {ReadBytes(host.Temp() / "t.ZALPart"),
                                                  ReadBytes(host.Temp() / "u.ZALProduct")};
    {
        const Installed<CompoundDocumentKernel> documents;
        const Installed<AnySolids> solids;
        const Installed<CadWorkspace> workspace;
        ZALListValZALUnicodeString sources;
        if (*data != 'S' && *data != 'T')
            sources.Append(Path(host, "p.ZALProduct"));
        sources.Append(Path(host, "a.ZALPart"));
        ZALListValZALUnicodeString results;
        ZALListValZALUnicodeString warnings;
        ZALUnicodeString error;
        ApplyTemplates(Path(host, "t.ZALPart"), Path(host, "u.ZALProduct"), sources, {},
                       FromUtf8(host.Parts().string()), "result", ZALVliTemplateSupportUtilities::SaveMethodSaveAs,
                       results, error, warnings);
    }
    if (ReadBytes(host.Temp() / "t.ZALPart") != templates[0] || ReadBytes(host.Temp() / "u.ZALProduct") != templates[1])
        std::abort();
    namespace fs = std::filesystem;
    if (std::distance(fs::directory_iterator(host.Folder()), {}) != 2)
        std::abort();
    for (const fs::path& folder : {host.Temp(), host.Parts()})
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            fs::remove_all(entry.path());
    return 0;
}
