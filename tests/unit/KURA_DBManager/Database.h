// Shared by the tests of the databases: the files, a connection of the test beside the library's, a row to
// save, and a way to close a connection that the library left open.
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

namespace database {

constexpr const char* kFolder = "/opt/usr/home/owner/share";
constexpr const char* kRemaining = "/opt/usr/home/owner/share/remaining.db";
constexpr const char* kTest = "/opt/usr/home/owner/share/test.db";
constexpr const char* kWatchmanFolder = "/home/owner/share/Watchman/DB";
constexpr const char* kInference = "/home/owner/share/Watchman/DB/inference.db";
constexpr const char* kSolution = "/home/owner/share/Watchman/DB/solution.db";

using Row = std::vector<std::string>;
using Rows = std::vector<Row>;

/// A connection that fails the test when a statement fails.
class Connection {
public:
    explicit Connection(const std::string& path);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// The result rows as text; a null value reads "NULL".
    Rows Query(const std::string& sql);
    /// The first column of the only row.
    std::string Value(const std::string& sql);

private:
    sqlite3* m_handle = nullptr;
};

/// Both folders that hold databases.
void MakeFolders();

/// Of a connection of its own, opened and closed for it.
Rows Query(const std::string& path, const std::string& sql);
std::string Value(const std::string& path, const std::string& sql);

/// Closes a connection of the library's; the test fails when it was not open.
void Close(sqlite3* handle);

/// What SQLite says of a null handle.
std::string NullHandleError();

/// A row of the remaining table: the issue code and thirteen other texts.
std::vector<std::string> Problem(const std::string& issueCode);

}  // namespace database
