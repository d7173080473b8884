// What the agent leaves behind: an answered measurement of an application, and the size that it keeps for
// YouTube.
#include <dlfcn.h>
#include <fcntl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "CGetData.h"
#include "Fuzzing.h"

namespace {

constexpr std::size_t kAnswerLimit = 4096;
constexpr long kUntouched = -77;

/// The stream opened last: the library gives one up where the file holds no number.
std::FILE* lastStream = nullptr;
int lastDescriptor = -1;

void CloseWhatWasGivenUp() {
    if (lastDescriptor >= 0 && fcntl(lastDescriptor, F_GETFD) != -1) {
        std::fclose(lastStream);
    }
    lastDescriptor = -1;
}

long Narrowed(long long number) {
    return static_cast<long>(std::clamp<long long>(number, INT32_MIN, INT32_MAX));
}

void CheckMeasurement(const std::string& text) {
    fuzz::WriteFile("/tmp/vardo/appDataCacheSize_app", text);
    fuzz::WriteFile("/tmp/vardo/ack/appDataCacheSize_app", "");
    char package[] = "package";
    char app[] = "app";
    long dataSize = kUntouched;
    long cacheSize = kUntouched;
    KURA::CGetData::GetInstance()->findDataCacheSize(package, app, &dataSize, &cacheSize);

    long long data = kUntouched;
    long long cache = kUntouched;
    std::sscanf(text.substr(0, kAnswerLimit).c_str(), "%lld|%lld", &data, &cache);
    fuzz::Expect(dataSize == Narrowed(data), "the data size is what scanf reads on the set");
    fuzz::Expect(cacheSize == Narrowed(cache), "the cache size is what scanf reads on the set");
    fuzz::Expect(fuzz::ReadFile("/tmp/vardo/req/calcAppDataCacheSize_app") == "package|app\n",
                 "the request names package and application");
}

void CheckYouTube(const std::string& text) {
    fuzz::WriteFile("/tmp/vardo/cobalt_size", text);
    lastDescriptor = -1;
    const long long size = KURA::getAppSizeForYoutube();
    CloseWhatWasGivenUp();
    long long expected = 0;
    std::sscanf(text.substr(0, kAnswerLimit).c_str(), "%lld", &expected);
    fuzz::Expect(size == expected, "YouTube's size is what scanf reads");
}

}  // namespace

extern "C" std::FILE* fdopen(int descriptor, const char* mode) {
    static auto* next = reinterpret_cast<std::FILE* (*)(int, const char*)>(dlsym(RTLD_NEXT, "fdopen"));
    lastStream = next(descriptor, mode);
    lastDescriptor = descriptor;
    return lastStream;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    fuzz::WriteFile("/tmp/vardo/req/calcAppDataCacheSize_app", "");
    CheckMeasurement(text);
    CheckYouTube(text);
    return 0;
}
