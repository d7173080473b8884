#include "Scenario.h"

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "Patterns.h"
#include "schema/SchemaTexts.h"
#include "support/Files.h"
#include "support/Joined.h"
#include "support/NearestName.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestMap = std::uintmax_t{64} << 20;

/// Reads the values and checks what the schema cannot express.
class Reader {
public:
    explicit Reader(const Document& document)
        : m_document(document), m_folder(fs::path(document.File()).parent_path()) {}

    Scenario Read() const {
        const Json& root = m_document.Root();
        Scenario scenario;
        scenario.file = m_document.File();
        scenario.name = root.value("name", fs::path(scenario.file).stem().string());
        if (root.contains("set")) {
            const Json& set = root.at("set");
            scenario.start = ReadChanges(set, JsonPlace("/set"));
            if (set.contains("base")) {
                scenario.base = FolderNamed(set.at("base"), JsonPlace("/set/base"));
            }
        }
        const Json& steps = root.at("steps");
        for (std::size_t i = 0; i < steps.size(); ++i) {
            scenario.steps.push_back(ReadStep(steps[i], JsonPlace("/steps") / i));
        }
        scenario.expect = root.value("expect", Json::object());
        CheckExpectation(scenario.expect, JsonPlace("/expect"));
        return scenario;
    }

private:
    Step ReadStep(const Json& value, const JsonPlace& at) const {
        Step step;
        step.changes = ReadChanges(value, at);
        step.run = value.value("run", std::vector<std::string>());
        CheckRun(step.run, at / "run");
        step.expect = value.value("expect", Json::object());
        CheckExpectation(step.expect, at / "expect");
        for (const char* name : {"exit", "answer", "rows"}) {
            if (step.run.empty() && step.expect.contains(name)) {
                m_document.Complain(at / "expect" / name, "nothing runs in this step that could give it");
            }
        }
        step.name =
            value.value("name", step.run.empty() ? value.begin().key() : support::Joined(step.run, " "));
        return step;
    }

    void CheckRun(const std::vector<std::string>& run, const JsonPlace& at) const {
        for (std::size_t i = 0; i < run.size(); ++i) {
            if (run[i] == "--json" || run[i].rfind("--set", 0) == 0) {
                m_document.Complain(at / i, "is given by kura replay itself");
            }
        }
        for (const char* verb : {"replay", "record", "serve"}) {
            if (!run.empty() && run.front() == verb) {
                m_document.Complain(at / std::size_t{0}, std::string(verb) + " cannot be part of a scenario");
            }
        }
    }

    Changes ReadChanges(const Json& value, const JsonPlace& at) const {
        Changes changes;
        if (value.contains("describe")) {
            changes.describe.push_back(value.at("describe"));
        }
        for (const char* key : {"clock", "faults"}) {
            if (value.contains(key)) {
                changes.describe.push_back({{key, value.at(key)}});
            }
        }
        changes.settings = value.value("settings", Json::object());
        changes.engine = value.value("engine", Json::object());
        if (value.contains("map")) {
            changes.files.push_back(ReadMap(value.at("map"), at / "map"));
        }
        const Json files = value.value("files", Json::object());
        for (const auto& [path, content] : files.items()) {
            changes.files.push_back(ReadFile(path, content, at / "files" / path));
        }
        return changes;
    }

    fs::path FolderNamed(const std::string& name, const JsonPlace& at) const {
        const fs::path folder = (m_folder / name).lexically_normal();
        std::error_code error;
        if (!fs::is_directory(folder, error)) {
            m_document.Complain(at, "there is no folder " + folder.string());
        }
        return folder;
    }

    FileChange ReadMap(const Json& value, const JsonPlace& at) const {
        FileChange change;
        change.path = kMapPath;
        if (value.is_null()) {
            change.kind = FileChange::Kind::kRemove;
        } else if (value.is_array()) {
            for (std::size_t i = 0; i < value.size(); ++i) {
                change.text += (i == 0 ? "" : "\n") + value[i].get<std::string>();
            }
        } else {
            change.text = TextOfFile((m_folder / value.get<std::string>()).lexically_normal(), at);
        }
        return change;
    }

    std::string TextOfFile(const fs::path& path, const JsonPlace& at) const {
        std::error_code error;
        if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kLargestMap) {
            m_document.Complain(at, fs::exists(path, error) ? path.string() + " is no file of a map's size"
                                                            : "there is no file " + path.string());
        }
        const auto text = support::ReadFile(path);
        if (!text) {
            m_document.Complain(at, path.string() + " cannot be read");
        }
        return *text;
    }

    FileChange ReadFile(const std::string& path, const Json& value, const JsonPlace& at) const {
        CheckPath(path, at);
        using Kind = FileChange::Kind;
        FileChange change;
        change.path = path;
        if (value.is_null()) {
            change.kind = Kind::kRemove;
        } else if (value.is_string()) {
            change.text = value.get<std::string>();
        } else if (value.contains("base64")) {
            change.text = Decoded(value.at("base64"), at / "base64");
        } else if (value.contains("size")) {
            change.kind = Kind::kSize;
            change.size = value.at("size").get<std::uintmax_t>();
        } else if (value.contains("link")) {
            change.kind = Kind::kLink;
            change.text = value.at("link").get<std::string>();
        } else {
            change.kind = Kind::kFolder;
        }
        return change;
    }

    void CheckPath(const std::string& path, const JsonPlace& at) const {
        const fs::path whole(path);
        const bool below =
            path.rfind("/opt/", 0) == 0 || path.rfind("/home/", 0) == 0 || path.rfind("/tmp/", 0) == 0;
        if (!below || whole != whole.lexically_normal() || whole.filename().empty()) {
            m_document.Complain(at, "must be a plain path below /opt, /home or /tmp");
        }
    }

    std::string Decoded(const std::string& text, const JsonPlace& at) const {
        gsize size = 0;
        const std::unique_ptr<guchar, decltype(&g_free)> bytes(g_base64_decode(text.c_str(), &size), &g_free);
        const std::unique_ptr<gchar, decltype(&g_free)> again(g_base64_encode(bytes.get(), size), &g_free);
        if (text != again.get()) {
            m_document.Complain(at, "is not base64");
        }
        return {reinterpret_cast<const char*>(bytes.get()), size};
    }

    void CheckExpectation(const Json& expect, const JsonPlace& at) const {
        for (const auto& [name, pattern] : expect.items()) {
            const JsonPlace place = at / name;
            if (name == "calls") {
                CheckKinds(pattern, place);
            } else if (name == "files") {
                for (const auto& [path, unused] : pattern.items()) {
                    static_cast<void>(unused);
                    CheckPath(path, place / path);
                }
            }
            if (const auto fault = CheckPattern(pattern, place)) {
                m_document.Complain(fault->place, fault->text);
            }
        }
    }

    void CheckKinds(const Json& calls, const JsonPlace& at) const {
        const auto& known = JournalKinds();
        for (const auto& [kind, unused] : calls.items()) {
            static_cast<void>(unused);
            if (std::find(known.begin(), known.end(), kind) == known.end()) {
                m_document.Complain(at / kind,
                                    "the journal has no such kind" + support::Suggestion(kind, known));
            }
        }
    }

    const Document& m_document;
    fs::path m_folder;
};

Scenario FromDocument(const Document& document) {
    static const support::JsonSchema schema({schema::kScenario, schema::kSet});
    if (const auto complaint = schema.Check(document.Root())) {
        document.Complain(complaint->place, complaint->text);
    }
    return Reader(document).Read();
}

}  // namespace

Scenario ReadScenario(const fs::path& path) {
    return FromDocument(Document::Read(path));
}

Scenario ParseScenario(const std::string& text, const fs::path& file) {
    return FromDocument(Document::Parse(text, file.string()));
}

}  // namespace scenario
