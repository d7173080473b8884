// A private file system for one process tree, made with bubblewrap, because the library's paths are compiled
// in and absolute. Inside, /opt, /home, /tmp and /run are private, the library stands at
// /usr/lib/libkura_parser.so, the rest of the machine is read-only, and network and process numbers are the
// sandbox's own. Nothing stays on the machine, and every process inside ends with the command. Root and
// ordinary users may make one.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kurasandbox {

/// No sandbox can be made on this machine. The message is one sentence, which names the remedy where the
/// machine forbids it.
class SandboxError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Bind {
    std::filesystem::path source;
    std::filesystem::path target;  ///< below /opt, /home, /tmp or /run, or a path that exists
    bool writable = false;
};

struct SandboxOptions {
    /// The built library; empty leaves /usr/lib as it is.
    std::filesystem::path library;

    /// Folders of the machine that are seen at their own paths, also below /opt, /home, /tmp and /run. When
    /// opt, home or tmp names a folder, the missing folders on the way are created in it.
    std::vector<std::filesystem::path> readOnly;
    std::vector<std::filesystem::path> readWrite;

    /// Folders of the machine that are seen at /opt, /home and /tmp and may be written. Without one the
    /// sandbox has an empty folder there.
    std::optional<std::filesystem::path> opt;
    std::optional<std::filesystem::path> home;
    std::optional<std::filesystem::path> tmp;
    bool optReadOnly = false;
    std::optional<std::size_t> optSize;  ///< bytes of an /opt that starts empty

    std::vector<Bind> binds;

    /// The file to be seen at /proc/vex_chipid_val.
    std::optional<std::filesystem::path> chipIdFile;
    /// With "release" or "debug" /etc holds only that mark. When empty, /etc is the machine's.
    std::string imageType;
    /// Lets new files be made in /proc and /etc, such as /proc/vex_chipid_val or /etc/release. /etc then
    /// starts without a mark.
    bool writableSystem = false;

    std::vector<std::pair<std::string, std::string>> environment;  ///< added to the caller's

    /// Turns address space randomisation off, because ThreadSanitizer fails on kernels that randomise much.
    bool fixedAddresses = false;

    /// The descriptor that becomes the command's standard output; the caller's own at -1.
    int standardOutput = -1;

    /// The command calls TakeErrors first. What bubblewrap says is then part of the SandboxError; otherwise
    /// it is on standard error.
    bool takesErrors = false;

    std::vector<std::string> command;
};

/// The command line of bwrap, "bwrap" first.
std::vector<std::string> BuildBubblewrapCommand(const SandboxOptions& options);

/// Runs options.command and returns its exit status, 128 + n after signal n. Throws SandboxError. The calling
/// thread must live until the command ends, because the sandbox ends with it.
int RunInSandbox(const SandboxOptions& options);

/// For a command that was started with takesErrors: its standard error is then the caller's. Does nothing in
/// any other program.
void TakeErrors();

}  // namespace kurasandbox
