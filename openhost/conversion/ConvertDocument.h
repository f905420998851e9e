// Documents as STEP files and pictures, and STEP files as documents, made by programs of their own: they have the solid
// kernel, which may crash on geometry from outside or never come to an end.
#pragma once

#include "openhost/conversion/ImportedFiles.h"
#include "openhost/geometry_process/GeometryProcess.h"
#include "openhost/geometry_process/PictureSize.h"

#include <filesystem>
#include <functional>
#include <string>

namespace openhost {

struct ConversionPrograms {
    std::filesystem::path step = FindProgramBeside("openhost-conversion");
    std::filesystem::path pictures = FindProgramBeside("openhost-picture");
};

/// Makes files of documents in processes of `programs`.
/// Each takes a document, a file to write and a receiver of warnings, a line about each document that is missing and
/// left out. Throws GeometryJobError, which says why nothing was written: the file is then as it was.
class DocumentConverter {
public:
    explicit DocumentConverter(const GeometryJobLimits& limits = {}, ConversionPrograms programs = {});

    /// STEP (AP214, millimetres), in whose header `author` and `organization` stand.
    void ExportStep(const std::filesystem::path& document, const std::filesystem::path& output,
                    const std::string& author, const std::string& organization,
                    const std::function<void(const std::string& line)>& warn);
    /// The documents of the STEP file `file`, below the folder `folder`: all of them or none, as ImportedFiles says.
    /// `tell` gets how much is done, in percent. Returns the path of the root.
    std::filesystem::path ImportStep(const std::filesystem::path& file, const std::filesystem::path& folder,
                                     ReplaceFiles replace, const std::function<void(const std::string& line)>& warn,
                                     const std::function<void(int percent)>& tell);
    /// PNG.
    void DrawPicture(const std::filesystem::path& document, const std::filesystem::path& output, PictureSize size,
                     const std::function<void(const std::string& line)>& warn);

    /// Ends what is being made, and refuses what follows. For any thread.
    void Interrupt();

private:
    GeometryProcess step_;
    GeometryProcess pictures_;
};

} // namespace openhost
