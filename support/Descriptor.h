// Open file descriptors that close themselves, and reading and writing them to the end.
#pragma once

#include <optional>
#include <string>

namespace support {

/// Owns a file descriptor and closes it at its end. Movable, not copyable; -1 means none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Reset(); }

    int Number() const { return m_number; }
    explicit operator bool() const { return m_number >= 0; }
    int Release();
    void Reset();

private:
    int m_number;
};

/// A pipe whose ends close on exec. Both ends are -1, with errno set, when the system refuses.
struct Pipe {
    Pipe();

    Descriptor readEnd;
    Descriptor writeEnd;
};

/// What is left to be read; none, with errno set, when the system refuses.
std::optional<std::string> ReadAll(int descriptor);

/// Writes the whole text. False with errno set when the system refuses; part of the text may then be written.
bool WriteAll(int descriptor, const std::string& text);

}  // namespace support
