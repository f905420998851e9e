// A catalogue of 100,000 items, which nobody has: how long it takes to fill, to open and to search, and what it holds
// in memory.

#include "benchmarks/Measure.h"
#include "catalogue/service/ShapeSearch.h"
#include "catalogue/shapes/ShapeToken.h"
#include "catalogue/store/ItemStore.h"
#include "openhost/files/TemporaryFolder.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <string>

namespace {

using namespace benchmarks;

constexpr int Items = 100'000;

catalogue::ShapeDescriptor RandomShape(std::mt19937& random)
{
    std::uniform_int_distribution<int> part(0, 50);
    std::uniform_real_distribution<float> size(1, 20);
    catalogue::ShapeDescriptor descriptor;
    for (std::uint8_t& value : descriptor.pairs)
        value = static_cast<std::uint8_t>(part(random));
    descriptor.size = size(random);
    return descriptor;
}

void Fill(const std::filesystem::path& file)
{
    constexpr const char* Kinds[] = {"Hexagon bolt ISO 4014",    "Hexagon nut ISO 4032", "Washer ISO 7089",
                                     "Deep-groove ball bearing", "Angle bracket",        "Aluminium profile"};
    constexpr const char* Materials[] = {"Steel 8.8", "Steel 100Cr6", "Brass", "Aluminium EN AW-6063"};
    std::mt19937 random(1);
    catalogue::ItemStoreWriter writer(file);
    writer.DoAtOnce([&] {
        for (int item = 0; item < Items; ++item) {
            const auto size = static_cast<int>(random() % 60 + 1);
            const auto length = static_cast<int>(random() % 400 + 1);
            const char* kind = Kinds[random() % std::size(Kinds)];
            writer.Put({{"id", "item-" + std::to_string(item)},
                        {"title", std::string(kind) + " M" + std::to_string(size) + "x" + std::to_string(length)},
                        {"category", kind},
                        {"description", "Hexagon head, chamfered; thread shown by its outer diameter"},
                        {"material", Materials[random() % std::size(Materials)]},
                        {"dimensions", {{"d", size}, {"l", length}}},
                        {"boundingBox", {{"lowest", {0, 0, 0}}, {"highest", {length, size, size}}}},
                        {"shape", catalogue::EncodeShapeToken(RandomShape(random))}});
        }
    });
}

/// MiB that the process holds.
double Memory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:"))
            return std::stod(line.substr(6)) / 1024;
    return 0;
}

double MedianOf(const std::function<void()>& work)
{
    std::vector<double> times;
    for (int turn = 0; turn < 11; ++turn)
        times.push_back(Milliseconds(work));
    return Median(times);
}

} // namespace

int main()
{
    const openhost::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / catalogue::StoreName;
    std::printf("fill %.0f ms\n", Milliseconds([&] { Fill(file); }));
    const double before = Memory();
    std::unique_ptr<catalogue::ItemStore> store;
    std::unique_ptr<catalogue::ShapeSearch> shapes;
    std::printf("start %.1f ms\n", Milliseconds([&] {
                    store = std::make_unique<catalogue::ItemStore>(file);
                    shapes = std::make_unique<catalogue::ShapeSearch>(*store);
                }));
    const auto find = [&](const char* name, const std::vector<std::vector<std::string>>& words, std::size_t least) {
        catalogue::ItemQuery query;
        query.words = words;
        const double time = MedianOf([&] { Require(store->Find(query).total >= least, "items are missing"); });
        std::printf("%s %.2f ms\n", name, time);
    };
    find("first_page", {}, Items);
    find("one_word", {{"bolt"}}, Items / 10);
    find("word_of_all", {{"hexagon"}}, Items);
    find("two_words", {{"bolt"}, {"m8x40"}}, 1);
    find("mistyped", {{"blot"}, {"m8x40"}}, 1);
    std::mt19937 random(2);
    const std::string wanted = catalogue::EncodeShapeToken(RandomShape(random));
    std::printf("shape %.2f ms\n",
                MedianOf([&] { Require(shapes->Search(wanted, 100).size() == 100, "shapes are missing"); }));
    std::printf("memory %.0f MiB\n", Memory() - before);
    return EXIT_SUCCESS;
}
