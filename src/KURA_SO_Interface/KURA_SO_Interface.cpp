// Loads the solution map and records what became of a problem. Every load starts with an empty map and
// replaces the whole stored map, even when the document is broken: a request never works on an older map.
#include "KURA_SO_Interface.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "KURA_DiagResultManager.h"
#include "KURA_KPISender.h"
#include "KURA_SO_Interface/LoadSolutionMap.h"
#include "KURA_Storage.h"
#include "KURA_XMLParser.h"
#include "base/GuardedFile.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "base/SetPaths.h"

namespace {

using KURA::base::File;
using KURA::base::OrEmpty;

constexpr const char* kLoad = "ParseSolutionMap";

// Opens the document, which may be a link. The open does not block, because a FIFO without a writer would
// hold the caller up; the FIFO is refused later, because it has no size.
File OpenDocument(const char* path) {
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    struct stat status {};
    File file;
    if (fstat(fd, &status) == 0 && !S_ISDIR(status.st_mode)) {
        file.reset(fdopen(fd, "rt"));
    }
    if (file == nullptr) {
        close(fd);
    }
    return file;
}

/// The size in bytes; leaves the file at its start. No value for a file without a size, or with a size beyond
/// 2147483647.
std::optional<std::size_t> DocumentSize(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) {
        return std::nullopt;
    }
    const long size = std::ftell(file);
    if (size < 0 || size > std::numeric_limits<std::int32_t>::max() || std::fseek(file, 0, SEEK_SET) != 0) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(size);
}

/// Makes text size bytes long. False when there is not enough memory.
bool Reserve(std::size_t size, std::string& text) {
    try {
        text.assign(size, '\0');
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const std::length_error&) {
        // On a 32-bit set a file can be longer than any std::string.
        return false;
    }
}

bool ReadDocument(const char* path, std::string& text) {
    File file = OpenDocument(path);
    const std::optional<std::size_t> size = file == nullptr ? std::nullopt : DocumentSize(file.get());
    if (!size.has_value() || !Reserve(*size, text)) {
        KURA_LOG_AS("XMLParse", DLOG_ERROR, "Unable to open XML file %s", path);
        return false;
    }
    const std::size_t count = std::fread(text.data(), 1, *size, file.get());
    file.reset();
    if (count != *size) {
        KURA_LOG_AS("XMLParse", DLOG_ERROR, "Read size %d expected size %zu", static_cast<int>(count), *size);
        return false;
    }
    return true;
}

}  // namespace

void ParseSolutionMap() {
    LoadSolutionMap();
}

std::size_t LoadSolutionMap() {
    KURA_LOG_AS(kLoad, DLOG_ERROR, "ParseSolutionMap in so_interface");
    KURA::KURA_SolutionMap map;
    if (!XMLParse(KURA::base::kSolutionMapPath, map)) {
        KURA_LOG_AS(kLoad, DLOG_ERROR, "Parse error!!!!");
    }
    const std::size_t size = map.solutions.size();
    // Replace it in one step: a diagnosis that saw the new count beside the old list would throw on the
    // engine's thread.
    KURA::TCInformationStorage::Instance()->SetSolutionMap(std::move(map));
    return size;
}

bool XMLParse(const char* path, KURA::KURA_SolutionMap& map) {
    KURA_INFO("XMLParse FUNCTION --");
    std::string text;
    return ReadDocument(OrEmpty(path), text) && parseInterface(text, map);
}

bool parseInterface(const std::string& text, KURA::KURA_SolutionMap& map) {
    const KURA::TCXMLParser parser;
    return parser.Parse(text, map);
}

void SaveResultToSolutionDB(const std::string& issueCode, const std::string& state) {
    KURA_INFO("save result to sol DB called");
    WMSolutionParams params{};
    FillSolutionParams(issueCode, state, &params);
    SetSolutionDB(params);
}

void RemoveSolvedProblemFromRemainingDB(const std::string& issueCode) {
    KURA_INFO("RemoveSolvedProblemFromRemainingDB called");
    KURA::KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn(issueCode);
    KURA_DEBUG("iss_code(%s) is removed from RemainingDB", issueCode.c_str());
}

void SendSelfDiagnosisResult(const char* first, const char* second) {
    KURA_INFO("SendSelfDiagnosisResult");
    // The sender copies both texts; its signature is older than const.
    KURA::KURA_KPISender::GetInstance()->SendKurahelpKPI(const_cast<char*>(first), const_cast<char*>(second));
}
