// Scenario files that are broken in every way: one sentence with the file, the line and the place.
#include "Scenario.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ScenarioError.h"

namespace {

namespace fs = std::filesystem;
using scenario::ParseScenario;
using scenario::ScenarioError;
using testing::HasSubstr;

std::string ComplaintAbout(const std::string& text) {
    try {
        ParseScenario(text, "s.json");
    } catch (const ScenarioError& error) {
        return error.what();
    }
    return "";
}

TEST(Reading, TakesEveryKindOfChange) {
    const auto read = ParseScenario(R"({
        "name": "n", "about": "a", "$schema": "x",
        "set": {"describe": {"source": 13, "serial": null}, "clock": "2025-01-02T03:04:05",
                "faults": {"logger": 0}, "settings": {"k": 1, "gone": null},
                "engine": {"base": "none", "inferences": [{"issue_code": 1, "transition": true}]},
                "map": ["<a>", "</a>"], "files": {"/opt/f": "t", "/tmp/b": {"base64": "AP8="},
                "/home/s": {"size": 7}, "/tmp/l": {"link": "f"}, "/tmp/d": {"folder": true}, "/opt/r": null}},
        "steps": [{"run": ["fix", "1001"], "expect": {"exit": 3}}, {"name": "later", "clock": "2025-01-02T03:04:06"}],
        "expect": {"remaining": []}})",
                                    "s.json");
    ASSERT_EQ(read.start.describe.size(), 3U);
    EXPECT_TRUE(read.start.describe[0].at("serial").is_null());
    EXPECT_EQ(read.start.describe[1].at("clock"), "2025-01-02T03:04:05");
    EXPECT_EQ(read.start.describe[2].at("faults").at("logger"), 0);
    ASSERT_EQ(read.start.files.size(), 7U);
    EXPECT_EQ(read.start.files[0].path, scenario::kMapPath);
    EXPECT_EQ(read.start.files[0].text, "<a>\n</a>");
    EXPECT_EQ(read.start.files[2].text, std::string("\0\xff", 2));
    EXPECT_EQ(read.start.files[3].size, 7U);
    EXPECT_EQ(read.steps[0].name, "fix 1001");
    EXPECT_EQ(read.steps[1].name, "later");
}

TEST(Reading, NamesFileLineAndPlace) {
    struct Case {
        const char* text;
        const char* complaint;
    };
    const Case cases[] = {
        {"", "s.json: is empty"},
        {" \n ", "s.json: is empty"},
        {"[]", "s.json:1: must be an object"},
        {"{}", "s.json:1: must have \"steps\""},
        {"{\"steps\": [],\n\"stepz\": []}", "s.json:2: stepz: unknown key; did you mean \"steps\"?"},
        {"{\"steps\": [],\n\"hat\": 1}", "s.json:2: hat: unknown key"},
        {"{\"steps\":\n[]\n, \"steps\": []}", "s.json:3: steps: is there twice, first in line 1"},
        {"{\"steps\": {}}", "s.json:1: steps: must be a list"},
        {"{\"steps\": [\n7\n]}", "s.json:2: steps[0]: must be an object"},
        {"{\"steps\": [\n{\"name\": \"x\"}]}",
         "s.json:2: steps[0]: must have run, engine, clock, faults, describe, settings, map or files"},
        {"{\"steps\": [{\n\"run\": []}]}", "s.json:2: steps[0].run: must not be empty"},
        {"{\"steps\": [{\"run\":\n[\"diagnose\",\n\"--json\"]}]}",
         "s.json:3: steps[0].run[1]: is given by kura replay itself"},
        {"{\"steps\": [{\"run\": [\"replay\"]}]}",
         "s.json:1: steps[0].run[0]: replay cannot be part of a scenario"},
        {"{\"steps\": [{\"run\": [\"a\"], \"expect\": {\n\"lanches\": []}}]}",
         "s.json:2: steps[0].expect.lanches: unknown key; did you mean \"launches\"?"},
        {"{\"steps\": [{\"run\": [\"a\"], \"expect\": {\n\"exit\": \"0\"}}]}",
         "s.json:2: steps[0].expect.exit: must be a whole number"},
        {"{\"steps\": [{\"run\": [\"a\"], \"expect\": {\"exit\": 256}}]}",
         "s.json:1: steps[0].expect.exit: must be from 0 to 255"},
        {"{\"steps\": [{\"run\": [\"a\"], \"expect\": {\"log\": \"x\"}}]}",
         "s.json:1: steps[0].expect.log: must be a list"},
        {"{\"steps\": [{\"clock\": null, \"expect\": {\n\"exit\": 0}}]}",
         "s.json:2: steps[0].expect.exit: nothing runs in this step that could give it"},
        {"{\"steps\": [{\"run\": [\"a\"], \"expect\": {\"calls\": {\n\"powr\": []}}}]}",
         "s.json:2: steps[0].expect.calls.powr: the journal has no such kind; did you mean \"power\"?"},
        {"{\"steps\": [{\"run\": [\"a\"], \"expect\": {\"files\": {\"/etc/x\": null}}}]}",
         "s.json:1: steps[0].expect.files./etc/x: must be a plain path below /opt, /home or /tmp"},
        {"{\"steps\": [], \"expect\": {\"remaining\": [{\n\"$has\": 1}]}}",
         "s.json:2: expect.remaining[0].$has: unknown way to compare"},
        {"{\"steps\": [{\"clock\": \"noon\"}]}",
         "s.json:1: steps[0].clock: must be a local time that looks like 2026-01-31T23:59:59"},
        {"{\"steps\": [{\"faults\": {\n\"agnt\": 1}}]}",
         "s.json:2: steps[0].faults.agnt: unknown key; did you mean \"agent\"?"},
        {"{\"steps\": [{\"faults\": {\n\"agent\": \"away\"}}]}",
         "s.json:2: steps[0].faults.agent: must be absent, late, partial, flood, binary or null"},
        {"{\"steps\": [{\"faults\": {\"agent\": \"absnt\"}}]}",
         "s.json:1: steps[0].faults.agent: must be absent, late, partial, flood, binary or null; did you "
         "mean "
         "\"absent\"?"},
        {"{\"steps\": [{\"faults\": {\"engine\": {\"solution\": {\n\"1x\": 1}}}}]}",
         "s.json:2: steps[0].faults.engine.solution.1x: the key must be an issue code"},
        {"{\"set\": {\"describe\": {\"apps\": [{\"title\": \"a\", \"app_id\": \"b\",\n\"package_id\": "
         "\"../c\"}]}}, "
         "\"steps\": []}",
         "s.json:2: set.describe.apps[0].package_id: must be a text without '/', not empty, \".\" or \"..\""},
        {"{\"set\": {\"settings\": {\"a/b\":\n3000000000}}, \"steps\": []}",
         "s.json:1: set.settings.a/b: must be a whole number of 32 bits, true or false, a text or null"},
        {"{\"set\": {\"settings\": {\"a\": 1.5}}, \"steps\": []}",
         "s.json:1: set.settings.a: must be a whole number of 32 bits, true or false, a text or null"},
        {"{\"set\": {\"engine\": {\"inferences\": [{\n\"issue_code\": 1}]}}, \"steps\": []}",
         "s.json:1: set.engine.inferences[0]: must have \"transition\""},
        {"{\"set\": {\"engine\": {\"solutions\": [{\"issue_code\": 1,\n\"register_time\": \"x\"}]}}, "
         "\"steps\": []}",
         "s.json:2: set.engine.solutions[0].register_time: must be a local time that looks like "
         "2026-01-31T23:59:59"},
        {"{\"set\": {\"map\": \"no.xml\"}, \"steps\": []}", "s.json:1: set.map: there is no file no.xml"},
        {"{\"set\": {\"map\": \"..\"}, \"steps\": []}", "s.json:1: set.map: .. is no file of a map's size"},
        {"{\"set\": {\"base\": \"nowhere\"}, \"steps\": []}",
         "s.json:1: set.base: there is no folder nowhere"},
        {"{\"set\": {\"files\": {\"/opt/../etc/x\": \"\"}}, \"steps\": []}",
         "s.json:1: set.files./opt/../etc/x: must be a plain path below /opt, /home or /tmp"},
        {"{\"set\": {\"files\": {\"/opt/x\": {\"base64\": \"?\"}}}, \"steps\": []}",
         "s.json:1: set.files./opt/x.base64: is not base64"},
        {"{\"set\": {\"files\": {\"/opt/x\": {\"size\": 1, \"link\": \"y\"}}}, \"steps\": []}",
         "s.json:1: set.files./opt/x: must have exactly one of base64, size, folder or link"},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(ComplaintAbout(one.text), one.complaint) << one.text;
    }
}

TEST(Reading, SaysWhereItIsNotJson) {
    for (const std::string text : {"{\"steps\": [\n}", "{\n\"steps\": [],}", "{\"steps\": [\n", "\nsteps",
                                   "{} {}", "{\"steps\": \n\"\xff\"}", "\n{'a': 1}", "\n\"a\nb\""}) {
        EXPECT_THAT(ComplaintAbout(text), testing::MatchesRegex("s\\.json:[12]: is not JSON: .*")) << text;
    }
    EXPECT_EQ(ComplaintAbout(std::string("{\"a\0b\": 1}", 10)), "s.json: is a binary file, not JSON");
}

TEST(Reading, BoundsWhatItTakes) {
    EXPECT_THAT(ComplaintAbout(std::string(100000, '[')), HasSubstr("nested more than 64 levels deep"));
    std::string wide = "{\"steps\": [], \"set\": {\"settings\": {";
    for (int i = 0; i <= 10000; ++i) {
        wide += "\"k" + std::to_string(i) + "\": 1,\n";
    }
    EXPECT_THAT(ComplaintAbout(wide + "\"z\": 1}}}"), HasSubstr("set.settings: has more than 10000 members"));
}

class Folder {
public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "kura-reading-XXXXXX").string();
        m_path = mkdtemp(name.data());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(m_path); }
    fs::path operator/(const char* name) const { return m_path / name; }

private:
    fs::path m_path;
};

std::string ComplaintAboutFile(const fs::path& path) {
    try {
        scenario::ReadScenario(path);
    } catch (const ScenarioError& error) {
        return error.what();
    }
    return "";
}

TEST(Reading, NamesAFileThatIsNone) {
    const Folder folder;
    fs::create_directory(folder / "folder");
    mkfifo((folder / "fifo").c_str(), 0600);
    { std::ofstream(folder / "huge"); }
    fs::resize_file(folder / "huge", (16 << 20) + 1);
    fs::create_symlink("nowhere", folder / "dangling");
    const std::pair<const char*, const char*> cases[] = {
        {"missing", ": no such file"},
        {"dangling", ": no such file"},
        {"folder", ": is a folder, not a scenario"},
        {"fifo", ": is not a regular file"},
        {"huge", ": is larger than a scenario may be (16 MiB)"},
    };
    for (const auto& [name, complaint] : cases) {
        EXPECT_EQ(ComplaintAboutFile(folder / name), (folder / name).string() + complaint);
    }
}

}  // namespace
