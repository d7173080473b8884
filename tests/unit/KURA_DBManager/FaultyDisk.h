// A disk that fails: the test executable interposes the system calls that SQLite makes.
#pragma once

#include <cstddef>

namespace disk {

enum class Operation { kOpen, kRead, kWrite, kSync, kTruncate, kUnlink };

struct Fault {
    Operation operation = Operation::kWrite;
    int error = 0;           ///< the errno of the failing call
    std::size_t at = 1;      ///< which call of the operation fails, from 1
    bool everAfter = false;  ///< all that follow too
};

/// The fault holds while this lives; Count tells how many calls of the operation there were, Struck whether
/// one failed.
class Failing {
public:
    explicit Failing(const Fault& fault);
    ~Failing();
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;
    static bool Struck();
};

/// While this lives no file opens for writing, as on a partition mounted read-only.
class ReadOnly {
public:
    ReadOnly();
    ~ReadOnly();
    ReadOnly(const ReadOnly&) = delete;
    ReadOnly& operator=(const ReadOnly&) = delete;
};

/// fsync and fdatasync so far.
std::size_t SyncCount();

/// Runs at each of them, on its thread; null for nothing.
void OnSync(void (*function)());

}  // namespace disk
