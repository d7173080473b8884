#include "CGetData/AgentRequests.h"

#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <thread>

#include "base/GuardedFile.h"

namespace KURA::agent {

namespace {

/// An answer is two numbers; whatever stands behind this many bytes is no part of one.
constexpr std::size_t kAnswerLimit = 4096;

}  // namespace

bool IsAcknowledged(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::optional<std::string> ReadAnswer(const std::string& path) {
    const base::File file = base::OpenPlainFileForReading(path.c_str());
    if (file == nullptr) {
        return std::nullopt;
    }
    return ReadStart(file.get());
}

std::string ReadStart(std::FILE* file) {
    std::string text(kAnswerLimit, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file));
    return text;
}

bool IsPartOfFileName(const std::string& id) {
    return id.find('/') == std::string::npos;
}

void WaitOneSecond() {
    std::this_thread::sleep_for(std::chrono::seconds(1));
}

}  // namespace KURA::agent
