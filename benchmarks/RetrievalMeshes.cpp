// Light representations of STEP files, for RetrievalBenchmark. Standard input holds one line for each STEP file: its
// path, then for each tessellation the file to write and the tolerance as a multiple of the usual one, with tabs
// between. A file that cannot be read or tessellated gets a line on standard error and no light representation.

#include "openhost/exchange/StepImport.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/DocumentTree.h"
#include "openhost/geometry/Tessellation.h"

#include <cmath>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace openhost;

/// The triangles of a tree of documents; those of each document are made once.
LvrMesh Tessellate(const DocumentTree& tree, const TessellationTolerance& tolerance)
{
    std::vector<LvrMesh> meshes; // of each document with all that it holds
    for (const TreeDocument& document : tree) {
        LvrMesh& mesh = meshes.emplace_back();
        if (!document.shape.IsNull())
            mesh = TessellateShape(document.shape, tolerance);
        for (const TreeDocument::Instance& instance : document.instances)
            AddPlaced(mesh, meshes[instance.document], instance.placement);
    }
    return meshes.back();
}

/// A light representation to write, and its tolerance as a multiple of the usual one.
struct Target {
    std::string file;
    double factor;
};

void Convert(const std::string& step, const std::vector<Target>& targets)
{
    const TemporaryFolder folder;
    const std::string root = ImportStep(
        step, folder.Path(), [](const std::string&) {}, [](int) {});
    const DocumentTree tree = ReadDocumentTree(folder.Path() / root, [](const std::string&) {});
    for (const Target& target : targets) {
        TessellationTolerance tolerance;
        tolerance.chord *= target.factor;
        // A circle with twice as many corners is four times as close to its chords.
        tolerance.angle *= std::sqrt(target.factor);
        WriteLvr(target.file, Tessellate(tree, tolerance));
    }
}

} // namespace

int main()
{
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream fields(line);
        std::string step;
        std::getline(fields, step, '\t');
        std::vector<Target> targets;
        std::string factor;
        for (std::string file; std::getline(fields, file, '\t') && std::getline(fields, factor, '\t');)
            targets.push_back({file, std::stod(factor)});
        try {
            Convert(step, targets);
        } catch (const std::exception& error) {
            std::cerr << step << ": " << error.what() << '\n';
        }
        // Each line of standard output is a line of standard input that is done.
        std::cout << step << std::endl;
    }
    return EXIT_SUCCESS;
}
