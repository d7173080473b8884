#include "Operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DBManager.h"

namespace operations {

namespace {

TCDBManager& Manager() {
    return *TCDBManager::GetInstance();
}

}  // namespace

bool Insert(const std::string& code) {
    const std::vector<std::string> row = database::Problem(code);
    return Manager().SetDB("remainingTBL", {row.begin(), row.end()});
}

void MakeStore() {
    database::MakeFolders();
    Manager().OpenDB(EDB_REMAINING);
    for (const char* code : {"E1", "E2", "E3"}) {
        ASSERT_TRUE(Insert(code));
    }
    ASSERT_TRUE(Manager().CloseDB());
    fakes::Set().log.clear();
}

std::string Read(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const char* path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

bool HasToldSince(std::size_t lines) {
    const std::vector<fakes::LogLine>& log = fakes::Set().log;
    return std::any_of(log.begin() + static_cast<std::ptrdiff_t>(lines), log.end(),
                       [](const fakes::LogLine& line) {
                           return line.priority == 6 && line.message.rfind("ERROR:", 0) == 0;
                       });
}

std::vector<bool> TryEverything(std::vector<std::string>& values) {
    const std::function<bool()> operations[] = {
        [] { return Manager().OpenDB(EDB_REMAINING); },
        [&] { return Manager().GetDB(EDB_REMAINING, "issue_code", values); },
        [] { return Insert("E4"); },
        [] { return Manager().DeleteDB("E1"); },
        [] { return Manager().FlushDB(EDB_REMAINING); },
        [] { return Manager().CloseDB(); },
    };
    std::vector<bool> results;
    for (const std::function<bool()>& operation : operations) {
        const std::size_t before = fakes::Set().log.size();
        results.push_back(operation());
        EXPECT_TRUE(results.back() || HasToldSince(before)) << "operation " << results.size();
    }
    return results;
}

}  // namespace operations
