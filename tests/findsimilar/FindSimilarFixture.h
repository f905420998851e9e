// The command on a scripted workspace with a selected product.
#pragma once

#include "tests/support/Files.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/ScriptedCad.h"

#include "VelmartBuildValues.h"
#include "findsimilar/ZALVelmartFindSimilarCmd.h"
#include "host/archive.h"
#include "host/frame.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

/// Reads, and calls, what the command keeps to itself.
class ZALVelmartFindSimilarCmdProbe {
public:
    static constexpr auto ShowUploadProgress = &ZALVelmartFindSimilarCmd::ShowUploadProgress;

    static ZALVelmartFindSimilarCmd* Running() { return ZALVelmartFindSimilarCmd::runningInstance; }
    static bool IsUploading() { return static_cast<bool>(Running()->uploadRequest); }
    static ZALBaseUnknown* Request() { return Running()->uploadRequest.Get(); }
    static HRESULT Save(ZALBaseUnknown* object, ZALUnicodeString& zipPath)
    {
        return Running()->SaveAsTempLVR(object, zipPath);
    }
    static void OnStatusChange() { Running()->OnOpApiStatusChange(nullptr, nullptr, nullptr); }
    static void OnPanelClosed() { Running()->OnPanelClosed(nullptr, nullptr, nullptr); }
    static HRESULT Upload(const ZALUnicodeString& filePath, const ZALUnicodeString& uploadURL)
    {
        return Running()->UploadFileInVelmart(filePath, uploadURL, "name");
    }
};

namespace openhost::testing {

using Command = ZALVelmartFindSimilarCmdProbe;

inline constexpr const char* CommandClass = "ZALVelmartFindSimilarCmd";
inline constexpr const char* AddinClass = "ZALVelmartMeridiaAccessAddin";
inline constexpr const char* UploadUrl = "http://127.0.0.1/upload";
inline constexpr const char* ProgressDialog = "ZALVelmartFindSimilarUploadProgressDlg";

/// The product "Leaf" of the product "Root" is selected; it has a display. The panel is closed.
class FindSimilarFixture : public HostFixture {
protected:
    FindSimilarFixture()
    {
        ConfigureFrame({.editor = true});
        // Started from a menu that does not follow the page.
        ConfigureCommands({.findSimilarHeader = false});
        leaf_->father = root_;
        Select(*leaf_);
        unsetenv("VL_Test_Url");
    }
    ~FindSimilarFixture() override
    {
        unsetenv("VL_Test_Url");
        EndStartedCommands();
        Panel::End();
        Loop().RunUntilIdle();
        EXPECT_EQ(nullptr, Command::Running());
        ResetFrame();
        EXPECT_EQ(0, cad_.facets);
    }

    void Select(ScriptedObject& product)
    {
        ZALCSO& objects = *ZALFrmEditor::GetCurrentEditor()->GetCSO();
        objects.Empty();
        ZALPathElement* path = PathTo(product);
        objects.AddElement(path);
        path->Release();
    }
    /// Opens the panel, whose page reports that it takes uploads at `uploadUrl`.
    void OpenReadyPanel(const std::string& uploadUrl = UploadUrl)
    {
        Panel::Open();
        ReportReady(uploadUrl);
    }
    static void ReportReady(const std::string& uploadUrl = UploadUrl)
    {
        Page().ReportMessage(R"({"event":"velmart_ready","content":{"searchByUploadUrl":")" + uploadUrl + R"("}})");
    }
    static void ReportOver() { Page().ReportMessage(R"({"event":"velmart_over","content":{}})"); }
    static RecordedPage& Page() { return *RecordedPage::Current(); }

    static void Start() { ASSERT_EQ(StartCommand(CommandClass), StartResult::Started); }
    /// Starts a command whose upload is under way.
    void StartUpload()
    {
        OpenReadyPanel();
        Start();
        ASSERT_TRUE(Command::Running());
        ASSERT_TRUE(Command::IsUploading());
    }
    /// The name of the file that has been sent last.
    std::string UploadedName()
    {
        const std::string& body = Transport().Requests().back().body;
        const std::size_t start = body.find("filename=\"") + 10;
        return body.substr(start, body.find("\"\r\n", start) - start);
    }
    /// Ends the transfer with `reply`.
    void Reply(const std::string& reply, int code = 200)
    {
        Transport().Last().Head(code);
        Transport().Last().Bytes(reply);
        Transport().Last().End();
        Loop().RunUntilIdle();
    }
    bool HasEnded()
    {
        Loop().RunUntilIdle();
        return !Command::Running();
    }

    /// The keys of the error messages so far.
    Texts Errors() const
    {
        const std::string start = "ZALVelmartFindSimilarCmd::NotifyErrorMessage :";
        Texts keys;
        for (const std::string& trace : Traces())
            if (trace.starts_with(start))
                keys.push_back(trace.substr(start.size(), trace.size() - start.size() - 1));
        return keys;
    }
    /// How often commands have asked for their end.
    std::size_t EndsAskedFor() const
    {
        return static_cast<std::size_t>(
            std::ranges::count(Traces(), "ZALVelmartFindSimilarCmd::RequestDelayedDestruction\n"));
    }
    std::size_t Asked(const std::string& dialog)
    {
        return static_cast<std::size_t>(
            std::ranges::count(Surface().Questions(), dialog, &ScriptedSurface::Question::name));
    }
    bool HasProgressDialog() { return Surface().Find(ProgressDialog) != nullptr; }
    void InstallCatalog(const std::string& lines) { WriteCatalog(Folder(), "ZALVelmartFindSimilarCmd", lines); }
    std::filesystem::path Zip() const { return Temp() / "VLUploadedLVRFile.zip"; }
    std::filesystem::path LightFile() const { return Temp() / "VLUploadedLVRFile.lvr"; }

    ScriptedCad cad_;
    ScriptedObject* root_ = &cad_.MakeProduct("Root");
    ScriptedObject* leaf_ = &cad_.MakeProduct("Leaf");
};

} // namespace openhost::testing
