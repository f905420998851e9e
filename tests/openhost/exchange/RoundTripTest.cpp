// Files of other systems, imported and exported again, before a second reader: that of FreeCAD, where it is installed.

#include "openhost/exchange/StepExport.h"
#include "openhost/exchange/StepImport.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <regex>
#include <set>

namespace openhost::testing {

namespace {

using Json = nlohmann::json;

class RoundTrip : public ::testing::TestWithParam<std::string> {
protected:
    std::filesystem::path Original() const
    {
        return std::filesystem::path(SourceDir()) / "tests" / "foreign" / GetParam();
    }

    /// Imports the file and exports it again.
    std::filesystem::path MakeAgain()
    {
        std::filesystem::create_directory(folder_.Path() / "documents");
        const std::string root = ImportStep(
            Original(), folder_.Path() / "documents", [](const std::string&) {}, [](int) {});
        const std::filesystem::path again = folder_.Path() / "again.step";
        ExportStep(folder_.Path() / "documents" / root, again, {},
                   [](const std::string& line) { ADD_FAILURE() << line; });
        return again;
    }

    Json Judge(const std::filesystem::path& step) const
    {
        const std::filesystem::path facts = folder_.Path() / "facts.json";
        std::filesystem::remove(facts);
        const std::string command = "cd '" + folder_.Path().string() + "' && HOME='" + folder_.Path().string() +
                                    "' STEP_FILE='" + step.string() + "' STEP_FACTS='" + facts.string() +
                                    "' freecadcmd '" + SourceDir() +
                                    "/tests/openhost/exchange/judge.py' </dev/null >judge.out 2>&1";
        if (std::system(command.c_str()) != 0 || !std::filesystem::exists(facts))
            throw std::runtime_error(ReadFile(folder_.Path() / "judge.out"));
        return Json::parse(ReadFile(facts));
    }

    TemporaryFolder folder_;
};

bool HasFreeCad()
{
    return std::system("command -v freecadcmd >/dev/null 2>&1") == 0;
}

/// To 1e-6, of the number itself where that is above 1.
bool AreEqual(const Json& expected, const Json& actual)
{
    const auto isNear = [](double one, double other) {
        return std::abs(one - other) <= 1e-6 * std::max(1.0, std::abs(one));
    };
    return std::ranges::equal(expected.get<std::vector<double>>(), actual.get<std::vector<double>>(), isNear);
}

/// The names on the way to an instance, without the numbers that FreeCAD adds to names that it has given already.
std::string Path(const Json& instance)
{
    return std::regex_replace(instance[0].get<std::string>(), std::regex("[0-9]{3}(?=/|$)"), "");
}

/// The different colours in the text of a STEP file, rounded where they are numbers.
std::set<std::string> ColorsIn(const std::string& step)
{
    static const std::regex color(R"(COLOUR_RGB\s*\(\s*'[^']*'\s*,([^,]*),([^,]*),([^)]*)\))");
    static const std::regex named(R"(PRE_DEFINED_COLOUR\s*\(\s*'(\w+)')");
    std::set<std::string> colors;
    for (std::sregex_iterator match(step.begin(), step.end(), color), end; match != end; ++match)
        colors.insert(std::to_string(std::stof((*match)[1])) + " " + std::to_string(std::stof((*match)[2])) + " " +
                      std::to_string(std::stof((*match)[3])));
    for (std::sregex_iterator match(step.begin(), step.end(), named), end; match != end; ++match)
        colors.insert((*match)[1]);
    return colors;
}

/// How many the surfaces of a file have.
const std::map<std::string, std::size_t> Colors = {
    {"as1-oc-214.stp", 5}, {"as1_pe_203.stp", 4}, {"as1-tu-203.stp", 5}, {"LED_D5.0mm-4_RGB.step", 2}};

} // namespace

TEST_P(RoundTrip, SolidsStandWhereTheyStoodForFreeCad)
{
    if (!HasFreeCad())
        GTEST_SKIP() << "FreeCAD is not installed";
    const Json expected = Judge(Original());
    const Json actual = Judge(MakeAgain());
    ASSERT_LT(0U, expected["solids"].size());
    ASSERT_EQ(expected["solids"].size(), actual["solids"].size());
    for (std::size_t solid = 0; solid < expected["solids"].size(); ++solid)
        EXPECT_TRUE(AreEqual(expected["solids"][solid], actual["solids"][solid]))
            << expected["solids"][solid].dump() << " became " << actual["solids"][solid].dump();
    EXPECT_NEAR(expected["area"].get<double>(), actual["area"].get<double>(), 1e-6 * expected["area"].get<double>());
}

TEST_P(RoundTrip, InstancesKeepNamesAndPlacesForFreeCad)
{
    if (!HasFreeCad())
        GTEST_SKIP() << "FreeCAD is not installed";
    const Json expected = Judge(Original());
    const Json actual = Judge(MakeAgain());
    EXPECT_EQ(expected["roots"], actual["roots"]);
    std::vector<Json> left = actual["instances"];
    for (const Json& instance : expected["instances"]) {
        // What has no name in the file is no instance of a product: shapes in a place of their own.
        if (Path(instance).find("COMPOUND") != std::string::npos || Path(instance).find("SOLID") != std::string::npos)
            continue;
        const auto same = std::ranges::find_if(
            left, [&](const Json& other) { return Path(other) == Path(instance) && AreEqual(other[1], instance[1]); });
        ASSERT_NE(left.end(), same) << instance.dump() << " is not among " << Json(left).dump();
        left.erase(same);
    }
    EXPECT_TRUE(left.empty()) << Json(left).dump();
}

TEST_P(RoundTrip, ColorsAreTheSame)
{
    const std::set<std::string> expected = ColorsIn(ReadFile(Original()));
    const std::set<std::string> actual = ColorsIn(ReadFile(MakeAgain()));
    // Those of curves are not carried over.
    EXPECT_THAT(expected, ::testing::IsSupersetOf(actual));
    EXPECT_EQ(Colors.at(GetParam()), actual.size());
}

INSTANTIATE_TEST_SUITE_P(Of, RoundTrip,
                         ::testing::Values("as1-oc-214.stp", "as1_pe_203.stp", "as1-tu-203.stp",
                                           "LED_D5.0mm-4_RGB.step"));

} // namespace openhost::testing
