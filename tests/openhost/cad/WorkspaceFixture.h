// A workspace over documents in a folder of its own, and what it tells the journal.
#pragma once

#include "openhost/cad/CadWorkspace.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace openhost::testing {

/// The placement that shifts by `shift`.
inline Placement ShiftedBy(const Vector& shift)
{
    return {1, 0, 0, shift[0], 0, 1, 0, shift[1], 0, 0, 1, shift[2]};
}

/// A quarter turn about z, and a shift.
inline Placement TurnedAt(const Vector& shift)
{
    return {0, -1, 0, shift[0], 1, 0, 0, shift[1], 0, 0, 1, shift[2]};
}

/// Why `operation` is refused; empty when it is not.
inline std::string Reason(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

/// Writes documents into a folder of its own.
class DocumentFolder : public ::testing::Test {
protected:
    struct Child {
        std::string name;
        std::string file;
        Placement placement = IdentityPlacement;
    };

    std::filesystem::path File(const std::string& name) const { return folder_.Path() / name; }
    ZALUnicodeString Path(const std::string& name) const { return FromUtf8(File(name).string()); }
    std::filesystem::path Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(File(name), std::ios::binary) << bytes;
        return File(name);
    }
    std::string Read(const std::string& name) const { return ReadFile(File(name)); }

    /// A part with geometry that names its file. Without a part number it has that of its file.
    std::filesystem::path Part(const std::string& name, const std::string& partNumber = {}) const
    {
        CadDocument document;
        document.partNumber = partNumber.empty() ? File(name).stem().string() : partNumber;
        document.geometry = DocumentGeometry{GeometryFacts{1, 6, 1, 6, {}}, "geometry of " + name};
        return Write(name, BuildDocument(document));
    }
    /// A product; each file stands once in its link table.
    std::filesystem::path ProductOf(const std::string& name, const std::vector<Child>& children,
                                    const std::string& partNumber = {}) const
    {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.partNumber = partNumber.empty() ? File(name).stem().string() : partNumber;
        for (const Child& child : children) {
            auto link = std::ranges::find(document.links, child.file);
            if (link == document.links.end())
                link = document.links.insert(link, child.file);
            document.children.push_back(
                {child.name, static_cast<std::uint32_t>(link - document.links.begin()), child.placement});
        }
        return Write(name, BuildDocument(document));
    }
    /// A product; each child is NAME=FILE and stands ten millimetres further along x.
    std::filesystem::path Product(const std::string& name, const std::vector<std::string>& children,
                                  const std::string& partNumber = {}) const
    {
        std::vector<Child> placed;
        for (const std::string& child : children) {
            const std::size_t sign = child.find('=');
            placed.push_back({child.substr(0, sign), child.substr(sign + 1),
                              ShiftedBy({10.0 * static_cast<double>(placed.size() + 1), 0, 0})});
        }
        return ProductOf(name, placed, partNumber);
    }

    const TemporaryFolder& Folder() const { return folder_; }

private:
    TemporaryFolder folder_;
};

/// With the workspace of a run, which is the backend of the CAD services.
class WorkspaceFixture : public DocumentFolder {
protected:
    WorkspaceFixture()
    {
        ConfigureFrame({});
        auto workspace = std::make_unique<CadWorkspace>();
        workspace_ = workspace.get();
        CadServices::Install(std::move(workspace));
        journal::Redirect([this](const nlohmann::ordered_json& event) {
            if (event["event"] == "document")
                events_.push_back(event);
        });
    }
    ~WorkspaceFixture() override
    {
        CloseAll();
        CadServices::Install(nullptr);
        ResetFrame();
        journal::Redirect({});
    }

    CadWorkspace& Workspace() { return *workspace_; }
    void EndWorkspace() { CadServices::Install(nullptr); }
    LoadedDocument& OpenProduct(const std::string& name, const std::vector<std::string>& children,
                                const std::string& partNumber = {})
    {
        return workspace_->Open(Product(name, children, partNumber));
    }

    /// Opens the document `name` as a program does, and locks it. What nobody closes ends with the test.
    ZALDocument* Open(const std::string& name)
    {
        ZALDocument* document = nullptr;
        EXPECT_EQ(S_OK, ZALDocumentServices::Open(Path(name), document, 0)) << name;
        if (!document)
            throw std::runtime_error(name + " cannot be opened");
        EXPECT_EQ(S_OK, document->AddRefForLock());
        opened_.push_back(Share(document));
        return document;
    }
    static void Close(ZALDocument* document)
    {
        EXPECT_EQ(S_OK, document->ReleaseForLock(0));
        EXPECT_EQ(S_OK, ZALDocumentServices::Remove(document, 1));
    }

    void CloseAll()
    {
        for (const auto& document : opened_)
            if (SUCCEEDED(document->ReleaseForLock(0)))
                ZALDocumentServices::Remove(document.get(), 1);
        opened_.clear();
    }

    /// What the workspace has told of its documents.
    const std::vector<nlohmann::ordered_json>& Events() const { return events_; }
    /// What each of them says under `name`; those that have it.
    std::vector<std::string> Told(const std::string& name) const
    {
        std::vector<std::string> told;
        for (const nlohmann::ordered_json& event : events_)
            if (event.contains(name))
                told.push_back(event[name]);
        return told;
    }

private:
    CadWorkspace* workspace_;
    std::vector<Owned<ZALDocument>> opened_;
    std::vector<nlohmann::ordered_json> events_;
};

} // namespace openhost::testing
