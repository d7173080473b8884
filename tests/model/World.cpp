// The changes of the set between two host calls: a new map, other engine records, another source, faults.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "Driver.h"
#include "Fakes.h"
#include "Numbers.h"
#include "RandomMap.h"
#include "Store.h"

namespace model {

namespace fs = std::filesystem;

namespace {

constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";
constexpr const char* kPutAway = "/opt/usr/home/owner/share.away";

_WMInfDBRecord RandomInference(Dice& dice, int code, int type) {
    const int named = dice.Percent(90) ? code : static_cast<int>(dice.Below(4));
    return {named, type, static_cast<int>(dice.Below(100)), dice.Pick(kTimes), dice.Pick(kTimes)};
}

void ChangeInferences(Dice& dice, int code, int type) {
    fakes::FakeSet& set = fakes::Set();
    set.inferences.erase({code, type});
    set.inferenceResults.erase({code, type});
    if (dice.Percent(type == WM_TRANSITION_TYPE_TRUE ? 90 : 50)) {
        auto& records = set.inferences[{code, type}];
        for (std::size_t n = dice.Percent(5) ? 0 : 1 + dice.Below(2); n > 0; --n) {
            records.push_back(RandomInference(dice, code, type));
        }
    }
    if (dice.Percent(7)) {
        set.inferenceResults[{code, type}] = dice.Pick<int>({1, 2, 3, 4, 5, -1, 0});
    }
}

void ChangeRecords(Driver& driver, const std::string& text) {
    Dice& dice = driver.dice;
    fakes::FakeSet& set = fakes::Set();
    const int code = ToSigned(text);
    ChangeInferences(dice, code, WM_TRANSITION_TYPE_TRUE);
    ChangeInferences(dice, code, WM_TRANSITION_TYPE_FALSE);
    set.solutions.erase(code);
    set.solutionResults.erase(code);
    if (dice.Percent(40)) {
        set.solutions[code] = {dice.Percent(90) ? code : 0, static_cast<int>(dice.Below(9)),
                               static_cast<int>(dice.Below(6)), static_cast<int>(dice.Below(3)) - 1,
                               dice.Pick(kTimes)};
    }
    if (dice.Percent(7)) {
        set.solutionResults[code] = dice.Pick<int>({1, 2, 4, 5, -1, 0});
    }
}

void ChangeEngine(Driver& driver) {
    if (driver.dice.Percent(20)) {
        driver.Tell("the engine's records of every code");
        for (const std::string& code : kCodes) {
            ChangeRecords(driver, code);
        }
        return;
    }
    const std::string& code = RandomCode(driver.dice);
    driver.Tell("the engine's records of \"" + code + "\"");
    ChangeRecords(driver, code);
}

void ChangeDocument(Driver& driver) {
    Document document;
    if (driver.dice.Percent(96)) {
        document.state = Document::State::Text;
        document.text = driver.dice.Percent(99) ? RandomMap(driver.dice) : "";
    } else if (driver.dice.Percent(50)) {
        document.state = Document::State::Folder;
    }
    driver.Tell("a new document");
    driver.WriteDocument(std::move(document));
}

/// One answer of the set or the host.
void ChangeAnswer(Driver& driver) {
    static const std::vector<int> sources = {0, 0, 0, 13, 14, 15, 16, 38, 39, 46, 47, 12, 17, 37, 40, -1};
    static const char* const origins[] = {nullptr, "bg_inference", "bg_inference2", "", "an app %s"};
    Dice& dice = driver.dice;
    fakes::FakeSet& set = fakes::Set();
    set.channelType = static_cast<int>(dice.Below(9));
    set.hostSource = dice.Pick(sources);
    set.currentSource = dice.Pick(sources);
    set.launchFrom = origins[dice.Below(std::size(origins))];
    set.launchResult = dice.Percent(80) ? 0 : -2;
    set.loggerResult = dice.Percent(80) ? 1 : static_cast<int>(dice.Below(4)) - 1;
    set.setItemValueResult = static_cast<int>(dice.Below(3)) - 1;
    set.resetPictureResult = static_cast<int>(dice.Below(2));
    set.resetPictureSizeResult = static_cast<int>(dice.Below(2));
    set.resetOnOffTimerResult = static_cast<int>(dice.Below(2));
    set.createTvControlResult = dice.Percent(85) ? 0 : -1;
    set.getCurrentSourceResult = dice.Percent(85) ? 1 : static_cast<int>(dice.Below(4)) - 1;
    set.subscribeResult = dice.Percent(85) ? 0 : -1;
    set.refusedKeys.clear();
    if (dice.Percent(20)) {
        set.refusedKeys = {"db/menu/one", "system/watchman/STOperation"};
    }
    driver.model.clockSeconds = static_cast<long long>(dice.Below(1000));
    driver.model.clockFails = dice.Percent(4);
    driver.model.agentCleansAt = static_cast<int>(dice.Below(13));
    driver.Tell("other answers");
}

const std::vector<std::string> kPlaces = {"/tmp/vardo/runCmdNativeApps",
                                          "/tmp/vardo/req/runCmdNativeApps",
                                          "/tmp/vardo/req/CleanAll.txt",
                                          "/tmp/vardo/req/memBoost",
                                          kGuideFile,
                                          kDocumentsFile,
                                          kRequests,
                                          kAgent,
                                          kGuideFolder,
                                          kDocuments};

void MakeFolders() {
    for (const char* folder : {kRequests, kGuideFolder, kDocuments}) {
        fs::create_directories(folder);
    }
    fs::create_directories(std::string(kVictims) + "/folder");
    std::ofstream(std::string(kVictims) + "/file") << "kept";
}

void RemoveFolders() {
    for (const char* folder : {kAgent, kGuideFolder, kDocuments, kVictims}) {
        fs::remove_all(folder);
    }
}

/// Something other than a plain file where the library wants to write.
void ChangeFiles(Driver& driver) {
    Dice& dice = driver.dice;
    RemoveFolders();
    MakeFolders();
    const std::string& place = dice.Pick(kPlaces);
    const std::string victims = kVictims;
    std::string shape = "is as it should be";
    if (dice.Percent(50)) {
        fs::remove_all(place);
        const std::vector<std::string> shapes = {"is a file",  "is a link",         "is a dangling link",
                                                 "is missing", "has two names",     "is a folder",
                                                 "is a pipe",  "is a linked folder"};
        shape = dice.Pick(shapes);
        if (shape == "is a file") {
            std::ofstream(place) << "what was there before";
        } else if (shape == "is a link") {
            fs::create_symlink(victims + "/file", place);
        } else if (shape == "is a dangling link") {
            fs::create_symlink(victims + "/nothing", place);
        } else if (shape == "has two names") {
            std::ofstream(place + ".other") << "kept";
            fs::create_hard_link(place + ".other", place);
        } else if (shape == "is a folder") {
            fs::create_directories(place);
        } else if (shape == "is a pipe") {
            mkfifo(place.c_str(), 0666);
        } else if (shape == "is a linked folder") {
            fs::create_directory_symlink(victims + "/folder", place);
        }
    }
    driver.Tell(place + " " + shape);
    driver.model.files = ReadTree();
}

void HealStore(Driver& driver) {
    if (driver.model.store.isSpoilt) {
        fs::remove_all(kStoreFolder);
        fs::rename(kPutAway, kStoreFolder);
        driver.model.store.isSpoilt = false;
    }
}

void SpoilStore(Driver& driver) {
    HealStore(driver);
    if (driver.dice.Percent(70)) {
        driver.Tell("a healthy store");
        return;
    }
    fs::rename(kStoreFolder, kPutAway);
    driver.model.store.isSpoilt = true;
    switch (driver.dice.Below(3)) {
        case 0:
            driver.Tell("the store's folder is missing");
            return;
        case 1:
            driver.Tell("a folder in the store's place");
            fs::create_directories(kStorePath);
            return;
        default:
            driver.Tell("junk in the store's place");
            fs::create_directories(kStoreFolder);
            std::ofstream(kStorePath) << std::string(4096, 'x');
    }
}

std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? "''" : std::string(1, c);
    }
    return quoted + "'";
}

/// A value as somebody else may have stored it.
std::string ForeignValue(Dice& dice, const std::string& column) {
    if (column == "idx" && dice.Percent(90)) {
        return "'1'";
    }
    if (column == "issue_code" && dice.Percent(90)) {
        return Quoted(RandomCode(dice));
    }
    if (column == "last_time" && dice.Percent(90)) {
        return Quoted(dice.Pick(kTimes));
    }
    switch (dice.Below(12)) {
        case 0:
            return "NULL";
        case 1:
            return "12";
        case 2:
            return "1.5";
        case 3:
            return "x'414200'";
        case 4:
            return Quoted(dice.Pick<std::string>({"-3", "999", "abc", "", " 2", "99999999999"}));
        case 5:
            return Quoted(dice.Pick<std::string>({"DTV", "HDMI", "USER"}));
        default:
            return Quoted(RandomText(dice));
    }
}

const std::vector<std::string> kDrop = {"DROP TABLE remainingTBL;", "DROP VIEW remainingTBL;"};

/// Somebody else's table in place of the library's own: the columns, some of them missing or guarded.
std::vector<std::string> ForeignTable(Dice& dice) {
    const std::vector<std::string> guards = {" UNIQUE",         " NOT NULL",    " CHECK (length(%) < 9)",
                                             " COLLATE NOCASE", " DEFAULT 'x'", " INTEGER"};
    if (dice.Percent(10)) {
        return {"CREATE VIEW remainingTBL AS SELECT 1 AS idx;"};
    }
    std::string columns;
    for (const std::string& column : kColumns) {
        if (dice.Percent(3)) {
            continue;
        }
        std::string guard = dice.Percent(8) ? dice.Pick(guards) : "";
        const std::size_t named = guard.find('%');
        if (named != std::string::npos) {
            guard.replace(named, 1, column);
        }
        columns += (columns.empty() ? "" : ", ") + column + guard;
    }
    columns += dice.Percent(10) ? ", one_more" : "";
    std::vector<std::string> statements = {std::string("CREATE TABLE ") + kTable + "(" + columns + ");"};
    if (dice.Percent(20)) {
        statements.push_back(
            "CREATE TRIGGER after_each AFTER INSERT ON remainingTBL BEGIN DELETE FROM remainingTBL; END;");
    }
    return statements;
}

/// Somebody else writes into the store.
void ChangeRows(Driver& driver) {
    Dice& dice = driver.dice;
    if (driver.model.store.isSpoilt) {
        return;
    }
    if (dice.Percent(5)) {
        driver.Tell("the store is gone");
        fs::remove(kStorePath);
        driver.model.store.Reset();
        return;
    }
    if (dice.Percent(5)) {
        driver.Tell("the store's table is dropped");
        driver.RunOnStores(kDrop);
        return;
    }
    if (dice.Percent(5)) {
        std::vector<std::string> statements = ForeignTable(dice);
        driver.Tell("somebody else's table: " + statements.front());
        statements.insert(statements.begin(), kDrop.begin(), kDrop.end());
        driver.RunOnStores(statements);
        return;
    }
    std::vector<std::string> statements = {Store::CreateStatement()};
    for (std::size_t rows = 1 + dice.Below(3); rows > 0; --rows) {
        std::string values;
        for (const std::string& column : kColumns) {
            values += (values.empty() ? "" : ", ") + ForeignValue(dice, column);
        }
        statements.push_back(std::string("INSERT INTO ") + kTable + " VALUES(" + values + ");");
        driver.Tell("somebody else's row: " + statements.back());
    }
    driver.RunOnStores(statements);
}

void WriteChipId(Dice& dice) {
    const std::vector<std::string> texts = {"0x1a 0x2b 0x3c 0x4d\n", "0x1 0x2\n", "junk", "",
                                            "0xABCDEF01 0x0 0xffffffff 0x12"};
    if (dice.Percent(80)) {
        std::ofstream("/proc/vex_chipid_val") << dice.Pick(texts);
    }
}

/// The facts that usage reports gather at the first of them.
void InstallFacts(Driver& driver) {
    Dice& dice = driver.dice;
    fakes::FakeSet& set = fakes::Set();
    WriteChipId(dice);
    if (dice.Percent(50)) {
        std::ofstream("/etc/release") << "";
    }
    if (dice.Percent(50)) {
        std::ofstream("/etc/debug") << "";
    }
    if (dice.Percent(70)) {
        set.valueStrings[187] = dice.Pick<std::string>({"SN123", "", "a;b=c %s"});
    }
    if (dice.Percent(70)) {
        set.valueStrings[0] = dice.Pick<std::string>({"AB12C", "ABC", "", "9", "QN90"});
    }
    if (dice.Percent(10)) {
        set.nullValueStrings = {0, 187};
    }
    if (dice.Percent(60)) {
        set.stringKeys["memory/sp-kpi/platform"] = dice.Pick<std::string>({"vesta", ""});
        driver.model.set.stringKeys = set.stringKeys;
    }
}

}  // namespace

void Driver::WriteDocument(Document document) {
    fs::remove_all(kMapPath);
    if (document.state == Document::State::Folder) {
        fs::create_directories(kMapPath);
    } else if (document.state == Document::State::Text) {
        std::ofstream(kMapPath, std::ios::binary | std::ios::trunc) << document.text;
    }
    model.document = std::move(document);
}

void Driver::RunOnStores(const std::vector<std::string>& statements) {
    sqlite3* handle = nullptr;
    sqlite3_open(kStorePath, &handle);
    Store::RunNothingStored(handle);
    for (const std::string& statement : statements) {
        sqlite3_exec(handle, statement.c_str(), nullptr, nullptr, nullptr);
        model.store.Change(statement);
    }
    sqlite3_close(handle);
}

void Install(Driver& driver) {
    fs::create_directories(fs::path(kMapPath).parent_path());
    fs::create_directories(kStoreFolder);
    MakeFolders();
    driver.model.files = ReadTree();
    InstallFacts(driver);
    ChangeDocument(driver);
    ChangeAnswer(driver);
    for (const std::string& code : kCodes) {
        ChangeRecords(driver, code);
    }
}

void Change(Driver& driver) {
    const std::size_t kind = driver.dice.Below(100);
    if (kind < 40) {
        ChangeEngine(driver);
    } else if (kind < 52) {
        ChangeDocument(driver);
    } else if (kind < 72) {
        ChangeAnswer(driver);
    } else if (kind < 82) {
        ChangeFiles(driver);
    } else if (kind < 94) {
        ChangeRows(driver);
    } else {
        SpoilStore(driver);
    }
}

}  // namespace model
