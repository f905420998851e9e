// What the program of conversions is asked for.
#pragma once

#include "openhost/geometry_process/PictureSize.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace openhost {

struct ConversionRequest {
    std::filesystem::path document;
    std::filesystem::path output;
    PictureSize size;         ///< of a picture
    std::string author;       ///< of a STEP file
    std::string organization; ///< the author's

    /// The bytes of a job.
    std::string Encode() const;
    /// Throws std::invalid_argument for bytes that Encode has not given.
    static ConversionRequest Decode(std::string_view bytes);
};

} // namespace openhost
