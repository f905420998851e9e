// What a rebuilt document says about itself.

#include "openhost/objects/Traces.h"
#include "tests/templates/TemplateFixture.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PropertyReport : public TemplateFixture {
protected:
    PropertyReport()
    {
        source.root->texts = {"PN-1", "Bolt", "A bolt"};
        target.root->texts = {"PN-T", "Template", "A template"};
    }

    HRESULT Report(const PropertyList& properties = {})
    {
        return ReportPrdProperties(ZALIProduct_var(source.root), ZALIProduct_var(target.root), properties);
    }
    /// Names and values of the parameters of the target, in their order.
    Texts Parameters() const
    {
        Texts parameters;
        for (const ScriptedObject* parameter : target.root->publisher->parameters)
            parameters.push_back(parameter->name + "=" + parameter->value.value_or("none"));
        return parameters;
    }
    Texts Reports() const { return TracesFrom("ReportPrdProperties - "); }

    ScriptedWorkspaceDocument& source = Workspace.AddPart("source.ZALPart", "source");
    ScriptedWorkspaceDocument& target = Workspace.AddPart("target.ZALPart", "target");
};

TEST_F(PropertyReport, CarriesTheThreeTextsOverInTheirOrder)
{
    EXPECT_EQ(S_OK, Report());
    EXPECT_THAT(target.root->texts, ElementsAre("PN-1", "Bolt", "A bolt"));
    EXPECT_THAT(source.root->texts, ElementsAre("PN-1", "Bolt", "A bolt"));
    EXPECT_THAT(Workspace.calls,
                ElementsAre("Read source.root 0", "Read source.root 1", "Read source.root 2", "Publisher source.root 0",
                            "Children source.publisher: ZALICkeParm", "Write target.root 0 = PN-1",
                            "Write target.root 1 = Bolt", "Write target.root 2 = A bolt", "Publisher target.root 1",
                            "Children target.publisher: ZALICkeParm"));
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(PropertyReport, TracesAPropertyBetweenItsMakingAndItsPlace)
{
    Workspace.AddParameter(source, "finish", "zinc");
    RedirectTraces([this](std::string_view, std::string_view text) {
        Workspace.calls.push_back("Trace" + std::string(text.substr(text.rfind(' '))));
    });
    Report({{"added", "1"}});
    std::erase_if(Workspace.calls, [](const std::string& call) {
        return !call.starts_with("Create") && !call.starts_with("Trace") && !call.starts_with("Append");
    });
    EXPECT_THAT(Workspace.calls,
                ElementsAre("Create added = 1 in target.features", "Trace 1\n", "Append target.publisher: added",
                            "Create finish = zinc in target.features", "Trace zinc\n",
                            "Append target.publisher: finish"));
}

TEST_F(PropertyReport, GivesTheResultOfTheThirdText)
{
    target.root->writeResults = {E_FAIL, E_FAIL, S_FALSE};
    Workspace.AddParameter(source, "finish", "zinc");
    EXPECT_EQ(S_FALSE, Report());
    EXPECT_THAT(Parameters(), ElementsAre("finish=zinc"));
    target.root->writeResults = {S_OK, S_OK, E_INVALIDARG};
    EXPECT_EQ(E_INVALIDARG, Report());
}

TEST_F(PropertyReport, WritesNothingWithoutThePropertiesOfOneProduct)
{
    Workspace.AddParameter(source, "finish", "zinc");
    for (ScriptedObject* product : {source.root, target.root}) {
        product->offers.erase("ZALIPrdProperties");
        EXPECT_EQ(E_INVALIDARG, Report({{"a", "b"}}));
        product->offers.insert("ZALIPrdProperties");
    }
    EXPECT_EQ(E_INVALIDARG, ReportPrdProperties(ZALIProduct_var(), ZALIProduct_var(target.root), {}));
    EXPECT_EQ(E_INVALIDARG, ReportPrdProperties(ZALIProduct_var(source.root), ZALIProduct_var(), {}));
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(PropertyReport, OfASourceWithoutPublisherHasNoUserParameters)
{
    source.root->publisher = nullptr;
    source.root->newPublisher = target.root->publisher;
    EXPECT_EQ(S_OK, Report({{"customer", "Smith"}}));
    EXPECT_EQ(nullptr, source.root->publisher) << "none is made for the source";
    EXPECT_THAT(Parameters(), ElementsAre("customer=Smith"));
    EXPECT_THAT(target.root->texts, ElementsAre("PN-1", "Bolt", "A bolt"));
}

TEST_F(PropertyReport, MakesThePublisherOfATemplateWithoutOne)
{
    target.root->newPublisher = std::exchange(target.root->publisher, nullptr);
    Workspace.AddParameter(source, "finish", "zinc");
    EXPECT_EQ(S_OK, Report());
    EXPECT_THAT(Parameters(), ElementsAre("finish=zinc"));
}

TEST_F(PropertyReport, StopsAfterTheTextsWhenNoPublisherCanBeMade)
{
    target.root->publisher = nullptr;
    target.root->writeResults[2] = S_FALSE;
    Workspace.AddParameter(source, "finish", "zinc");
    EXPECT_EQ(S_FALSE, Report({{"a", "b"}}));
    EXPECT_THAT(target.root->texts, ElementsAre("PN-1", "Bolt", "A bolt"));
    EXPECT_EQ("Publisher target.root 1", Workspace.calls.back());
}

TEST_F(PropertyReport, StopsAfterTheTextsWithoutAFactory)
{
    Workspace.AddParameter(source, "finish", "zinc");
    target.root->writeResults[2] = S_FALSE;
    target.features->offers.erase("ZALICkeParmFactory");
    EXPECT_EQ(S_FALSE, Report({{"a", "b"}}));
    target.root->features = nullptr;
    EXPECT_EQ(S_FALSE, Report({{"a", "b"}}));
    target.root->offers.erase("ZALISpecObject");
    EXPECT_EQ(S_FALSE, Report({{"a", "b"}}));
    EXPECT_THAT(Parameters(), IsEmpty());
    EXPECT_THAT(target.root->texts, ElementsAre("PN-1", "Bolt", "A bolt"));
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(PropertyReport, AddsTheExtraPropertiesBeforeTheUserParameters)
{
    Workspace.AddParameter(source, "finish", "zinc");
    Workspace.AddParameter(source, "supplier", "Velmart");
    EXPECT_EQ(S_OK, Report({{"customer", "Smith"}, {"order", "7"}}));
    EXPECT_THAT(Parameters(), ElementsAre("customer=Smith", "order=7", "finish=zinc", "supplier=Velmart"));
    EXPECT_THAT(Workspace.CallsOf({"Create", "Append"}),
                ElementsAre("Create customer = Smith in target.features", "Append target.publisher: customer",
                            "Create order = 7 in target.features", "Append target.publisher: order",
                            "Create finish = zinc in target.features", "Append target.publisher: finish",
                            "Create supplier = Velmart in target.features", "Append target.publisher: supplier"));
    EXPECT_THAT(Reports(),
                ElementsAre("Add Property - name: customer - value: Smith", "Add Property - name: order - value: 7",
                            "Report Property - name: finish - value: zinc",
                            "Report Property - name: supplier - value: Velmart"));
}

TEST_F(PropertyReport, LetsTheTemplateWinOverExtrasAndTheseOverTheSource)
{
    Workspace.AddParameter(target, "own", "template");
    Workspace.AddParameter(source, "own", "source");
    Workspace.AddParameter(source, "extra", "source");
    EXPECT_EQ(S_OK, Report({{"own", "extra"}, {"extra", "extra"}}));
    EXPECT_THAT(Parameters(), ElementsAre("own=template", "extra=extra"));
    EXPECT_THAT(Reports(), ElementsAre("Property name already exists: own", "Add Property - name: extra - value: extra",
                                       "Property name already exists: own", "Property name already exists: extra"));
}

TEST_F(PropertyReport, DropsTheSecondOfANameInTheSameLetterCase)
{
    Workspace.AddParameter(source, "finish", "zinc");
    Workspace.AddParameter(source, "finish", "nickel");
    Workspace.AddParameter(source, "Finish", "in capitals");
    EXPECT_EQ(S_OK, Report({{"order", "1"}, {"order", "2"}}));
    EXPECT_THAT(Parameters(), ElementsAre("order=1", "finish=zinc", "Finish=in capitals"));
    EXPECT_THAT(Reports(),
                ElementsAre("Add Property - name: order - value: 1", "Property name already exists: order",
                            "Report Property - name: finish - value: zinc", "Property name already exists: finish",
                            "Report Property - name: Finish - value: in capitals"));
}

TEST_F(PropertyReport, SkipsWhatIsNoText)
{
    Workspace.AddParameter(source, "length", "12mm").isText = false;
    Workspace.AddParameter(source, "odd", "?").hasType = false;
    Workspace.AddParameter(source, "finish", "zinc");
    EXPECT_EQ(S_OK, Report());
    EXPECT_THAT(Parameters(), ElementsAre("finish=zinc"));
    EXPECT_THAT(Reports(), ElementsAre("WARNING : Property type not supported for length",
                                       "WARNING : Property type not supported for odd",
                                       "Report Property - name: finish - value: zinc"));
}

TEST_F(PropertyReport, LooksAtTheNameThenTheTypeThenTheValue)
{
    ScriptedObject& unset = Workspace.AddParameter(source, "width", "");
    unset.isText = false;
    unset.value.reset();
    Workspace.AddParameter(target, "length", "1mm");
    Workspace.AddParameter(source, "length", "12mm").isText = false;
    EXPECT_EQ(S_OK, Report());
    EXPECT_THAT(Reports(),
                ElementsAre("WARNING : Property type not supported for width", "Property name already exists: length"));
}

TEST_F(PropertyReport, SkipsWhatHasNoValueAndWhatIsNoParameterInSilence)
{
    Workspace.AddParameter(source, "unset", "").value.reset();
    Workspace.AddParameter(source, "strange", "x").offers.clear();
    Workspace.AddParameter(target, "strange", "x").offers.clear();
    Workspace.AddParameter(source, "empty", "");
    EXPECT_EQ(S_OK, Report({{"strange", "extra"}})) << "what is no parameter has no name";
    EXPECT_THAT(Parameters(), ElementsAre("strange=x", "strange=extra", "empty="));
    EXPECT_THAT(Reports(),
                ElementsAre("Add Property - name: strange - value: extra", "Report Property - name: empty - value: "));
}

TEST_F(PropertyReport, GoesOnWhereAParameterCannotBeMade)
{
    Workspace.AddParameter(source, "finish", "zinc");
    Workspace.AddParameter(source, "finish", "nickel");
    Workspace.AddParameter(source, "supplier", "Velmart");
    target.features->refusedNames = {"customer", "finish"};
    EXPECT_EQ(S_OK, Report({{"customer", "Smith"}, {"customer", "Jones"}, {"order", "7"}}));
    EXPECT_THAT(Parameters(), ElementsAre("order=7", "supplier=Velmart"));
    EXPECT_THAT(Workspace.CallsOf({"Create", "Append"}),
                ElementsAre("Create customer = Smith in target.features", "Append target.publisher: nothing",
                            "Create order = 7 in target.features", "Append target.publisher: order",
                            "Create finish = zinc in target.features", "Append target.publisher: nothing",
                            "Create supplier = Velmart in target.features", "Append target.publisher: supplier"))
        << "their names are taken all the same";
}

TEST_F(PropertyReport, GoesOnWhereTheHostFails)
{
    Workspace.AddParameter(source, "finish", "zinc");
    Workspace.AddParameter(source, "finish", "nickel");
    Workspace.AddParameter(target, "own", "template");
    Workspace.answers = {{"Read", E_FAIL}, {"Children", E_FAIL}, {"Append", E_FAIL}};
    EXPECT_EQ(S_OK, Report({{"own", "extra"}, {"order", "7"}, {"order", "8"}}));
    EXPECT_THAT(target.root->texts, ElementsAre("PN-1", "Bolt", "A bolt"));
    EXPECT_THAT(Parameters(), ElementsAre("own=template", "order=7", "finish=zinc"));
}

TEST_F(PropertyReport, TakesAParameterAfterAnUnsetOneOfTheSameName)
{
    Workspace.AddParameter(source, "finish", "").value.reset();
    Workspace.AddParameter(source, "finish", "zinc");
    EXPECT_EQ(S_OK, Report());
    EXPECT_THAT(Parameters(), ElementsAre("finish=zinc"));
}

// ---------------------------------------------------------------------------------------------
// The variable, read once in the life of a process

constexpr const char* Variable = "ZAL_VELMART_NO_REPORT_USERPROP";

/// What the report of a test's own process works on.
class ReportOfAProcess : public PropertyReport {
public:
    ReportOfAProcess() { unsetenv(Variable); }
    void TestBody() override {}

    void Report() { PropertyReport::Report(); }
    void ReportWithoutAFactory()
    {
        target.features->offers.erase("ZALICkeParmFactory");
        Report();
        target.features->offers.insert("ZALICkeParmFactory");
    }
    /// The parameters that the report of some user parameters leads to, and the traces of those that do not go over.
    Texts Reported()
    {
        Workspace.AddParameter(target, "own", "template");
        Workspace.AddParameter(source, "own", "source");
        Workspace.AddParameter(source, "length", "12mm").isText = false;
        Workspace.AddParameter(source, "finish", "zinc");
        Workspace.AddParameter(source, "supplier", "Velmart");
        Workspace.AddParameter(source, "SUPPLIER", "in capitals");
        Workspace.AddParameter(source, "supplier2", "another");
        PropertyReport::Report({{"customer", "Smith"}});
        Texts reported = Parameters();
        std::ranges::copy_if(Reports(), std::back_inserter(reported), [](const std::string& trace) {
            return trace.starts_with("Property name") || trace.starts_with("WARNING");
        });
        return reported;
    }
};

class PropertyReportVariable : public ::testing::Test {
protected:
    PropertyReportVariable() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    /// In a fresh process, the parameters reported after `steps` are `expected`.
    template <class Steps>
    static void ExpectReported(const Texts& expected, Steps steps)
    {
        const auto run = [&] {
            bool asExpected = false;
            {
                ReportOfAProcess report;
                steps(report);
                asExpected = report.Reported() == expected;
            }
            std::exit(asExpected ? 0 : 1);
        };
        EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "") << ::testing::PrintToString(expected);
    }

    const Texts all = {"own=template",
                       "customer=Smith",
                       "finish=zinc",
                       "supplier=Velmart",
                       "SUPPLIER=in capitals",
                       "supplier2=another",
                       "Property name already exists: own",
                       "WARNING : Property type not supported for length"};
    const Texts supplierOnly = {"own=template", "customer=Smith", "supplier=Velmart", "SUPPLIER=in capitals"};
};

TEST_F(PropertyReportVariable, LeavesTheSupplierAloneWhenItIsThere)
{
    ExpectReported(all, [](ReportOfAProcess&) {});
    for (const char* value : {"1", "0", ""})
        ExpectReported(supplierOnly, [&](ReportOfAProcess&) { setenv(Variable, value, 1); });
}

TEST_F(PropertyReportVariable, IsReadByTheFirstReportThatNeedsIt)
{
    ExpectReported(all, [](ReportOfAProcess& report) {
        report.Report();
        setenv(Variable, "1", 1);
    });
    ExpectReported(supplierOnly, [](ReportOfAProcess& report) {
        report.ReportWithoutAFactory();
        setenv(Variable, "1", 1);
    });
}

} // namespace
} // namespace openhost::testing
