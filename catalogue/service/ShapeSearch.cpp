#include "catalogue/service/ShapeSearch.h"

#include "catalogue/service/Body.h"
#include "catalogue/service/UploadedShape.h"
#include "catalogue/shapes/ShapeToken.h"

#include <cmath>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

Json ReadIndex(const std::filesystem::path& path)
{
    const std::shared_ptr<Body> body = Body::FromFile(path);
    if (!body || body->Size() > ShapeSearch::MaximumIndexSize)
        return {};
    std::string text = body->ReadAll();
    return Json::parse(text, nullptr, false);
}

} // namespace

ShapeSearch::ShapeSearch(const std::filesystem::path& index)
{
    const Json entries = ReadIndex(index);
    if (!entries.is_array())
        return;
    for (Json item : entries) {
        if (!item.is_object() || !item.contains("shape") || !item["shape"].is_string())
            continue;
        try {
            shapes_.Add(DecodeShapeToken(item["shape"].get_ref<const std::string&>()));
        } catch (const ShapeError&) {
            continue;
        }
        item.erase("shape");
        items_.push_back(std::move(item));
    }
}

std::string ShapeSearch::Accept(std::string_view archive)
{
    const std::lock_guard lock(upload_);
    return EncodeShapeToken(DescribeShape(ReadUploadedShape(archive)));
}

Json ShapeSearch::Search(std::string_view query) const
{
    Json results = Json::array();
    for (const ShapeIndex::Match& match : shapes_.Rank(DecodeShapeToken(query))) {
        Json item = items_[match.shape];
        item["score"] = std::round(1e4 / (1 + match.distance)) / 1e4;
        results.push_back(std::move(item));
    }
    return results;
}

} // namespace catalogue
