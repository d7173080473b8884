// A limit of the address space, for tests of what happens without memory.
#pragma once

#include <sys/mman.h>
#include <sys/resource.h>

#include <cstddef>

namespace fakes {

/// Lowers the limit of this process's address space while it lives.
class AddressSpaceLimit {
public:
    explicit AddressSpaceLimit(std::size_t bytes) {
        getrlimit(RLIMIT_AS, &m_before);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        const rlimit lowered{bytes, m_before.rlim_max};
        m_holds = setrlimit(RLIMIT_AS, &lowered) == 0 && !HasRoomFor(bytes);
#else
        static_cast<void>(bytes);
#endif
    }
    ~AddressSpaceLimit() {
        setrlimit(RLIMIT_AS, &m_before);
    }
    AddressSpaceLimit(const AddressSpaceLimit&) = delete;
    AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;

    /// False where memory is given all the same: under a sanitizer, which needs the address space for itself
    /// and is left alone, and under an emulator, which takes the limit and does nothing.
    bool Holds() const {
        return m_holds;
    }

private:
    static bool HasRoomFor(std::size_t bytes) {
        void* room = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        return room != MAP_FAILED && munmap(room, bytes) == 0;
    }

    rlimit m_before{};
    bool m_holds = false;
};

}  // namespace fakes
