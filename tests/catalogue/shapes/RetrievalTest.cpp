// The search over all items of the catalogue: who finds whom. The table of docs/shape-search.md is held against it.

#include "catalogue/items/AssemblyTable.h"
#include "catalogue/items/ItemMesh.h"
#include "catalogue/items/PartTable.h"
#include "catalogue/shapes/ShapeIndex.h"
#include "catalogue/shapes/ShapeToken.h"
#include "tests/catalogue/shapes/TestShapes.h"
#include "tests/support/Places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace catalogue::testing {

namespace {

/// Much finer and much coarser than the items are tessellated.
constexpr openhost::TessellationTolerance Finer{0.00025, 0.13};
constexpr openhost::TessellationTolerance Coarser{0.004, 0.52};

const Catalogue& Whole()
{
    static const Catalogue catalogue = [] {
        Catalogue built;
        AddParts(built);
        AddAssemblies(built);
        return built;
    }();
    return catalogue;
}

const std::vector<ShapeDescriptor>& Descriptors()
{
    static const std::vector<ShapeDescriptor> descriptors = [] {
        std::vector<ShapeDescriptor> made;
        for (const Item& item : Whole().items)
            made.push_back(DecodeShapeToken(EncodeShapeToken(DescribeShape(TessellateItem(Whole(), item)))));
        return made;
    }();
    return descriptors;
}

/// Items of one family have the same name but for its last part, which is their size.
std::string FamilyOf(const Item& item)
{
    return item.id.substr(0, item.id.rfind('-'));
}

std::vector<ShapeIndex::Match> Rank(const ShapeDescriptor& descriptor)
{
    static const ShapeIndex index = [] {
        ShapeIndex filled;
        for (const ShapeDescriptor& each : Descriptors())
            filled.Add(each);
        return filled;
    }();
    return index.Rank(descriptor, Descriptors().size());
}

struct Copy {
    const char* name;
    ShapeDescriptor descriptor;
};

std::vector<Copy> CopiesOf(const Item& item)
{
    const openhost::LvrMesh mesh = TessellateItem(Whole(), item);
    openhost::LvrMesh shifted;
    openhost::AddPlaced(shifted, mesh, {1, 0, 0, -2000, 0, 1, 0, 5000, 0, 0, 1, 300});
    return {{"turned", DescribeShape(Moved(mesh))},
            {"moved", DescribeShape(shifted)},
            {"mirrored", DescribeShape(Mirrored(mesh))},
            {"finer", DescribeShape(Moved(TessellateItem(Whole(), item, Finer)))},
            {"coarser", DescribeShape(Moved(TessellateItem(Whole(), item, Coarser)))}};
}

/// The end of the row of the item `number`: its family, and the nearest item of another one.
std::string Neighbours(std::size_t number)
{
    std::string family;
    std::string other;
    for (const ShapeIndex::Match& match : Rank(Descriptors()[number])) {
        const Item& found = Whole().items[match.shape];
        if (match.shape == number)
            continue;
        if (FamilyOf(found) == FamilyOf(Whole().items[number]))
            family += (family.empty() ? "" : ", ") + found.id;
        else if (other.empty())
            other = found.id;
    }
    return (family.empty() ? "none" : family) + " | " + other + " |\n";
}

} // namespace

TEST(Retrieval, EveryCopyFindsItsOriginFirstAsTheTableOfTheDocumentSays)
{
    std::string table;
    for (std::size_t number = 0; number < Whole().items.size(); ++number) {
        const Item& item = Whole().items[number];
        table += "| " + item.id + " | ";
        for (const Copy& copy : CopiesOf(item)) {
            const std::vector<ShapeIndex::Match> matches = Rank(copy.descriptor);
            EXPECT_EQ(matches[0].shape, number) << item.id << ", " << copy.name;
            EXPECT_LT(1.5 * matches[0].distance, matches[1].distance)
                << item.id << ", " << copy.name << ": the next is nearly as close";
            const auto found = std::ranges::find(matches, number, &ShapeIndex::Match::shape);
            table += std::to_string(found - matches.begin() + 1) + " | ";
        }
        table += Neighbours(number);
    }

    std::ifstream file(SourceDir() + "/docs/shape-search.md");
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(std::string::npos, document.find(table)) << "docs/shape-search.md must hold these rows:\n" << table;
}

TEST(Retrieval, EverySizeOfAFamilyComesBeforeEveryOtherItem)
{
    for (std::size_t number = 0; number < Whole().items.size(); ++number) {
        const Item& item = Whole().items[number];
        bool left = false;
        for (const ShapeIndex::Match& match : Rank(Descriptors()[number])) {
            const Item& found = Whole().items[match.shape];
            const bool inside = FamilyOf(found) == FamilyOf(item);
            EXPECT_FALSE(inside && left) << item.id << " finds " << found.id << " after another family";
            left = left || !inside;
        }
    }
}

TEST(Retrieval, SizesOfAFamilyComeInTheOrderOfTheirDistanceInSize)
{
    const auto order = [](const std::string& id) {
        std::vector<std::string> found;
        for (std::size_t number = 0; number < Whole().items.size(); ++number)
            if (Whole().items[number].id == id)
                for (const ShapeIndex::Match& match : Rank(Descriptors()[number]))
                    found.push_back(Whole().items[match.shape].id);
        found.resize(3);
        return found;
    };
    for (const std::string family : {"hexagon-nut-m", "washer-m"}) {
        EXPECT_EQ(order(family + "6"), (std::vector{family + "6", family + "8", family + "10"}));
        EXPECT_EQ(order(family + "10"), (std::vector{family + "10", family + "8", family + "6"}));
    }
}

} // namespace catalogue::testing
