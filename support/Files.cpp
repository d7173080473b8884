#include "Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "Descriptor.h"

namespace support {

std::optional<std::string> ReadFile(const std::filesystem::path& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    char chunk[16384];
    while (file) {
        const ssize_t count = read(file.Number(), chunk, sizeof chunk);
        if (count == 0) {
            return text;
        }
        if (count > 0) {
            text.append(chunk, static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            break;
        }
    }
    return std::nullopt;
}

}  // namespace support
