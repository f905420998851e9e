// Light files and the search by shape. Argument: a part document with the shape that is written.

#include "benchmarks/Measure.h"
#include "catalogue/shapes/ShapeIndex.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/TessellatingLvrWriter.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry/Tessellation.h"

#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepTools.hxx>
#include <Bnd_Box.hxx>
#include <StlAPI_Writer.hxx>
#include <TopoDS_Shape.hxx>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>

namespace {

using namespace benchmarks;

using namespace openhost;

constexpr int Turns = 7;

/// The part from its document to a file, as the host writes it and as the kernel's own STL writer (binary) does, with
/// the same tolerances.
void WriteShape(const char* part)
{
    const TemporaryFolder folder;
    ConfigureFrame({});
    auto workspace = std::make_unique<CadWorkspace>();
    LoadedDocument& document = workspace->Open(part);
    CadServices::Install(std::move(workspace));
    LvrWriter::Install(std::make_unique<TessellatingLvrWriter>(std::make_shared<GeometryPool>()));

    std::vector<double> ours;
    std::vector<double> inMemory;
    std::vector<double> theirs;
    for (int turn = 0; turn < Turns; ++turn) {
        // New files, as those that are made to be sent.
        const auto newFile = [&](const char* name) { return folder.Path() / (std::to_string(turn) + name); };
        const std::string light = newFile("shape.lvr");
        const std::string lightInMemory = newFile("memory.lvr");
        const std::string stl = newFile("shape.stl");
        ours.push_back(Milliseconds([&] {
            Require(ZALWriteLvr(document.Root()->GiveRep(), light.c_str(), ZALLvrWholeDisplay, nullptr, 0,
                                ZALLvrInOneFile) == 0,
                    "the light file cannot be written");
        }));
        const auto read = [part] { return DecodeShape(*ReadDocument(part).geometry); };
        inMemory.push_back(Milliseconds([&] { WriteLvr(lightInMemory, TessellateShape(read())); }));
        theirs.push_back(Milliseconds([&] {
            const TopoDS_Shape shape = read();
            const TessellationTolerance tolerance;
            Bnd_Box box;
            BRepBndLib::Add(shape, box, Standard_False);
            BRepTools::Clean(shape);
            BRepMesh_IncrementalMesh(shape, tolerance.chord * std::sqrt(box.SquareExtent()), Standard_False,
                                     tolerance.angle);
            StlAPI_Writer writer;
            writer.ASCIIMode() = Standard_False;
            Require(writer.Write(shape, stl.c_str()), "the peer cannot write");
        }));
    }
    CadServices::Install(nullptr);
    std::printf("write_lvr %.3f ms\n", Median(ours));
    std::printf("write_lvr_in_process %.3f ms\n", Median(inMemory));
    std::printf("write_stl %.3f ms\n", Median(theirs));
}

catalogue::ShapeDescriptor Random(std::mt19937& random)
{
    std::uniform_int_distribution<int> part(0, 50);
    std::uniform_real_distribution<float> size(1, 20);
    catalogue::ShapeDescriptor descriptor;
    for (std::uint8_t& value : descriptor.pairs)
        value = static_cast<std::uint8_t>(part(random));
    descriptor.size = size(random);
    return descriptor;
}

/// As many answers as the service gives unless it is asked for more.
constexpr std::size_t Answers = 100;

void Search(int shapes)
{
    std::mt19937 random(1);
    catalogue::ShapeIndex index;
    for (int shape = 0; shape < shapes; ++shape)
        index.Add(Random(random));
    std::vector<double> times;
    for (int turn = 0; turn < 101; ++turn) {
        const catalogue::ShapeDescriptor wanted = Random(random);
        times.push_back(
            Milliseconds([&] { Require(index.Rank(wanted, Answers).size() == Answers, "shapes are missing"); }));
    }
    std::printf("shape_search_%d %.3f ms\n", shapes, Median(times));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return EXIT_FAILURE;
    WriteShape(argv[1]);
    Search(10'000);
    Search(100'000);
    return EXIT_SUCCESS;
}
