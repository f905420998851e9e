#include "catalogue/sources/BuildRecord.h"

namespace catalogue {

namespace {

using Json = nlohmann::json;

/// Another one for each change of what is made of a file: all are made again then.
constexpr std::int64_t Version = 1;

constexpr const char* Schema = R"(
CREATE TABLE sources (name TEXT PRIMARY KEY, version INTEGER NOT NULL, stamp TEXT NOT NULL, uses TEXT NOT NULL,
                      id TEXT NOT NULL, reason TEXT NOT NULL, warnings TEXT NOT NULL) WITHOUT ROWID;
)";

/// Names of files need not be UTF-8.
std::string Dump(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

template <class Value>
Value Parse(std::string_view text)
{
    try {
        return Json::parse(text).get<Value>();
    } catch (const Json::exception&) {
        return {}; // without it the file is read again
    }
}

} // namespace

BuildRecord::BuildRecord(const std::filesystem::path& path) : items_(path)
{
    const Database& database = items_.Connection();
    {
        Statement table(database, "SELECT 1 FROM sqlite_master WHERE name = 'sources'");
        if (!table.Step()) {
            if (items_.NextNumber() > 1)
                throw DatabaseError(path.string() + ": its items were not made from a folder of files");
            items_.DoAtOnce([&] { database.Run(Schema); });
        }
    }
    Statement rows(database, "SELECT name, version, stamp, uses, id, reason, warnings FROM sources");
    while (rows.Step()) {
        SourceRecord& record = sources_[std::string(rows.Text(0))];
        if (rows.Number(1) == Version)
            record.stamp = rows.Text(2);
        record.uses = Parse<std::map<std::string, std::string>>(rows.Text(3));
        record.id = rows.Text(4);
        record.reason = rows.Text(5);
        record.warnings = Parse<std::vector<std::string>>(rows.Text(6));
    }
}

void BuildRecord::Put(const std::string& name, const SourceRecord& record, const nlohmann::ordered_json& entry,
                      std::int64_t number)
{
    items_.DoAtOnce([&] {
        if (entry.is_null())
            RemoveItem(name);
        else
            items_.Put(entry, number);
        Statement put(items_.Connection(), "INSERT OR REPLACE INTO sources VALUES (?, ?, ?, ?, ?, ?, ?)");
        put.Bind(name)
            .Bind(Version)
            .Bind(record.stamp)
            .Bind(Dump(record.uses))
            .Bind(record.id)
            .Bind(record.reason)
            .Bind(Dump(record.warnings))
            .Run();
    });
    sources_[name] = record;
}

void BuildRecord::Remove(const std::string& name)
{
    items_.DoAtOnce([&] {
        RemoveItem(name);
        Statement(items_.Connection(), "DELETE FROM sources WHERE name = ?").Bind(name).Run();
    });
    sources_.erase(name);
}

void BuildRecord::RemoveItem(const std::string& name)
{
    if (const auto source = sources_.find(name); source != sources_.end() && !source->second.id.empty())
        items_.Remove(source->second.id);
}

} // namespace catalogue
