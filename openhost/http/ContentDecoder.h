// Encoded bodies of replies.
#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace openhost {

/// Decodes a body in the encoding gzip or deflate as its bytes come.
class ContentDecoder {
public:
    /// Takes decoded bytes, which are valid during the call. False ends the decoding.
    using Take = std::function<bool(std::string_view bytes)>;

    /// Null for an encoding that it does not know. Letter case does not count.
    static std::unique_ptr<ContentDecoder> For(std::string_view encoding);

    virtual ~ContentDecoder() = default;
    /// Decodes the next bytes of the body. False when they are damaged or come after the end, and when `take` has
    /// ended it.
    virtual bool Decode(std::string_view bytes, const Take& take) = 0;
    /// Whether the end of the encoded body has come, and its checksum was right.
    virtual bool IsComplete() const = 0;
};

} // namespace openhost
