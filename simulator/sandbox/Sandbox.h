// A private file system for one process tree, made with bubblewrap. The library's paths are compiled in and
// absolute; inside, /opt, /home, /tmp and /run are private, the library stands at /usr/lib/libkura_parser.so,
// the rest of the machine is read-only, and network and process numbers are the sandbox's own. Nothing of it
// stays on the machine, and whatever was started inside ends with the command. Works for root and for others.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kurasandbox {

/// What RunInSandbox returns when the sandbox could not be made.
constexpr int kNoSandbox = 125;

struct Bind {
    std::filesystem::path source;
    std::filesystem::path target;  ///< below /opt, /home, /tmp or /run, or existing
    bool writable = false;
};

struct SandboxOptions {
    /// The built library; empty leaves /usr/lib as it is.
    std::filesystem::path library;

    /// Folders seen at their own paths, also below what is private; those first, then these may be written.
    /// Below a folder given for /opt, /home or /tmp the missing folders on the way are created in it.
    std::vector<std::filesystem::path> readOnly;
    std::vector<std::filesystem::path> readWrite;

    /// Folders to be seen at /opt, /home and /tmp, written through; a fresh, empty one where none is given.
    std::optional<std::filesystem::path> opt;
    std::optional<std::filesystem::path> home;
    std::optional<std::filesystem::path> tmp;
    bool optReadOnly = false;
    std::optional<std::size_t> optSize;  ///< bytes of a fresh /opt

    std::vector<Bind> binds;

    /// Seen at /proc/vex_chipid_val.
    std::optional<std::filesystem::path> chipIdFile;
    /// "release" or "debug": only that mark is in /etc. Empty: /etc as on the machine.
    std::string imageType;
    /// /proc and /etc take new files, as /proc/vex_chipid_val or /etc/release; /etc is without both marks.
    bool writableSystem = false;

    std::vector<std::pair<std::string, std::string>> environment;  ///< added to the caller's

    /// Without address space randomisation, for ThreadSanitizer on kernels that randomise more than it can
    /// take.
    bool fixedAddresses = false;

    /// What the command has for standard output; that of the caller when negative.
    int standardOutput = -1;

    std::vector<std::string> command;
};

/// The command line of bwrap, "bwrap" first.
std::vector<std::string> BuildBubblewrapCommand(const SandboxOptions& options);

/// Runs options.command and returns its exit status, 128 + n after signal n. When the sandbox cannot be made,
/// says why on standard error and returns kNoSandbox. Call it from a thread that lives until then.
int RunInSandbox(const SandboxOptions& options);

}  // namespace kurasandbox
