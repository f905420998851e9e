// docs/limits.md, held against the sources: each constant stands where it says with the value that it says, each test
// is there, and no constant that looks like a limit is missing.

#include "tests/architecture/SourceTree.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <regex>
#include <sstream>

namespace openhost::testing {

namespace {

struct Limit {
    std::string value;
    std::string constant;
    std::string file;
    std::string tests;
};

/// What stands between the first two "`" of `cell`.
std::string CodeIn(const std::string& cell)
{
    const std::size_t begin = cell.find('`') + 1;
    return cell.substr(begin, cell.find('`', begin) - begin);
}

const std::vector<Limit>& Limits()
{
    static const std::vector<Limit> limits = [] {
        std::vector<Limit> rows;
        std::istringstream lines(TextOfSource("docs/limits.md"));
        for (std::string line; std::getline(lines, line);)
            if (const std::vector<std::string> cells = CellsOf(line); cells.size() == 5 && cells[2].starts_with('`'))
                rows.push_back({cells[1], CodeIn(cells[2]), CodeIn(cells[3]), cells[4]});
        return rows;
    }();
    return limits;
}

/// The number that a cell begins with, times its unit of bytes.
std::optional<double> NumberIn(std::string cell)
{
    std::erase(cell, ',');
    char* end = nullptr;
    const double number = std::strtod(cell.c_str(), &end);
    if (end == cell.c_str())
        return std::nullopt;
    const std::string unit = std::string(end).substr(0, 4);
    return number * (unit == " KiB" ? 1024.0 : unit == " MiB" ? 1048576.0 : unit == " GiB" ? 1073741824.0 : 1.0);
}

/// What the number of a literal, a product of them, or one that is shifted is; times are in seconds.
std::optional<double> ValueOf(const std::string& expression, bool isMilliseconds)
{
    static const std::regex term(R"re((<<|\*|^)\s*(?:std::\w+\{)?([0-9][0-9'.e+-]*)\}?[ULFs]*\s*)re");
    double value = 1;
    std::size_t read = 0;
    for (std::sregex_iterator match(expression.begin(), expression.end(), term), end; match != end; ++match) {
        if (static_cast<std::size_t>(match->position()) != read)
            return std::nullopt;
        read += static_cast<std::size_t>(match->length());
        std::string digits = (*match)[2];
        std::erase(digits, '\'');
        const double number = std::strtod(digits.c_str(), nullptr);
        value *= (*match)[1] == "<<" ? static_cast<double>(1ULL << static_cast<int>(number)) : number;
    }
    if (read == 0 || read != expression.size())
        return std::nullopt;
    return isMilliseconds ? value / 1000 : value;
}

/// The value that `constant` is declared with in `text`.
std::optional<double> DeclaredValue(const std::string& constant, const std::string& text)
{
    // A list counts by its last member: a form of a stream ends with the size.
    const std::regex declaration("\\b" + constant + R"re((?: = |\{|\()(?:[^;\n]*", \d+, )?([^;\n]+?)[})]?;)re");
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (std::smatch match; std::regex_search(line, match, declaration)) {
            const bool isMilliseconds = line.find("milliseconds") != std::string::npos;
            return ValueOf(match[1], isMilliseconds);
        }
    return std::nullopt;
}

TEST(Limits, AreThoseOfTheSources)
{
    ASSERT_LT(80U, Limits().size());
    for (const auto& [value, constant, file, tests] : Limits()) {
        SCOPED_TRACE(constant + " of " + file);
        const std::string text = TextOfSource(file);
        const std::size_t place = text.find(constant);
        EXPECT_NE(std::string::npos, place) << "is not there";
        if (const std::optional<double> number = NumberIn(value)) {
            const std::optional<double> declared = DeclaredValue(constant, text);
            EXPECT_TRUE(declared.has_value()) << "has no value that can be read";
            EXPECT_EQ(*number, declared.value_or(*number));
        }
    }
}

TEST(Limits, HaveTestsThatAreThere)
{
    static const std::regex declaration(R"re(^TEST(?:_F|_P)?\((\w+),\s*(\w+)\))re");
    std::set<std::string> known;
    for (const auto& [file, text] : TextsBelow("tests", ".cpp")) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            if (std::smatch match; line.starts_with("TEST") && std::regex_search(line, match, declaration))
                known.insert(match[1].str() + "." + match[2].str());
    }
    static const std::regex named(R"re(`(\w+\.\w+)`)re");
    static const std::regex reason("^(none|seam|beyond): |^as the |^`");
    for (const auto& [value, constant, file, tests] : Limits()) {
        SCOPED_TRACE(constant + " of " + file);
        EXPECT_TRUE(std::regex_search(tests, reason)) << tests << ": neither a test nor why there is none";
        for (std::sregex_iterator match(tests.begin(), tests.end(), named), end; match != end; ++match)
            EXPECT_TRUE(known.contains((*match)[1])) << (*match)[1] << ": there is no such test";
    }
}

TEST(Limits, AreAllInTheTable)
{
    // What is no limit on anything from outside.
    std::map<std::string, std::string> others = {
        {"module/host/hash.h KRYSysHashMaximumLength", "the length of a digest"},
        {"openhost/commandline/CommandLine.cpp mostSlips", "how like a hint is to what was typed"},
        {"openhost/conversion/ImportedFiles.h MaximumSingleSyncs", "how files are brought to the disk"},
        {"openhost/desktop/view/SceneDrawing.cpp MostTriangles", "how finely a frame is drawn"},
        {"openhost/desktop/view/ViewGraphics.cpp MostHeight", "how far the camera goes"},
        {"openhost/desktop/window/DocumentActions.cpp MaximumRecent", "lines of a menu"},
        {"openhost/files/Descriptor.h MaximumWriteSize", "the size of a piece"},
        {"openhost/files/FileServices.cpp MaximumTransferSize", "the size of a piece"},
        {"openhost/files/AtomicFile.h MaximumSingleSyncs", "how files are brought to the disk"},
        {"openhost/files/ZipOutput.h MaximumSingleSyncs", "how files are brought to the disk"},
        {"openhost/loop/WaitingEventLoop.cpp MaximumWait", "waits are repeated"},
        {"openhost/picture/Rasterizer.cpp MaximumFinePixels", "how finely a picture is drawn"},
        {"openhost/play/FreedMemory.cpp MaximumKept", "freed memory that is kept"},
        {"openhost/play/Narration.cpp LongestText", "looks"},
        {"openhost/play/Narration.cpp MostQuestionLines", "looks"},
        {"openhost/play/SessionAccount.cpp MostLines", "looks"},
        {"openhost/play/SessionReport.cpp MostPictures", "looks"},
        {"catalogue/service/LimitedServer.cpp LongestWait", "waits are repeated"},
        {"catalogue/service/Reply.cpp MaximumPieceSize", "the size of a piece"},
        {"catalogue/shapes/ShapeDescriptor.cpp MaximumDistance", "the last bin of distances"},
        {"catalogue/store/ItemStore.cpp MostRanked", "in which order items come"},
        {"catalogue/store/Vocabulary.cpp LongestWord", "which words are corrected"},
    };
    std::set<std::string> listed;
    for (const Limit& limit : Limits())
        listed.insert(limit.file + " " + limit.constant);
    static const std::regex declaration(
        R"re(constexpr [^;=({]*\b(\w*[mM]aximum\w*|[mM]ost[A-Z]\w*|[lL]ongest\w*)\b)re");
    for (const char* folder : {"openhost", "catalogue", "module/host"})
        for (const char* ending : {".h", ".cpp"}) {
            if (folder == std::string("module/host") && ending == std::string(".cpp"))
                continue;
            for (const auto& [file, text] : TextsBelow(folder, ending)) {
                std::istringstream lines(text);
                for (std::string line; std::getline(lines, line);) {
                    std::smatch match;
                    if (line.find("constexpr ") == std::string::npos || !std::regex_search(line, match, declaration))
                        continue;
                    const std::string name = file + " " + match[1].str();
                    EXPECT_TRUE(others.erase(name) == 1 || listed.contains(name))
                        << name << " is neither in docs/limits.md nor among the exceptions of this test";
                }
            }
        }
    for (const auto& [name, reason] : others)
        ADD_FAILURE() << name << ": there is no such constant";
}

} // namespace

} // namespace openhost::testing
