// The workspace over any bytes as a document that stands beside good ones: opened alone and as a component, changed,
// saved, read again, closed. Bytes that begin with L, P or C are the payload of that stream in a sound product.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/WorkspaceTree.h"
#include "openhost/documents/DocumentStream.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"

#include <cstdlib>
#include <fstream>

// What a run writes need not survive the machine.
extern "C" int fsync(int)
{
    return 0;
}

namespace {

using namespace openhost;

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

CadDocument SoundProduct(const LinkTable& links)
{
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = "product";
    product.links = links;
    for (std::uint32_t link = 0; link < links.size(); ++link)
        product.children.push_back({"child" + std::to_string(link), link, IdentityPlacement});
    return product;
}

void WriteBytes(const std::filesystem::path& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// The folder of the documents, made once.
class Folder {
public:
    Folder()
    {
        ConfigureFrame({});
        CadDocument bolt;
        bolt.partNumber = "bolt";
        bolt.geometry = DocumentGeometry{GeometryFacts{1, 6, 1, 6, {}}, "geometry"};
        WriteBytes(Bolt(), BuildDocument(bolt));
        WriteBytes(Pair(), BuildDocument(SoundProduct({"bolt.ZALPart"})));
        WriteBytes(User(), BuildDocument(SoundProduct({"fuzz.ZALProduct", "bolt.ZALPart"})));
    }
    std::filesystem::path Bolt() const { return folder_.Path() / "bolt.ZALPart"; }
    std::filesystem::path Pair() const { return folder_.Path() / "pair.ZALProduct"; }
    std::filesystem::path User() const { return folder_.Path() / "user.ZALProduct"; }
    std::filesystem::path Fuzz() const { return folder_.Path() / "fuzz.ZALProduct"; }

private:
    TemporaryFolder folder_;
};

/// The compound file of a sound product whose stream `name` has `payload` after a head that fits it.
std::string DocumentWith(const char* name, std::string_view mark, std::string_view payload)
{
    const std::string sound = BuildDocument(SoundProduct({"bolt.ZALPart", "pair.ZALProduct"}));
    const CompoundStorage opened = *CompoundStorage::OpenBytes(sound, "sound").FindStorage(DocumentStorageName);
    CompoundContents storage{DocumentStorageName, {}, {}};
    for (const char* stream : {"Links", "Properties", "Children"})
        if (std::string_view(stream) != name)
            storage.streams.emplace_back(stream, *opened.ReadStream(stream, 1 << 20));
    StreamWriter writer;
    writer.PutBytes(payload);
    storage.streams.emplace_back(name, writer.Finish(mark, 1));
    CompoundContents root;
    root.storages.push_back(std::move(storage));
    return BuildCompoundFile(root);
}

std::string DocumentOf(std::string_view bytes)
{
    if (bytes.starts_with("L"))
        return DocumentWith("Links", "ZLNK", bytes.substr(1));
    if (bytes.starts_with("P"))
        return DocumentWith("Properties", "ZPRP", bytes.substr(1));
    if (bytes.starts_with("C"))
        return DocumentWith("Children", "ZCHD", bytes.substr(1));
    return std::string(bytes);
}

std::vector<std::string> Names(const LoadedDocument& document)
{
    std::vector<std::string> names;
    for (const auto& child : document.Children())
        names.push_back(child->Name());
    return names;
}

/// Runs `operation`; whether it was done. What is refused says why.
template <class Operation>
bool IsDone(Operation operation)
{
    try {
        operation();
        return true;
    } catch (const CadWorkspaceError& error) {
        Require(*error.what() != '\0');
    } catch (const CompoundFileError& error) {
        Require(*error.what() != '\0');
    }
    return false;
}

void Walk(CadWorkspace& workspace, LoadedDocument& document)
{
    Require(!DescribeTree(document).empty());
    workspace.DisputedPartNumbers(document);
    std::string names = document.PartNumber();
    for (const LoadedDocument* level = &document; level && !level->Children().empty();
         level = level->Children().back()->Reference())
        names += "/" + level->Children().back()->Name();
    if (ZALPathElement* path = workspace.FindPath(names))
        path->Release();
}

void Change(CadWorkspace& workspace, LoadedDocument& document, const Folder& folder)
{
    WorkspaceProduct& root = *document.Root();
    const bool isAdded = IsDone([&] { workspace.AddComponents(root, {folder.Bolt(), folder.Pair()}); });
    Require(!isAdded || document.Kind() == DocumentKind::Product);
    if (document.Children().empty())
        return;
    IsDone([&] { workspace.ReplaceAllInstances(root, *document.Children().front(), folder.Pair()); });
    IsDone([&] { workspace.AddComponents(*document.Children().front(), {folder.Fuzz()}); });
    IsDone([&] { workspace.ReplaceComponent(root, *document.Children().back(), folder.Bolt()); });

    const std::vector<std::string> names = Names(document);
    if (!IsDone([&] { workspace.Save(document); }))
        return;
    CadWorkspace again;
    Require(Names(again.Open(folder.Fuzz())) == names);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Folder folder;
    const std::string document = DocumentOf({reinterpret_cast<const char*>(data), size});
    WriteBytes(folder.Fuzz(), document);

    CadWorkspace workspace;
    if (!IsDone([&] { workspace.Open(folder.Fuzz()); }))
        Require(workspace.LoadedDocuments() == 0);
    if (IsDone([&] { workspace.Open(folder.User()); })) {
        Require(workspace.Active()->Children().size() == 2);
        Walk(workspace, *workspace.Active());
        workspace.Close(*workspace.Active());
    }
    if (LoadedDocument* opened = workspace.Find(folder.Fuzz())) {
        Walk(workspace, *opened);
        Change(workspace, *opened, folder);
        workspace.Close(*opened);
    }
    Require(workspace.LoadedDocuments() == 0 && !workspace.Active());
    return 0;
}
