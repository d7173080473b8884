#include "Files.h"

#include <fcntl.h>

#include <fstream>
#include <ios>
#include <system_error>

#include "Descriptor.h"

namespace support {

std::optional<std::string> ReadFile(const std::filesystem::path& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file ? ReadAll(file.Number()) : std::nullopt;
}

bool ReplaceFile(const std::filesystem::path& path, const std::string& text) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path file = fs::canonical(path, error);
    if (error) {
        return false;
    }
    const fs::path beside = file.string() + ".new";
    std::ofstream stream(beside, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    bool isDone = static_cast<bool>(stream);
    if (isDone) {
        const fs::perms permissions = fs::status(file, error).permissions();
        fs::permissions(beside, permissions, error);
        fs::rename(beside, file, error);
        isDone = !error;
    }
    if (!isDone) {
        fs::remove(beside, error);
    }
    return isDone;
}

}  // namespace support
