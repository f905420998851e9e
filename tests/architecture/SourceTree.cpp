#include "tests/architecture/SourceTree.h"
#include "tests/support/Places.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace openhost::testing {

namespace {

namespace fs = std::filesystem;

const fs::path Root = SourceDir();

std::string TextOf(const fs::path& file)
{
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// Files of the project are found beside the includer, from the root, and from the module's folder.
bool Resolve(const fs::path& includer, std::string& target)
{
    for (const fs::path& base : {includer.parent_path(), Root, Root / "module"})
        if (fs::exists(base / target)) {
            target = fs::relative(fs::canonical(base / target), fs::canonical(Root)).generic_string();
            return true;
        }
    return false;
}

} // namespace

std::vector<Include> IncludesBelow(const std::string& folder)
{
    static const std::regex directive(R"(^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"])");
    std::vector<Include> includes;
    int files = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Root / folder)) {
        const fs::path& file = entry.path();
        const bool isHeader = file.extension() == ".h" || file.extension() == ".in";
        if (!isHeader && file.extension() != ".cpp")
            continue;
        ++files;
        const std::string name = fs::relative(file, Root).generic_string();
        std::istringstream text(TextOf(file));
        for (std::string line; std::getline(text, line);) {
            std::smatch match;
            if (!std::regex_search(line, match, directive))
                continue;
            std::string target = match[2];
            const bool isOurs = match[1] == "\"" && Resolve(file, target);
            includes.push_back({name, isHeader, target, isOurs});
        }
    }
    if (files == 0)
        throw std::runtime_error("no source file below " + folder);
    return includes;
}

bool IsStandardHeader(const std::string& header)
{
    static const std::set<std::string> headers = [] {
        std::istringstream names(
            "algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono "
            "cinttypes "
            "climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal "
            "cstdarg "
            "cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem "
            "format "
            "forward_list fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator "
            "latch "
            "limits list locale map memory memory_resource mutex new numbers numeric optional ostream queue random "
            "ranges "
            "ratio regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept "
            "stop_token streambuf string string_view strstream syncstream system_error thread tuple type_traits "
            "typeindex "
            "typeinfo unordered_map unordered_set utility valarray variant vector version");
        std::set<std::string> list;
        for (std::string name; names >> name;)
            list.insert(name);
        return list;
    }();
    return headers.contains(header);
}

std::map<std::string, std::string> TextsBelow(const std::string& folder, const std::string& ending)
{
    std::map<std::string, std::string> texts;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Root / folder))
        if (entry.is_regular_file() && entry.path().string().ends_with(ending))
            texts[fs::relative(entry.path(), Root).generic_string()] = TextOf(entry.path());
    if (texts.empty())
        throw std::runtime_error("nothing below " + folder + " ends in " + ending);
    return texts;
}

std::string TextOfSource(const std::string& file)
{
    if (!fs::is_regular_file(Root / file))
        throw std::runtime_error("there is no " + file);
    return TextOf(Root / file);
}

std::vector<std::string> CellsOf(const std::string& line)
{
    std::vector<std::string> cells;
    std::size_t begin = 1;
    for (std::size_t end = 0; (end = line.find('|', begin)) != std::string::npos; begin = end + 1) {
        const std::string cell = line.substr(begin, end - begin);
        const std::size_t first = cell.find_first_not_of(' ');
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
    }
    return cells;
}

std::set<std::string> WordsIn(const std::string& folder)
{
    static const std::regex word("[A-Za-z_][A-Za-z0-9_]*");
    std::set<std::string> words;
    for (const fs::directory_entry& entry : fs::directory_iterator(Root / folder)) {
        if (!entry.is_regular_file())
            continue;
        const std::string text = TextOf(entry.path());
        for (std::sregex_iterator match(text.begin(), text.end(), word), end; match != end; ++match)
            words.insert(match->str());
    }
    return words;
}

std::string FolderOf(const std::string& path)
{
    const std::size_t first = path.find('/');
    return path.substr(0, first == std::string::npos ? first : path.find('/', first + 1));
}

} // namespace openhost::testing
