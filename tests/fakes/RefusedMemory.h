// Memory that runs out at the n-th piece. This header stands in front of operator new, so one source of a
// program includes it.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace fakes {

/// Refuses one piece, which may be another allocator's that asks Strikes(), too.
struct Refusal {
    bool isOn = false;
    std::size_t left = 0;
    std::size_t pieces = 0;  ///< of operator new, since the program began
    void (*atStrike)() = nullptr;
    void* (*allocate)(std::size_t) = std::malloc;
    void (*release)(void*) = std::free;

    /// From now on, the piece after so many others.
    void Begin(std::size_t after) {
        left = after;
        isOn = true;
    }
    /// Whether it was asked for that piece.
    bool End() {
        const bool struck = !isOn;
        isOn = false;
        return struck;
    }
    bool Strikes() {
        if (!isOn || left-- != 0) {
            return false;
        }
        isOn = false;
        if (atStrike != nullptr) {
            atStrike();
        }
        return true;
    }
};

inline Refusal refusal;

}  // namespace fakes

// Out of line: inlined, they would look to the compiler like a new that free() answers.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* piece = fakes::refusal.Strikes() ? nullptr : fakes::refusal.allocate(size);
    if (piece == nullptr) {
        throw std::bad_alloc();
    }
    ++fakes::refusal.pieces;
    return piece;
}

[[gnu::noinline]] void operator delete(void* piece) noexcept {
    fakes::refusal.release(piece);
}

[[gnu::noinline]] void operator delete(void* piece, std::size_t) noexcept {
    fakes::refusal.release(piece);
}
