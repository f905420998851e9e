// The product tree of the window.

#include "openhost/desktop/tree/ProductModel.h"
#include "tests/openhost/cad/WorkspaceFixture.h"

#include <QAbstractItemModelTester>
#include <QFont>

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

class ProductModelTest : public WorkspaceFixture {
protected:
    ProductModelTest()
    {
        Part("a.ZALPart");
        Product("inner.ZALProduct", {"A.1=a.ZALPart", "A.2=a.ZALPart"});
        Workspace().Open(
            Product("root.ZALProduct", {"B.1=inner.ZALProduct", "C.1=gone.ZALPart", "B.2=inner.ZALProduct"}));
        outline_ = std::make_shared<ProductOutline>(*Workspace().Active());
        model_.Show(outline_);
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (ProductOutline::Number number = 0; number < outline_->Size(); ++number)
            names.push_back(outline_->NamesTo(number));
        return names;
    }
    QString Text(ProductOutline::Number number, int column) const
    {
        return model_.data(model_.IndexOf(number, column), Qt::DisplayRole).toString();
    }

    std::shared_ptr<const ProductOutline> outline_;
    ProductModel model_;
};

TEST_F(ProductModelTest, AnOutlineHasAtMostThreeHundredThousandEntries)
{
    std::vector<std::string> children;
    const auto add = [&](std::size_t count, const std::string& file) {
        for (std::size_t index = 0; index < count; ++index)
            children.push_back(std::to_string(children.size()) + "=" + file);
    };
    add(299, "a.ZALPart");
    Product("bolts.ZALProduct", children);
    // The root, 999 with 299 each, and single ones.
    children.clear();
    add(999, "bolts.ZALProduct");
    add(ProductOutline::MaximumEntries - 1 - 999 * 300, "a.ZALPart");
    const ProductOutline whole(OpenProduct("most.ZALProduct", children));
    EXPECT_EQ(ProductOutline::MaximumEntries, whole.Size());
    EXPECT_FALSE(whole.IsCut());
    add(1, "a.ZALPart");
    const ProductOutline cut(OpenProduct("more.ZALProduct", children));
    EXPECT_EQ(ProductOutline::MaximumEntries, cut.Size());
    EXPECT_TRUE(cut.IsCut());
}

TEST_F(ProductModelTest, EntriesStandInTheOrderOfTheTree)
{
    EXPECT_THAT(Names(), ElementsAre("root", "root/B.1", "root/B.1/A.1", "root/B.1/A.2", "root/C.1", "root/B.2",
                                     "root/B.2/A.1", "root/B.2/A.2"));
    EXPECT_EQ(4U, outline_->At(1).end);
    EXPECT_EQ(8U, outline_->At(0).end);
}

TEST_F(ProductModelTest, PlacesAddUpFromTheRoot)
{
    // The second of its father, which is the third of the root.
    EXPECT_EQ((Vector{50, 0, 0}), ShiftOf(outline_->At(7).placement));
}

TEST_F(ProductModelTest, ThePathToAnEntryIsTheOneOfItsNames)
{
    const Owned<ZALPathElement> byNames(Workspace().FindPath("root/B.2/A.1"));
    const Owned<ZALPathElement> byNumber = outline_->PathTo(6);
    byNames->InitToLeafElement();
    byNumber->InitToLeafElement();
    for (int step = 0; step < 3; ++step)
        EXPECT_EQ(byNames->GetNextFatherObject(), byNumber->GetNextFatherObject()) << "at " << step;
}

TEST_F(ProductModelTest, AnEntryIsFoundAgainByItsWay)
{
    for (ProductOutline::Number number = 0; number < outline_->Size(); ++number)
        EXPECT_EQ(number, outline_->Find(outline_->WayTo(number)));
}

TEST_F(ProductModelTest, AWayThatHasGoneLeadsToWhatIsLeftOfIt)
{
    const auto way = outline_->WayTo(7);
    Workspace().ReplaceComponent(*Workspace().Active()->Root(), *Workspace().Active()->Children()[2],
                                 Part("b.ZALPart"));
    const ProductOutline now(*Workspace().Active());
    EXPECT_EQ("root/" + Workspace().Active()->Children()[2]->Name(), now.NamesTo(now.Find(way)));
}

TEST_F(ProductModelTest, QtFindsNothingWrongWithIt)
{
    const QAbstractItemModelTester tester(&model_, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model_.Show(std::make_shared<ProductOutline>(*Workspace().Active()));
    model_.Show(std::make_shared<ProductOutline>());
    EXPECT_EQ(0, model_.rowCount());
}

TEST_F(ProductModelTest, AMissingComponentIsShownAsSuch)
{
    EXPECT_EQ("C.1", Text(4, ProductModel::NameColumn));
    EXPECT_EQ("missing", Text(4, ProductModel::PartNumberColumn));
    EXPECT_EQ("a", Text(2, ProductModel::PartNumberColumn));
    EXPECT_EQ("C.1, missing", model_.data(model_.IndexOf(4), Qt::AccessibleTextRole));
}

TEST_F(ProductModelTest, WhatCannotBePickedSaysWhyAndTheRestStandsOut)
{
    model_.SetRefusal([](ProductOutline::Number number) { return number == 4 ? QString("not this one") : QString(); });
    const auto isBold = [&](ProductOutline::Number number) {
        return model_.data(model_.IndexOf(number), Qt::FontRole).value<QFont>().bold();
    };
    EXPECT_EQ("not this one", model_.data(model_.IndexOf(4), Qt::ToolTipRole).toString());
    EXPECT_FALSE(isBold(4));
    EXPECT_TRUE(isBold(1));
    model_.SetRefusal({});
    EXPECT_FALSE(isBold(1));
}

TEST_F(ProductModelTest, AProductThatHasGoneIsHeldWithoutItsDocument)
{
    Workspace().Close(*Workspace().Active());
    EXPECT_EQ(nullptr, outline_->Document(2));
    EXPECT_NE("a", Text(2, ProductModel::PartNumberColumn));
}

} // namespace

} // namespace openhost::testing
