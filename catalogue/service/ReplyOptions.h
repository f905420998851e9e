// What a request asks of its reply: every way in which a server may answer a download.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace catalogue {

/// Query parameters of a request, decoded.
using QueryParameters = std::multimap<std::string, std::string>;

/// A parameter that is unknown, given twice, out of its range, or at odds with another one.
class ParameterError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Form of the content-disposition header.
enum class Disposition {
    Usual,      ///< attachment for a raw document, none for an archive
    Attachment, ///< attachment; filename="NAME"
    Inline,     ///< inline; filename="NAME"
    None,       ///< no header
    Unquoted,   ///< attachment; filename=NAME
    Late,       ///< attachment; size=N; filename="NAME"
    Extended,   ///< attachment; filename*=UTF-8''NAME, percent-encoded
    Custom,     ///< the parameter `filename` as it stands
};

/// What the reply carries.
enum class Content {
    File,
    Json, ///< an object with "error" and "code"
    Text, ///< one line
    Empty,
};

/// How the end of the body is told.
enum class Framing {
    Announced, ///< Content-Length
    Chunked,
    UntilClose, ///< by the end of the connection
};

/// The wishes for one reply; without any it is the plain download.
struct ReplyOptions {
    Disposition disposition = Disposition::Usual;
    std::optional<std::string> fileName;    ///< `filename`: in place of the file's own name
    std::optional<std::string> contentType; ///< `type`: in place of the file's own type
    int code = 200;                         ///< `code`, of the reply that carries the content
    Content content = Content::File;        ///< `body` and `empty`
    Framing framing = Framing::Announced;   ///< `length=none`, `chunked=1`
    std::optional<std::uint64_t> cut;       ///< `cut`: bytes of the body after which the connection ends
    std::uint64_t pieceSize = 0;            ///< `piece`: bytes between two pauses; 0 sends without any
    std::chrono::milliseconds pause{0};     ///< `pause`: between two pieces
    unsigned int redirects = 0;             ///< `redirect=N`: replies that lead back here before this one
    std::string redirectTarget;             ///< `redirect=URL`
    int redirectCode = 302;                 ///< `code` together with `redirect`

    /// Reads `parameters`. Throws ParameterError.
    static ReplyOptions Parse(const QueryParameters& parameters);
};

/// The value of `name` as a whole number from `least` to `most`. Throws ParameterError.
std::uint64_t ParseNumber(const std::string& name, const std::string& value, std::uint64_t least, std::uint64_t most);

/// The parameters as a map of single values. Throws ParameterError for one that is given twice.
std::map<std::string, std::string> TakeOnce(const QueryParameters& parameters);

} // namespace catalogue
