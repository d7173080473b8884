#include "Descriptor.h"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace support {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Reset();
        m_number = other.Release();
    }
    return *this;
}

int Descriptor::Release() {
    return std::exchange(m_number, -1);
}

void Descriptor::Reset() {
    if (m_number >= 0) {
        close(m_number);
        m_number = -1;
    }
}

Pipe::Pipe() {
    int ends[] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) == 0) {
        readEnd = Descriptor(ends[0]);
        writeEnd = Descriptor(ends[1]);
    }
}

std::optional<std::string> ReadAll(int descriptor) {
    std::string text;
    char chunk[16384];
    while (true) {
        const ssize_t count = read(descriptor, chunk, sizeof chunk);
        if (count > 0) {
            text.append(chunk, static_cast<std::size_t>(count));
        } else if (count == 0) {
            return text;
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
}

bool WriteAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace support
