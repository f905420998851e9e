#include "catalogue/service/Reply.h"

#include "catalogue/service/PercentEncode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace catalogue {

namespace {

constexpr std::size_t MaximumPieceSize = std::size_t{256} << 10;

std::string Quote(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += character;
    }
    return quoted + '"';
}

/// The header's value, or an empty text for none.
std::string BuildDisposition(const ReplyOptions& options, const Download& download)
{
    std::string name = options.fileName.value_or(download.fileName);
    switch (options.disposition) {
    case Disposition::Usual:
        return download.attached || options.fileName ? "attachment; filename=" + Quote(name) : "";
    case Disposition::Attachment:
        return "attachment; filename=" + Quote(name);
    case Disposition::Inline:
        return "inline; filename=" + Quote(name);
    case Disposition::None:
        return "";
    case Disposition::Unquoted:
        return "attachment; filename=" + name;
    case Disposition::Late:
        return "attachment; size=" + std::to_string(download.body->Size()) + "; filename=" + Quote(name);
    case Disposition::Extended:
        return "attachment; filename*=UTF-8''" + PercentEncode(name);
    case Disposition::Custom:
        return name;
    }
    return "";
}

std::string BuildErrorText(int code, const std::string& reason)
{
    return nlohmann::ordered_json{{"error", reason}, {"code", code}}.dump(-1, ' ', false,
                                                                          nlohmann::json::error_handler_t::replace);
}

/// Puts the body that the options ask for in the place of the file.
void ReplaceContent(const ReplyOptions& options, Download& download)
{
    switch (options.content) {
    case Content::File:
        return;
    case Content::Json:
        download.body = Body::FromText(BuildErrorText(options.code, "as the request asked"));
        download.contentType = "application/json";
        break;
    case Content::Text:
        download.body = Body::FromText("Error " + std::to_string(options.code) + ", as the request asked.\n");
        download.contentType = "text/plain";
        break;
    case Content::Empty:
        download.body = Body::FromText("");
        break;
    }
    if (options.content != Content::Empty)
        download.attached = false;
}

bool WriteRedirect(const ReplyOptions& options, const httplib::Request& request, httplib::Response& response)
{
    std::string target = options.redirectTarget;
    if (options.redirects > 0) {
        target = request.target.substr(0, request.target.find('?'));
        char separator = '?';
        for (const auto& [name, value] : request.params) {
            const std::string next = name == "redirect" ? std::to_string(options.redirects - 1) : value;
            target += separator + PercentEncode(name) + '=' + PercentEncode(next);
            separator = '&';
        }
    }
    if (target.empty())
        return false;
    response.status = options.redirectCode;
    response.set_header("Location", target);
    return true;
}

/// Sends a body piece by piece with the pauses and the end that the options ask for.
class PieceSender {
public:
    PieceSender(const ReplyOptions& options, std::shared_ptr<Body> body, StopSignal& stop)
        : body_(std::move(body)), framing_(options.framing), cut_(options.cut), pieceSize_(options.pieceSize),
          pause_(options.pause), stop_(stop)
    {
    }

    /// Sends one piece from `offset`, with at most `most` bytes. False ends the connection.
    bool Send(std::uint64_t offset, std::uint64_t most, httplib::DataSink& sink)
    {
        if (pieceSize_ > 0 && sent_ > 0 && sent_ % pieceSize_ == 0 && stop_.WaitFor(pause_))
            return false;

        std::uint64_t size = std::min<std::uint64_t>(most, MaximumPieceSize);
        if (pieceSize_ > 0)
            size = std::min(size, pieceSize_ - sent_ % pieceSize_);
        if (cut_)
            size = std::min(size, *cut_ - std::min(*cut_, sent_));
        if (cut_ && size == 0)
            return false;

        buffer_.resize(static_cast<std::size_t>(size));
        const std::size_t count = body_->Read(offset, buffer_.data(), buffer_.size());
        if (count == 0)
            return Finish(sink);
        sent_ += count;
        return sink.write(buffer_.data(), count);
    }

private:
    /// At the end of the bytes, which comes here only for a body whose length is not announced, and for
    /// a file that has become shorter.
    bool Finish(httplib::DataSink& sink) const
    {
        if (framing_ != Framing::Chunked)
            return false;
        sink.done();
        return true;
    }

    std::shared_ptr<Body> body_;
    Framing framing_;
    std::optional<std::uint64_t> cut_;
    std::uint64_t pieceSize_;
    std::chrono::milliseconds pause_;
    StopSignal& stop_;
    std::uint64_t sent_ = 0;
    std::vector<char> buffer_;
};

/// Whether the ranges that the request asks for can be served: none, or one that begins inside the body.
bool RangeIsServable(const httplib::Request& request, std::uint64_t size)
{
    if (request.ranges.empty())
        return true;
    if (request.ranges.size() > 1)
        return false;
    const auto [first, last] = request.ranges.front();
    if (first < 0)
        return last > 0 && static_cast<std::uint64_t>(last) <= size;
    return static_cast<std::uint64_t>(first) < size && (last < 0 || static_cast<std::uint64_t>(last) < size);
}

} // namespace

void WriteError(httplib::Response& response, int code, const std::string& reason)
{
    response.status = code;
    response.set_content(BuildErrorText(code, reason), "application/json");
}

void WriteReply(const ReplyOptions& options, Download download, const httplib::Request& request,
                httplib::Response& response, StopSignal& stop)
{
    if (WriteRedirect(options, request, response))
        return;

    ReplaceContent(options, download);
    const std::string type = options.contentType.value_or(download.contentType);
    const std::string disposition = BuildDisposition(options, download);
    const std::uint64_t size = download.body->Size();

    if (!RangeIsServable(request, size)) {
        response.set_header("Content-Range", "bytes */" + std::to_string(size));
        WriteError(response, 416, "one range inside the content can be asked for");
        return;
    }
    if (options.code != 200)
        response.status = options.code;
    if (!disposition.empty())
        response.set_header("Content-Disposition", disposition);

    const auto sender = std::make_shared<PieceSender>(options, download.body, stop);
    if (options.framing == Framing::Announced) {
        if (size == 0)
            response.set_header("Content-Type", type);
        else
            response.set_content_provider(static_cast<std::size_t>(size), type,
                                          [sender](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                                              return sender->Send(offset, length, sink);
                                          });
        return;
    }

    const auto provider = [sender](std::size_t offset, httplib::DataSink& sink) {
        return sender->Send(offset, MaximumPieceSize, sink);
    };
    if (options.framing == Framing::Chunked) {
        response.set_chunked_content_provider(type, provider);
        return;
    }
    response.set_header("Connection", "close");
    response.set_content_provider(type, provider);
}

} // namespace catalogue
