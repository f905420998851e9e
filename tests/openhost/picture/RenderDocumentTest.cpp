#include "openhost/picture/RenderDocument.h"

#include "openhost/picture/Rasterizer.h"
#include "tests/support/SolidDocuments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr PictureSize Size{240, 180};
/// The free margin of a picture along each side, as a part of it.
constexpr double Margin = 0.06;

Placement At(double x, double y, double z)
{
    return {1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z};
}

/// The pixels that are not background.
struct Drawn {
    int left = 1 << 20;
    int right = -1;
    int top = 1 << 20;
    int bottom = -1;
    int pixels = 0;

    explicit Drawn(const Picture& picture)
    {
        for (int y = 0; y < picture.size.height; ++y)
            for (int x = 0; x < picture.size.width; ++x) {
                if (picture.At(x, y) == BackgroundColor)
                    continue;
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
                ++pixels;
            }
    }
    int Width() const { return right - left + 1; }
    int Height() const { return bottom - top + 1; }
};

/// How far two colours are apart when their brightness is left aside.
double HueDistance(const Color& a, const Color& b)
{
    const auto parts = [](const Color& color) {
        const double sum = color[0] + color[1] + color[2] + 1.0;
        return std::array{color[0] / sum, color[1] / sum, color[2] / sum};
    };
    const auto x = parts(a);
    const auto y = parts(b);
    return std::hypot(x[0] - y[0], x[1] - y[1], x[2] - y[2]);
}

int Brightness(const Color& color)
{
    return color[0] + color[1] + color[2];
}

class Render : public ::testing::Test {
protected:
    Picture Draw(const std::string& fileName, PictureSize size = Size)
    {
        return RenderDocument(documents_.Path(fileName), size,
                              [this](const std::string& line) { warnings_.push_back(line); });
    }

    void TwoBlocks(const Placement& first, const Placement& second) const
    {
        documents_.Box("a.ZALPart", "A", {-5, -5, -5}, {5, 5, 5});
        documents_.Box("b.ZALPart", "B", {-5, -5, -5}, {5, 5, 5});
        documents_.Product("two.ZALProduct", "TWO", {{"a", "a.ZALPart", first}, {"b", "b.ZALPart", second}});
    }

    SolidDocuments documents_;
    std::vector<std::string> warnings_;
};

} // namespace

TEST_F(Render, PictureHasItsSizeAndTheBackgroundInItsCorners)
{
    documents_.Box("a.ZALPart", "A", {0, 0, 0}, {10, 20, 5});
    for (const PictureSize size : {Size, PictureSize{1, 1}, PictureSize{64, 3}, PictureSize{31, 200}}) {
        const Picture picture = Draw("a.ZALPart", size);
        EXPECT_EQ(size, picture.size);
        ASSERT_EQ(picture.pixels.size(), static_cast<std::size_t>(size.width * size.height));
        if (size.width > 8 && size.height > 8) {
            EXPECT_EQ(picture.At(0, 0), BackgroundColor);
            EXPECT_EQ(picture.At(size.width - 1, 0), BackgroundColor);
            EXPECT_EQ(picture.At(0, size.height - 1), BackgroundColor);
            EXPECT_EQ(picture.At(size.width - 1, size.height - 1), BackgroundColor);
        }
        EXPECT_GT(Drawn(picture).pixels, 0);
    }
}

TEST_F(Render, SilhouetteFillsThePictureButForTheMargin)
{
    // A cube of side s is, in this view, s*sqrt(2) wide and s*2*sqrt(2/3) high, and covers a hexagon.
    documents_.Box("cube.ZALPart", "CUBE", {100, 200, 300}, {110, 210, 310});
    const Drawn drawn(Draw("cube.ZALPart"));
    const double height = Size.height * (1 - 2 * Margin);
    EXPECT_NEAR(drawn.Height(), height, 3);
    EXPECT_NEAR(drawn.Width(), height * std::sqrt(3.0) / 2, 3);
    EXPECT_NEAR(drawn.left + drawn.right, Size.width - 1, 2);
    EXPECT_NEAR(drawn.top + drawn.bottom, Size.height - 1, 2);
    EXPECT_NEAR(drawn.pixels, height * height * std::sqrt(3.0) / 2 * 0.75, 0.035 * height * height);
}

TEST_F(Render, SilhouetteOfARoundShapeIsRound)
{
    documents_.Part("ball.ZALPart", "BALL", BRepPrimAPI_MakeSphere(gp_Pnt(1, 2, 3), 7).Shape());
    const Drawn drawn(Draw("ball.ZALPart"));
    const double diameter = Size.height * (1 - 2 * Margin);
    EXPECT_NEAR(drawn.Height(), diameter, 3);
    EXPECT_NEAR(drawn.Width(), diameter, 3);
    EXPECT_NEAR(drawn.pixels, 3.14159 / 4 * diameter * diameter, 0.03 * diameter * diameter);
}

TEST_F(Render, TopIsBrightestThenTheFrontThenTheRight)
{
    documents_.Box("cube.ZALPart", "CUBE", {0, 0, 0}, {10, 10, 10});
    const Picture picture = Draw("cube.ZALPart");
    const int x = Size.width / 2;
    const int y = Size.height / 2;
    const int top = Brightness(picture.At(x, y - 30));
    const int front = Brightness(picture.At(x - 25, y + 20));
    const int right = Brightness(picture.At(x + 25, y + 20));
    EXPECT_GT(top, front + 20);
    EXPECT_GT(front, right + 20);
}

TEST_F(Render, FacesHaveTheirColors)
{
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 10, 10).Shape();
    documents_.Part("red.ZALPart", "R", box, {SurfaceColor{1, 0, 0}, {}});
    const Color red = Draw("red.ZALPart").At(Size.width / 2, Size.height / 3);
    EXPECT_LT(red[1] + red[2], red[0] / 2);
    PartColors all;
    for (std::uint32_t face = 0; face < 6; ++face)
        all.faces.push_back({face, {0, 0, 1}});
    documents_.Part("blue.ZALPart", "B", box, all);
    const Color blue = Draw("blue.ZALPart").At(Size.width / 2, Size.height / 3);
    EXPECT_LT(blue[0] + blue[1], blue[2] / 2);
}

TEST_F(Render, EdgesAreDarkLines)
{
    documents_.Box("cube.ZALPart", "CUBE", {0, 0, 0}, {10, 10, 10});
    const Picture picture = Draw("cube.ZALPart");
    // The vertical edge towards the viewer stands in the middle of the lower half.
    const int row = Size.height * 3 / 4;
    const int line =
        std::min(Brightness(picture.At(Size.width / 2, row)), Brightness(picture.At(Size.width / 2 - 1, row)));
    EXPECT_LT(line, Brightness(picture.At(Size.width / 2 + 12, row)) - 60);
    EXPECT_LT(line, Brightness(picture.At(Size.width / 2 - 12, row)) - 60);
}

TEST_F(Render, BordersAreSmooth)
{
    documents_.Part("ball.ZALPart", "BALL", BRepPrimAPI_MakeSphere(7).Shape());
    const Picture picture = Draw("ball.ZALPart");
    std::map<int, int> levels;
    for (const Color& pixel : picture.pixels)
        ++levels[Brightness(pixel)];
    int between = 0;
    for (const auto& [brightness, count] : levels)
        if (brightness > 600 && brightness < Brightness(BackgroundColor))
            between += count;
    EXPECT_GT(between, 50);
}

TEST_F(Render, NearerPartHidesAFartherOne)
{
    // Towards the viewer is (1, -1, 1).
    documents_.Box("a.ZALPart", "A", {-5, -5, -5}, {5, 5, 5});
    documents_.Box("b.ZALPart", "B", {-3, -3, -3}, {3, 3, 3});
    const auto middle = [this](const Placement& ofTheSmaller) {
        documents_.Product("p.ZALProduct", "P", {{"a", "a.ZALPart"}, {"b", "b.ZALPart", ofTheSmaller}});
        const Picture picture = Draw("p.ZALProduct");
        return picture.At(Size.width / 2, Size.height / 2 - 12);
    };
    const Color behind = middle(At(-50, 50, -50));
    const Color before = middle(At(50, -50, 50));
    EXPECT_GT(HueDistance(behind, before), 0.04);
    // What is wholly hidden changes nothing.
    documents_.Product("p.ZALProduct", "P", {{"a", "a.ZALPart"}, {"b", "b.ZALPart", At(-50, 50, -50)}});
    EXPECT_EQ(Draw("p.ZALProduct").pixels, Draw("a.ZALPart").pixels);
}

TEST_F(Render, OrderOfTheChildrenDoesNotDecideWhatIsSeen)
{
    TwoBlocks(At(0, 0, 0), At(6, -6, 2));
    const Picture picture = Draw("two.ZALProduct");
    documents_.Product("turned.ZALProduct", "TURNED",
                       {{"b", "b.ZALPart", At(6, -6, 2)}, {"a", "a.ZALPart", At(0, 0, 0)}});
    const Picture turned = Draw("turned.ZALProduct");
    int borders = 0;
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        if ((picture.pixels[i] == BackgroundColor) != (turned.pixels[i] == BackgroundColor))
            ++borders;
    EXPECT_EQ(0, borders);
    // The nearer block shows in its colour in both, which is another one in each.
    const Color middle = picture.At(Size.width / 2 + 10, Size.height / 2 + 40);
    const Color middleTurned = turned.At(Size.width / 2 + 10, Size.height / 2 + 40);
    EXPECT_GT(HueDistance(middle, middleTurned), 0.04);
}

TEST_F(Render, MovedInstanceMovesInThePicture)
{
    // To the right is (1, 1, 0); two blocks side by side, then one above the other.
    TwoBlocks(At(0, 0, 0), At(30, 30, 0));
    const Drawn aside(Draw("two.ZALProduct"));
    TwoBlocks(At(0, 0, 0), At(0, 0, 40));
    const Drawn above(Draw("two.ZALProduct"));
    EXPECT_GT(aside.Width(), 2 * aside.Height());
    EXPECT_GT(above.Height(), 2 * above.Width());

    TwoBlocks(At(0, 0, 0), At(30, 30, 0));
    const Picture right = Draw("two.ZALProduct");
    TwoBlocks(At(0, 0, 0), At(-30, -30, 0));
    const Picture left = Draw("two.ZALProduct");
    const auto colorAt = [](const Picture& picture, int quarter) {
        return picture.At(Size.width * quarter / 4, Size.height / 2 - 8);
    };
    EXPECT_LT(HueDistance(colorAt(right, 1), colorAt(left, 3)), 0.02);
    EXPECT_LT(HueDistance(colorAt(right, 3), colorAt(left, 1)), 0.02);
    EXPECT_GT(HueDistance(colorAt(right, 1), colorAt(right, 3)), 0.04);
}

TEST_F(Render, NestedPlacementsActOneInTheOther)
{
    // A quarter turn about z takes a shift along x to one along y; all of it must look like the flat product.
    const Placement quarter{0, -1, 0, 10, 1, 0, 0, 0, 0, 0, 1, 0};
    documents_.Box("a.ZALPart", "A", {0, 0, 0}, {10, 4, 2});
    documents_.Product("inner.ZALProduct", "INNER", {{"a", "a.ZALPart", At(25, 0, 5)}, {"b", "a.ZALPart"}});
    documents_.Product("nested.ZALProduct", "NESTED", {{"i", "inner.ZALProduct", quarter}});
    documents_.Product("flat.ZALProduct", "FLAT",
                       {{"a", "a.ZALPart", {0, -1, 0, 10, 1, 0, 0, 25, 0, 0, 1, 5}}, {"b", "a.ZALPart", quarter}});
    documents_.Product("wrong.ZALProduct", "WRONG", {{"i", "inner.ZALProduct"}});
    const Picture nested = Draw("nested.ZALProduct");
    EXPECT_EQ(nested.pixels, Draw("flat.ZALProduct").pixels);
    EXPECT_NE(nested.pixels, Draw("wrong.ZALProduct").pixels);
}

TEST_F(Render, InstancesOfADocumentHaveOneColor)
{
    TwoBlocks(At(0, 0, 0), At(30, 30, 0));
    documents_.Product("same.ZALProduct", "SAME", {{"1", "a.ZALPart"}, {"2", "a.ZALPart", At(30, 30, 0)}});
    const Picture picture = Draw("same.ZALProduct");
    EXPECT_LT(HueDistance(picture.At(Size.width / 4, Size.height / 2 - 8),
                          picture.At(Size.width * 3 / 4, Size.height / 2 - 8)),
              0.01);
}

TEST_F(Render, LargePictureIsTheSmallOneEnlarged)
{
    TwoBlocks(At(0, 0, 0), At(20, 5, 3));
    const Picture small = Draw("two.ZALProduct", {100, 75});
    const Picture large = Draw("two.ZALProduct", {3200, 2400});
    // Away from lines and borders, whose width is another one.
    const auto isFlat = [&small](int x, int y) {
        for (int row = y - 1; row <= y + 1; ++row)
            for (int column = x - 1; column <= x + 1; ++column)
                if (small.At(column, row) != small.At(x, y))
                    return false;
        return true;
    };
    int compared = 0;
    for (int y = 1; y < 74; ++y)
        for (int x = 1; x < 99; ++x) {
            if (!isFlat(x, y))
                continue;
            compared += small.At(x, y) != BackgroundColor;
            for (const int corner : {0, 31})
                ASSERT_EQ(large.At(x * 32 + corner, y * 32 + corner), small.At(x, y)) << x << " " << y;
        }
    EXPECT_GT(compared, 300);
}

TEST_F(Render, DocumentWithoutGeometryIsBackground)
{
    documents_.Product("empty.ZALProduct", "EMPTY", {});
    EXPECT_EQ(0, Drawn(Draw("empty.ZALProduct")).pixels);
    CadDocument bare;
    bare.partNumber = "BARE";
    WriteDocument(bare, documents_.Path("bare.ZALPart"));
    EXPECT_EQ(0, Drawn(Draw("bare.ZALPart")).pixels);
}

TEST_F(Render, MissingChildIsToldAndLeftOut)
{
    documents_.Box("a.ZALPart", "A", {0, 0, 0}, {10, 20, 5});
    documents_.Product("p.ZALProduct", "P", {{"gone", "gone.ZALPart", At(500, 0, 0)}, {"a", "a.ZALPart"}});
    EXPECT_EQ(Draw("p.ZALProduct").pixels, Draw("a.ZALPart").pixels);
    EXPECT_THAT(warnings_, ElementsAre(HasSubstr("gone.ZALPart is missing; 1 instance is left out")));
}

TEST_F(Render, FarOffAndHugePlacementsAreAPictureOrAnError)
{
    for (const double shift : {1e6, 1e8}) {
        TwoBlocks(At(0, 0, 0), At(shift, shift, 0));
        EXPECT_EQ(Draw("two.ZALProduct").size, Size) << shift;
    }
    for (const double shift : {1e12, 1e300, 1.7e308}) {
        TwoBlocks(At(0, 0, 0), At(shift, -shift, shift));
        EXPECT_THROW(Draw("two.ZALProduct"), PictureError) << shift;
    }
}

TEST_F(Render, DamagedDocumentsAndCyclesAreRefused)
{
    std::ofstream(documents_.Path("damaged.ZALPart")) << "no document";
    documents_.Product("p.ZALProduct", "P", {{"a", "damaged.ZALPart"}});
    EXPECT_THROW(Draw("p.ZALProduct"), CompoundFileError);
    EXPECT_THROW(Draw("missing.ZALPart"), CompoundFileError);
    documents_.Product("self.ZALProduct", "SELF", {{"a", "self.ZALProduct"}});
    EXPECT_THROW(Draw("self.ZALProduct"), std::runtime_error);
    documents_.Doubling(60);
    EXPECT_THROW(Draw("L0.ZALProduct"), std::runtime_error);
}

TEST_F(Render, FaceWithoutASurfaceIsRefused)
{
    documents_.DamagedTriangles("damaged.ZALPart");
    EXPECT_THROW(Draw("damaged.ZALPart"), GeometryError);
}

TEST_F(Render, FileIsWrittenWholeOrNotAtAll)
{
    documents_.Box("a.ZALPart", "A", {0, 0, 0}, {10, 20, 5});
    const auto ignore = [](const std::string&) {};
    DrawDocument(documents_.Path("a.ZALPart"), documents_.Path("a.png"), Size, ignore);
    std::ostringstream content;
    content << std::ifstream(documents_.Path("a.png"), std::ios::binary).rdbuf();
    EXPECT_EQ(content.str(), EncodePng(Draw("a.ZALPart")));

    const std::size_t files = documents_.Files();
    EXPECT_THROW(DrawDocument(documents_.Path("a.ZALPart"), documents_.Path("none/a.png"), Size, ignore),
                 std::runtime_error);
    EXPECT_THROW(DrawDocument(documents_.Path("none.ZALPart"), documents_.Path("b.png"), Size, ignore),
                 CompoundFileError);
    EXPECT_THROW(DrawDocument(documents_.Path("a.ZALPart"), documents_.Path("a.ZALPart"), Size, ignore),
                 std::runtime_error);
    EXPECT_EQ(documents_.Files(), files);
    EXPECT_EQ("A", ReadDocument(documents_.Path("a.ZALPart")).partNumber);
}

} // namespace openhost::testing
