#include "Files.h"

#include <fcntl.h>

#include "Descriptor.h"

namespace support {

std::optional<std::string> ReadFile(const std::filesystem::path& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file ? ReadAll(file.Number()) : std::nullopt;
}

}  // namespace support
