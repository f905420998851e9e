// The source files of the project and what they include.
#pragma once

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace openhost::testing {

/// One include directive.
struct Include {
    std::string file; ///< the including file, relative to the root of the project, such as "module/panel/X.cpp"
    bool isHeader;    ///< whether `file` is a header
    /// What is included: relative to the root for a file of the project, otherwise as it is written.
    std::string target;
    bool isOurs; ///< whether `target` is a file of the project

    friend std::ostream& operator<<(std::ostream& stream, const Include& include)
    {
        return stream << include.file << " includes " << include.target;
    }
};

/// Every include below `folder`, which is relative to the root of the project. Throws std::runtime_error for a
/// folder that holds no source file.
std::vector<Include> IncludesBelow(const std::string& folder);

/// Whether `header` belongs to the C++ standard library.
bool IsStandardHeader(const std::string& header);

/// The texts of the files below `folder` whose names end in `ending`, by their path relative to the root of the
/// project. Throws std::runtime_error when there is none.
std::map<std::string, std::string> TextsBelow(const std::string& folder, const std::string& ending);
/// The text of one file, whose path is relative to the root of the project. Throws std::runtime_error without it.
std::string TextOfSource(const std::string& file);

/// The cells of `line`, a row of a table in Markdown, without the blanks around them.
std::vector<std::string> CellsOf(const std::string& line);

/// The words of all files directly in `folder`: runs of letters, digits and "_".
std::set<std::string> WordsIn(const std::string& folder);

/// The first two components of `path`, such as "openhost/text".
std::string FolderOf(const std::string& path);

} // namespace openhost::testing
