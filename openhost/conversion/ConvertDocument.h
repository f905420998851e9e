// Documents as STEP files and pictures, made by a program of its own: it has the solid kernel, which may crash on the
// geometry of a document from outside or never come to an end.
#pragma once

#include "openhost/geometry_process/GeometryProcess.h"
#include "openhost/geometry_process/PictureSize.h"

#include <filesystem>
#include <functional>
#include <string>

namespace openhost {

/// Makes files of documents in a process of `program`.
/// Each takes a document, a file to write and a receiver of warnings, a line about each document that is missing and
/// left out. Throws GeometryJobError, which says why nothing was written: the file is then as it was.
class DocumentConverter {
public:
    explicit DocumentConverter(const GeometryJobLimits& limits = {},
                               std::filesystem::path program = FindProgramBeside("openhost-conversion"));

    /// STEP (AP214, millimetres).
    void ExportStep(const std::filesystem::path& document, const std::filesystem::path& output,
                    const std::function<void(const std::string& line)>& warn);
    /// PNG.
    void DrawPicture(const std::filesystem::path& document, const std::filesystem::path& output, PictureSize size,
                     const std::function<void(const std::string& line)>& warn);

private:
    GeometryProcess process_;
};

} // namespace openhost
