// Properties and user parameters of documents of the workspace.

#include "host/parameters.h"
#include "host/part_features.h"
#include "tests/openhost/cad/WorkspaceFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Parameters : public WorkspaceFixture {
protected:
    Parameters()
    {
        CadDocument part;
        part.partNumber = "BOLT";
        part.nomenclature = "Bolt";
        part.description = "two\nlines";
        part.parameters = {{"supplier", "Velmart"}, {"l", ParameterLength{40, "mm"}}, {"n", 3}, {"hard", true}};
        WriteDocument(part, File("Part.ZALPart"));
        Product("Product.ZALProduct", {"Bolt.1=Part.ZALPart"}, "JOINT");
    }

    static ZALIPrdProperties_var Properties(ZALDocument* document)
    {
        return ZALIPrdProperties_var(PrdGiveDocRootProduct(document));
    }
    static ZALICkeParmFactory_var Factory(const ZALIPrdProperties_var& properties)
    {
        return ZALICkeParmFactory_var(ZALISpecObject_var(properties)->GetFeatContainer());
    }
    static std::vector<std::string> Listed(const ZALIParmPublisher_var& publisher)
    {
        ZALListValZALBaseUnknown_var children;
        EXPECT_EQ(S_OK, publisher->GetDirectChildren(ZALICkeParm::ClassName(), children));
        std::vector<std::string> listed;
        for (int index = 1; index <= children.Size(); ++index) {
            const ZALICkeParm_var parameter(children[index]);
            listed.push_back(ToUtf8(parameter->GetName()) + (parameter->GetType()->IsText() ? "=" : ":") +
                             ToUtf8(parameter->GetValue()->GetText()));
        }
        return listed;
    }
};

TEST_F(Parameters, EachIsListedWithItsTypeAndValue)
{
    const ZALIParmPublisher_var publisher = Properties(Open("Part.ZALPart"))->GetUserProperties(ZALPublisherAsItIs);
    ASSERT_TRUE(publisher);
    EXPECT_THAT(Listed(publisher), ElementsAre("supplier=Velmart", "l:40 mm", "n:3", "hard:true"));
    ZALListValZALBaseUnknown_var others;
    EXPECT_EQ(S_OK, publisher->GetDirectChildren("ZALIProduct", others));
    EXPECT_EQ(0, others.Size());
    EXPECT_EQ(E_INVALIDARG, publisher->GetDirectChildren(nullptr, others));
}

TEST_F(Parameters, PartsAndProductsTakeAndSaveNewOnes)
{
    for (const char* name : {"Part.ZALPart", "Product.ZALProduct"}) {
        ZALDocument* document = Open(name);
        const ZALIPrdProperties_var properties = Properties(document);
        const std::size_t before = ReadDocument(File(name)).parameters.size();
        const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherCreate);
        const ZALICkeParm_var made = Factory(properties)->CreateString("Größe", "M8");
        EXPECT_EQ(before, Listed(publisher).size()) << "it stands below no publisher yet";
        EXPECT_EQ(S_OK, publisher->Append(ZALBaseUnknown_var(made)));
        EXPECT_EQ(S_OK, publisher->Append(ZALBaseUnknown_var(Factory(properties)->CreateString("Größe", ""))));
        Workspace().Save(*Workspace().Find(File(name)));
        const CadDocument saved = ReadDocument(File(name));
        ASSERT_EQ(saved.parameters.size(), before + 2);
        EXPECT_EQ((UserParameter{"Größe", "M8"}), saved.parameters[before]);
        EXPECT_EQ((UserParameter{"Größe", ""}), saved.parameters[before + 1]);
    }
}

TEST_F(Parameters, AProductWithoutAnyHasNoPublisherUntilItIsCreated)
{
    const ZALIPrdProperties_var properties = Properties(Open("Product.ZALProduct"));
    EXPECT_FALSE(properties->GetUserProperties(ZALPublisherAsItIs));
    const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherCreate);
    ASSERT_TRUE(publisher);
    EXPECT_THAT(Listed(publisher), IsEmpty());
}

TEST_F(Parameters, NoneIsMadeThatCannotBeWritten)
{
    const ZALICkeParmFactory_var factory = Factory(Properties(Open("Part.ZALPart")));
    EXPECT_FALSE(factory->CreateString("", "value"));
    EXPECT_FALSE(factory->CreateString("a\rb", "value"));
    EXPECT_FALSE(factory->CreateString("name", FromUtf8(std::string("\x1B[2J"))));
    EXPECT_FALSE(factory->CreateString("name", FromUtf8(std::string(70'000, 'x'))));
    EXPECT_TRUE(factory->CreateString("name", FromUtf8(std::string(60'000, 'x'))));
}

TEST_F(Parameters, OnlyParametersCanBeAppended)
{
    const ZALIPrdProperties_var properties = Properties(Open("Part.ZALPart"));
    const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherAsItIs);
    EXPECT_EQ(E_INVALIDARG, publisher->Append(ZALBaseUnknown_var(properties)));
    EXPECT_EQ(E_INVALIDARG, publisher->Append({}));
}

TEST_F(Parameters, PropertiesAreReadWrittenAndSaved)
{
    ZALDocument* document = Open("Part.ZALPart");
    const ZALIPrdProperties_var properties = Properties(document);
    ZALUnicodeString text;
    EXPECT_EQ(S_OK, properties->GetPartNumber(text));
    EXPECT_EQ("BOLT", ToUtf8(text));
    EXPECT_EQ(S_OK, properties->GetNomenclature(text));
    EXPECT_EQ("Bolt", ToUtf8(text));
    EXPECT_EQ(S_OK, properties->GetDescription(text));
    EXPECT_EQ("two\nlines", ToUtf8(text));
    EXPECT_EQ(S_OK, properties->SetPartNumber("SCREW"));
    EXPECT_EQ(S_OK, properties->SetNomenclature("Screw"));
    EXPECT_EQ(S_OK, properties->SetDescription("one line"));
    EXPECT_EQ(E_FAIL, properties->SetDescription("a\rb"));
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(document, Path("Saved.ZALPart"), "", 1));
    const CadDocument saved = ReadDocument(File("Saved.ZALPart"));
    EXPECT_EQ("SCREW", saved.partNumber);
    EXPECT_EQ("Screw", saved.nomenclature);
    EXPECT_EQ("one line", saved.description);
}

TEST_F(Parameters, AnotherPartNumberCountsInTheWorkspaceAtOnce)
{
    LoadedDocument& product = Workspace().Open(File("Product.ZALProduct"));
    EXPECT_THAT(Workspace().DisputedPartNumbers(product), IsEmpty());
    const ZALIPrdProperties_var part(product.Children().at(0).get());
    EXPECT_EQ(S_OK, part->SetPartNumber("JOINT"));
    EXPECT_THAT(Workspace().DisputedPartNumbers(product), ElementsAre("JOINT"));
    EXPECT_EQ("JOINT", Workspace().Find(File("Part.ZALPart"))->Root()->Name());
    EXPECT_EQ(S_OK, part->SetPartNumber("BOLT"));
    EXPECT_THAT(Workspace().DisputedPartNumbers(product), IsEmpty());
}

TEST_F(Parameters, TheSameValueChangesNoDocument)
{
    ZALDocument* document = Open("Part.ZALPart");
    EXPECT_EQ(S_OK, Properties(document)->SetPartNumber("BOLT"));
    EXPECT_FALSE(Workspace().Find(File("Part.ZALPart"))->IsDirty());
}

TEST_F(Parameters, EverythingFailsAfterTheDocument)
{
    ZALDocument* document = Open("Part.ZALPart");
    const ZALIPrdProperties_var properties = Properties(document);
    const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherAsItIs);
    const ZALICkeParm_var made = Factory(properties)->CreateString("name", "value");
    Close(document);
    ZALUnicodeString text("as it was");
    EXPECT_EQ(E_FAIL, properties->GetPartNumber(text));
    EXPECT_EQ("as it was", ToUtf8(text));
    EXPECT_EQ(E_FAIL, properties->SetPartNumber("X"));
    EXPECT_FALSE(properties->GetUserProperties(ZALPublisherCreate));
    EXPECT_FALSE(ZALISpecObject_var(properties)->GetFeatContainer());
    EXPECT_EQ(E_FAIL, publisher->Append(ZALBaseUnknown_var(made)));
}

} // namespace

} // namespace openhost::testing
