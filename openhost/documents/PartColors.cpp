#include "openhost/documents/PartColors.h"

#include "openhost/documents/DocumentStream.h"

#include <algorithm>

namespace openhost {

namespace {

constexpr std::string_view Mark = "ZCOL";
constexpr std::uint32_t Version = 1;

// Whether there is a colour of the whole, and it; count; face and colour of each

void PutColor(StreamWriter& writer, const SurfaceColor& color)
{
    for (const double part : color) {
        if (!(part >= 0 && part <= 1))
            throw DocumentStreamError("a colour is none");
        writer.PutReal(part);
    }
}

SurfaceColor TakeColor(StreamReader& reader)
{
    SurfaceColor color{};
    for (double& part : color) {
        part = reader.TakeReal();
        if (!(part >= 0 && part <= 1))
            throw DocumentStreamError("a colour is none");
    }
    return color;
}

void CheckOrder(const PartColors& colors)
{
    const auto notBefore = [](const FaceColor& one, const FaceColor& other) { return one.face >= other.face; };
    if (std::ranges::adjacent_find(colors.faces, notBefore) != colors.faces.end())
        throw DocumentStreamError("the faces with colours are out of order");
}

} // namespace

std::vector<std::optional<SurfaceColor>> ColorsOfFaces(const PartColors& colors, std::size_t faces)
{
    std::vector<std::optional<SurfaceColor>> all(faces, colors.whole);
    for (const FaceColor& face : colors.faces)
        if (face.face < faces)
            all[face.face] = face.color;
    return all;
}

std::string EncodeColors(const PartColors& colors)
{
    CheckOrder(colors);
    StreamWriter writer;
    writer.PutNumber(colors.whole ? 1 : 0);
    if (colors.whole)
        PutColor(writer, *colors.whole);
    writer.PutNumber(static_cast<std::uint32_t>(colors.faces.size()));
    for (const FaceColor& face : colors.faces) {
        writer.PutNumber(face.face);
        PutColor(writer, face.color);
    }
    return writer.Finish(Mark, Version);
}

PartColors DecodeColors(std::string_view stream)
{
    StreamReader reader(stream, Mark, Version);
    PartColors colors;
    const std::uint32_t hasWhole = reader.TakeNumber();
    if (hasWhole > 1)
        throw DocumentStreamError("a boolean is neither true nor false");
    if (hasWhole == 1)
        colors.whole = TakeColor(reader);
    for (std::uint32_t count = reader.TakeCount(sizeof(std::uint32_t) + 3 * sizeof(double)); count > 0; --count) {
        const std::uint32_t face = reader.TakeNumber();
        colors.faces.push_back({face, TakeColor(reader)});
    }
    reader.ExpectEnd();
    CheckOrder(colors);
    return colors;
}

std::string ColoredBoundary(const PartColors& colors, std::string_view boundary)
{
    std::string bytes = colors.IsEmpty() ? std::string() : EncodeColors(colors);
    bytes += boundary;
    return bytes;
}

PartColors TakeColors(std::string& bytes)
{
    if (!bytes.starts_with(Mark))
        return {};
    const std::size_t size = SizeOfStream(bytes);
    PartColors colors = DecodeColors(std::string_view(bytes).substr(0, size));
    bytes.erase(0, size);
    return colors;
}

} // namespace openhost
