// What has become of each file of a user's folder, kept beside the items.
#pragma once

#include "catalogue/store/ItemStore.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace catalogue {

/// What a file has become.
struct SourceRecord {
    std::string stamp;                       ///< of the file when it was read
    std::map<std::string, std::string> uses; ///< stamps of all files that were read, by name
    std::string id;                          ///< of the item; empty when the file was left out
    std::string reason;                      ///< why it was left out
    std::vector<std::string> warnings;       ///< what was left out of it
    bool operator==(const SourceRecord&) const = default;
};

/// The items of a store and where they come from, which change together. One thread at a time.
class BuildRecord {
public:
    /// Makes the store `path`, or goes on with it. Throws DatabaseError, also for a store that was not made so.
    explicit BuildRecord(const std::filesystem::path& path);

    /// By name of the file. Those that another version of this program has read have no stamp.
    const std::map<std::string, SourceRecord>& Sources() const { return sources_; }
    std::int64_t NextNumber() const { return items_.NextNumber(); }

    /// The file `name` has become `record`. An item that it was is replaced by that of `entry`, or removed when that is
    /// null; a new one is the `number`-th.
    void Put(const std::string& name, const SourceRecord& record, const nlohmann::ordered_json& entry,
             std::int64_t number);
    /// There is no file `name` any more, and no item of it.
    void Remove(const std::string& name);

private:
    void RemoveItem(const std::string& name);

    ItemStoreWriter items_;
    std::map<std::string, SourceRecord> sources_;
};

} // namespace catalogue
