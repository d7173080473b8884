#include "SetFormat.h"

#include <optional>
#include <string>
#include <system_error>

#include "FileAccess.h"
#include "KuraSet.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

/// Raise it when an older kura cannot use the sets that this one makes.
constexpr int kFormat = 1;
constexpr const char* kFormatKey = "kura_set";
constexpr const char* kWholeKey = "whole";

constexpr const char* kHalfMade = ": the set is half made (kura set new --force makes it anew)";

[[noreturn]] void Refuse(SetError::Kind kind, const fs::path& path, const std::string& why) {
    throw SetError(kind, path.string() + why);
}

fs::path MarkOf(const fs::path& set) {
    return set / "format.json";
}

void CheckMark(const fs::path& set, const std::string& text) {
    const json mark = json::parse(text, nullptr, false);
    const json version = mark.is_object() ? mark.value(kFormatKey, json()) : json();
    if (!version.is_number_integer() || version < 1) {
        Refuse(SetError::Kind::Damaged, MarkOf(set), ": is not the mark of a set");
    }
    if (version > kFormat) {
        Refuse(SetError::Kind::Damaged, set,
               ": the set is from a newer version of kura (its format is " + version.dump() +
                   ", this version knows up to " + std::to_string(kFormat) + ")");
    }
    if (mark.value(kWholeKey, json()) != true) {
        Refuse(SetError::Kind::Damaged, set, kHalfMade);
    }
}

}  // namespace

void MarkFormat(const fs::path& set, bool whole) {
    ReplaceWhole(MarkOf(set), json({{kFormatKey, kFormat}, {kWholeKey, whole}}).dump() + "\n");
}

void CheckFormat(const fs::path& set) {
    std::error_code error;
    const fs::file_status status = fs::status(set, error);
    if (!fs::exists(status)) {
        if (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory) {
            Refuse(SetError::Kind::Io, set, ": cannot open: " + error.message());
        }
        Refuse(SetError::Kind::NotFound, set, ": no set here (kura set new makes one)");
    }
    if (!fs::is_directory(status)) {
        Refuse(SetError::Kind::NotFound, set, ": no set here (it is not a folder)");
    }
    const std::optional<std::string> mark = ReadWhole(MarkOf(set));
    if (mark) {
        CheckMark(set, *mark);
    }
    if (!fs::exists(set / "set.json", error)) {
        mark ? Refuse(SetError::Kind::Damaged, set, kHalfMade)
             : Refuse(SetError::Kind::NotFound, set, ": no set here (set.json is missing)");
    }
    for (const char* folder : {"opt", "home", "tmp"}) {
        if (!fs::is_directory(set / "files" / folder, error)) {
            Refuse(SetError::Kind::Damaged, set / "files" / folder, std::string(" is missing") + kHalfMade);
        }
    }
}

bool SetDirectory::LiesAt(const fs::path& path) {
    std::error_code error;
    return fs::exists(MarkOf(path), error) && fs::exists(path / "files", error);
}

}  // namespace kuraset
