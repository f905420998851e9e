// SQLite, with errors that are thrown and statements that are not forgotten.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace catalogue {

/// Why a database cannot be read or written; names the file.
class DatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Database;

/// One command of a database, which outlives it.
class Statement {
public:
    Statement(const Database& database, const std::string& command);

    /// Gives the next place in the command, marked "?", a value. Texts are copied.
    Statement& Bind(std::string_view text);
    Statement& Bind(std::int64_t number);
    Statement& Bind(double number);

    /// Goes to the next row; false after the last one.
    bool Step();
    /// Does a command that gives no rows, and makes it ready for other values.
    void Run();

    /// Values of the row, by column from 0. A text lives until the next step.
    std::string_view Text(int column) const;
    std::int64_t Number(int column) const;
    double Real(int column) const;

private:
    struct End {
        void operator()(sqlite3_stmt* statement) const;
    };
    const Database& database_;
    std::unique_ptr<sqlite3_stmt, End> statement_;
    int bound_ = 0;
};

/// A connection; of one thread at a time.
class Database {
public:
    enum class Mode {
        Read,
        Write, ///< makes the file when it is missing
    };

    Database(const std::filesystem::path& path, Mode mode);

    /// Does commands that have no values and give no rows.
    void Run(const std::string& commands) const;
    /// Does `work`: all of it, or nothing when it throws.
    void DoAtOnce(const std::function<void()>& work) const;

private:
    friend class Statement;
    struct Close {
        void operator()(sqlite3* database) const;
    };
    void Check(int code) const;

    std::string name_;
    std::unique_ptr<sqlite3, Close> database_;
};

} // namespace catalogue
