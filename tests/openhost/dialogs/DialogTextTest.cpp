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

TEST_F(DialogText, ComesFromTheResourceFileOfTheWindow)
{
    Write("dialogs/Special.ZALRsc", "Title = \"The window\";\nLabel.Title = \"The label\";");
    auto* window = new NamedDialog(nullptr, "Window", "Special");
    auto* label = new ZALDlgLabel(new ZALDlgFrame(window, "Frame", 0), "Label", 0);
    EXPECT_EQ(Title(*window), "The window");
    EXPECT_EQ(Title(*label), "The label");
}

TEST_F(DialogText, ComesFromTheMostSpecialFileThatHasIt)
{
    Write("dialogs/Special.ZALRsc", "Label.Title = \"special\";");
    Write("dialogs/Window.ZALRsc", "Label.Title = \"general\";\nTitle = \"general title\";");
    auto* window = new NamedDialog(nullptr, "Window", "Special");
    EXPECT_EQ(Title(*new ZALDlgLabel(window, "Label", 0)), "special");
    EXPECT_EQ(Title(*window), "general title");
}

TEST_F(DialogText, OfAnInnerWindowIsNotThatOfItsParent)
{
    Write("dialogs/Parent.ZALRsc", "Title = \"parent\";\nLabel.Title = \"label of the parent\";");
    auto* child = new ZALDlgDialog(new ZALDlgDialog(nullptr, "Parent", 0), "Child", 0);
    EXPECT_EQ(Title(*child), "");
    EXPECT_EQ(Title(*new ZALDlgLabel(child, "Label", 0)), "");
}

TEST_F(DialogText, IsTheOneThatWasSetFromThenOn)
{
    Write("dialogs/Window.ZALRsc", "Label.Title = \"from the file\";");
    auto* label = new ZALDlgLabel(new ZALDlgDialog(nullptr, "Window", 0), "Label", 0);
    EXPECT_EQ(Title(*label), "from the file");
    label->SetTitle("set");
    EXPECT_EQ(Title(*label), "set");
}

TEST_F(DialogText, IsEmptyWithoutAFileEvenForAListThatNeverEnds)
{
    EXPECT_EQ(Title(*new EndlessDialog), "");
    EXPECT_EQ(Title(*new NamedDialog(nullptr, "Window", "")), "");
}

TEST_F(DialogText, ListOfResourceFilesEnds)
{
    auto* window = new NamedDialog(nullptr, "Window", "Special");
    EXPECT_STREQ(window->GetResourceFilename(0).CastToCharPtr(), "Special");
    EXPECT_STREQ(window->GetResourceFilename(1).CastToCharPtr(), "Window");
    EXPECT_STREQ(window->GetResourceFilename(2).CastToCharPtr(), "");
    auto* frame = new ZALDlgFrame(window, "Frame", 0);
    EXPECT_STREQ(frame->GetResourceFilename(0).CastToCharPtr(), "Special");
    EXPECT_STREQ(frame->GetResourceFilename(2).CastToCharPtr(), "");
    EXPECT_STREQ((new ZALDlgDialog(nullptr, "Window", 0))->GetResourceFilename(-1).CastToCharPtr(), "");
}

} // namespace
} // namespace openhost
