#include "catalogue/service/UploadedShape.h"

#include <zip.h>

#include <memory>
#include <string>

namespace catalogue {

namespace {

constexpr zip_uint64_t PieceSize = 1 << 18;

struct CloseArchive {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct CloseEntry {
    void operator()(zip_file_t* entry) const { zip_fclose(entry); }
};

std::unique_ptr<zip_t, CloseArchive> OpenArchive(std::string_view bytes)
{
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, nullptr);
    if (!source)
        throw std::bad_alloc();
    std::unique_ptr<zip_t, CloseArchive> archive(zip_open_from_source(source, ZIP_RDONLY, nullptr));
    if (!archive) {
        zip_source_free(source);
        throw UploadError("the file is not a zip archive");
    }
    return archive;
}

/// The content of the only entry. What the archive announces is not believed.
std::string ReadEntry(zip_t& archive)
{
    const std::unique_ptr<zip_file_t, CloseEntry> entry(zip_fopen_index(&archive, 0, 0));
    if (!entry)
        throw UploadError("the entry of the archive is encrypted or packed in an unknown way");
    std::string content;
    for (;;) {
        const std::size_t filled = content.size();
        content.resize(filled + PieceSize);
        // The end is told only when size and checksum were right.
        const zip_int64_t count = zip_fread(entry.get(), content.data() + filled, PieceSize);
        if (count < 0)
            throw UploadError("the entry of the archive is damaged");
        content.resize(filled + static_cast<std::size_t>(count));
        if (count == 0)
            return content;
        if (content.size() > MaximumUploadedShapeSize)
            throw UploadError("the light representation in the archive is too large");
    }
}

} // namespace

openhost::LvrMesh ReadUploadedShape(std::string_view archive)
{
    if (archive.size() > MaximumUploadSize)
        throw UploadError("the archive is too large");
    const std::unique_ptr<zip_t, CloseArchive> opened = OpenArchive(archive);
    const char* name = zip_get_num_entries(opened.get(), 0) == 1 ? zip_get_name(opened.get(), 0, 0) : nullptr;
    if (!name || !std::string_view(name).ends_with(".lvr"))
        throw UploadError("the archive must hold one file *.lvr and nothing else");
    return openhost::ReadLvrBytes(ReadEntry(*opened));
}

} // namespace catalogue
