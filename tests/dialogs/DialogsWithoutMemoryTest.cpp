// What the dialogs leave behind when memory runs out at any of their allocations.

#include "tests/dialogs/DialogProbe.h"
#include "tests/dialogs/DialogTestFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Objects.h"

#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"
#include "host/frame.h"

#include <gmock/gmock.h>

#include <exception>

namespace openhost::testing {

namespace {

constexpr const char* Dialog = "ZALVelmartDownloadLocationDlg";
constexpr const char* OKNotif = "ZALVelmartDownloadLocationDlg::OKNotif";
constexpr const char* CancelNotif = "ZALVelmartDownloadLocationDlg::CANCELNotif";

/// Runs `call` while `memory` fails; no exception may leave it.
template <class Call>
void WithoutException(FailingMemory& memory, Call call)
{
    EXPECT_NO_THROW(memory.During(call));
}

class DialogsWithoutMemory : public SettingsDialogFixture {
protected:
    DialogsWithoutMemory() { journal::Redirect({}); } // it has no answer to a lack of memory
    /// Whether a window of the name is open between events.
    bool IsOpen(const char* window)
    {
        Loop().RunUntilIdle();
        return Surface().Find(window) != nullptr;
    }
    PushResult Enter(const std::filesystem::path& path) { return Surface().EnterText(Dialog, Editor, Text(path)); }
    PushResult Check(int state) { return Surface().SetState(Dialog, CheckButton, state); }
    /// Controls that have not ended.
    static std::size_t Living() { return LiveDialogs().size(); }
};

TEST_F(DialogsWithoutMemory, EachIsMadeWholeOrNotAtAll)
{
    auto* parent = new ZALDlgDialog(nullptr, "Options", ZALDlgOKCancelWindow);
    const Owned<ZALVelmartMeridiaAccessSettingsUIAddin> addin(new ZALVelmartMeridiaAccessSettingsUIAddin);
    const std::pair<const char*, std::function<ZALDialog*()>> rows[] = {
        {"location", [] { return ZALVelmartDownloadLocationDlg::Create(); }},
        {"download progress", [] { return ZALVelmartDownloadProgressDlg::Create(); }},
        {"upload progress", [] { return ZALVelmartFindSimilarUploadProgressDlg::Create(); }},
        {"options", [&] { return addin->CreateFrame(parent); }}};
    for (const auto& [name, create] : rows) {
        SCOPED_TRACE(name);
        const std::size_t before = Living();
        const int failures = WithEachAllocationFailing([&, &make = create](FailingMemory& memory) {
            ZALDialog* made = nullptr;
            WithoutException(memory, [&] { made = make(); });
            EXPECT_EQ(made == nullptr, memory.HasRunOut());
            if (made)
                made->RequestDelayedDestruction();
            Loop().RunUntilIdle();
            EXPECT_EQ(Living(), before);
        });
        EXPECT_GT(failures, 10);
    }
}

// ---------------------------------------------------------------------------------------------
// The location dialog

TEST_F(DialogsWithoutMemory, OKStoresAndReportsAtTheNextTryAtTheLatest)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        SetSettings(Parts(), true);
        auto* dialog = ZALVelmartDownloadLocationDlg::Create();
        Enter(Other());
        Check(0x80000);
        Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) {
            EXPECT_EQ(StoredLocation(), Other().string()) << "the settings come first";
            EXPECT_FALSE(StoredFlag());
        });
        listener.Subscribe(dialog, OKNotif);
        WithoutException(memory, [&] { DialogProbe::OK(*dialog); });
        if (IsOpen(Dialog))
            Surface().Push(Dialog, "OK");
        EXPECT_GE(listener.Calls(), 1);
        EXPECT_FALSE(IsOpen(Dialog));
        EXPECT_TRUE(Surface().Questions().empty());
    });
}

TEST_F(DialogsWithoutMemory, OKOnAWrongFolderNeverReports)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        auto* dialog = ZALVelmartDownloadLocationDlg::Create();
        Enter(File());
        Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
        WithoutException(memory, [&] { DialogProbe::OK(*dialog); });
        EXPECT_TRUE(IsOpen(Dialog));
        EXPECT_EQ(0, CountOf(OKNotif));
        EXPECT_EQ(StoredLocation(), Parts().string());
        dialog->RequestDelayedDestruction();
        EXPECT_FALSE(IsOpen(Dialog));
    });
}

TEST_F(DialogsWithoutMemory, AWrongFolderLeavesNoMessageThatWasNotShown)
{
    auto* dialog = ZALVelmartDownloadLocationDlg::Create();
    const ZALUnicodeString file = Text(File());
    WithEachAllocationFailing([&](FailingMemory& memory) {
        bool valid = true;
        const std::size_t before = Surface().Questions().size();
        Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
        WithoutException(memory, [&] { valid = ZALVelmartDownloadLocationDlg::IsValidDirectory(dialog, file); });
        EXPECT_FALSE(valid);
        EXPECT_FALSE(IsOpen("NotADirectoryNotify"));
        EXPECT_TRUE(memory.HasRunOut() || Surface().Questions().size() == before + 1);
    });
}

TEST_F(DialogsWithoutMemory, CancelReportsAtTheNextTryAtTheLatest)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        auto* dialog = ZALVelmartDownloadLocationDlg::Create();
        Listener listener;
        listener.Subscribe(dialog, CancelNotif);
        WithoutException(memory, [&] { DialogProbe::Cancel(*dialog); });
        if (IsOpen(Dialog))
            Surface().Push(Dialog, "CLOSE");
        EXPECT_GE(listener.Calls(), 1);
        EXPECT_FALSE(IsOpen(Dialog));
    });
}

TEST_F(DialogsWithoutMemory, TheLocationDialogEndsAtTheNextTryAtTheLatest)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        auto* dialog = ZALVelmartDownloadLocationDlg::Create();
        dialog->AddRef();
        Surface().Push(Dialog, Button);
        WithoutException(memory, [&] { dialog->RequestDelayedDestruction(); });
        if (IsOpen(Dialog))
            dialog->RequestDelayedDestruction();
        EXPECT_FALSE(IsOpen(Dialog));
        EXPECT_FALSE(IsOpen(Chooser));
        EXPECT_EQ(0U, dialog->Release());
    });
}

TEST_F(DialogsWithoutMemory, BrowsingShowsOneChooserAtTheNextTryAtTheLatest)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        auto* dialog = ZALVelmartDownloadLocationDlg::Create();
        const std::size_t before = Living();
        WithoutException(memory, [&] { DialogProbe::Browse(*dialog); });
        Loop().RunUntilIdle();
        EXPECT_LE(Living(), before + 1);
        Surface().Push(Dialog, Button);
        EXPECT_TRUE(IsChooserShown());
        EXPECT_EQ(Living(), before + 1);
        ChooseFolder(Other());
        EXPECT_EQ(TextOf(Editor), Other().string()) << "its OK is heard";
        dialog->RequestDelayedDestruction();
        Loop().RunUntilIdle();
    });
}

TEST_F(DialogsWithoutMemory, TheChooserCanBeAnsweredAgain)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        auto* dialog = ZALVelmartDownloadLocationDlg::Create();
        Surface().Push(Dialog, Button);
        Surface().EnterText(Chooser, "FOLDER", Text(Other()));
        WithoutException(memory, [&] {
            DialogProbe::ChooserCancel(*dialog);
            DialogProbe::ChooserOK(*dialog);
        });
        Surface().Push(Dialog, Button);
        ChooseFolder(Other());
        EXPECT_FALSE(IsChooserShown());
        EXPECT_EQ(TextOf(Editor), Other().string());
        dialog->RequestDelayedDestruction();
        Loop().RunUntilIdle();
    });
}

// ---------------------------------------------------------------------------------------------
// Progress and names of files

TEST_F(DialogsWithoutMemory, AProgressDialogCanBeMovedAndClosedAgain)
{
    auto* download = ZALVelmartDownloadProgressDlg::Create();
    auto* upload = ZALVelmartFindSimilarUploadProgressDlg::Create();
    for (const auto& act : std::vector<std::function<void()>>{[&] { download->UpdateProgress(50); },
                                                              [&] { DialogProbe::Close(*download); },
                                                              [&] { DialogProbe::Close(*upload); }})
        WithEachAllocationFailing([&](FailingMemory& memory) { WithoutException(memory, act); });
    Listener listener;
    listener.Subscribe(download, "ZALVelmartDownloadProgressDlg::CANCELNotif");
    Surface().Push("ZALVelmartDownloadProgressDlg", "CLOSE");
    EXPECT_EQ(1, listener.Calls());
    download->UpdateProgress(60);
    EXPECT_EQ(60, NodeOf("VLProgressBar").position);
}

TEST_F(DialogsWithoutMemory, ADialogWithoutAnyFileNameHasAnEmptyOne)
{
    auto* parent = new ZALDlgDialog(nullptr, "Options", ZALDlgOKCancelWindow);
    const std::vector<ZALDialog*> dialogs = {
        ZALVelmartDownloadLocationDlg::Create(), ZALVelmartDownloadProgressDlg::Create(),
        ZALVelmartFindSimilarUploadProgressDlg::Create(), new ZALVelmartToolsOptionFrame(parent, nullptr)};
    for (ZALDialog* dialog : dialogs)
        EXPECT_EQ(1, WithEachAllocationFailing([&](FailingMemory& memory) {
                      ZALString name("before");
                      WithoutException(memory, [&] { name = dialog->GetResourceFilename(0); });
                      EXPECT_EQ(name.GetLengthInChar() == 0, memory.HasRunOut());
                  }));
}

// ---------------------------------------------------------------------------------------------
// The options

class OptionsWithoutMemory : public DialogsWithoutMemory {
protected:
    OptionsWithoutMemory() : parent_(new ZALDlgDialog(nullptr, "Options", ZALDlgOKCancelWindow))
    {
        parent_->SetVisibility(ZALDlgShow);
        Page = static_cast<ZALVelmartToolsOptionFrame*>(Addin->CreateFrame(parent_));
        Addin->Refresh();
    }

    Owned<ZALVelmartMeridiaAccessSettingsUIAddin> Addin{new ZALVelmartMeridiaAccessSettingsUIAddin};
    ZALVelmartToolsOptionFrame* Page;

private:
    ZALDlgDialog* parent_;
};

TEST_F(OptionsWithoutMemory, ThePageCanBeRefreshedAgain)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        SetSettings(Other(), false);
        WithoutException(memory, [&] { Page->Refresh(); });
        WithoutException(memory, [&] { Addin->Refresh(); });
        Addin->Refresh();
        EXPECT_EQ(TextOf(Editor), Other().string());
    });
}

TEST_F(OptionsWithoutMemory, AChangeIsStoredOrNot)
{
    int failures = 0;
    for (const std::filesystem::path& folder : {Other(), File()})
        failures += WithEachAllocationFailing([&](FailingMemory& memory) {
            SetSettings(Parts(), true);
            static_cast<ZALDlgEditor*>(Surface().Find(Editor))->SetText(Text(folder));
            static_cast<ZALDlgCheckButton*>(Surface().Find(CheckButton))->SetState(0x80000);
            Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
            WithoutException(memory, [&] { DialogProbe::EditorModify(*Page); });
            WithoutException(memory, [&] { DialogProbe::CheckModify(*Page); });
            const bool stored = folder == Other() && !memory.HasRunOut();
            if (StoredLocation() != Parts().string()) {
                EXPECT_EQ(StoredLocation(), Other().string());
            }
            EXPECT_TRUE(!stored || StoredLocation() == Other().string());
            Loop().RunUntilIdle();
            EXPECT_EQ(nullptr, Surface().Find("NotADirectoryNotify"));
        });
    EXPECT_GT(failures, 0);
}

TEST_F(OptionsWithoutMemory, TheChooserCanBeUsedAgain)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        const std::size_t before = Living();
        WithoutException(memory, [&] { DialogProbe::Browse(*Page); });
        Surface().Push("Options", Button);
        Loop().RunUntilIdle();
        EXPECT_LE(Living(), before + 1);
        Surface().EnterText(Chooser, "FOLDER", Text(Other()));
        WithoutException(memory, [&] {
            DialogProbe::ChooserCancel(*Page);
            DialogProbe::ChooserOK(*Page);
        });
        Surface().Push("Options", Button);
        EXPECT_EQ(PushResult::Done, ChooseFolder(Other()));
        EXPECT_FALSE(IsChooserShown());
        EXPECT_EQ(StoredLocation(), Other().string());
    });
}

TEST_F(OptionsWithoutMemory, TheAddinFailsAsTheSettingsDo)
{
    using Operation = HRESULT (ZALVelmartMeridiaAccessSettingsUIAddin::*)();
    for (const Operation operation :
         {&ZALVelmartMeridiaAccessSettingsUIAddin::Reset, &ZALVelmartMeridiaAccessSettingsUIAddin::Restore})
        EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                      Store().SetAdministratorValues({false, Text(Other() / "a name that is longer")});
                      Store().Keep();
                      SetSettings({}, true);
                      HRESULT result = S_FALSE;
                      WithoutException(memory, [&] { result = (Addin.get()->*operation)(); });
                      EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
                  }),
                  0);
    WithEachAllocationFailing([&](FailingMemory& memory) { WithoutException(memory, [&] { Addin->Save(); }); });
}

TEST_F(OptionsWithoutMemory, AnAddinIsMadeWithSettingsOrWithoutOrNotAtAll)
{
    EXPECT_EQ(2, WithEachAllocationFailing([&](FailingMemory& memory) {
                  ZALBaseUnknown* made = Page;
                  WithoutException(memory, [&] {
                      made = CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin(nullptr);
                  });
                  if (!made)
                      return;
                  EXPECT_EQ(1U, ReferencesOf(made));
                  EXPECT_EQ(S_OK, static_cast<ZALVelmartMeridiaAccessSettingsUIAddin*>(made)->Reset());
                  made->Release();
              }));
}

} // namespace

} // namespace openhost::testing
