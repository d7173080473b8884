// The storage screen: partition and flash figures, the device's state, deep clean and memory boost.
#include <chrono>
#include <cstddef>
#include <iostream>
#include <memory>

#include "CGetData.h"
#include "Verbs.h"
#include "frame/Progress.h"
#include "frame/Sizes.h"
#include "frame/TableVerbs.h"
#include "host/AgentAnswer.h"
#include "host/HostSetUp.h"
#include "host/Rows.h"
#include "services/SetServices.h"

namespace cli {

namespace {

const Table::Columns kStorageColumns = {
    {"WHAT"}, {"USED", Table::Align::kRight}, {"OF", Table::Align::kRight}, {"SHARE"}};

/// A size that is sorted as the number that it is.
Table::Cell SizeCell(long long bytes) {
    return {SizeText(bytes), static_cast<double>(bytes)};
}

void PrintStorage(const Json& document) {
    const auto total = document.at("opt").at("total").get<long long>();
    const auto used = document.at("opt").at("used").get<long long>();
    const Json& flash = document.at("flash").at("total");
    Table table(kStorageColumns);
    table.AddRow({"/opt", SizeCell(used), SizeCell(total), Bar(used, total)});
    if (flash.is_null()) {
        table.AddRow({"system", "unknown", "unknown", ""});
    } else {
        const auto system = document.at("flash").at("system_used").get<long long>();
        table.AddRow({"system", SizeCell(system), SizeCell(flash), Bar(system, flash)});
    }
    table.Print();
}

Outcome Storage(const Session& session) {
    SetUpHost(session.OpenSet());
    auto* data = KURA::CGetData::GetInstance();
    data->m_CalculateTotalSizeOfSystem();
    data->sendFlashSize();
    long long flash = 0;
    // The library takes the size of the flash part for 0 when it is not known.
    const bool isFlashKnown = KURA::getTotalSize(&flash) == 0;
    const long long total = data->m_GetTotalOptSize();
    const long long used = data->m_GetUsedSize();
    const Json document = {{"opt", {{"total", total}, {"used", used}, {"remaining", total - used}}},
                           {"flash",
                            {{"total", isFlashKnown ? Json(flash) : Json()},
                             {"system_used", isFlashKnown ? Json(data->m_GetSystemUsedSize()) : Json()}}},
                           {"free_space_state", data->CheckFlashFreespaceState()}};
    return {document, [document] { PrintStorage(document); }};
}

Outcome State(const Session& session) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    auto* data = KURA::CGetData::GetInstance();
    const int state = data->CheckDeviceState();
    const std::string sid = data->getSIDForDeviceState(state);
    const Json document = {{"state", state},
                           {"sid", sid},
                           {"text", Texts::Load(set.Path() / "texts", session.language).Resolve(sid)}};
    return {document, [document] { std::cout << document.at("text").get<std::string>() << '\n'; }};
}

Outcome Clean(const Session& session) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const std::size_t before = set.ReadJournal().size();
    const auto start = std::chrono::steady_clock::now();
    const auto seconds = [start] {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start)
            .count();
    };
    int result = 0;
    {
        const Progress progress(
            [seconds] { return "deep clean: " + std::to_string(seconds()) + " of 10 s"; });
        result = KURA::CGetData::GetInstance()->performDeepClean();
    }
    if (result != 0) {
        throw VerbError(ExitCode::kNoAnswer, "the agent did not finish the deep clean (see kura log)");
    }
    // The library only waits until the trigger is gone; the agent tells whether it did the work.
    AwaitAgent(set, before, "CleanAll.txt");
    const Json document = {{"deep_clean", "done"}, {"seconds", seconds()}};
    return {document, [] { std::cout << "deep clean done\n"; }};
}

Outcome Boost(const Session& session) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const std::size_t before = set.ReadJournal().size();
    if (KURA::CGetData::GetInstance()->performMemBoost() != 0) {
        throw VerbError(ExitCode::kNoAnswer, "the memory boost could not be requested (see kura log)");
    }
    AwaitAgent(set, before, "memBoost");
    return {{{"memory_boost", "done"}}, [] { std::cout << "memory boost done\n"; }};
}

}  // namespace

void AddStorageVerbs(CLI::App& app, const Session& session, Selection& selection) {
    const auto add = [&](const char* name, const char* help, Outcome (*run)(const Session&)) {
        Declare(app.add_subcommand(name, help), selection, Place::kInside,
                [&session, run] { return run(session); });
    };
    add("storage", "Partition and flash figures", &Storage);
    PrintsTable(app.get_subcommand("storage"), kStorageColumns);
    add("state", "The device's state, as sent to the usage statistics", &State);
    add("clean", "Deep clean by the agent", &Clean);
    add("boost", "Memory boost by the agent", &Boost);
}

}  // namespace cli
