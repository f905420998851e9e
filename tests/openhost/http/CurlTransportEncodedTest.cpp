// Encoded bodies, and how much a body may be.
#include "tests/openhost/http/HttpFixture.h"

#include <gmock/gmock.h>
#include <libdeflate.h>

using namespace openhost;
using namespace openhost::testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

namespace {
const std::string Plain = "hello hello hello hello hello hello";
const std::string Gzip = "Content-Encoding: gzip\r\n";
const std::string Deflate = "Content-Encoding: deflate\r\n";

using Compress = std::size_t(libdeflate_compressor*, const void*, std::size_t, void*, std::size_t);

std::string Compressed(const std::string& text, Compress* compress)
{
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(9), &libdeflate_free_compressor);
    std::string bytes(text.size() + 1000, '\0');
    bytes.resize(compress(compressor.get(), text.data(), text.size(), bytes.data(), bytes.size()));
    return bytes;
}

std::string Gzipped(const std::string& text)
{
    return Compressed(text, libdeflate_gzip_compress);
}

std::string LittleEndian(std::size_t number)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

/// A gzip file of `size` bytes, with a name in its head that is as long as it takes. `packed` is `text`, deflated.
std::string GzipFile(std::size_t size, const std::string& packed, const std::string& text)
{
    const std::string body =
        packed + LittleEndian(libdeflate_crc32(0, text.data(), text.size())) + LittleEndian(text.size());
    const std::string head("\x1F\x8B\x08\x08\0\0\0\0\0\x03", 10);
    if (size < head.size() + 1 + body.size())
        throw std::logic_error("it takes more bytes");
    return head + std::string(size - head.size() - 1 - body.size(), 'n') + '\0' + body;
}

std::string GzippedTo(std::size_t size, const std::string& text)
{
    return GzipFile(size, Compressed(text, libdeflate_deflate_compress), text);
}

/// 1 + 258 * `runs` zero bytes, deflated as tightly as the format allows: two bits a run.
std::string TightZeros(std::size_t runs)
{
    std::string bytes;
    std::size_t written = 0;
    const auto bit = [&](bool value) {
        if (written % 8 == 0)
            bytes += '\0';
        bytes.back() = static_cast<char>(bytes.back() | (value ? 1 << written % 8 : 0));
        ++written;
    };
    const auto number = [&](unsigned value, int bits) {
        for (int at = 0; at < bits; ++at)
            bit((value >> at & 1) != 0);
    };
    const auto code = [&](const char* text) {
        for (; *text != '\0'; ++text)
            bit(*text == '1');
    };
    number(1, 1);  // the last block
    number(2, 2);  // with codes of its own
    number(29, 5); // lengths for all 286 symbols,
    number(0, 5);  // for one distance,
    number(14, 4); // and for 18 lengths: those of 18, 2 and 1
    for (const unsigned length : {0U, 0U, 1U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 0U, 2U, 0U, 2U})
        number(length, 3);
    const auto zeros = [&](unsigned count) {
        code("0");
        number(count - 11, 7);
    };
    code("11"); // the byte 0 has two bits
    zeros(138);
    zeros(117);
    code("11"); // so has the end
    zeros(28);
    code("10"); // the length 258 has one
    code("10"); // and so has the distance 1
    code("10");
    for (std::size_t run = 0; run < runs; ++run)
        code("00");
    code("11");
    return bytes;
}

class CurlTransportEncoded : public HttpFixture {
protected:
    /// What comes of a reply with this body, and of the request `method`.
    static std::string ToldOfReply(const std::string& reply, const std::string& method = "GET")
    {
        RawServer server(RawServer::Once(reply));
        Fetch fetch(server.Url(), method);
        RunWhole(fetch);
        const std::string told = fetch.Told();
        return told.substr(0, told.find(':') + 2) + std::to_string(fetch->body.size());
    }
    std::string Error() const { return Journalled("transfer")["error"]; }
};
} // namespace

// ---------------------------------------------------------------------------------------------
// Decoding

TEST_F(CurlTransportEncoded, AGzipBodyIsDecodedAndHasNoTotal)
{
    const std::string body = Gzipped(Plain);
    RawServer server(RawServer::Once(Reply(body, Gzip)));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ("hdpc finished 200: " + Plain, fetch.Told());
    EXPECT_THAT(fetch->progress.back(), Pair(Plain.size(), 0));
    EXPECT_THAT(fetch->headers,
                ElementsAre(Pair("Content-Encoding", "gzip"), Pair("Content-Length", std::to_string(body.size()))));
    EXPECT_THAT(server.Requests().at(0), HasSubstr("Accept-Encoding: gzip, deflate\r\n"));
}

TEST_F(CurlTransportEncoded, EachFormOfTheEncodingsIsDecodedHoweverItComes)
{
    const std::string named = GzippedTo(100, Plain);
    const std::pair<std::string, std::string> cases[] = {
        {Gzip, Gzipped(Plain)},
        {"Content-Encoding: x-GZIP\r\n", Gzipped(Plain)},
        {Gzip, named},
        {Deflate, Compressed(Plain, libdeflate_zlib_compress)},
        {Deflate, Compressed(Plain, libdeflate_deflate_compress)},
    };
    for (const auto& [header, body] : cases) {
        EXPECT_EQ("hdpc finished 200: 35", ToldOfReply(Reply(body, header))) << header;
        RawServer bytewise([header = header, body = body](RawServer::Connection& connection) {
            connection.ReadRequest();
            connection.Send("HTTP/1.1 200 OK\r\n" + header + "\r\n");
            for (const char byte : body) {
                connection.Send({&byte, 1});
                connection.Pause(std::chrono::milliseconds(1));
            }
        });
        EXPECT_EQ("hdpc finished 200: " + Plain, ToldOf(bytewise.Url())) << header;
    }
}

TEST_F(CurlTransportEncoded, ABodyOfSeveralMegabytesIsDecodedByteForByte)
{
    std::string body(5'000'003, '\0');
    for (std::size_t at = 0; at < body.size(); ++at)
        body[at] = static_cast<char>(at * 2654435761U >> 26);
    RawServer server(RawServer::Once(Reply(Gzipped(body), Gzip)));
    Fetch fetch(server.Url());
    RunWhole(fetch);
    EXPECT_EQ(ZALHttpStatusFinished, fetch->status);
    EXPECT_TRUE(body == fetch->body);
}

TEST_F(CurlTransportEncoded, AnAcceptEncodingOfTheRequestLeavesTheBodyAsItCame)
{
    const std::string body = Gzipped(Plain);
    RawServer server(RawServer::Once(Reply(body, Gzip)));
    Fetch fetch(server.Url());
    fetch.With("accept-encoding", "gzip");
    RunWhole(fetch);
    EXPECT_EQ(body, fetch->body);
    EXPECT_THAT(fetch->progress.back(), Pair(body.size(), body.size()));
}

TEST_F(CurlTransportEncoded, ABodyThatIsToldToBeEmptyIsWhole)
{
    EXPECT_EQ("hc finished 200: 0", ToldOfReply(Reply("", Gzip)));
    EXPECT_EQ("hc finished 200: 0",
              ToldOfReply("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + Gzip + "\r\n0\r\n\r\n"));
    EXPECT_EQ("hc finished 304: 0", ToldOfReply("HTTP/1.1 304 Not Modified\r\n" + Gzip + "\r\n"));
    EXPECT_EQ("hc finished 200: 0", ToldOfReply("HTTP/1.1 200 OK\r\n" + Gzip + "\r\n", "HEAD"));
}

// ---------------------------------------------------------------------------------------------
// Bodies that are not whole

TEST_F(CurlTransportEncoded, ABodyThatIsCutShortAnywhereFails)
{
    for (const auto& [header, body] : {std::pair{Gzip, Gzipped(Plain)}, std::pair{Gzip, GzippedTo(60, Plain)},
                                       std::pair{Deflate, Compressed(Plain, libdeflate_zlib_compress)},
                                       std::pair{Deflate, Compressed(Plain, libdeflate_deflate_compress)}})
        for (std::size_t size = 1; size < body.size(); ++size) {
            RawServer server(RawServer::Once(Reply(body.substr(0, size), header)));
            Fetch fetch(server.Url());
            RunWhole(fetch);
            EXPECT_EQ(ZALHttpStatusFailed, fetch->status) << header << size;
            EXPECT_EQ("the encoded body of the reply is cut short", Error()) << header << size;
        }
}

TEST_F(CurlTransportEncoded, ABodyOfNoBytesThatEndsWithTheConnectionIsCutShort)
{
    EXPECT_EQ("hc failed 200: 0", ToldOfReply("HTTP/1.1 200 OK\r\n" + Gzip + "\r\n"));
}

TEST_F(CurlTransportEncoded, ADamagedBodyFails)
{
    std::string bytes = Gzipped(Plain);
    bytes.replace(10, 8, 8, '\xFF');
    EXPECT_EQ("hc failed 200: 0", ToldOfReply(Reply(bytes, Gzip)));
    EXPECT_EQ("the encoded body of the reply is damaged", Error());

    for (const std::size_t fromEnd : {8U, 4U}) { // the checksum, the length
        bytes = Gzipped(Plain);
        bytes[bytes.size() - fromEnd] ^= 1;
        EXPECT_THAT(ToldOfReply(Reply(bytes, Gzip)), HasSubstr("failed 200")) << fromEnd;
    }
    bytes = Compressed(Plain, libdeflate_zlib_compress);
    bytes.back() ^= 1;
    EXPECT_THAT(ToldOfReply(Reply(bytes, Deflate)), HasSubstr("failed 200"));
    EXPECT_EQ("hc failed 200: 0", ToldOfReply(Reply("no gzip at all", Gzip)));
}

TEST_F(CurlTransportEncoded, BytesAfterTheEndOfTheEncodingFail)
{
    EXPECT_EQ("hdpc failed 200: 35", ToldOfReply(Reply(Gzipped(Plain) + "more", Gzip)));
}

TEST_F(CurlTransportEncoded, AnEncodingThatNobodyAskedForFails)
{
    for (const std::string encoding : {"unheard-of", "br", "gzip, gzip"})
        EXPECT_EQ("hc failed 200: 0", ToldOfReply(Reply("abc", "Content-Encoding: " + encoding + "\r\n"))) << encoding;
    EXPECT_EQ("hc failed 200: 0", ToldOfReply(Reply(Gzipped(Plain), Gzip + Gzip)));
    EXPECT_EQ("hdpc finished 200: 3", ToldOfReply(Reply("abc", "Content-Encoding: identity\r\n")));
}

// ---------------------------------------------------------------------------------------------
// How much it may be

TEST_F(CurlTransportEncoded, ABodyMayDecodeToAThousandTimesItsLengthAndNoMore)
{
    constexpr std::size_t size = 10'000;
    constexpr std::size_t runs = (size * CurlTransport::MaximumDecodingRatio - 1) / 258;
    const std::string text(1 + 258 * runs, '\0');
    const auto reply = [&](std::size_t length) { return Reply(GzipFile(length, TightZeros(runs), text), Gzip); };
    for (const std::string method : {"GET", "POST"}) {
        EXPECT_EQ("hdpc finished 200: " + std::to_string(text.size()), ToldOfReply(reply(size), method));
        EXPECT_THAT(ToldOfReply(reply(size - 1), method), HasSubstr(" failed 200: ")) << method;
        EXPECT_EQ("the body of the reply decodes to too much", Error());
    }
}

TEST_F(CurlTransportEncoded, ABodyThatIsCollectedMayHaveSixtyFourMebibytesAsItComes)
{
    std::string body(CurlTransport::MaximumCollectedBody, 'a');
    EXPECT_EQ("hdpc finished 200: 67108864", ToldOfReply(Reply(body), "POST"));
    body += 'a';
    EXPECT_THAT(ToldOfReply(Reply(body), "POST"), HasSubstr(" failed 200: "));
    EXPECT_EQ("the body of the reply is too long", Error());
    EXPECT_EQ("hdpc finished 200: 67108865", ToldOfReply(Reply(body), "GET"));
}

TEST_F(CurlTransportEncoded, ABodyThatIsCollectedMayHaveSixtyFourMebibytesWhenDecoded)
{
    std::string body(CurlTransport::MaximumCollectedBody, 'a');
    const std::size_t size = body.size() / 500;
    EXPECT_EQ("hdpc finished 200: 67108864", ToldOfReply(Reply(GzippedTo(size, body), Gzip), "POST"));
    body += 'a';
    EXPECT_THAT(ToldOfReply(Reply(GzippedTo(size, body), Gzip), "POST"), HasSubstr(" failed 200: "));
    EXPECT_EQ("the body of the reply is too long", Error());
    EXPECT_EQ("hdpc finished 200: 67108865", ToldOfReply(Reply(GzippedTo(size, body), Gzip), "GET"));
}

TEST_F(CurlTransportEncoded, TheAnswerToAnUploadIsCollectedAlsoAfterARedirection)
{
    const std::string body(CurlTransport::MaximumCollectedBody + 1, 'a');
    RawServer server(RawServer::Answering([&](const std::string& request) {
        return PathOf(request) == "/to" ? Reply(body) : Reply("", "Location: /to\r\n", "303 See Other");
    }));
    Fetch fetch(server.Url(), "POST");
    RunWhole(fetch);
    EXPECT_EQ(ZALHttpStatusFailed, fetch->status);
    EXPECT_LE(fetch->body.size(), CurlTransport::MaximumCollectedBody);
}
