// Templates and downloaded documents in a scripted workspace, and files on disk for them.
#pragma once

#include "openhost/text/Utf.h"
#include "templates/ZALVliApplyTemplatesOpe.h"
#include "tests/support/Files.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Lists.h"
#include "tests/support/ScriptedCad.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace openhost::testing {

inline ZALUnicodeString Text(const std::filesystem::path& path)
{
    return FromUtf8(path.string());
}

/// Downloads stand in Temp(), templates in Temp()/"VelmartTemplates", results in Parts(). No document stays open and no
/// object alive beyond a test.
class TemplateFixture : public HostFixture {
protected:
    TemplateFixture() { std::filesystem::create_directory(Templates()); }
    ~TemplateFixture() override
    {
        EXPECT_EQ(Workspace.OpenDocuments(), 0);
        EXPECT_EQ(Workspace.Locks(), 0);
        EXPECT_EQ(Workspace.LivingObjects(), 0);
    }

    std::filesystem::path Templates() const { return Temp() / "VelmartTemplates"; }
    std::filesystem::path PartTemplate() const { return Templates() / "PartTemplate.ZALPart"; }
    std::filesystem::path ProductTemplate() const { return Templates() / "ProductTemplate.ZALProduct"; }

    static void Write(const std::filesystem::path& path, const std::string& content) { std::ofstream(path) << content; }
    /// The rests of the traces that begin with `start`, without their line ends.
    Texts TracesFrom(const std::string& start) const
    {
        Texts found;
        for (const std::string& trace : Traces())
            if (trace.starts_with(start))
                found.push_back(trace.substr(start.size(), trace.size() - start.size() - 1));
        return found;
    }
    /// The file `name` as a download has left it in Temp().
    std::filesystem::path Downloaded(const std::string& name) const
    {
        Write(Temp() / name, "downloaded " + name);
        return Temp() / name;
    }
    /// The files `names` as a download has left them.
    ZALListValZALUnicodeString Files(const Texts& names) const
    {
        ZALListValZALUnicodeString files;
        for (const std::string& name : names)
            files.Append(Text(Downloaded(name)));
        return files;
    }
    std::string InParts(const std::string& name) const { return (Parts() / name).string(); }

    ScriptedCad Workspace{Folder()};
};

} // namespace openhost::testing
