// Whole files of the set, read and replaced so that parallel processes never see half of one.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kuraset {

/// A file descriptor that closes itself.
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

/// None when the file does not exist; throws SetError::Io for every other failure.
std::optional<std::string> ReadWhole(const std::filesystem::path& path);

/// Writes a new file beside it and renames it over; throws SetError::Io and leaves the old one.
void ReplaceWhole(const std::filesystem::path& path, const std::string& text);

/// Writes everything or answers false with errno set.
bool WriteAll(int descriptor, const std::string& text);

/// An exclusive lock between processes, held as long as the object lives. Throws SetError::Io.
class FileLock {
public:
    explicit FileLock(const std::filesystem::path& path);

private:
    Descriptor m_descriptor;
};

}  // namespace kuraset
