#include "openhost/geometry/DocumentTree.h"

#include "openhost/documents/OutsideLinks.h"
#include "openhost/files/AtomicFile.h"
#include "openhost/files/Origin.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_PrinterOStream.hxx>

#include <map>
#include <system_error>

namespace openhost {

namespace {

/// Of each document once: from its key to its position, or to nothing while it is being read.
class TreeReader {
public:
    TreeReader(DocumentSource& source, const Warning& warn) : source_(source), warn_(warn) {}

    std::size_t Read(const std::string& key, std::size_t level)
    {
        const auto [known, isNew] = positions_.try_emplace(key);
        if (!isNew && !known->second)
            throw DocumentTreeError(key + ": the document is a part of itself");
        if (!isNew)
            return *known->second;
        if (level > MaximumTreeLevels)
            throw DocumentTreeError(key + ": the tree has more than " + std::to_string(MaximumTreeLevels) + " levels");

        CadDocument document = source_.Read(key);
        TreeDocument entry;
        entry.key = key;
        entry.kind = document.kind;
        entry.name = document.partNumber.empty() ? std::filesystem::path(key).stem().string() : document.partNumber;
        entry.description = std::move(document.description);
        entry.parameters = std::move(document.parameters);
        if (document.geometry) {
            entry.shape = Decode(*document.geometry, key);
            entry.colors = std::move(document.geometry->colors);
        }
        document.geometry.reset();

        const std::vector<std::optional<std::size_t>> targets = ReadTargets(document, key, level);
        std::size_t unfolded = 1;
        for (ChildInstance& child : document.children) {
            const std::optional<std::size_t> target = targets[child.link];
            if (!target)
                continue;
            unfolded += unfolded_[*target];
            if (unfolded > MaximumTreeInstances)
                throw DocumentTreeError(key + ": the tree has more than " + std::to_string(MaximumTreeInstances) +
                                        " instances");
            entry.instances.push_back({std::move(child.name), *target, child.placement});
        }
        tree_.push_back(std::move(entry));
        unfolded_.push_back(unfolded);
        positions_[key] = tree_.size() - 1;
        return tree_.size() - 1;
    }

    DocumentTree Take() { return std::move(tree_); }

private:
    static TopoDS_Shape Decode(const DocumentGeometry& geometry, const std::string& key)
    {
        try {
            return DecodeShape(geometry);
        } catch (const GeometryError& error) {
            throw GeometryError(key + ": the geometry is damaged: " + error.what());
        }
    }

    /// Of each link of `document` that a child uses: the position of its target, or nothing when that is missing.
    std::vector<std::optional<std::size_t>> ReadTargets(const CadDocument& document, const std::string& key,
                                                        std::size_t level)
    {
        std::vector<std::size_t> uses(document.links.size());
        for (const ChildInstance& child : document.children)
            ++uses[child.link];
        std::vector<std::optional<std::size_t>> targets(document.links.size());
        for (std::size_t link = 0; link < targets.size(); ++link) {
            if (uses[link] == 0)
                continue;
            const std::optional<std::string> target = source_.Find(key, document.links[link]);
            if (target)
                targets[link] = Read(*target, level + 1);
            else
                warn_(key + ": " + document.links[link] + " is missing; " + std::to_string(uses[link]) +
                      (uses[link] == 1 ? " instance is left out" : " instances are left out"));
        }
        return targets;
    }

    DocumentSource& source_;
    const Warning& warn_;
    DocumentTree tree_;
    std::vector<std::size_t> unfolded_; ///< instances below each document of the tree, itself included
    std::map<std::string, std::optional<std::size_t>> positions_;
};

/// The same path for the same file, whether it exists or not.
std::filesystem::path Canonical(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? std::filesystem::absolute(path).lexically_normal() : canonical;
}

class FileSource : public DocumentSource {
public:
    std::optional<std::string> Find(const std::string& father, const std::string& link) override
    {
        const std::filesystem::path folder = std::filesystem::path(father).parent_path();
        if (IsFromOutside(father) && LeadsOut(folder, link))
            return std::nullopt;
        const std::filesystem::path file = ResolveLink(folder, link);
        std::error_code error;
        if (std::filesystem::status(file, error).type() == std::filesystem::file_type::not_found)
            return std::nullopt;
        return Canonical(file).string();
    }
    CadDocument Read(const std::string& key) override { return ReadDocument(key); }
};

} // namespace

DocumentTree ReadDocumentTree(DocumentSource& source, const std::string& root, const Warning& warn)
{
    // The kernel would tell on standard output what it does.
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));
    TreeReader reader(source, warn);
    reader.Read(root, 1);
    return reader.Take();
}

DocumentTree ReadDocumentTree(const std::filesystem::path& path, const Warning& warn)
{
    FileSource source;
    return ReadDocumentTree(source, Canonical(path).string(), warn);
}

void WriteMadeOf(const DocumentTree& tree, const std::filesystem::path& output, std::string_view content)
{
    const std::string target = Canonical(output).string();
    for (const TreeDocument& document : tree)
        if (document.key == target)
            throw DocumentTreeError("cannot write " + output.string() + ": it is a document that is read");
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(output, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw DocumentTreeError("cannot write " + output.string() + ": it is not a regular file");
    WriteFileAtomically(output, content);
}

} // namespace openhost
