#include "openhost/http/ContentDecoder.h"

#include "openhost/http/HttpAddress.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <array>
#include <string>

namespace openhost {

namespace {

/// A format that carries deflated bytes.
enum class Format { Gzip, Deflate };

class Inflater final : public ContentDecoder {
public:
    explicit Inflater(Format format) : format_(format)
    {
        isal_inflate_init(&state_);
        isal_gzip_header_init(&gzipHeader_);
    }

    bool Decode(std::string_view bytes, const Take& take) override
    {
        // What the bytes are wrapped in is told from the first two.
        if (start_.size() < StartSize) {
            const std::size_t missing = std::min(StartSize - start_.size(), bytes.size());
            start_ += bytes.substr(0, missing);
            bytes.remove_prefix(missing);
            if (start_.size() < StartSize)
                return true;
            ChooseFormat();
            if (!Inflate(start_, take))
                return false;
        }
        return Inflate(bytes, take);
    }

    bool IsComplete() const override { return isInside_ && state_.block_state == ISAL_BLOCK_FINISH; }

private:
    static constexpr std::size_t StartSize = 2;

    void ChooseFormat()
    {
        const auto first = static_cast<unsigned char>(start_[0]);
        const auto second = static_cast<unsigned char>(start_[1]);
        if (format_ == Format::Gzip) {
            readHeader_ = [this] { return isal_read_gzip_header(&state_, &gzipHeader_); };
            checksum_ = ISAL_GZIP_NO_HDR_VER;
        } else if ((first & 0x0F) == 8 && (first * 256 + second) % 31 == 0) {
            readHeader_ = [this] { return isal_read_zlib_header(&state_, &zlibHeader_); };
            checksum_ = ISAL_ZLIB_NO_HDR_VER;
        } else {
            // Some servers leave the wrapping out.
            readHeader_ = [] { return ISAL_DECOMP_OK; };
            checksum_ = ISAL_DEFLATE;
        }
    }

    bool Inflate(std::string_view bytes, const Take& take)
    {
        // The library takes 32 bits, and writes nothing here.
        state_.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(bytes.data()));
        state_.avail_in = static_cast<std::uint32_t>(bytes.size());
        if (!isInside_) {
            const int result = readHeader_();
            if (result == ISAL_END_INPUT)
                return true;
            if (result != ISAL_DECOMP_OK)
                return false;
            state_.crc_flag = checksum_;
            isInside_ = true;
        }
        while (!IsComplete()) {
            const std::uint32_t waiting = state_.avail_in;
            state_.next_out = reinterpret_cast<std::uint8_t*>(output_.data());
            state_.avail_out = static_cast<std::uint32_t>(output_.size());
            if (isal_inflate(&state_) != ISAL_DECOMP_OK)
                return false;
            const std::size_t decoded = output_.size() - state_.avail_out;
            if (decoded > 0 && !take({output_.data(), decoded}))
                return false;
            if (decoded == 0 && state_.avail_in == waiting)
                return true;
        }
        return state_.avail_in == 0;
    }

    Format format_;
    std::string start_; ///< the first bytes of the body
    std::function<int()> readHeader_;
    std::uint32_t checksum_ = ISAL_DEFLATE;
    bool isInside_ = false; ///< the header has been read
    inflate_state state_{};
    isal_gzip_header gzipHeader_{};
    isal_zlib_header zlibHeader_{};
    std::array<char, 64UL * 1024> output_{};
};

} // namespace

std::unique_ptr<ContentDecoder> ContentDecoder::For(std::string_view encoding)
{
    if (IsSameHttpName(encoding, "gzip") || IsSameHttpName(encoding, "x-gzip"))
        return std::make_unique<Inflater>(Format::Gzip);
    if (IsSameHttpName(encoding, "deflate"))
        return std::make_unique<Inflater>(Format::Deflate);
    return nullptr;
}

} // namespace openhost
