// An archive as another program reads it.
#pragma once

#include <zip.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace openhost::testing {

/// An archive in memory, opened with libzip. Whatever is wrong with it is thrown as std::runtime_error.
class OpenedArchive {
public:
    explicit OpenedArchive(std::string bytes) : bytes_(std::move(bytes))
    {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* source = zip_source_buffer_create(bytes_.data(), bytes_.size(), 0, &error);
        archive_ = zip_open_from_source(source, ZIP_CHECKCONS, &error);
        if (!archive_) {
            zip_source_free(source);
            throw std::runtime_error(zip_error_strerror(&error));
        }
    }
    OpenedArchive(const OpenedArchive&) = delete;
    OpenedArchive& operator=(const OpenedArchive&) = delete;
    ~OpenedArchive() { zip_discard(archive_); }

    std::int64_t Count() const { return zip_get_num_entries(archive_, 0); }
    std::string Name(std::int64_t index) const { return zip_get_name(archive_, static_cast<zip_uint64_t>(index), 0); }
    zip_stat_t Status(std::int64_t index) const
    {
        zip_stat_t status;
        zip_stat_index(archive_, static_cast<zip_uint64_t>(index), 0, &status);
        return status;
    }
    std::string Read(std::int64_t index) const
    {
        std::string content(Status(index).size, '\0');
        zip_file_t* file = zip_fopen_index(archive_, static_cast<zip_uint64_t>(index), 0);
        const std::int64_t count = file ? zip_fread(file, content.data(), content.size()) : -1;
        // Closing tells whether the checksum is right.
        if (!file || zip_fclose(file) != 0 || count != static_cast<std::int64_t>(content.size()))
            throw std::runtime_error("damaged entry");
        return content;
    }
    /// Name and content of each entry, in the archive's order.
    std::vector<std::pair<std::string, std::string>> Entries() const
    {
        std::vector<std::pair<std::string, std::string>> entries;
        for (std::int64_t index = 0; index < Count(); ++index)
            entries.emplace_back(Name(index), Read(index));
        return entries;
    }

private:
    std::string bytes_;
    zip_t* archive_;
};

} // namespace openhost::testing
