#include "openhost/geometry/ShapeGeometry.h"

#include <gtest/gtest.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRep_Builder.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Pnt.hxx>

#include <iostream>
#include <numbers>

namespace openhost::testing {

namespace {

TopoDS_Shape BlockShape()
{
    return BRepPrimAPI_MakeBox(gp_Pnt(1, 2, 3), gp_Pnt(11, 22, 8)).Shape();
}

} // namespace

TEST(ShapeGeometry, FactsAreThoseOfTheShape)
{
    const GeometryFacts facts = EncodeShape(BlockShape()).facts.value();
    EXPECT_EQ(1U, facts.solids);
    EXPECT_EQ(6U, facts.faces);
    EXPECT_NEAR(facts.volume, 1000, 1e-6);
    EXPECT_NEAR(facts.area, 700, 1e-6);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(facts.box.lowest[i], (std::array{1.0, 2.0, 3.0})[i], 1e-6);
        EXPECT_NEAR(facts.box.highest[i], (std::array{11.0, 22.0, 8.0})[i], 1e-6);
    }
}

TEST(ShapeGeometry, BoxOfARoundShapeTouchesIt)
{
    const GeometryFacts facts = EncodeShape(BRepPrimAPI_MakeCylinder(5, 7).Shape()).facts.value();
    EXPECT_NEAR(facts.volume, std::numbers::pi * 25 * 7, 1e-6);
    EXPECT_NEAR(facts.box.lowest[0], -5, 1e-6);
    EXPECT_NEAR(facts.box.highest[2], 7, 1e-6);
}

TEST(ShapeGeometry, ShapeComesBackThroughADocument)
{
    CadDocument document;
    document.geometry = EncodeShape(BlockShape());
    const CadDocument read = ParseDocument(BuildDocument(document), "part");
    EXPECT_EQ(MeasureShape(DecodeShape(*read.geometry)), document.geometry->facts);
}

TEST(ShapeGeometry, EqualShapesGiveEqualBytes)
{
    EXPECT_EQ(EncodeShape(BlockShape()), EncodeShape(BlockShape()));
}

TEST(ShapeGeometry, ShapesThatAreNoPartAreRefused)
{
    EXPECT_THROW(EncodeShape(TopoDS_Shape()), GeometryError);
    EXPECT_THROW(EncodeShape(TopExp_Explorer(BlockShape(), TopAbs_FACE).Current()), GeometryError);
    TopoDS_Compound empty;
    BRep_Builder().MakeCompound(empty);
    EXPECT_THROW(EncodeShape(empty), GeometryError);
}

TEST(ShapeGeometry, BytesThatAreNoShapeAreRefused)
{
    for (const char* bytes : {"", "no shape", "\nOpen CASCADE Topology V4 (c)\n"})
        EXPECT_THROW(DecodeShape({{}, bytes}), GeometryError) << bytes;
}

TEST(ShapeGeometry, WhatTheKernelSaysAboutBytesStaysOffStandardOutput)
{
    ::testing::internal::CaptureStdout();
    EXPECT_THROW(DecodeShape({{}, "no shape"}), GeometryError);
    std::cout << "still there" << std::flush;
    EXPECT_EQ("still there", ::testing::internal::GetCapturedStdout());
}

TEST(ShapeGeometry, BytesThatAreCutShortAreRefused)
{
    const DocumentGeometry whole = EncodeShape(BlockShape());
    for (std::size_t size = 0; size < whole.boundary.size(); size += 97) {
        DocumentGeometry cut{whole.facts, whole.boundary.substr(0, size)};
        EXPECT_THROW(DecodeShape(cut), GeometryError) << size;
    }
}

} // namespace openhost::testing
