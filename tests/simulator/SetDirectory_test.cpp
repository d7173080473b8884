#include "set/KuraSet.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TemporarySet.h"

namespace {

using kuraset::json;
using kuraset::SetDirectory;
using kuraset::SetError;
using simulator::ReadText;
using simulator::TemporaryFolder;
using simulator::TemporarySet;
using simulator::WriteText;

/// The message of the error that the call throws; fails the test when there is none or of another kind.
template <typename Call>
std::string ErrorOf(SetError::Kind kind, Call call) {
    try {
        call();
    } catch (const SetError& error) {
        EXPECT_EQ(error.kind(), kind) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

TEST(SetDirectory, HasFromTheFactoryWhatTheLibraryWritesInto) {
    TemporarySet set;
    for (const char* folder :
         {"opt/usr/share/TVKuraHelp", "opt/usr/home/owner/share", "opt/usr/home/owner/content/Documents",
          "opt/usr/home/owner/.cache/Apps/WebAppsCache", "home/owner/share/Watchman/DB", "tmp/tutorlink"}) {
        EXPECT_TRUE(std::filesystem::is_directory(set->Path() / "files" / folder)) << folder;
    }
    EXPECT_TRUE(std::filesystem::is_regular_file(set->FilesHome() / "owner/share/Watchman/DB/inference.db"));
    EXPECT_TRUE(std::filesystem::is_regular_file(set->FilesHome() / "owner/share/Watchman/DB/solution.db"));
    EXPECT_TRUE(set->ReadJournal().empty());
}

TEST(SetDirectory, IsNotMadeWhereSomethingIs) {
    TemporaryFolder folder;
    WriteText(folder.Path() / "letter", "dear");
    EXPECT_EQ(ErrorOf(SetError::Kind::Io, [&] { SetDirectory::Create(folder.Path(), json::object()); }),
              folder.Path().string() + ": there is something already");
    EXPECT_EQ(ReadText(folder.Path() / "letter"), "dear");
}

TEST(SetDirectory, OpensOnlyASet) {
    TemporaryFolder folder;
    EXPECT_EQ(ErrorOf(SetError::Kind::NotFound, [&] { SetDirectory::Open(folder.Path()); }),
              folder.Path().string() + ": no set here (set.json is missing)");
    for (const char* files : {"opt", "home", "tmp"}) {
        std::filesystem::create_directories(folder.Path() / "files" / files);
    }
    WriteText(folder.Path() / "set.json", "{\"model\": ");
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(folder.Path()); }),
              (folder.Path() / "set.json").string() + ": is not a JSON object");
}

TEST(SetDirectory, SaysWhatIsThereInPlaceOfASet) {
    const TemporaryFolder folder;
    WriteText(folder.Path() / "letter", "dear");
    EXPECT_EQ(ErrorOf(SetError::Kind::NotFound, [&] { SetDirectory::Open(folder.Path() / "none"); }),
              (folder.Path() / "none").string() + ": no set here (kura set new makes one)");
    EXPECT_EQ(ErrorOf(SetError::Kind::NotFound, [&] { SetDirectory::Open(folder.Path() / "letter"); }),
              (folder.Path() / "letter").string() + ": no set here (it is not a folder)");
}

TEST(SetDirectory, KnowsASetOfANewerVersionAndOneOfBeforeVersionsWereMarked) {
    TemporarySet set;
    const auto mark = set->Path() / "format.json";
    std::filesystem::remove(mark);
    SetDirectory::Open(set->Path());
    WriteText(mark, R"({"kura_set": 2})");
    WriteText(set->DescriptionPath(), R"({"key_of_tomorrow": 1})");
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(set->Path()); }),
              set->Path().string() +
                  ": the set is from a newer version of kura (its format is 2, this "
                  "version knows up to 1)");
    for (const char* text : {"", "[]", "{}", R"({"kura_set": "1"})", R"({"kura_set": 0})"}) {
        WriteText(mark, text);
        EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(set->Path()); }),
                  mark.string() + ": is not the mark of a set")
            << text;
    }
}

TEST(SetDirectory, KnowsASetThatWasLeftHalfMade) {
    TemporarySet set;
    const std::string halfMade = ": the set is half made (kura set new --force makes it anew)";
    std::filesystem::remove_all(set->FilesTmp());
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(set->Path()); }),
              set->FilesTmp().string() + " is missing" + halfMade);
    WriteText(set->Path() / "format.json", R"({"kura_set": 1, "whole": false})");
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(set->Path()); }),
              set->Path().string() + halfMade);
    WriteText(set->Path() / "format.json", R"({"kura_set": 1, "whole": true})");
    std::filesystem::remove(set->DescriptionPath());
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(set->Path()); }),
              set->Path().string() + halfMade);
}

TEST(SetDirectory, LeavesNothingOfASetThatCouldNotBeMade) {
    const TemporaryFolder folder;
    const auto fail = [](const SetDirectory& set) {
        ErrorOf(SetError::Kind::Damaged, [&] { SetDirectory::Open(set.Path()); });
        throw SetError(SetError::Kind::Io, "no map");
    };
    for (const char* name : {".", "new/set"}) {
        EXPECT_EQ(
            ErrorOf(
                SetError::Kind::Io,
                [&] { SetDirectory::Create(folder.Path() / name, json::object(), json::object(), fail); }),
            "no map");
    }
    EXPECT_TRUE(std::filesystem::exists(folder.Path()));
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "format.json"));
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "new/set"));
}

struct WrongDescription {
    const char* text;
    const char* complaint;
};

TEST(SetDirectory, NamesTheKeyThatIsWrong) {
    const WrongDescription table[] = {
        {R"([])", "set.json: must be an object"},
        {R"({"modell": "X"})", "set.json: modell: unknown key; did you mean \"model\"?"},
        {R"({"model": 5})", "set.json: model: must be a text or null"},
        {R"({"image": "beta"})", "set.json: image: must be release, debug, perf or null"},
        {R"({"panel": {"width": 3840.5}})", "set.json: panel.width: must be a whole number of 32 bits"},
        {R"({"source": 2147483648})", "set.json: source: must be a whole number of 32 bits"},
        {R"({"features": {"a/b": "x"}})",
         "set.json: features.a/b: must be a whole number of 32 bits, true or false"},
        {R"({"terms": ["a", 1]})", "set.json: terms[1]: must be a text"},
        {R"({"apps": [{"title": "T", "app_id": "a", "package_id": "../p"}]})",
         "set.json: apps[0].package_id: must be a text without '/', not empty, \".\" or \"..\""},
        {R"({"apps": [{"title": "T", "app_id": "a"}]})", "set.json: apps[0]: must have \"package_id\""},
        {R"({"agent": {"clean": ["/etc"]}})",
         "set.json: agent.clean[0]: must be a path below /opt or /tmp without \"..\""},
        {R"({"agent": {"clean": ["/opt/../etc"]}})",
         "set.json: agent.clean[0]: must be a path below /opt or /tmp without \"..\""},
        {R"({"agent": {"processes": {"p": [1]}}})",
         "set.json: agent.processes.p[0]: must be a process number, 2 or greater"},
        {R"({"faults": {"agent": "lat"}})",
         "set.json: faults.agent: must be absent, late, partial, flood, binary or null; did you mean "
         "\"late\"?"},
        {R"({"faults": {"agent": 3}})", "set.json: faults.agent: must be a text, null or an object"},
        {R"({"faults": {"engine": {"solution": {"1x": 5}}}})",
         "set.json: faults.engine.solution.1x: the key must be an issue code"},
        {R"({"faults": {"engine": {"inference": {"1": {"maybe": 5}}}}})",
         "set.json: faults.engine.inference.1.maybe: unknown key"},
    };
    for (const WrongDescription& row : table) {
        EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { kuraset::CheckDescription(json::parse(row.text)); }),
                  row.complaint)
            << row.text;
    }
}

TEST(SetDirectory, TakesNullAsNotGivenButForASystemInformationThatCannotBeRead) {
    TemporarySet set(json::parse(R"({"chip_id": null, "faults": {"agent": null}, "info": {"187": null},
        "apps": [{"title": "T", "app_id": "a", "package_id": "p", "sizes": {"app": null}}]})"));
    EXPECT_EQ(set->Description(), json::parse(R"({"faults": {}, "info": {"187": null},
        "apps": [{"title": "T", "app_id": "a", "package_id": "p", "sizes": {}}]})"));
    EXPECT_FALSE(set->ChipIdFile());
}

TEST(SetDirectory, KeepsADescriptionThatIsRefusedOutOfTheSet) {
    TemporarySet set(json({{"model", "A"}}));
    ErrorOf(SetError::Kind::Damaged, [&] { set->Describe({{"model", 1}}); });
    EXPECT_EQ(set->Description(), json({{"model", "A"}}));
}

TEST(SetDirectory, WritesTheChipIdFileFromTheDescription) {
    TemporarySet set(json({{"chip_id", "0x1a 0x2b 0x3c 0x4d"}}));
    ASSERT_TRUE(set->ChipIdFile());
    EXPECT_EQ(ReadText(*set->ChipIdFile()), "0x1a 0x2b 0x3c 0x4d\n");
    set->Describe({{"chip_id", "0x1"}});
    EXPECT_EQ(ReadText(*set->ChipIdFile()), "0x1\n");
    set->Describe(json::object());
    EXPECT_FALSE(set->ChipIdFile());
}

TEST(SetDirectory, LaysOutTheFilesOfItsApps) {
    TemporarySet set(json({{"apps",
                            {{{"title", "Chess"},
                              {"app_id", "a.chess"},
                              {"package_id", "a"},
                              {"sizes", {{"app", 5000}, {"data", 300}, {"cache", 20}, {"web_cache", 1}}},
                              {"icons", {"icon.png"}}}}}}));
    const auto owner = set->FilesOpt() / "usr/home/owner";
    EXPECT_EQ(std::filesystem::file_size(set->FilesOpt() / "usr/apps/a/bin/a"), 5000u);
    EXPECT_EQ(std::filesystem::file_size(owner / "apps_rw/a/data/store"), 300u);
    EXPECT_EQ(std::filesystem::file_size(owner / "apps_rw/a/cache/pages"), 20u);
    EXPECT_EQ(std::filesystem::file_size(owner / ".cache/Apps/WebAppsCache/a.chess/pages"), 1u);
    EXPECT_EQ(ReadText(set->FilesOpt() / "usr/apps/a/shared/res/icon.png").substr(1, 3), "PNG");
}

TEST(Settings, AreNumbersBooleansAndTexts) {
    TemporarySet set(json::object(),
                     json({{"a/number", -2147483648LL}, {"a/flag", true}, {"a/text", "\"q\""}}));
    EXPECT_EQ(set->GetSetting("a/number"), json(-2147483648LL));
    EXPECT_EQ(set->GetSetting("a/flag"), json(true));
    EXPECT_EQ(set->GetSetting("a/text"), json("\"q\""));
    EXPECT_FALSE(set->GetSetting("a/none"));
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { set->SetSetting("k", 1.5); }),
              "settings.json: k: must be a whole number of 32 bits, true, false or a text");
    EXPECT_EQ(ErrorOf(SetError::Kind::Damaged, [&] { set->SetSetting("k", 4294967296ULL); }),
              "settings.json: k: must be a whole number of 32 bits, true, false or a text");
    EXPECT_TRUE(set->RemoveSetting("a/flag"));
    EXPECT_FALSE(set->RemoveSetting("a/flag"));
    EXPECT_EQ(set->ListSettings().size(), 2u);
}

TEST(Settings, LoseNothingToParallelProcesses) {
    TemporarySet set;
    constexpr int kProcesses = 8;
    constexpr int kKeys = 12;
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() == 0) {
            for (int key = 0; key < kKeys; ++key) {
                set->SetSetting(std::to_string(process) + "/" + std::to_string(key), key);
            }
            _exit(0);
        }
    }
    int status = 0;
    for (int process = 0; process < kProcesses; ++process) {
        ASSERT_GT(wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    const json settings = set->ListSettings();
    EXPECT_EQ(settings.size(), static_cast<std::size_t>(kProcesses * kKeys));
    for (int process = 0; process < kProcesses; ++process) {
        EXPECT_EQ(settings.value(std::to_string(process) + "/" + std::to_string(kKeys - 1), -1), kKeys - 1);
    }
}

TEST(Settings, LeaveNoWorkingFilesBehind) {
    TemporarySet set;
    set->SetSetting("a", 1);
    for (const auto& entry : std::filesystem::directory_iterator(set->Path())) {
        EXPECT_EQ(entry.path().string().find(".new"), std::string::npos) << entry.path();
    }
}

TEST(Journal, KeepsEntriesInOrderAndByKind) {
    TemporarySet set;
    EXPECT_TRUE(set->AppendJournal({{"kind", "screen"}, {"n", 1}}));
    EXPECT_TRUE(set->AppendJournal({{"kind", "log"}, {"n", 2}}));
    EXPECT_TRUE(set->AppendJournal({{"kind", "screen"}, {"n", 3}}));
    ASSERT_EQ(set->ReadJournal().size(), 3u);
    const auto screens = set->ReadJournal("screen");
    ASSERT_EQ(screens.size(), 2u);
    EXPECT_EQ(screens[1].at("n"), 3);
    const std::string text = ReadText(set->JournalPath());
    EXPECT_EQ(text.find("{\"time\":\"20"), 0u) << text;
    EXPECT_EQ(text.find("\",\"kind\":\"screen\",\"n\":1}\n"),
              std::string("{\"time\":\"2026-01-31T23:59:59.123").size());
    set->ClearJournal();
    EXPECT_TRUE(set->ReadJournal().empty());
}

TEST(Journal, SkipsNoLineThatACutOfPowerTore) {
    TemporarySet set;
    WriteText(set->JournalPath(), "{\"kind\":\"log\"}\n{\"kind\":\"lo\n\n{\"kind\":\"event\"}\n");
    const auto entries = set->ReadJournal();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[1], json({{"kind", "damaged"}, {"line", 2}}));
    EXPECT_EQ(entries[2].at("kind"), "event");
}

TEST(Journal, TellsRunsApartByNumber) {
    TemporarySet set;
    set->AppendJournal({{"kind", "log"}, {"message", "\"kind\":\"run\",\"run\":7"}});
    set->BeginRun({"fix", "1001"});
    set->AppendJournal({{"kind", "setting"}, {"n", 1}});
    set->AppendJournal({{"kind", "log"}, {"n", 2}});
    set->BeginRun({"problems"});
    const auto runs = set->ReadRuns();
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].number, 0);
    EXPECT_EQ(runs[0].entries.size(), 1u);
    EXPECT_EQ(runs[1].number, 1);
    EXPECT_EQ(runs[1].command, "fix 1001");
    EXPECT_EQ(runs[1].time.find("20"), 0u);
    ASSERT_EQ(runs[1].entries.size(), 2u);
    EXPECT_EQ(runs[1].entries[1].at("n"), 2);
    EXPECT_EQ(runs[2].number, 2);
    EXPECT_TRUE(runs[2].entries.empty());
    EXPECT_EQ(set->ReadJournal().size(), 3u) << "without the marks";
    EXPECT_EQ(set->ReadJournal("run").size(), 2u);
    set->ClearJournal();
    set->BeginRun({"diagnose"});
    EXPECT_EQ(set->ReadRuns().at(0).number, 1);
}

TEST(Journal, CountsRunsOnBehindAMarkThatAPowerCutTore) {
    TemporarySet set;
    set->BeginRun({"first"});
    WriteText(set->JournalPath(), ReadText(set->JournalPath()) + "{\"kind\":\"run\",\"ru\n");
    set->BeginRun({"second"});
    EXPECT_EQ(set->ReadRuns().back().number, 2);
}

TEST(Journal, CountsRunsOnBehindARunThatLeftALot) {
    TemporarySet set;
    set->BeginRun({"first"});
    set->BeginRun({"second"});
    const std::string line = R"({"kind":"log","message":")" + std::string(1000, 'x') + "\"}\n";
    std::string lines;
    for (int i = 0; i < 500; ++i) {
        lines += line;
    }
    WriteText(set->JournalPath(), ReadText(set->JournalPath()) + lines);
    set->BeginRun({"third"});
    EXPECT_EQ(set->ReadRuns().back().number, 3);
    WriteText(set->JournalPath(), lines);
    set->BeginRun({"fourth"});
    EXPECT_EQ(set->ReadRuns().back().number, 1) << "after a journal without runs";
}

TEST(Journal, KeepsTheLinesOfParallelProcessesWhole) {
    TemporarySet set;
    constexpr int kProcesses = 6;
    constexpr int kLines = 300;
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() == 0) {
            for (int line = 0; line < kLines; ++line) {
                set->AppendJournal(
                    {{"kind", "agent"}, {"text", std::string(static_cast<std::size_t>(line) * 9, 'x')}});
            }
            _exit(0);
        }
    }
    while (wait(nullptr) > 0) {
    }
    EXPECT_EQ(set->ReadJournal("agent").size(), static_cast<std::size_t>(kProcesses * kLines));
    EXPECT_TRUE(set->ReadJournal("damaged").empty());
}

TEST(Journal, ThatCannotBeWrittenIsNoAccident) {
    TemporarySet set;
    std::filesystem::remove(set->JournalPath());
    std::filesystem::create_directory(set->JournalPath());
    EXPECT_FALSE(set->AppendJournal({{"kind", "screen"}}));
    set->BeginRun({"fix"});
}

}  // namespace
