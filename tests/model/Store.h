// The model's remaining database. It runs the same statements in a database of its own, in memory.
#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

#include "Record.h"

namespace model {

constexpr const char* kStoreFolder = "/opt/usr/home/owner/share";
constexpr const char* kStorePath = "/opt/usr/home/owner/share/remaining.db";
constexpr const char* kTable = "remainingTBL";

/// The fourteen columns, in order.
extern const std::vector<std::string> kColumns;

class Store {
public:
    explicit Store(Record& record);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store();

    // --- The database manager's operations, on the remaining database ---
    void Open();
    void Close();
    bool Get(const std::string& column, std::vector<std::string>& out);
    bool Insert(const std::vector<std::string>& values);
    bool Delete(const std::string& issueCode);
    bool Flush();

    /// Runs statements behind the library's back; the test runs the same on the library's store.
    void Change(const std::string& statements);
    /// An empty database, without the table.
    void Reset();
    /// Triggers and views that a store brings along do not run.
    static void RunNothingStored(sqlite3* handle);
    /// The statement that makes the table.
    static std::string CreateStatement();
    /// Something that is no database stands at the store's path: from now on the model opens that.
    bool isSpoilt = false;

    /// Every row, its columns joined; empty without the table.
    std::vector<std::string> Rows();
    /// Whether an operation ran since this was last cleared.
    bool wasUsed = false;

private:
    void Manager();
    bool Execute(const std::string& query);
    bool HasTable();

    Record& m_record;
    bool m_managerExists = false;
    sqlite3* m_memory = nullptr;
    sqlite3* m_handle = nullptr;
};

/// Every row of the remaining table as handle sees it, one text each.
std::vector<std::string> RowsOf(sqlite3* handle);

}  // namespace model
