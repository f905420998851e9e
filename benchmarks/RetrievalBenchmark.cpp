// How well families of parts are found by their shape: by the search of the catalogue and by descriptors of the
// literature. Standard input holds one line for each part: the half of the families that its own belongs to, its
// family, its light representation, and those of other tessellations of it, with tabs between. Arguments: the rows, or
// none for all. benchmarks/retrieval runs it.

#include "benchmarks/Measure.h"
#include "benchmarks/peers/ShapeDistribution.h"
#include "benchmarks/peers/SphericalHarmonics.h"
#include "catalogue/shapes/ShapeDescriptor.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <functional>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <numbers>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace benchmarks;
using openhost::LvrMesh;

struct Part {
    std::string half;
    std::string family;
    std::string file;
    std::vector<std::string> otherTessellations;
};

std::vector<Part> ReadParts()
{
    std::vector<Part> parts;
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream fields(line);
        Part part;
        std::getline(fields, part.half, '\t');
        std::getline(fields, part.family, '\t');
        std::getline(fields, part.file, '\t');
        for (std::string file; std::getline(fields, file, '\t');)
            part.otherTessellations.push_back(file);
        parts.push_back(std::move(part));
    }
    return parts;
}

/// Calls `work` with each number below `count`, on all processors.
void DoForEach(std::size_t count, const std::function<void(std::size_t)>& work)
{
    std::atomic<std::size_t> next = 0;
    std::vector<std::future<void>> threads;
    for (unsigned int thread = 0; thread < std::max(1U, std::thread::hardware_concurrency()); ++thread)
        threads.push_back(std::async(std::launch::async, [&] {
            for (std::size_t number = next++; number < count; number = next++)
                work(number);
        }));
    for (std::future<void>& thread : threads)
        thread.get();
}

/// What copies there are; those of another tessellation are turned as well.
constexpr const char* Kinds[] = {"turned", "mirrored", "scaled", "finer", "coarser"};

/// A copy of a part, which must find it.
struct Copy {
    const char* kind;
    std::size_t part;
    std::function<LvrMesh(const LvrMesh&)> make;
};

LvrMesh Turned(const LvrMesh& mesh, unsigned int seed)
{
    // A random quaternion is a random rotation.
    std::mt19937 random(seed);
    std::normal_distribution<double> number;
    std::array<double, 4> q{};
    double square = 0;
    for (double& coordinate : q) {
        coordinate = number(random);
        square += coordinate * coordinate;
    }
    for (double& coordinate : q)
        coordinate /= std::sqrt(square);
    const auto& [w, x, y, z] = q;
    LvrMesh turned;
    openhost::AddPlaced(turned, mesh,
                        {1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y), 100, 2 * (x * y + w * z),
                         1 - 2 * (x * x + z * z), 2 * (y * z - w * x), -50, 2 * (x * z - w * y), 2 * (y * z + w * x),
                         1 - 2 * (x * x + y * y), 20});
    return turned;
}

LvrMesh Mirrored(LvrMesh mesh)
{
    for (std::vector<LvrMesh::Vector>* vectors : {&mesh.positions, &mesh.normals})
        for (LvrMesh::Vector& vector : *vectors)
            vector[0] = -vector[0];
    for (LvrMesh::Triangle& triangle : mesh.triangles)
        std::swap(triangle[1], triangle[2]);
    return mesh;
}

LvrMesh Scaled(LvrMesh mesh, float factor)
{
    for (LvrMesh::Vector& position : mesh.positions)
        for (float& coordinate : position)
            coordinate *= factor;
    return mesh;
}

std::vector<Copy> CopiesOf(const std::vector<Part>& parts)
{
    constexpr const char* tessellations[] = {"finer", "coarser"};
    std::vector<Copy> copies;
    for (std::size_t number = 0; number < parts.size(); ++number) {
        const std::vector<std::string>& others = parts[number].otherTessellations;
        if (others.size() != std::size(tessellations))
            continue;
        const auto seed = static_cast<unsigned int>(number);
        copies.push_back({"turned", number, [seed](const LvrMesh& mesh) { return Turned(mesh, seed); }});
        copies.push_back({"mirrored", number, Mirrored});
        copies.push_back({"scaled", number, [](const LvrMesh& mesh) { return Scaled(mesh, 2.5F); }});
        for (std::size_t other = 0; other < others.size(); ++other)
            copies.push_back({tessellations[other], number, [file = others[other], seed](const LvrMesh&) {
                                  return Turned(openhost::ReadLvr(file), seed);
                              }});
    }
    return copies;
}

/// How far parts and copies are apart by some descriptor.
class Method {
public:
    virtual ~Method() = default;
    virtual void Describe(const std::vector<LvrMesh>& meshes, const std::vector<Copy>& copies) = 0;
    virtual double PartsApart(std::size_t one, std::size_t other) const = 0;
    virtual double CopyFrom(std::size_t copy, std::size_t part) const = 0;
};

/// The descriptors of all parts and copies, made once for all methods that compare them.
template <typename Descriptor>
struct Descriptors {
    explicit Descriptors(std::function<Descriptor(const LvrMesh&)> describing) : describe(std::move(describing)) {}

    std::function<Descriptor(const LvrMesh&)> describe;
    std::vector<Descriptor> parts;
    std::vector<Descriptor> copies;
};

template <typename Descriptor>
class MethodOf : public Method {
public:
    using Comparing = std::function<double(const Descriptor&, const Descriptor&)>;

    MethodOf(std::shared_ptr<Descriptors<Descriptor>> all, Comparing compare)
        : all_(std::move(all)), compare_(std::move(compare))
    {
    }

    void Describe(const std::vector<LvrMesh>& meshes, const std::vector<Copy>& copies) override
    {
        if (!all_->parts.empty())
            return;
        all_->parts.resize(meshes.size());
        all_->copies.resize(copies.size());
        DoForEach(meshes.size(), [&](std::size_t number) { all_->parts[number] = all_->describe(meshes[number]); });
        DoForEach(copies.size(), [&](std::size_t number) {
            all_->copies[number] = all_->describe(copies[number].make(meshes[copies[number].part]));
        });
    }
    double PartsApart(std::size_t one, std::size_t other) const override
    {
        return compare_(all_->parts[one], all_->parts[other]);
    }
    double CopyFrom(std::size_t copy, std::size_t part) const override
    {
        return compare_(all_->copies[copy], all_->parts[part]);
    }

private:
    std::shared_ptr<Descriptors<Descriptor>> all_;
    Comparing compare_;
};

struct Figures {
    double first = 0;      ///< whether the closest other part is of the family
    double firstTier = 0;  ///< part of the family among as many answers as the family has other parts
    double secondTier = 0; ///< the same among twice as many
    double precision = 0;  ///< average precision

    void Add(const Figures& other, double weight)
    {
        first += weight * other.first;
        firstTier += weight * other.firstTier;
        secondTier += weight * other.secondTier;
        precision += weight * other.precision;
    }
};

/// `among` without `left`, the closest first.
std::vector<std::size_t> Ranked(const std::vector<std::size_t>& among, std::size_t left,
                                const std::function<double(std::size_t)>& distance)
{
    std::vector<std::pair<double, std::size_t>> found;
    for (const std::size_t part : among)
        if (part != left)
            found.emplace_back(distance(part), part);
    std::ranges::sort(found);
    std::vector<std::size_t> ranked;
    for (const auto& [each, part] : found)
        ranked.push_back(part);
    return ranked;
}

Figures Judge(const std::vector<Part>& parts, std::size_t wanted, const std::vector<std::size_t>& ranked)
{
    const auto isRight = [&](std::size_t part) { return parts[part].family == parts[wanted].family; };
    const auto all = static_cast<std::size_t>(std::ranges::count_if(ranked, isRight));
    Figures figures;
    std::size_t right = 0;
    for (std::size_t place = 0; place < ranked.size(); ++place) {
        if (!isRight(ranked[place]))
            continue;
        ++right;
        const double share = 1 / static_cast<double>(all);
        figures.first += place == 0 ? 1 : 0;
        figures.firstTier += place < all ? share : 0;
        figures.secondTier += place < 2 * all ? share : 0;
        figures.precision += share * static_cast<double>(right) / static_cast<double>(place + 1);
    }
    return figures;
}

/// The numbers of the parts of one half, or of all for an empty name.
std::vector<std::size_t> PartsOf(const std::vector<Part>& parts, const std::string& half)
{
    std::vector<std::size_t> numbers;
    for (std::size_t part = 0; part < parts.size(); ++part)
        if (half.empty() || parts[part].half == half)
            numbers.push_back(part);
    return numbers;
}

/// Of the search for each of `among` in the others.
void PrintFigures(const char* name, const std::vector<Part>& parts, const std::vector<std::size_t>& among,
                  const Method& method)
{
    std::map<std::string, std::size_t> sizes;
    for (const std::size_t part : among)
        ++sizes[parts[part].family];
    Figures ofParts;
    Figures ofFamilies;
    for (const std::size_t part : among) {
        const auto distance = [&](std::size_t other) { return method.PartsApart(part, other); };
        const Figures figures = Judge(parts, part, Ranked(among, part, distance));
        ofParts.Add(figures, 1 / static_cast<double>(among.size()));
        ofFamilies.Add(figures, 1 / static_cast<double>(sizes.size() * sizes[parts[part].family]));
    }
    std::printf("%-37s", name);
    for (const Figures& figures : {ofParts, ofFamilies})
        std::printf("  %6.1f %6.1f %6.1f %6.1f", 100 * figures.first, 100 * figures.firstTier, 100 * figures.secondTier,
                    100 * figures.precision);
    std::printf("\n");
}

/// Of the copies of each kind: how many find their origin first, and how many have the same first answer beside it.
void PrintCopies(const char* name, const std::vector<Part>& parts, const std::vector<Copy>& copies,
                 const Method& method)
{
    struct Counts {
        int all = 0;
        int origin = 0;
        int neighbour = 0;
        int family = 0;
    };
    std::map<std::string, Counts> kinds;
    const std::vector<std::size_t> all = PartsOf(parts, {});
    for (std::size_t copy = 0; copy < copies.size(); ++copy) {
        const std::size_t origin = copies[copy].part;
        const auto fromCopy = [&](std::size_t part) { return method.CopyFrom(copy, part); };
        const std::size_t neighbour = Ranked(all, origin, fromCopy).front();
        const std::size_t before =
            Ranked(all, origin, [&](std::size_t part) { return method.PartsApart(origin, part); }).front();
        Counts& counts = kinds[copies[copy].kind];
        ++counts.all;
        // Files of the library that hold the very same shape are the same answer.
        const bool isSame = method.PartsApart(origin, before) == 0;
        counts.origin += isSame || fromCopy(origin) < fromCopy(neighbour) ? 1 : 0;
        counts.neighbour += neighbour == before || method.PartsApart(neighbour, before) == 0 ? 1 : 0;
        counts.family += parts[neighbour].family == parts[before].family ? 1 : 0;
    }
    std::printf("%-37s", name);
    for (const char* kind : Kinds) {
        const Counts& counts = kinds[kind];
        const auto part = [&](int count) { return 100.0 * count / counts.all; };
        std::printf("  %5.1f %5.1f %5.1f", part(counts.origin), part(counts.neighbour), part(counts.family));
    }
    std::printf("\n");
}

struct Row {
    const char* key;
    const char* name;
    std::unique_ptr<Method> method;
};

std::vector<Row> AllRows()
{
    using catalogue::ShapeDescriptor;
    const auto apart = [](const auto& one, const auto& other) { return Dissimilarity(one, other); };
    const auto withoutSize = [](ShapeDescriptor one, const ShapeDescriptor& other) {
        one.size = other.size;
        return catalogue::ShapeDistance(one, other);
    };
    const auto ours = std::make_shared<Descriptors<ShapeDescriptor>>(catalogue::DescribeShape);
    const auto method = [&]<typename Descriptor>(Descriptor (*describe)(const LvrMesh&)) {
        return std::make_unique<MethodOf<Descriptor>>(std::make_shared<Descriptors<Descriptor>>(describe), apart);
    };
    std::vector<Row> rows;
    rows.push_back({"ours", "ours", std::make_unique<MethodOf<ShapeDescriptor>>(ours, catalogue::ShapeDistance)});
    rows.push_back(
        {"sizeless", "ours, sizes not compared", std::make_unique<MethodOf<ShapeDescriptor>>(ours, withoutSize)});
    rows.push_back({"d2", "distances (D2)", method(DescribeDistances)});
    rows.push_back({"voxels", "spherical harmonics of voxels", method(DescribeVoxels)});
    rows.push_back({"field", "spherical harmonics of the distances", method(DescribeDistanceField)});
    return rows;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<Row> rows = AllRows();
    if (argc > 1)
        std::erase_if(rows, [&](const Row& row) {
            return std::find(argv + 1, argv + argc, std::string_view(row.key)) == argv + argc;
        });
    const std::vector<Part> parts = ReadParts();
    Require(parts.size() > 1, "there are no parts");
    std::vector<LvrMesh> meshes(parts.size());
    DoForEach(parts.size(), [&](std::size_t part) { meshes[part] = openhost::ReadLvr(parts[part].file); });
    const std::vector<Copy> copies = CopiesOf(parts);

    for (const Row& row : rows) {
        row.method->Describe(meshes, copies);
        std::fprintf(stderr, "%s: done\n", row.name);
    }
    for (const char* half : {"", "tuning", "judging"}) {
        const std::vector<std::size_t> among = PartsOf(parts, half);
        if (among.empty())
            continue;
        std::set<std::string> families;
        for (const std::size_t part : among)
            families.insert(parts[part].family);
        std::printf("%zu %sfamilies, %zu parts\n", families.size(), *half ? (std::string(half) + " ").c_str() : "",
                    among.size());
        std::printf("%-37s  %-27s  %s\n%-37s", "percent", "of all parts", "mean of the families", "");
        for (int turn = 0; turn < 2; ++turn)
            std::printf("  %6s %6s %6s %6s", "first", "tier 1", "tier 2", "mAP");
        std::printf("\n");
        for (const Row& row : rows)
            PrintFigures(row.name, parts, among, *row.method);
        std::printf("\n");
    }
    std::printf("%-37s", "copies: origin, next, its family");
    for (const char* kind : Kinds)
        std::printf("  %-17s", kind);
    std::printf("\n");
    for (const Row& row : rows)
        PrintCopies(row.name, parts, copies, *row.method);
    return EXIT_SUCCESS;
}
