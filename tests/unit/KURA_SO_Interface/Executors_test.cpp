#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fakes.h"
#include "Files.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"

using fakes::Set;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

struct NumberCase {
    const char* text;
    int number;
};

const NumberCase kNumbers[] = {
    {"1", 1},
    {"0", 0},
    {"25", 25},
    {"-3", -3},
    {"true", 0},
    {"", 0},
    {" 7x", 7},
    {"0x10", 0},
    {"2147483647", 2147483647},
    {"2147483648", 2147483647},
    {"99999999999999999999", 2147483647},
    {"-2147483649", -2147483647 - 1},
};

constexpr const char* kData = "/tmp/vardo/runCmdNativeApps";
constexpr const char* kTrigger = "/tmp/vardo/req/runCmdNativeApps";

void MakeAgentFolders() {
    fs::create_directories("/tmp/vardo/req");
}

const std::vector<std::string> kDataRefused = {
    "log 6 ProcessCMD: ProcessCMD!!!!!!!!!!!!",
    "log 6 ProcessCMD: File creation failed (/tmp/vardo/runCmdNativeApps)",
};

std::vector<std::string> DataWritten(const std::string& command, const std::string& outcome) {
    return {"log 6 ProcessCMD: ProcessCMD!!!!!!!!!!!!",
            "log 6 ProcessCMD: \nsolution is cmd type : " + command + "\n\n",
            "log 6 ProcessCMD: File creation " + outcome + " (/tmp/vardo/req/runCmdNativeApps)"};
}

/// What happens in the agent's folders while it lives. One queue for both keeps the order among them.
class FolderWatch {
public:
    FolderWatch()
        : m_queue(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
          m_dataFolder(inotify_add_watch(m_queue, "/tmp/vardo", kMask)),
          m_requestFolder(inotify_add_watch(m_queue, "/tmp/vardo/req", kMask)) {}
    ~FolderWatch() { close(m_queue); }
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /// "create data", "close request" and so on, for the files of a command alone; what was read is gone.
    std::vector<std::string> Read() const {
        std::vector<std::string> seen;
        alignas(inotify_event) std::array<char, 65536> bytes{};
        const ssize_t length = read(m_queue, bytes.data(), bytes.size());
        for (ssize_t at = 0; at < length;) {
            inotify_event event{};
            std::memcpy(&event, bytes.data() + at, sizeof event);
            const std::string name = event.len == 0 ? "" : bytes.data() + at + sizeof event;
            at += static_cast<ssize_t>(sizeof event + event.len);
            seen.push_back(Deed(event.mask) + Place(event.wd, name));
        }
        return seen;
    }

private:
    static constexpr unsigned int kMask = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE;

    static std::string Deed(unsigned int mask) {
        if ((mask & IN_CREATE) != 0) {
            return "create ";
        }
        return (mask & IN_CLOSE_WRITE) != 0 ? "close " : "other ";
    }
    std::string Place(int watch, const std::string& name) const {
        if (name != "runCmdNativeApps") {
            return name;
        }
        return watch == m_dataFolder ? "data" : watch == m_requestFolder ? "request" : "nowhere";
    }

    int m_queue;
    int m_dataFolder;
    int m_requestFolder;
};

/// What somebody may have put where a file of ours belongs; each leaves /home/victim holding "mine".
struct Shape {
    const char* name;
    std::function<void(const fs::path&)> make;
};

const Shape kShapes[] = {
    {"file link", [](const fs::path& path) { fs::create_symlink("/home/victim", path); }},
    {"folder link", [](const fs::path& path) { fs::create_directory_symlink("/home", path); }},
    {"dangling link", [](const fs::path& path) { fs::create_symlink("/home/absent", path); }},
    {"link to itself", [](const fs::path& path) { fs::create_symlink(path, path); }},
    {"FIFO", [](const fs::path& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }},
    {"hard link", [](const fs::path& path) { ASSERT_EQ(link("/tmp/victim", path.c_str()), 0); }},
    {"folder", [](const fs::path& path) { fs::create_directory(path); }},
};

void MakeVictims() {
    files::Write("/home/victim", "mine");
    files::Write("/tmp/victim", "mine");
}

void ExpectVictimsUntouched() {
    EXPECT_EQ(files::Read("/home/victim"), "mine");
    EXPECT_EQ(files::Read("/tmp/victim"), "mine");
    EXPECT_FALSE(fs::exists("/home/absent"));
}

std::vector<KURA::KURA_SolutionValue> Values(const std::string& first) {
    return {{first, "int"}, {"second", "int"}};
}

std::vector<std::string> ApiEvents(const std::string& name, const std::string& value,
                                   const std::vector<std::string>& events) {
    std::vector<std::string> all = {"log 4 ProcessAPI: Process API called with name " + name};
    all.insert(all.end(), events.begin(), events.end());
    all.emplace_back("log 4 ProcessAPI: SUCCESS APPLY API");
    all.push_back("log 4 ProcessAPI: Apply_API : option_name_" + name + " , option_val_" + value);
    all.emplace_back("log 4 ProcessAPI: Process API EXIT");
    return all;
}

void RunApi(const std::string& name, const std::string& value) {
    Set().events.clear();
    std::vector<KURA::KURA_SolutionValue> values = Values(value);
    ProcessAPI(name.c_str(), &values);
}

}  // namespace

TEST(ProcessVconf, WritesATextUnderTheNameOfNumbers) {
    ProcessVconf_STR("db/key", "some text");
    EXPECT_THAT(
        Set().events,
        ElementsAre("vconf_set_str(db/key, some text)",
                    "log 4 ProcessVconf_STR: SetVconf_INT : option_name_db/key , option_val_some text"));
    EXPECT_EQ(Set().stringKeys["db/key"], "some text");
}

TEST(ProcessVconf, DoesNotLookAtTheResultOfTextsAndSwitches) {
    Set().refusedKeys.insert("db/key");
    ProcessVconf_STR("db/key", "text");
    ProcessVconf_BOOL("db/key", "1");
    EXPECT_EQ(Set().log.size(), 2U);
    EXPECT_TRUE(Set().Logged(4, "SetVconf_INT : option_name_db/key , option_val_text"));
    EXPECT_TRUE(Set().Logged(4, "SetVconf_INT : option_name_db/key , option_val_1, option_value_1"));
}

TEST(ProcessVconf, WritesASwitchAsTheNumberItself) {
    for (const NumberCase& row : kNumbers) {
        SCOPED_TRACE(row.text);
        Set().events.clear();
        const std::string number = std::to_string(row.number);
        ProcessVconf_BOOL("db/key", row.text);
        EXPECT_THAT(
            Set().events,
            ElementsAre(
                "vconf_set_bool(db/key, " + number + ")",
                std::string("log 4 ProcessVconf_BOOL: SetVconf_INT : option_name_db/key , option_val_") +
                    row.text + ", option_value_" + number));
    }
}

TEST(ProcessVconf, WritesANumberAndLogsTheOutcomeAsErrors) {
    for (const NumberCase& row : kNumbers) {
        SCOPED_TRACE(row.text);
        Set().events.clear();
        const std::string number = std::to_string(row.number);
        ProcessVconf_INT("db/key", row.text);
        EXPECT_THAT(
            Set().events,
            ElementsAre(
                "log 6 ProcessVconf_INT: ProcessVconf_INT!!!!!!!!!!!!",
                "vconf_set_int(db/key, " + number + ")", "log 6 ProcessVconf_INT: ret : 0",
                std::string("log 6 ProcessVconf_INT: SetVconf_INT : option_name_db/key , option_val_") +
                    row.text + ", option_value_" + number));
    }
}

TEST(ProcessVconf, LogsARefusedNumberAsOne) {
    Set().refusedKeys.insert("db/key");
    ProcessVconf_INT("db/key", "5");
    EXPECT_THAT(Set().Messages(),
                ElementsAre("ProcessVconf_INT!!!!!!!!!!!!", "ret : 1",
                            "SetVconf_INT : option_name_db/key , option_val_5, option_value_5"));
}

TEST(ProcessVconf, ReadsNullAsEmpty) {
    ProcessVconf_STR(nullptr, nullptr);
    ProcessVconf_BOOL(nullptr, nullptr);
    ProcessVconf_INT(nullptr, nullptr);
    EXPECT_THAT(Set().calls, ElementsAre("vconf_set_str(, )", "vconf_set_bool(, 0)", "vconf_set_int(, 0)"));
}

TEST(ProcessCMD, WritesTheCommandAndThenAnEmptyRequest) {
    MakeAgentFolders();
    EXPECT_EQ(ProcessCMD("reboot -f"), 0);
    EXPECT_EQ(files::Read(kData), "reboot -f\n");
    ASSERT_TRUE(fs::is_regular_file(kTrigger));
    EXPECT_EQ(fs::file_size(kTrigger), 0U);
    EXPECT_THAT(Set().events, ElementsAreArray(DataWritten("reboot -f", "success")));
}

TEST(ProcessCMD, ClosesTheCommandBeforeTheRequestAppears) {
    MakeAgentFolders();
    const FolderWatch watch;
    EXPECT_EQ(ProcessCMD(std::string(100000, 'x').c_str()), 0);
    EXPECT_THAT(watch.Read(), ElementsAre("create data", "close data", "create request", "close request"));
    EXPECT_EQ(ProcessCMD("ls"), 0);
    EXPECT_THAT(watch.Read(), ElementsAre("close data", "close request"));
}

TEST(ProcessCMD, ReplacesWhatAnEarlierRequestLeft) {
    MakeAgentFolders();
    files::Write(kData, "a much longer command than the next\n");
    files::Write(kTrigger, "stale");
    EXPECT_EQ(ProcessCMD("ls"), 0);
    EXPECT_EQ(files::Read(kData), "ls\n");
    EXPECT_EQ(files::Read(kTrigger), "");
}

TEST(ProcessCMD, PassesTheCommandAsItIs) {
    MakeAgentFolders();
    for (const std::string& command : {std::string("a 'b' \"c\" $(d) %s %n"), std::string(),
                                       std::string("a\nb"), std::string(100000, 'x')}) {
        EXPECT_EQ(ProcessCMD(command.c_str()), 0);
        EXPECT_EQ(files::Read(kData), command + "\n");
    }
    EXPECT_EQ(ProcessCMD(nullptr), 0);
    EXPECT_EQ(files::Read(kData), "\n");
}

TEST(ProcessCMD, LeavesThePermissionsToTheUmask) {
    MakeAgentFolders();
    umask(027);
    EXPECT_EQ(ProcessCMD("ls"), 0);
    EXPECT_EQ(fs::status(kData).permissions(), static_cast<fs::perms>(0640));
    EXPECT_EQ(fs::status(kTrigger).permissions(), static_cast<fs::perms>(0640));
}

TEST(ProcessCMD, FailsWithoutTheAgentsFolders) {
    EXPECT_EQ(ProcessCMD("ls"), -1);
    EXPECT_THAT(Set().events, ElementsAreArray(kDataRefused));
    EXPECT_FALSE(fs::exists("/tmp/vardo"));
}

TEST(ProcessCMD, WritesTheDataButNoRequestWithoutItsFolder) {
    fs::create_directories("/tmp/vardo");
    EXPECT_EQ(ProcessCMD("ls"), -1);
    EXPECT_EQ(files::Read(kData), "ls\n");
    EXPECT_FALSE(fs::exists("/tmp/vardo/req"));
    EXPECT_THAT(Set().events, ElementsAreArray(DataWritten("ls", "failed")));
}

TEST(ProcessCMD, RefusesWhateverStandsInPlaceOfTheDataFile) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.name);
        MakeAgentFolders();
        MakeVictims();
        shape.make(kData);
        Set().events.clear();
        EXPECT_EQ(ProcessCMD("ls"), -1);
        EXPECT_THAT(Set().events, ElementsAreArray(kDataRefused));
        ExpectVictimsUntouched();
        EXPECT_FALSE(fs::exists(kTrigger));
        fs::remove_all("/tmp/vardo");
    }
}

TEST(ProcessCMD, RefusesWhateverStandsInPlaceOfTheRequest) {
    for (const Shape& shape : kShapes) {
        SCOPED_TRACE(shape.name);
        MakeAgentFolders();
        MakeVictims();
        shape.make(kTrigger);
        Set().events.clear();
        EXPECT_EQ(ProcessCMD("ls"), -1);
        EXPECT_THAT(Set().events, ElementsAreArray(DataWritten("ls", "failed")));
        ExpectVictimsUntouched();
        EXPECT_EQ(files::Read(kData), "ls\n");
        fs::remove_all("/tmp/vardo");
    }
}

TEST(ProcessCMD, RefusesFoldersThatAreLinks) {
    fs::create_directories("/home/agent/req");
    fs::create_directory_symlink("/home/agent", "/tmp/vardo");
    EXPECT_EQ(ProcessCMD("ls"), -1);
    EXPECT_TRUE(fs::exists("/home/agent/req"));
    EXPECT_FALSE(fs::exists("/home/agent/runCmdNativeApps"));
    fs::remove("/tmp/vardo");

    fs::create_directories("/tmp/vardo");
    fs::create_directory_symlink("/home/agent/req", "/tmp/vardo/req");
    EXPECT_EQ(ProcessCMD("ls"), -1);
    EXPECT_EQ(files::Read(kData), "ls\n");
    EXPECT_FALSE(fs::exists("/home/agent/req/runCmdNativeApps"));
    EXPECT_TRUE(Set().Logged(6, "File creation failed (/tmp/vardo/req/runCmdNativeApps)"));
}

TEST(ProcessCMD, TakesACommandThatCouldNotBeWrittenAsRefused) {
    MakeAgentFolders();
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit nothing{0, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &nothing), 0);
    EXPECT_EQ(ProcessCMD("ls"), -1);
    EXPECT_EQ(ProcessCMD(std::string(100000, 'x').c_str()), -1);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    EXPECT_FALSE(fs::exists(kTrigger));
    EXPECT_TRUE(Set().Logged(6, "File creation failed (/tmp/vardo/runCmdNativeApps)"));
    EXPECT_FALSE(Set().Logged(6, "File creation success (/tmp/vardo/req/runCmdNativeApps)"));
}

TEST(ProcessCMD, LeavesNoFileOpen) {
    MakeAgentFolders();
    const auto countOpen = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = countOpen();
    ProcessCMD("ls");
    fs::remove_all("/tmp/vardo/req");
    ProcessCMD("ls");
    EXPECT_EQ(countOpen(), before);
}

TEST(ProcessLaunchApp, LaunchesWithoutExtrasOrCallback) {
    ProcessLaunchApp("org.vesta.menu");
    EXPECT_THAT(Set().events,
                ElementsAre("log 4 ProcessLaunchApp: ProcessLaunchApp", "app_control_create()",
                            "app_control_set_operation(default)", "app_control_set_app_id(org.vesta.menu)",
                            "app_control_send_launch_request(org.vesta.menu)", "app_control_destroy()"));
    ASSERT_EQ(Set().launches.size(), 1U);
    EXPECT_EQ(Set().launches[0].operation, "default");
    EXPECT_THAT(Set().launches[0].extras, IsEmpty());
    EXPECT_FALSE(Set().launches[0].hadCallback);
}

TEST(ProcessLaunchApp, LogsARefusedLaunchAndDestroysTheHandle) {
    for (const int result : {-1, 1}) {
        Set().events.clear();
        Set().launchResult = result;
        ProcessLaunchApp("org.app");
        EXPECT_THAT(
            Set().events,
            ElementsAre("log 4 ProcessLaunchApp: ProcessLaunchApp", "app_control_create()",
                        "app_control_set_operation(default)", "app_control_set_app_id(org.app)",
                        "app_control_send_launch_request(org.app)",
                        "log 6 ProcessLaunchApp: Error while executing Menu", "app_control_destroy()"));
        EXPECT_EQ(Set().liveAppControls, 0);
    }
}

TEST(ProcessLaunchApp, LogsAHandleThatTheSetRefuses) {
    Set().createAppControlResult = -1;
    ProcessLaunchApp("org.app");
    EXPECT_THAT(Set().events, ElementsAre("log 4 ProcessLaunchApp: ProcessLaunchApp", "app_control_create()",
                                          "log 6 ProcessLaunchApp: Error while executing Menu"));
}

TEST(ProcessLaunchApp, DestroysTheHandleWhenTheSetThrows) {
    Set().onCall = [](const std::string& call) {
        if (call.rfind("app_control_send", 0) == 0) {
            throw std::runtime_error("broken");
        }
    };
    EXPECT_THROW(ProcessLaunchApp("org.app"), std::runtime_error);
    EXPECT_EQ(Set().liveAppControls, 0);
}

TEST(ProcessLaunchApp, ReadsNullAsEmpty) {
    ProcessLaunchApp(nullptr);
    EXPECT_TRUE(Set().Called("app_control_set_app_id()"));
}

TEST(ProcessSettingAPI, LogsAndSetsTheItem) {
    Set().setItemValueResult = -5;
    ProcessSettingAPI("item", "value");
    EXPECT_THAT(Set().events,
                ElementsAre("log 4 ProcessSettingAPI: ProcessSettingAPI : key : item , val : value",
                            "SetItemValue(item, value, 0)"));
}

TEST(ProcessSettingAPI, ReadsNullAsEmpty) {
    ProcessSettingAPI(nullptr, nullptr);
    EXPECT_THAT(Set().calls, ElementsAre("SetItemValue(, , 0)"));
}

TEST(ProcessAPI, RunsTheOperationOfEachName) {
    struct Row {
        const char* name;
        const char* value;
        std::vector<std::string> events;
    };
    const std::vector<Row> rows = {
        {"pixo_reset_picture", "3", {"pixo_reset_picture(3)"}},
        {"pixo_reset_picture", "x", {"pixo_reset_picture(0)"}},
        {"pixo_reset_picture", "9999999999", {"pixo_reset_picture(2147483647)"}},
        {"ResetPictureSize",
         "v",
         {"log 4 ProcessAPI: Reset picture Size", "CreateVideoControl(1, 0)", "ResetPictureSize()"}},
        {"voiceguide_on",
         "v",
         {"log 4 ProcessAPI: Voice guide is ON", "SetItemValue(voiceguide_on, voiceguide, 0)",
          "log 4 ProcessAPI: ret value: 0"}},
        {"caption-setting", "v", {"SetItemValue(caption-setting, caption, 0)"}},
        {"subtitle-setting", "v", {"SetItemValue(subtitle-setting, subtitle, 0)"}},
        {"ResetOnOffTimer", "v", {"ResetOnOffTimer(2, 8)"}},
        {"unknown", "v", {}},
        {"", "v", {}},
        {"pixo_reset_pictur", "3", {}},
        {"pixo_reset_picture2", "3", {}},
        {"resetonofftimer", "3", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        RunApi(row.name, row.value);
        EXPECT_THAT(Set().events, ElementsAreArray(ApiEvents(row.name, row.value, row.events)));
    }
    EXPECT_EQ(Set().liveTvControls, 0);
}

TEST(ProcessAPI, SaysSuccessAlsoWhenTheOperationFails) {
    Set().resetPictureResult = -1;
    Set().resetPictureSizeResult = -1;
    Set().setItemValueResult = -1;
    Set().resetOnOffTimerResult = -1;
    RunApi("pixo_reset_picture", "1");
    EXPECT_THAT(Set().events,
                ElementsAreArray(ApiEvents("pixo_reset_picture", "1", {"pixo_reset_picture(1)"})));
    RunApi("ResetPictureSize", "1");
    EXPECT_THAT(Set().events,
                ElementsAreArray(ApiEvents("ResetPictureSize", "1",
                                           {"log 4 ProcessAPI: Reset picture Size",
                                            "CreateVideoControl(1, 0)", "ResetPictureSize()"})));
    RunApi("voiceguide_on", "1");
    EXPECT_THAT(Set().events, ElementsAreArray(ApiEvents("voiceguide_on", "1",
                                                         {"log 4 ProcessAPI: Voice guide is ON",
                                                          "SetItemValue(voiceguide_on, voiceguide, 0)",
                                                          "log 4 ProcessAPI: ret value: -1"})));
    RunApi("ResetOnOffTimer", "1");
    EXPECT_THAT(Set().events, ElementsAreArray(ApiEvents("ResetOnOffTimer", "1",
                                                         {"ResetOnOffTimer(2, 8)",
                                                          "log 4 ProcessAPI: Fail to set ResetOnOFfTimer"})));
}

TEST(ProcessAPI, GoesOnWithoutAVideoControl) {
    Set().createTvControlResult = -1;
    RunApi("ResetPictureSize", "1");
    EXPECT_THAT(Set().events, ElementsAreArray(ApiEvents(
                                  "ResetPictureSize", "1",
                                  {"log 4 ProcessAPI: Reset picture Size", "CreateVideoControl(1, 0)"})));
}

TEST(ProcessAPI, DeletesTheVideoControlWhenTheSetThrows) {
    Set().onCall = [](const std::string& call) {
        if (call == "ResetPictureSize()") {
            throw std::runtime_error("broken");
        }
    };
    std::vector<KURA::KURA_SolutionValue> values = Values("1");
    EXPECT_THROW(ProcessAPI("ResetPictureSize", &values), std::runtime_error);
    EXPECT_EQ(Set().liveTvControls, 0);
}

TEST(ProcessAPI, AsksTheAgentForADeepClean) {
    RunApi("performDeepClean", "v");
    EXPECT_TRUE(Set().Logged(4, "File creation failed (/tmp/vardo/req/CleanAll.txt)"));
    EXPECT_THAT(files::Events({"ProcessAPI"}), ElementsAreArray(ApiEvents("performDeepClean", "v", {})));
}

TEST(ProcessAPI, ReadsMissingValuesAsOneEmptyText) {
    std::vector<KURA::KURA_SolutionValue> none;
    ProcessAPI("pixo_reset_picture", &none);
    EXPECT_THAT(Set().events,
                ElementsAreArray(ApiEvents("pixo_reset_picture", "", {"pixo_reset_picture(0)"})));
    Set().events.clear();
    ProcessAPI("pixo_reset_picture", nullptr);
    EXPECT_THAT(Set().events,
                ElementsAreArray(ApiEvents("pixo_reset_picture", "", {"pixo_reset_picture(0)"})));
    Set().events.clear();
    ProcessAPI(nullptr, nullptr);
    EXPECT_THAT(Set().events, ElementsAreArray(ApiEvents("", "", {})));
}
