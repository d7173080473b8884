#include "TextFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>

#include "Characters.h"
#include "Rules.h"
#include "XmlDocument.h"
#include "support/NearestName.h"

namespace kuramap {

namespace {

/// No file of texts, codes or allowed findings is larger.
constexpr off_t kLargest = 64 * 1024 * 1024;

std::string PlaceIn(const std::string& file, std::size_t line) {
    return file + ":" + std::to_string(line);
}

/// byte: the number of the wrong byte, from 1; it lies beyond the end when the text ends too early.
[[noreturn]] void RefuseJson(const std::string& file, std::string_view source, std::size_t byte) {
    if (byte > source.size()) {
        Refuse(file, "the JSON ends too early: a bracket or quote is not closed");
    }
    const std::string_view before = source.substr(0, byte == 0 ? 0 : byte - 1);
    const auto line = 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    Refuse(PlaceIn(file, line), "is not JSON from here on; write {\"ID\": \"text\", ...}");
}

std::ifstream Open(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        Refuse(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        Refuse(path, "is not a regular file");
    }
    if (status.st_size > kLargest) {
        Refuse(path, "is larger than 64 MiB");
    }
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        Refuse(path, std::strerror(errno));
    }
    return stream;
}

/// Calls use with the trimmed text and the number of each line; skips blank lines and remarks.
void ForEachLine(const std::string& path, const std::function<void(std::string_view, std::size_t)>& use) {
    std::ifstream stream = Open(path);
    std::string line;
    for (std::size_t number = 1; std::getline(stream, line); ++number) {
        const std::string_view text = Trimmed(line);
        if (!text.empty() && text.front() != '#') {
            use(text, number);
        }
    }
}

AllowList::Entry ReadAllowed(const std::string& file, std::string_view text, std::size_t line) {
    const std::size_t colon = text.find(':');
    const std::string_view reason = colon == std::string_view::npos ? "" : Trimmed(text.substr(colon + 1));
    if (reason.empty()) {
        Refuse(PlaceIn(file, line), "has no reason; write \"TAG: reason\" or \"TAG ISSUE: reason\"");
    }
    const std::string_view head = Trimmed(text.substr(0, colon));
    const std::size_t blank = head.find_first_of(" \t");
    const std::string_view tag = head.substr(0, blank);
    if (FindRule(tag) == nullptr) {
        Refuse(PlaceIn(file, line), "there is no rule \"" + std::string(tag) + "\"" +
                                        support::Suggestion(std::string(tag), Tags()));
    }
    AllowList::Entry entry;
    entry.tag = tag;
    entry.issue = blank == std::string_view::npos ? "" : Trimmed(head.substr(blank));
    entry.reason = reason;
    entry.line = line;
    return entry;
}

}  // namespace

TextTable TextTable::Read(const std::string& path) {
    std::ifstream stream = Open(path);
    const std::string source{std::istreambuf_iterator<char>(stream), {}};
    TextTable table;
    table.file = path;
    table.language = std::filesystem::path(path).stem();
    nlohmann::json json;
    try {
        json = nlohmann::json::parse(source);
    } catch (const nlohmann::json::parse_error& error) {
        RefuseJson(path, source, error.byte);
    }
    if (!json.is_object()) {
        Refuse(path, "must be an object of string ids and texts");
    }
    for (const auto& [id, text] : json.items()) {
        if (!text.is_string()) {
            Refuse(path, "the text of \"" + id + "\" must be a text");
        }
        table.texts.emplace(id, text.get<std::string>());
    }
    return table;
}

CodeList CodeList::Read(const std::string& path) {
    CodeList list;
    list.file = path;
    ForEachLine(path, [&list, &path](std::string_view text, std::size_t line) {
        const std::string_view code = Trimmed(text.substr(0, text.find('#')));
        if (code.find_first_not_of("0123456789") != std::string_view::npos) {
            Refuse(PlaceIn(path, line),
                   "\"" + std::string(code) + "\" is not an issue code; write one number a line");
        }
        list.entries.push_back({std::string(code), line});
    });
    return list;
}

AllowList AllowList::Read(const std::string& path) {
    AllowList list;
    list.file = path;
    ForEachLine(path, [&list, &path](std::string_view text, std::size_t line) {
        list.entries.push_back(ReadAllowed(path, text, line));
    });
    return list;
}

}  // namespace kuramap
