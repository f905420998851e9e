// What tests of the two dialogs with the settings share.
#pragma once

#include "host/settings.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/journal/Journal.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"
#include "tests/support/Files.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/WatchingDisplay.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace openhost::testing {

using Kind = ZALDialogNode::Kind;

/// The user's folder and flag stand in the settings; each saving of the settings is counted.
class SettingsDialogFixture : public HostFixture {
protected:
    static constexpr const char* Editor = "VLDownloadLocationEditor";
    static constexpr const char* Button = "VLDownloadLocationButton";
    static constexpr const char* CheckButton = "VLDoNotRemindDownloadLocationCheckButton";
    static constexpr const char* Chooser = "ZALVelmartDownloadDirectoryChooserDlg";

    SettingsDialogFixture()
        : sinkBefore_(journal::Redirect([this](const nlohmann::ordered_json& event) {
              saves_ += event["event"] == "settings" && event["action"] == "saved";
          }))
    {
        std::filesystem::create_directory(Other());
        std::ofstream(File()) << "text";
    }
    ~SettingsDialogFixture() override
    {
        EndAllDialogs();
        journal::Redirect(sinkBefore_);
    }

    /// A second folder, and a file.
    std::filesystem::path Other() const { return Folder() / "other"; }
    std::filesystem::path File() const { return Folder() / "file"; }
    static ZALUnicodeString Text(const std::filesystem::path& path) { return FromUtf8(path.string()); }

    static SettingsStore& Store() { return SettingsStore::Current(); }
    static std::string StoredLocation() { return ToUtf8(Store().Values().downloadLocation); }
    static bool StoredFlag() { return Store().Values().doNotRemindDownloadLocation; }
    int Saves() const { return saves_; }

    static const ZALDialogNode& Node(const ZALDialog* dialog) { return ZALDialogNode::Of(*dialog); }
    const ZALDialogNode& NodeOf(const std::string& name) { return Node(Surface().Find(name)); }
    std::string TextOf(const std::string& editor) { return ToUtf8(NodeOf(editor).text); }
    bool TakesInput(const std::string& name) { return NodeOf(name).TakesInput(); }
    static std::vector<std::string> NamesOf(const std::vector<ZALDialog*>& dialogs)
    {
        std::vector<std::string> names;
        for (const ZALDialog* dialog : dialogs)
            names.push_back(Node(dialog).Name());
        return names;
    }
    std::vector<std::string> ChildrenOf(const std::string& name) { return NamesOf(NodeOf(name).children); }

    /// What becomes of the window that the browse button opens.
    bool IsChooserShown() { return Surface().Find(Chooser) && NodeOf(Chooser).visible; }
    PushResult ChooseFolder(const std::filesystem::path& folder)
    {
        Surface().EnterText(Chooser, "FOLDER", Text(folder));
        return Surface().Push(Chooser, "OK");
    }

    /// What the editor held each time that the chooser was hidden, from WatchTheChooser on.
    const std::vector<std::string>& TextsAtHiding() const { return textsAtHiding_; }
    void WatchTheChooser()
    {
        Surface().ShowOn(
            std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.hidden = [this](ZALDialog& dialog) {
                if (Node(&dialog).Name() == Chooser)
                    textsAtHiding_.push_back(TextOf(Editor));
            }}));
    }

    /// Installs the message catalog of the location dialog with `lines`.
    void InstallCatalog(const std::string& lines) { WriteCatalog(Folder(), "ZALVelmartDownloadLocationDlg", lines); }
    /// Lets the chooser show another folder once it is hidden.
    void ForgetTheChoiceAtHiding()
    {
        Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.hidden = [](ZALDialog& dialog) {
            if (Node(&dialog).Name() == Chooser)
                ZALDialogNode::Of(dialog).text = "/forgotten";
        }}));
    }

private:
    journal::Sink sinkBefore_;
    int saves_ = 0;
    std::vector<std::string> textsAtHiding_;
};

} // namespace openhost::testing
