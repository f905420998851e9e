// The values that insert, replace and open hand to automation: when they are made and freed.

#include "tests/insertion/OperationFixture.h"
#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"
#include "tests/support/FailingMemory.h"

#include "insertion/DocumentInsertion.h"

#include <gmock/gmock.h>

#include <cstring>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Short enough that only automation needs memory for it.
constexpr const char* Bolt = "/p/b";

class OperationValues : public OperationFixture {
protected:
    OperationValues()
    {
        Selected.father = &Father;
        Cad().loaded[Bolt] = &Father;
    }
    ~OperationValues() override { Loop().RunUntilIdle(); }

    void Run(PanelAction action)
    {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(action);
        const Owned<ZALPathElement> path(PathTo(Selected));
        EXPECT_TRUE(command.InsertOrReplace(path.get(), List({Bolt}), "UT5"));
    }

    ScriptedObject& Father = MakeProduct("Father");
    ScriptedObject& Selected = MakeProduct("Selected");
};

TEST_F(OperationValues, AreFreedBeforeThePartNumberIsChecked)
{
    for (const PanelAction action : {ActionInsert, ActionReplace}) {
        int checks = 0;
        Cad().onFind = [&] {
            ++checks;
            EXPECT_EQ(0, LivingTexts()) << action;
            EXPECT_EQ(0, LivingArrays()) << action;
        };
        Run(action);
        EXPECT_EQ(1, checks) << action;
    }
}

TEST_F(OperationValues, OfAnInsertAreFreedTheMethodFirst)
{
    for (const HRESULT result : {S_OK, E_FAIL}) {
        FreedInOrder freed;
        Cad().onAdd = [&](const ZALVariant& files, ZALBSTR method) {
            EXPECT_EQ(1, BusyCursorCount());
            freed.Watch(files.array, "array");
            freed.Watch(method, "method");
        };
        Selected.addResult = result;
        ConfigureFrame({});
        Run(ActionInsert);
        EXPECT_THAT(freed.Names(), ElementsAre("method", "array")) << result;
    }
}

TEST_F(OperationValues, WithoutMemoryRefuseTheOperation)
{
    ConfigureFrame({.applicationDocument = false});
    const std::pair<PanelAction, std::size_t> rows[] = {{ActionInsert, sizeof(char16_t) * (std::size("*"))},
                                                        {ActionReplace, sizeof(char16_t) * (std::strlen(Bolt) + 1)}};
    for (const auto& [action, size] : rows) {
        ZALVelmartMeridiaAccessAddinActionCmdProbe command(action);
        const Owned<ZALPathElement> path(PathTo(Selected));
        command.Prepare(path.get(), List({Bolt}), "UT5");
        {
            const NoMemoryForSize scarce(size);
            EXPECT_TRUE(command.InsertOrReplace());
        }
        EXPECT_EQ("Transaction has failed", QuestionTexts().back()) << action;
        EXPECT_THAT(Cad().calls, IsEmpty()) << action;
        EXPECT_TRUE(Messages().empty()) << action;
    }
    EXPECT_EQ(2U, Surface().Questions().size());
}

TEST_F(OperationValues, OfAnOpeningAreMadeBetweenTwoWaitCursors)
{
    int opens = 0;
    Cad().OnCall = [&](const std::string&) {
        ++opens;
        EXPECT_EQ(2, BusyCursorCount());
        EXPECT_EQ(1, LivingTexts());
    };
    Cad().ends.clear();
    EXPECT_EQ(S_OK, OpenDownloadedDocument(List({Bolt}), "UT5"));
    EXPECT_EQ(1, opens);
    EXPECT_THAT(Texts(Cad().ends.begin(), Cad().ends.end()),
                ElementsAre("ZALIADocument", "ZALIAApplication", "ZALIADocuments"));
}

TEST_F(OperationValues, OfAnOpeningWithoutMemoryAreToldAllTheSame)
{
    const ZALListValZALUnicodeString paths = List({Bolt});
    {
        const NoMemoryForSize scarce(sizeof(char16_t) * (std::strlen(Bolt) + 1));
        EXPECT_EQ(E_FAIL, OpenDownloadedDocument(paths, "UT5"));
    }
    EXPECT_EQ(1, BusyCursorCount()) << "the second comes after the path";
    EXPECT_THAT(Cad().calls, IsEmpty());
    EXPECT_EQ(1U, Messages().size());
}

TEST_F(OperationValues, OfADocumentThatComesWithAFailureAreNotChecked)
{
    Selected.names = {""};
    Cad().answers["Find"] = E_INVALIDARG;
    EXPECT_EQ(E_FAIL, CheckPartNumberConflict(&Selected, Bolt));
    EXPECT_THAT(Cad().calls, IsEmpty());
    EXPECT_EQ(0, Cad().facets);
    Cad().answers["Find"] = S_FALSE;
    EXPECT_EQ(S_OK, CheckPartNumberConflict(&Selected, Bolt));
    EXPECT_EQ(1U, Surface().Questions().size());
}

} // namespace

} // namespace openhost::testing
