// The place below a folder where an entry of an archive will stand.
#pragma once

#include "Descriptor.h"

#include <string>
#include <string_view>
#include <vector>

namespace openhost {

/// Components of `path`, which `\` and `/` both separate, empty ones and "." left out. Throws
/// std::runtime_error for a path that is absolute, names a drive or holds "..".
std::vector<std::string> ComponentsBelow(std::string_view path);

/// One file or folder that is either made completely, together with the folders above it, or leaves nothing
/// behind. No link is followed below the folder, and each operation throws std::runtime_error when one stands
/// in the way.
class ZipOutput {
public:
    /// Goes to the place that `components` name below `folder`, which must exist.
    ZipOutput(const std::string& folder, std::vector<std::string> components);
    ZipOutput(const ZipOutput&) = delete;
    ZipOutput& operator=(const ZipOutput&) = delete;
    /// Takes back what was not finished.
    ~ZipOutput();

    /// Makes the place a folder, unless it is one.
    void MakeFolder();
    /// Makes the file with its whole content. False, and nothing done, when something stands there.
    bool Create(std::string_view content);
    /// Appends to the content that Replace puts in place.
    void Write(std::string_view content);
    /// Puts the content written in the place of a file or of nothing.
    void Replace();

private:
    /// The folder entered last.
    int Here() const { return here_ ? here_.Number() : folder_.Number(); }
    void Enter();
    void EnterParent();
    void OpenTemporary();

    std::vector<std::string> components_;
    Descriptor folder_;
    Descriptor here_;               ///< none until a component is entered
    std::size_t depth_ = 0;         ///< components entered
    std::vector<std::string> made_; ///< folders made on the way, as paths below `folder_`
    Descriptor temporary_;
    std::string temporaryName_; ///< empty when there is no temporary file
};

} // namespace openhost
