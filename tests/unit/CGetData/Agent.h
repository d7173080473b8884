// Makes and reads the agent's folders and files for the tests of the device object.
#pragma once

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "Fakes.h"

namespace agent {

namespace fs = std::filesystem;

inline const std::string kFolder = "/tmp/vardo";
inline const std::string kRequests = kFolder + "/req";
inline const std::string kAcks = kFolder + "/ack";

inline void MakeFolders() {
    fs::create_directories(kRequests);
    fs::create_directories(kAcks);
}

inline void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Whether anything has the name, a dangling link included.
inline bool Stands(const fs::path& path) {
    return fs::symlink_status(path).type() != fs::file_type::not_found;
}

/// The answer to a size request of the application.
inline void Answer(const std::string& appId, const std::string& text) {
    Write(kFolder + "/appDataCacheSize_" + appId, text);
    Write(kAcks + "/appDataCacheSize_" + appId, "");
}

/// Every file below the folder, by path.
inline std::set<std::string> FilesBelow(const fs::path& folder) {
    std::set<std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        files.insert(entry.path());
    }
    return files;
}

/// How many descriptors of this process lead to the path.
inline int OpenDescriptors(const std::string& path) {
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        count += fs::read_symlink(entry.path(), error) == path ? 1 : 0;
    }
    return count;
}

/// The log as "4 function: message", in order.
inline std::vector<std::string> Log() {
    std::vector<std::string> lines;
    for (const fakes::LogLine& line : fakes::Set().log) {
        lines.push_back(std::to_string(line.priority) + " " + line.function + ": " + line.message);
    }
    return lines;
}

/// As long as it lives no file of the process takes a byte: what a full disk does to it.
class FullDisk {
public:
    FullDisk() {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_FSIZE, &none);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before{};
};

/// As long as it lives the rights of files hold for root, too.
class Unprivileged {
public:
    Unprivileged() {
        syscall(SYS_capget, &m_header, m_before);
        __user_cap_data_struct none[2] = {m_before[0], m_before[1]};
        none[0].effective = 0;
        none[1].effective = 0;
        EXPECT_EQ(syscall(SYS_capset, &m_header, none), 0);
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;
    ~Unprivileged() { syscall(SYS_capset, &m_header, m_before); }

private:
    __user_cap_header_struct m_header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_before[2]{};
};

/// A text that the host hands over as char*.
class Text {
public:
    Text(const char* text) : m_text(text) {}
    Text(const std::string& text) : m_text(text) {}
    operator char*() { return m_text.data(); }

private:
    std::string m_text;
};

}  // namespace agent
