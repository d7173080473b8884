#include "Fuzzing.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <set>

#include "Fakes.h"

namespace fs = std::filesystem;

namespace fuzz {

namespace {

constexpr std::size_t kRecordOneIn = 8;

}  // namespace

void Expect(bool holds, const char* promise) {
    if (!holds) {
        std::fprintf(stderr, "fuzz: broken promise: %s\n", promise);
        std::abort();
    }
}

std::string Begin(const std::uint8_t* data, std::size_t size) {
    fakes::FakeSet& set = fakes::Set();
    set.keepRecords = size % kRecordOneIn == 0;
    set.calls.clear();
    set.log.clear();
    set.events.clear();
    set.launches.clear();
    set.usageEvents.clear();
    set.homeScreenLists.clear();
    set.startScreenLists.clear();
    set.recordedSolutions.clear();
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

bool IsOneOf(unsigned int count, std::string_view text) {
    unsigned int sum = 0;
    for (const char c : text) {
        sum += static_cast<unsigned char>(c);
    }
    return sum % count == 0;
}

std::vector<std::string> Split(std::string_view text, char separator, std::size_t count) {
    std::vector<std::string> parts;
    while (parts.size() + 1 < count) {
        const std::size_t end = text.find(separator);
        if (end == std::string_view::npos) {
            break;
        }
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    parts.emplace_back(text);
    return parts;
}

void WriteFile(const std::string& path, std::string_view text) {
    static std::set<std::string> known;
    if (known.insert(path).second) {
        fs::create_directories(fs::path(path).parent_path());
    }
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool isWritten =
        file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    Expect(isWritten, "the target can write its files");
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::int32_t Signed32(const char* text) {
    const long long number = std::strtoll(text, nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long long>(number, std::numeric_limits<std::int32_t>::min(),
                                                           std::numeric_limits<std::int32_t>::max()));
}

std::uint32_t Unsigned32(long long number) {
    constexpr long long kMost = std::numeric_limits<std::uint32_t>::max();
    return number > kMost || number < -kMost ? static_cast<std::uint32_t>(kMost)
                                             : static_cast<std::uint32_t>(number);
}

}  // namespace fuzz
