#include "Page.h"

#include <array>
#include <system_error>

#include "frame/Outcome.h"
#include "support/Files.h"

namespace cli::serve {

namespace fs = std::filesystem;

namespace {

struct Name {
    const char* asked;
    const char* file;
    const char* type;
};

constexpr const char* kStyle = "text/css; charset=utf-8";
constexpr const char* kScript = "text/javascript; charset=utf-8";

constexpr std::array<Name, 12> kNames = {{
    {"", "index.html", "text/html; charset=utf-8"},
    {"page.css", "page.css", kStyle},
    {"screens.css", "screens.css", kStyle},
    {"overlays.css", "overlays.css", kStyle},
    {"icon.svg", "icon.svg", "image/svg+xml"},
    {"main.js", "main.js", kScript},
    {"server.js", "server.js", kScript},
    {"element.js", "element.js", kScript},
    {"remote.js", "remote.js", kScript},
    {"screens.js", "screens.js", kScript},
    {"overlays.js", "overlays.js", kScript},
    {"history.js", "history.js", kScript},
}};

std::string ReadPageFile(const fs::path& path) {
    const auto text = support::ReadFile(path);
    if (!text) {
        throw VerbError(ExitCode::kFailed, "a file of the page is missing: " + path.string());
    }
    return *text;
}

/// The file of the texts. A language is a file name and never leads to another folder.
fs::path TextsFile(const fs::path& folder, const std::string& language) {
    const fs::path path = folder / "texts" / (language + ".json");
    std::error_code error;
    const bool plain = language.find('/') == std::string::npos;
    return plain && fs::is_regular_file(path, error) ? path : folder / "texts" / "en.json";
}

}  // namespace

Page Page::Load(const fs::path& folder, const std::string& language) {
    Page page;
    for (const Name& name : kNames) {
        page.m_files[name.asked] = {name.type, ReadPageFile(folder / name.file)};
    }
    page.m_files["texts.json"] = {"application/json", ReadPageFile(TextsFile(folder, language))};
    return page;
}

const PageFile* Page::Find(const std::string& name) const {
    const auto found = m_files.find(name);
    return found == m_files.end() ? nullptr : &found->second;
}

fs::path PageFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path folder = program.parent_path().parent_path() / "share" / "kura" / "page";
    if (error || !fs::is_directory(folder, error)) {
        throw VerbError(ExitCode::kFailed, "the page is missing: " + folder.string());
    }
    return folder;
}

}  // namespace cli::serve
