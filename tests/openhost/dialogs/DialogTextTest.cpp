#include "TextFixture.h"

namespace openhost {
namespace {

using DialogText = TextFixture;

// Names its resource file as the module's dialogs do: its own first, then those of its base.
class NamedDialog : public ZALDlgDialog {
public:
    NamedDialog(ZALDialog* parent, const char* name, const char* file) : ZALDlgDialog(parent, name, 0), file_(file) {}

    ZALString GetResourceFilename(int index) const override
    {
        return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : ZALString(file_);
    }

private:
    const char* file_;
};

class EndlessDialog : public ZALDlgDialog {
public:
    EndlessDialog() : ZALDlgDialog(nullptr, "Endless", 0) {}
    ZALString GetResourceFilename(int) const override { return "Absent"; }
};

std::string Title(const ZALDialog& dialog)
{
    return ToUtf8(dialog.GetTitle());
}

TEST_F(DialogText, ComesFromTheMostSpecialFileOfTheWindowThatHasIt)
{
    Write("dialogs/Special.ZALRsc", "Label.Title = \"special\";");
    Write("dialogs/Window.ZALRsc", "Label.Title = \"general\";\nTitle = \"general title\";");
    auto* window = new NamedDialog(nullptr, "Window", "Special");
    EXPECT_EQ("special", Title(*new ZALDlgLabel(new ZALDlgFrame(window, "Frame", 0), "Label", 0)));
    EXPECT_EQ("general title", Title(*window));
}

TEST_F(DialogText, OfAnInnerWindowIsNotThatOfItsParent)
{
    Write("dialogs/Parent.ZALRsc", "Title = \"parent\";\nLabel.Title = \"label of the parent\";");
    auto* child = new ZALDlgDialog(new ZALDlgDialog(nullptr, "Parent", 0), "Child", 0);
    EXPECT_EQ("", Title(*child));
    EXPECT_EQ("", Title(*new ZALDlgLabel(child, "Label", 0)));
}

TEST_F(DialogText, IsTheOneThatWasSetFromThenOn)
{
    Write("dialogs/Window.ZALRsc", "Label.Title = \"from the file\";");
    auto* label = new ZALDlgLabel(new ZALDlgDialog(nullptr, "Window", 0), "Label", 0);
    EXPECT_EQ("from the file", Title(*label));
    label->SetTitle("set");
    EXPECT_EQ("set", Title(*label));
}

TEST_F(DialogText, IsEmptyWithoutAFileEvenForAListThatNeverEnds)
{
    EXPECT_EQ("", Title(*new EndlessDialog));
    EXPECT_EQ("", Title(*new NamedDialog(nullptr, "Window", "")));
}

TEST_F(DialogText, ListOfResourceFilesEnds)
{
    const auto file = [](const ZALDialog& dialog, int index) {
        return std::string(dialog.GetResourceFilename(index).CastToCharPtr());
    };
    auto* window = new NamedDialog(nullptr, "Window", "Special");
    EXPECT_EQ("Special", file(*window, 0));
    EXPECT_EQ("Window", file(*window, 1));
    EXPECT_EQ("", file(*window, 2));
    auto* frame = new ZALDlgFrame(window, "Frame", 0);
    EXPECT_EQ("Special", file(*frame, 0));
    EXPECT_EQ("", file(*frame, 2));
    EXPECT_EQ("", file(*Window(), -1));
}

} // namespace
} // namespace openhost
