#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;

struct Found {
    HRESULT result;
    int index;

    friend bool operator==(const Found&, const Found&) = default;
};

void PrintTo(const Found& found, std::ostream* stream)
{
    *stream << "result " << found.result << ", index " << found.index;
}

class RootProduct : public HostFixture {
protected:
    Found Find(const std::vector<std::string>& files)
    {
        int index = 99;
        const HRESULT result = FindRootProduct(List(files), index);
        EXPECT_EQ(0, Documents().LivingObjects());
        return {result, index};
    }
    /// Points `product` to `pointed`.
    void Point(const std::string& product, const std::vector<std::string>& pointed,
               DocumentFault fault = DocumentFault::None)
    {
        Documents().SetDocument(product, {pointed, fault});
    }
};

struct RootCase {
    const char* name;
    std::vector<std::pair<std::string, std::vector<std::string>>> pointed; ///< by product, its documents
    std::vector<std::string> files;
    Found found;
    std::vector<std::string> opened;

    friend std::ostream& operator<<(std::ostream& stream, const RootCase& root) { return stream << root.name; }
};

class RootAmong : public RootProduct, public ::testing::WithParamInterface<RootCase> {};

TEST_P(RootAmong, IsTheProductThatNoOtherPointsTo)
{
    for (const auto& [product, pointed] : GetParam().pointed)
        Point(product, pointed);
    EXPECT_EQ(GetParam().found, Find(GetParam().files));
    std::vector<std::string> opened;
    for (const std::string& call : Documents().Calls())
        if (call.starts_with("OpenRootStg "))
            opened.push_back(call.substr(call.find(' ') + 1));
    EXPECT_EQ(GetParam().opened, opened);
}

const std::string A = "A.ZALProduct";
const std::string B = "B.ZALProduct";
const std::string C = "C.ZALProduct";
const std::string Elsewhere = "elsewhere.ZALProduct";

const RootCase RootAmongCases[] = {
    {"NoFiles", {}, {}, {S_OK, -1}, {}},
    {"OtherFiles",
     {},
     {"/p/a.ZALPart", "/p/ZALProduct", "/p/a.ZALProduct.bak", "/p.ZALProduct/a", "/p/.ZALProduct"},
     {S_OK, -1},
     {}},
    {"OneProductIsNotOpened", {}, {"/p/a.ZALPart", "/p/A.ZALProduct", "/p/b.ZALPart"}, {S_OK, 2}, {}},
    {"ExtensionInAnyLetterCase", {}, {"/p/a.ZALPart", "/p/A.zalproduct"}, {S_OK, 2}, {}},
    {"OneAmongThree",
     {{A, {"/q/B.ZALProduct", "/q/C.ZALProduct"}}, {B, {"/q/C.ZALProduct"}}, {C, {"/q/c.ZALPart"}}},
     {"/p/C.ZALProduct", "/p/B.ZALProduct", "/p/A.ZALProduct"},
     {S_OK, 3},
     {C, B, A}},
    {"PositionCountsAllFiles",
     {{A, {B}}, {B, {}}},
     {"/p/1.ZALPart", "/p/B.ZALProduct", "/p/2.ZALPart", "/p/A.ZALProduct"},
     {S_OK, 4},
     {B, A}},
    {"SecondOfTwoCandidates",
     {{A, {Elsewhere}}, {B, {Elsewhere}}},
     {"/p/A.ZALProduct", "/p/B.ZALProduct"},
     {E_FAIL, 2},
     {A, B}},
    {"SecondOfThreeCandidates",
     {{A, {Elsewhere}}, {B, {Elsewhere}}, {C, {Elsewhere}}},
     {"/p/A.ZALProduct", "/p/x", "/p/B.ZALProduct", "/p/C.ZALProduct"},
     {E_FAIL, 3},
     {A, B, C}},
    {"FirstProductWhenTwoHaveTheSameName",
     {},
     {"/p/x", "/p/B.ZALProduct", "/p/one/A.ZALProduct", "/p/two/A.ZALProduct", "/p/C.ZALProduct"},
     {E_FAIL, 2},
     {}},
    {"NamesThatDifferInLetterCaseAreTwo",
     {{"a.ZALProduct", {}}, {A, {Elsewhere}}},
     {"/p/one/a.ZALProduct", "/p/two/A.ZALProduct"},
     {S_OK, 2},
     {"a.ZALProduct", A}},
    {"ChildrenAreKnownByTheirLetterCase",
     {{A, {"b.ZALProduct"}}, {B, {Elsewhere}}},
     {"/p/A.ZALProduct", "/p/B.ZALProduct"},
     {E_FAIL, 2},
     {A, B}},
    {"NeverALeaf",
     {{"leaf.ZALProduct", {"a.ZALPart", "b.ZALPart"}}, {A, {Elsewhere}}},
     {"/p/leaf.ZALProduct", "/p/A.ZALProduct"},
     {S_OK, 2},
     {"leaf.ZALProduct", A}},
    {"FirstProductWhenAllAreLeaves",
     {{A, {}}, {B, {}}},
     {"/p/x", "/p/A.ZALProduct", "/p/B.ZALProduct"},
     {E_FAIL, 2},
     {A, B}},
    {"FirstOfACircle", {{A, {B}}, {B, {A}}}, {"/p/A.ZALProduct", "/p/B.ZALProduct"}, {S_OK, 1}, {A}},
    {"NotOneThatPointsToItself", {{A, {A, B}}, {B, {}}}, {"/p/B.ZALProduct", "/p/A.ZALProduct"}, {E_FAIL, 1}, {B, A}},
    {"KnownChildrenAreNotOpened", {{A, {B}}, {B, {C}}}, {"/p/A.ZALProduct", "/p/B.ZALProduct"}, {S_OK, 1}, {A}},
    {"ChildrenAreKnownByNameInAnyFolder",
     {{A, {"\\\\server\\elsewhere\\B.ZALProduct"}}, {B, {Elsewhere}}},
     {"/p/A.ZALProduct", "/p/sub\\B.ZALProduct"},
     {S_OK, 1},
     {A}},
    {"SecondOfUnreadableProducts",
     {},
     {"/p/A.ZALProduct", "/p/B.ZALProduct", "/p/C.ZALProduct"},
     {E_FAIL, 2},
     {A, B, C}}};

INSTANTIATE_TEST_SUITE_P(Products, RootAmong, ::testing::ValuesIn(RootAmongCases));

TEST_F(RootProduct, OfThousandsOfProductsIsFound)
{
    std::vector<std::string> files;
    std::vector<std::string> children;
    for (int number = 0; number < 2000; ++number) {
        children.push_back(std::to_string(number) + ".ZALProduct");
        files.push_back("/p/" + children.back());
        Point(children.back(), {});
    }
    files.push_back("/p/A.ZALProduct");
    Point("A.ZALProduct", children);
    EXPECT_EQ((Found{S_OK, 2001}), Find(files));
}

// ---------------------------------------------------------------------------------------------
// Products that cannot be read

struct FaultCase {
    const char* name;
    DocumentFault fault;
    HRESULT result; ///< of reading the product alone
    std::vector<std::string> names;
    Found root; ///< among the faulty product and a leaf that it points to
    std::vector<std::string> calls;

    friend std::ostream& operator<<(std::ostream& stream, const FaultCase& faulty) { return stream << faulty.name; }
};

class FaultyProduct : public RootProduct, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(FaultyProduct, GivesWhatCanBeRead)
{
    Point("A.ZALProduct", {"/q/B.ZALProduct", "/q/part.ZALPart"}, GetParam().fault);
    ZALListValZALUnicodeString names;
    EXPECT_EQ(GetParam().result, GetPointedProducts("/p/A.ZALProduct", names));
    EXPECT_EQ(GetParam().names, TextsOf(names));
    EXPECT_EQ(GetParam().calls, Documents().Calls());
    EXPECT_EQ(0, Documents().LivingObjects());
}

TEST_P(FaultyProduct, StillLeadsToARoot)
{
    Point("A.ZALProduct", {"/q/B.ZALProduct"}, GetParam().fault);
    Point("B.ZALProduct", {});
    EXPECT_EQ(GetParam().root, Find({"/p/B.ZALProduct", "/p/A.ZALProduct"}));
}

/// The calls for a product up to the `count`th.
std::vector<std::string> Calls(std::size_t count, bool isClosed = true)
{
    std::vector<std::string> calls{"OpenRootStg A.ZALProduct", "OpenStorage ZALOR1", "CreateDocLinkManager",
                                   "Close ZALOR1"};
    calls.resize(count);
    if (isClosed)
        calls.emplace_back("Close A.ZALProduct");
    return calls;
}
/// All of them, with the question for the links.
std::vector<std::string> AllCalls()
{
    std::vector<std::string> calls = Calls(4);
    calls.emplace_back("GetPointedDocuments");
    return calls;
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultyProduct,
    ::testing::Values(FaultCase{"None", DocumentFault::None, S_OK, {B}, {S_OK, 2}, AllCalls()},
                      FaultCase{"RootFails", DocumentFault::RootFails, E_FAIL, {}, {S_OK, 2}, Calls(1, false)},
                      FaultCase{"RootIsNull", DocumentFault::RootIsNull, E_FAIL, {}, {S_OK, 2}, Calls(1, false)},
                      FaultCase{"StorageMissing", DocumentFault::StorageMissing, E_FAIL, {}, {S_OK, 2}, Calls(2)},
                      FaultCase{"ManagerMissing", DocumentFault::ManagerMissing, E_FAIL, {}, {S_OK, 2}, Calls(4)},
                      // Reading succeeds with nothing, so that the product counts as a leaf.
                      FaultCase{"SymbolsMissing", DocumentFault::SymbolsMissing, S_OK, {}, {E_FAIL, 1}, Calls(4)},
                      FaultCase{"QueryFails", DocumentFault::QueryFails, E_FAIL, {B}, {S_OK, 2}, AllCalls()}));

TEST_F(RootProduct, NamesOfAFailedQueryAreNotUsed)
{
    Point("A.ZALProduct", {"B.ZALProduct"}, DocumentFault::QueryFails);
    Point("B.ZALProduct", {"elsewhere.ZALProduct"});
    EXPECT_EQ((Found{E_FAIL, 2}), Find({"/p/A.ZALProduct", "/p/B.ZALProduct"})) << "both are candidates";
}

TEST_F(RootProduct, PointedProductsAreAppendedWithoutTheParts)
{
    Point("A.ZALProduct", {"/q/a.ZALPart", "/q/B.zalproduct", "/q/notes.pdf", "/q/sub\\C.ZALProduct", "ZALProduct"});
    ZALListValZALUnicodeString names = List({"before"});
    EXPECT_EQ(S_OK, GetPointedProducts("/p/A.ZALProduct", names));
    EXPECT_EQ(E_FAIL, GetPointedProducts("/p/missing.ZALProduct", names));
    EXPECT_THAT(TextsOf(names), ElementsAre("before", "B.zalproduct", "C.ZALProduct"));
    EXPECT_EQ(0, Documents().LivingObjects());
}

} // namespace
} // namespace openhost::testing
