#include "catalogue/store/Database.h"

#include <sqlite3.h>

namespace catalogue {

namespace {

/// For how long another process may be writing, in milliseconds: it does so for one item at a time.
constexpr int BusyTime = 5000;

} // namespace

void Statement::End::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

Statement::Statement(const Database& database, const std::string& command) : database_(database)
{
    sqlite3_stmt* statement = nullptr;
    database_.Check(sqlite3_prepare_v2(database.database_.get(), command.c_str(), -1, &statement, nullptr));
    statement_.reset(statement);
}

Statement& Statement::Bind(std::string_view text)
{
    database_.Check(
        sqlite3_bind_text64(statement_.get(), ++bound_, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::Bind(std::int64_t number)
{
    database_.Check(sqlite3_bind_int64(statement_.get(), ++bound_, number));
    return *this;
}

Statement& Statement::Bind(double number)
{
    database_.Check(sqlite3_bind_double(statement_.get(), ++bound_, number));
    return *this;
}

bool Statement::Step()
{
    const int code = sqlite3_step(statement_.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        database_.Check(code);
    return code == SQLITE_ROW;
}

void Statement::Run()
{
    Step();
    sqlite3_reset(statement_.get());
    bound_ = 0;
}

std::string_view Statement::Text(int column) const
{
    const void* text = sqlite3_column_text(statement_.get(), column);
    if (!text)
        return {};
    return {static_cast<const char*>(text), static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::int64_t Statement::Number(int column) const
{
    return sqlite3_column_int64(statement_.get(), column);
}

double Statement::Real(int column) const
{
    return sqlite3_column_double(statement_.get(), column);
}

void Database::Close::operator()(sqlite3* database) const
{
    sqlite3_close_v2(database);
}

Database::Database(const std::filesystem::path& path, Mode mode) : name_(path.string())
{
    if (mode == Mode::Read && !std::filesystem::is_regular_file(path))
        throw DatabaseError(name_ + ": no such file");
    const int flags = mode == Mode::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    sqlite3* database = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    database_.reset(database);
    Check(code);
    Check(sqlite3_busy_timeout(database_.get(), BusyTime));
    // A file from elsewhere may hold commands of its own.
    Run("PRAGMA trusted_schema = 0");
}

void Database::Run(const std::string& commands) const
{
    Check(sqlite3_exec(database_.get(), commands.c_str(), nullptr, nullptr, nullptr));
}

void Database::DoAtOnce(const std::function<void()>& work) const
{
    Run("BEGIN IMMEDIATE");
    try {
        work();
        Run("COMMIT");
    } catch (...) {
        sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void Database::Check(int code) const
{
    if (code != SQLITE_OK)
        throw DatabaseError(name_ + ": " + (database_ ? sqlite3_errmsg(database_.get()) : sqlite3_errstr(code)));
}

} // namespace catalogue
