// Properties and user parameters of documents of the workspace.

#include "host/parameters.h"
#include "host/part_features.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Parameters : public ::testing::Test {
protected:
    Parameters()
    {
        ConfigureFrame({});
        auto workspace = std::make_unique<CadWorkspace>();
        workspace_ = workspace.get();
        CadServices::Install(std::move(workspace));

        CadDocument part;
        part.partNumber = "BOLT";
        part.nomenclature = "Bolt";
        part.description = "two\nlines";
        part.parameters = {{"supplier", "Velmart"}, {"l", ParameterLength{40, "mm"}}, {"n", 3}, {"hard", true}};
        WriteDocument(part, File("Part.ZALPart"));
        CadDocument product;
        product.kind = DocumentKind::Product;
        product.partNumber = "JOINT";
        product.links = {"Part.ZALPart"};
        product.children = {{"Bolt.1", 0, IdentityPlacement}};
        WriteDocument(product, File("Product.ZALProduct"));
    }
    ~Parameters() override
    {
        CadServices::Install(nullptr);
        ResetFrame();
    }

    std::filesystem::path File(const std::string& name) const { return folder_.Path() / name; }
    ZALUnicodeString Path(const std::string& name) const { return FromUtf8(File(name).string()); }
    CadWorkspace& Workspace() { return *workspace_; }
    ZALDocument* Open(const std::string& name)
    {
        ZALDocument* document = nullptr;
        EXPECT_EQ(ZALDocumentServices::Open(Path(name), document, 0), S_OK);
        return document;
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
        EXPECT_EQ(publisher->GetDirectChildren(ZALICkeParm::ClassName(), children), S_OK);
        std::vector<std::string> listed;
        for (int index = 1; index <= children.Size(); ++index) {
            const ZALICkeParm_var parameter(children[index]);
            listed.push_back(ToUtf8(parameter->GetName()) + (parameter->GetType()->IsText() ? "=" : ":") +
                             ToUtf8(parameter->GetValue()->GetText()));
        }
        return listed;
    }

private:
    TemporaryFolder folder_;
    CadWorkspace* workspace_;
};

TEST_F(Parameters, AreListedWithTypesAndValues)
{
    const ZALIParmPublisher_var publisher = Properties(Open("Part.ZALPart"))->GetUserProperties(ZALPublisherAsItIs);
    ASSERT_TRUE(publisher);
    EXPECT_THAT(Listed(publisher), ElementsAre("supplier=Velmart", "l:40 mm", "n:3", "hard:true"));
    ZALListValZALBaseUnknown_var others;
    EXPECT_EQ(publisher->GetDirectChildren("ZALIProduct", others), S_OK);
    EXPECT_EQ(others.Size(), 0);
    EXPECT_EQ(publisher->GetDirectChildren(nullptr, others), E_INVALIDARG);
}

TEST_F(Parameters, AreAppendedAndSavedInAPartAndInAProduct)
{
    for (const char* name : {"Part.ZALPart", "Product.ZALProduct"}) {
        ZALDocument* document = Open(name);
        const ZALIPrdProperties_var properties = Properties(document);
        const std::size_t before = ReadDocument(File(name)).parameters.size();
        const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherCreate);
        const ZALICkeParm_var made = Factory(properties)->CreateString("Größe", "M8");
        EXPECT_EQ(Listed(publisher).size(), before) << "it stands below no publisher yet";
        EXPECT_EQ(publisher->Append(ZALBaseUnknown_var(made)), S_OK);
        EXPECT_EQ(publisher->Append(ZALBaseUnknown_var(Factory(properties)->CreateString("Größe", ""))), S_OK);
        Workspace().Save(*Workspace().Find(File(name)));
        const CadDocument saved = ReadDocument(File(name));
        ASSERT_EQ(saved.parameters.size(), before + 2);
        EXPECT_EQ(saved.parameters[before], (UserParameter{"Größe", "M8"}));
        EXPECT_EQ(saved.parameters[before + 1], (UserParameter{"Größe", ""}));
    }
}

TEST_F(Parameters, WithoutOneTheProductHasNoPublisherUntilItIsCreated)
{
    const ZALIPrdProperties_var properties = Properties(Open("Product.ZALProduct"));
    EXPECT_FALSE(properties->GetUserProperties(ZALPublisherAsItIs));
    const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherCreate);
    ASSERT_TRUE(publisher);
    EXPECT_THAT(Listed(publisher), IsEmpty());
}

TEST_F(Parameters, ThatCannotBeWrittenAreNotMade)
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
    EXPECT_EQ(publisher->Append(ZALBaseUnknown_var(properties)), E_INVALIDARG);
    EXPECT_EQ(publisher->Append({}), E_INVALIDARG);
}

TEST_F(Parameters, PropertiesAreReadWrittenAndSaved)
{
    ZALDocument* document = Open("Part.ZALPart");
    const ZALIPrdProperties_var properties = Properties(document);
    ZALUnicodeString text;
    EXPECT_EQ(properties->GetPartNumber(text), S_OK);
    EXPECT_EQ(ToUtf8(text), "BOLT");
    EXPECT_EQ(properties->GetNomenclature(text), S_OK);
    EXPECT_EQ(ToUtf8(text), "Bolt");
    EXPECT_EQ(properties->GetDescription(text), S_OK);
    EXPECT_EQ(ToUtf8(text), "two\nlines");
    EXPECT_EQ(properties->SetPartNumber("SCREW"), S_OK);
    EXPECT_EQ(properties->SetNomenclature("Screw"), S_OK);
    EXPECT_EQ(properties->SetDescription("one line"), S_OK);
    EXPECT_EQ(properties->SetDescription("a\rb"), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::SaveAs(document, Path("Saved.ZALPart"), "", 1), S_OK);
    const CadDocument saved = ReadDocument(File("Saved.ZALPart"));
    EXPECT_EQ(saved.partNumber, "SCREW");
    EXPECT_EQ(saved.nomenclature, "Screw");
    EXPECT_EQ(saved.description, "one line");
}

TEST_F(Parameters, AnotherPartNumberCountsInTheWorkspaceAtOnce)
{
    LoadedDocument& product = Workspace().Open(File("Product.ZALProduct"));
    EXPECT_THAT(Workspace().DisputedPartNumbers(product), IsEmpty());
    const ZALIPrdProperties_var part(product.Children().at(0));
    EXPECT_EQ(part->SetPartNumber("JOINT"), S_OK);
    EXPECT_THAT(Workspace().DisputedPartNumbers(product), ElementsAre("JOINT"));
    EXPECT_EQ(Workspace().Find(File("Part.ZALPart"))->Root()->Name(), "JOINT");
    EXPECT_EQ(part->SetPartNumber("BOLT"), S_OK);
    EXPECT_THAT(Workspace().DisputedPartNumbers(product), IsEmpty());
}

TEST_F(Parameters, ThatStayTheSameChangeNoDocument)
{
    ZALDocument* document = Open("Part.ZALPart");
    EXPECT_EQ(Properties(document)->SetPartNumber("BOLT"), S_OK);
    EXPECT_FALSE(Workspace().Find(File("Part.ZALPart"))->IsDirty());
}

TEST_F(Parameters, OfADocumentThatIsMissingOrClosedFail)
{
    ZALDocument* document = Open("Part.ZALPart");
    const ZALIPrdProperties_var properties = Properties(document);
    const ZALIParmPublisher_var publisher = properties->GetUserProperties(ZALPublisherAsItIs);
    const ZALICkeParm_var made = Factory(properties)->CreateString("name", "value");
    EXPECT_EQ(ZALDocumentServices::Remove(document, 1), S_OK);
    ZALUnicodeString text("as it was");
    EXPECT_EQ(properties->GetPartNumber(text), E_FAIL);
    EXPECT_EQ(ToUtf8(text), "as it was");
    EXPECT_EQ(properties->SetPartNumber("X"), E_FAIL);
    EXPECT_FALSE(properties->GetUserProperties(ZALPublisherCreate));
    EXPECT_FALSE(ZALISpecObject_var(properties)->GetFeatContainer());
    EXPECT_EQ(publisher->Append(ZALBaseUnknown_var(made)), E_FAIL);
}

} // namespace

} // namespace openhost::testing
