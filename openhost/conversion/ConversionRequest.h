// What the programs of the solid kernel are asked for that read and write documents.
#pragma once

#include "openhost/geometry_process/PictureSize.h"

#include <filesystem>
#include <functional>
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

/// What `work` gives for the request that is encoded in `bytes`. An error of memory names the document.
std::string AnswerRequest(std::string_view bytes,
                          const std::function<std::string(const ConversionRequest& request)>& work);

} // namespace openhost
