// What a command prints: any bytes as the output of every command, for the reader alone and as the web-cache
// size in the inventory. No process is started and nothing waits.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>

#include "CGetData.h"
#include "Fakes.h"
#include "Fuzzing.h"

namespace {

constexpr std::size_t kLineLimit = 255;

std::string output;

/// The first word of the first line as far as it is read.
std::string ExpectedWord() {
    constexpr const char* kBlanks = " \t\n\v\f\r";
    // What is read is a C text: a zero byte ends it.
    const std::string line = output.substr(0, std::min(kLineLimit, output.find('\n'))).c_str();
    const std::size_t start = line.find_first_not_of(kBlanks);
    return start == std::string::npos ? "" : line.substr(start, line.find_first_of(kBlanks, start) - start);
}

/// An application whose only size is what the command says.
void InstallApp() {
    fuzz::WriteFile("/tmp/icons/icon.png", "");
    fakes::Set().apps = {{"entry", "HelpBook", "/tmp/icons/", "it's an app", "package", 0, 0, 0, 0}};
    fakes::Set().appCount = 1;
}

std::uint32_t MeasuredTotal() {
    KURA::CGetData& device = *KURA::CGetData::GetInstance();
    device.sendAppList();
    fuzz::Expect(device.m_GetAppsCount() == 1, "the application is listed");
    return static_cast<std::uint32_t>(device.m_GetAppsDataStructure().front().totalSize);
}

/// What the total is without the command's part.
std::uint32_t TotalWithoutOutput() {
    InstallApp();
    output.clear();
    return MeasuredTotal();
}

}  // namespace

extern "C" {

std::FILE* popen(const char*, const char*) {
    static char none[] = "\n";
    return output.empty() ? fmemopen(none, 1, "r") : fmemopen(output.data(), output.size(), "r");
}

int pclose(std::FILE* stream) {
    return std::fclose(stream);
}

int nanosleep(const std::timespec*, std::timespec*) {
    return 0;
}

int clock_nanosleep(clockid_t, int, const std::timespec*, std::timespec*) {
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::uint32_t base = TotalWithoutOutput();
    const std::string text = fuzz::Begin(data, size);
    output = text;
    const std::string word = KURA::CGetData::GetInstance()->GetStdoutFromCommand("du -bs /opt");
    fuzz::Expect(word == ExpectedWord(), "the answer is the first word of the first line");
    const std::uint32_t size32 = static_cast<std::uint32_t>(fuzz::Signed32(word.c_str()));
    // An inventory starts twenty threads: for one input in 1024.
    if (fuzz::IsOneOf(1024, text)) {
        fuzz::Expect(MeasuredTotal() == base + size32, "the web cache counts with the number that is read");
    }
    return 0;
}
}
