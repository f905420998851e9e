#include "openhost/play/KnownNames.h"

#include "openhost/journal/Events.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

namespace openhost {

namespace {

using Names = std::vector<std::string_view>;

const Names Questions = {
    "FileDownloadErrorNotify", "FileOpenInsertReplaceErrorNotify",
    "NotADirectoryNotify",     "OverwriteNotify",
    "ReplaceAllPopUp",         "UploadWarningPopup",
};

/// What can be pushed in each window.
const std::map<std::string_view, Names> Windows = {
    {"Options",
     {"VLDownloadLocationEditor", "VLDownloadLocationButton", "VLDoNotRemindDownloadLocationCheckButton", "RESET",
      "OK", "CANCEL", "CLOSE"}},
    {"ZALVelmartDownloadDirectoryChooserDlg", {"FOLDER", "OK", "CANCEL", "CLOSE"}},
    {"ZALVelmartDownloadLocationDlg",
     {"VLDownloadLocationEditor", "VLDownloadLocationButton", "VLDoNotRemindDownloadLocationCheckButton", "OK",
      "CANCEL", "CLOSE"}},
    {"ZALVelmartDownloadProgressDlg", {"VLProgressBar", "CLOSE"}},
    {"ZALVelmartFindSimilarUploadProgressDlg", {"CLOSE"}},
};

void Check(const LocatedJson& value, const std::string& name, const Names& known, const std::string& kind)
{
    if (name.find("${") != std::string::npos || std::ranges::find(known, name) != known.end())
        return;
    std::string all;
    for (const std::string_view one : known)
        all.append(all.empty() ? "" : ", ").append(one);
    throw LocatedError(value.line, "there is no " + kind + " \"" + name + "\"; there are " + all);
}

} // namespace

void CheckWait(const LocatedJson& value, const std::string& name)
{
    Names known(journal::EventNames.begin(), journal::EventNames.end());
    known.insert(known.begin(), "idle");
    Check(value, name, known, "event");
}

void CheckQuestion(const LocatedJson& value, const std::string& name)
{
    Check(value, name, Questions, "question");
}

void CheckWindow(const LocatedJson& value, const std::string& name)
{
    Names known;
    for (const auto& [window, controls] : Windows)
        known.push_back(window);
    Check(value, name, known, "window");
}

void CheckControl(const LocatedJson& value, const std::string& window, const std::string& name)
{
    if (const auto found = Windows.find(window); found != Windows.end())
        Check(value, name, found->second, "control of \"" + window + "\"");
}

} // namespace openhost
