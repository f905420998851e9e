#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
        const HRESULT result = FindRootProduct(ListOf(files), index);
        EXPECT_EQ(Documents().LivingObjects(), 0);
        return {result, index};
    }
    /// The names that `product` points to.
    std::vector<std::string> Pointed(const std::string& product, HRESULT expected)
    {
        ZALListValZALUnicodeString names;
        EXPECT_EQ(GetPointedProducts(FromUtf8(product), names), expected);
        EXPECT_EQ(Documents().LivingObjects(), 0);
        return TextsOf(names);
    }
    /// Points `product` to `pointed`.
    void Point(const std::string& product, const std::vector<std::string>& pointed,
               DocumentFault fault = DocumentFault::None)
    {
        Documents().SetDocument(product, {pointed, fault});
    }
};

// ---------------------------------------------------------------------------------------------
// None, one, and one among several

TEST_F(RootProduct, IsNotChosenFromNoFiles)
{
    EXPECT_EQ(Find({}), (Found{S_OK, -1}));
}

TEST_F(RootProduct, IsNotChosenFromOtherFiles)
{
    EXPECT_EQ(Find({"/p/a.ZALPart", "/p/ZALProduct", "/p/a.ZALProduct.bak", "/p.ZALProduct/a", "/p/.ZALProduct"}),
              (Found{S_OK, -1}));
}

TEST_F(RootProduct, IsTheOnlyProductWithoutOpeningIt)
{
    EXPECT_EQ(Find({"/p/a.ZALPart", "/p/A.ZALProduct", "/p/b.ZALPart"}), (Found{S_OK, 2}));
    EXPECT_THAT(Documents().Calls(), IsEmpty());
}

TEST_F(RootProduct, IsKnownByItsExtensionInAnyLetterCase)
{
    EXPECT_EQ(Find({"/p/a.ZALPart", "/p/A.zalproduct"}), (Found{S_OK, 2}));
}

TEST_F(RootProduct, IsTheOneThatNoOtherPointsTo)
{
    Point("A.ZALProduct", {"/q/B.ZALProduct", "/q/C.ZALProduct"});
    Point("B.ZALProduct", {"/q/C.ZALProduct"});
    Point("C.ZALProduct", {"/q/c.ZALPart"});

    EXPECT_EQ(Find({"/p/C.ZALProduct", "/p/B.ZALProduct", "/p/A.ZALProduct"}), (Found{S_OK, 3}));
}

TEST_F(RootProduct, PositionCountsAllFiles)
{
    Point("A.ZALProduct", {"B.ZALProduct"});
    Point("B.ZALProduct", {});

    EXPECT_EQ(Find({"/p/1.ZALPart", "/p/B.ZALProduct", "/p/2.ZALPart", "/p/A.ZALProduct"}), (Found{S_OK, 4}));
}

// ---------------------------------------------------------------------------------------------
// Quirks

TEST_F(RootProduct, IsTheSecondOfTwoCandidates)
{
    Point("A.ZALProduct", {"elsewhere.ZALProduct"});
    Point("B.ZALProduct", {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/B.ZALProduct"}), (Found{E_FAIL, 2}));
}

TEST_F(RootProduct, IsTheSecondOfThreeCandidates)
{
    for (const char* name : {"A.ZALProduct", "B.ZALProduct", "C.ZALProduct"})
        Point(name, {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/x", "/p/B.ZALProduct", "/p/C.ZALProduct"}), (Found{E_FAIL, 3}));
}

TEST_F(RootProduct, IsTheFirstProductWhenTwoHaveTheSameName)
{
    EXPECT_EQ(Find({"/p/x", "/p/B.ZALProduct", "/p/one/A.ZALProduct", "/p/two/A.ZALProduct", "/p/C.ZALProduct"}),
              (Found{E_FAIL, 2}));
    EXPECT_THAT(Documents().Calls(), IsEmpty());
}

TEST_F(RootProduct, NamesThatDifferInLetterCaseAreTwoProducts)
{
    Point("a.ZALProduct", {});
    Point("A.ZALProduct", {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/one/a.ZALProduct", "/p/two/A.ZALProduct"}), (Found{S_OK, 2}));
}

TEST_F(RootProduct, ChildrenAreKnownByTheLetterCaseOfTheirNames)
{
    Point("A.ZALProduct", {"b.ZALProduct"});
    Point("B.ZALProduct", {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/B.ZALProduct"}), (Found{E_FAIL, 2})) << "both are candidates";
}

TEST_F(RootProduct, IsNeverALeaf)
{
    Point("leaf.ZALProduct", {"a.ZALPart", "b.ZALPart"});
    Point("A.ZALProduct", {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/leaf.ZALProduct", "/p/A.ZALProduct"}), (Found{S_OK, 2}));
}

TEST_F(RootProduct, IsTheFirstProductWhenAllAreLeaves)
{
    Point("A.ZALProduct", {});
    Point("B.ZALProduct", {});

    EXPECT_EQ(Find({"/p/x", "/p/A.ZALProduct", "/p/B.ZALProduct"}), (Found{E_FAIL, 2}));
}

TEST_F(RootProduct, OfACircleIsTheOneThatIsLookedAtFirst)
{
    Point("A.ZALProduct", {"B.ZALProduct"});
    Point("B.ZALProduct", {"A.ZALProduct"});

    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/B.ZALProduct"}), (Found{S_OK, 1}));
}

TEST_F(RootProduct, ThatPointsToItselfIsNoCandidate)
{
    Point("A.ZALProduct", {"A.ZALProduct", "B.ZALProduct"});
    Point("B.ZALProduct", {});

    EXPECT_EQ(Find({"/p/B.ZALProduct", "/p/A.ZALProduct"}), (Found{E_FAIL, 1}));
}

TEST_F(RootProduct, KnownChildrenAreNotOpened)
{
    Point("A.ZALProduct", {"B.ZALProduct"});
    Point("B.ZALProduct", {"C.ZALProduct"});

    Find({"/p/A.ZALProduct", "/p/B.ZALProduct"});

    EXPECT_EQ(std::ranges::count(Documents().Calls(), "OpenRootStg A.ZALProduct"), 1);
    EXPECT_EQ(std::ranges::count(Documents().Calls(), "OpenRootStg B.ZALProduct"), 0);
}

TEST_F(RootProduct, ChildrenAreKnownByNameWhateverTheirFolder)
{
    Point("A.ZALProduct", {"\\\\server\\elsewhere\\B.ZALProduct"});
    Point("B.ZALProduct", {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/sub\\B.ZALProduct"}), (Found{S_OK, 1}));
}

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

    EXPECT_EQ(Find(files), (Found{S_OK, 2001}));
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

    EXPECT_EQ(Pointed("/p/A.ZALProduct", GetParam().result), GetParam().names);
    EXPECT_EQ(Documents().Calls(), GetParam().calls);
}

TEST_P(FaultyProduct, StillLeadsToARoot)
{
    Point("A.ZALProduct", {"/q/B.ZALProduct"}, GetParam().fault);
    Point("B.ZALProduct", {});

    EXPECT_EQ(Find({"/p/B.ZALProduct", "/p/A.ZALProduct"}), GetParam().root);
}

const std::string Opened = "OpenRootStg A.ZALProduct";
const std::string Closed = "Close A.ZALProduct";

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultyProduct,
    ::testing::Values(FaultCase{"None",
                                DocumentFault::None,
                                S_OK,
                                {"B.ZALProduct"},
                                {S_OK, 2},
                                {Opened, "OpenStorage ZALOR1", "CreateDocLinkManager", "Close ZALOR1", Closed,
                                 "GetPointedDocuments"}},
                      FaultCase{"RootFails", DocumentFault::RootFails, E_FAIL, {}, {S_OK, 2}, {Opened}},
                      FaultCase{"RootIsNull", DocumentFault::RootIsNull, E_FAIL, {}, {S_OK, 2}, {Opened}},
                      FaultCase{"StorageMissing",
                                DocumentFault::StorageMissing,
                                E_FAIL,
                                {},
                                {S_OK, 2},
                                {Opened, "OpenStorage ZALOR1", Closed}},
                      FaultCase{"ManagerMissing",
                                DocumentFault::ManagerMissing,
                                E_FAIL,
                                {},
                                {S_OK, 2},
                                {Opened, "OpenStorage ZALOR1", "CreateDocLinkManager", "Close ZALOR1", Closed}},
                      // Reading succeeds with nothing, so that the product counts as a leaf.
                      FaultCase{"SymbolsMissing",
                                DocumentFault::SymbolsMissing,
                                S_OK,
                                {},
                                {E_FAIL, 1},
                                {Opened, "OpenStorage ZALOR1", "CreateDocLinkManager", "Close ZALOR1", Closed}},
                      FaultCase{"QueryFails",
                                DocumentFault::QueryFails,
                                E_FAIL,
                                {"B.ZALProduct"},
                                {S_OK, 2},
                                {Opened, "OpenStorage ZALOR1", "CreateDocLinkManager", "Close ZALOR1", Closed,
                                 "GetPointedDocuments"}}));

TEST_F(RootProduct, NamesOfAFailedQueryAreNotUsed)
{
    Point("A.ZALProduct", {"B.ZALProduct"}, DocumentFault::QueryFails);
    Point("B.ZALProduct", {"elsewhere.ZALProduct"});

    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/B.ZALProduct"}), (Found{E_FAIL, 2})) << "both are candidates";
}

TEST_F(RootProduct, OfUnreadableProductsIsTheSecondOne)
{
    EXPECT_EQ(Find({"/p/A.ZALProduct", "/p/B.ZALProduct", "/p/C.ZALProduct"}), (Found{E_FAIL, 2}));
}

// ---------------------------------------------------------------------------------------------
// Names that a product points to

TEST_F(RootProduct, PointedPartsAreLeftOut)
{
    Point("A.ZALProduct", {"/q/a.ZALPart", "/q/B.zalproduct", "/q/notes.pdf", "/q/sub\\C.ZALProduct", "ZALProduct"});

    EXPECT_THAT(Pointed("/p/A.ZALProduct", S_OK), ElementsAre("B.zalproduct", "C.ZALProduct"));
}

TEST_F(RootProduct, PointedNamesAreAppended)
{
    Point("A.ZALProduct", {"B.ZALProduct"});
    ZALListValZALUnicodeString names = ListOf({"before"});

    EXPECT_EQ(GetPointedProducts("/p/A.ZALProduct", names), S_OK);

    EXPECT_THAT(TextsOf(names), ElementsAre("before", "B.ZALProduct"));
}

TEST_F(RootProduct, MissingDocumentPointsToNothing)
{
    EXPECT_THAT(Pointed("/p/missing.ZALProduct", E_FAIL), IsEmpty());
}

} // namespace
} // namespace openhost::testing
