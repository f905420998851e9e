// The items of a catalogue, for tests.
#pragma once

#include "catalogue/store/ItemStore.h"

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

namespace catalogue::testing {

/// Makes the store in `folder` of items with these entries.
inline void WriteItems(const std::filesystem::path& folder, const std::vector<nlohmann::ordered_json>& entries)
{
    std::filesystem::create_directories(folder);
    std::filesystem::remove(folder / StoreName);
    ItemStoreWriter writer(folder / StoreName);
    writer.DoAtOnce([&] {
        for (const nlohmann::ordered_json& entry : entries)
            writer.Put(entry);
    });
}

/// Entries of all items in `folder`, with their shapes.
inline std::vector<nlohmann::ordered_json> ReadItems(const std::filesystem::path& folder)
{
    const ItemStore store(folder / StoreName);
    ItemQuery query;
    query.count = MaximumPageItems;
    std::vector<nlohmann::ordered_json> entries;
    for (; query.first < store.Size(); query.first += query.count)
        for (const nlohmann::ordered_json& entry : store.Find(query).items)
            entries.push_back(store.Entry(entry["id"]).value());
    return entries;
}

} // namespace catalogue::testing
