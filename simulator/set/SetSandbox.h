// Describes the sandbox for a set: its files as /opt, /home and /tmp, its chip id and image type, and the set
// itself at the path that the environment names. For programs that link kura_sandbox.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "KuraSet.h"
#include "sandbox/Sandbox.h"

namespace kuraset {

/// Makes /opt one page large, so that the first write fills it. The set's installed files stay visible and
/// read-only; the folders in which the library writes exist and are empty.
inline void FillOpt(const SetDirectory& set, kurasandbox::SandboxOptions& options) {
    options.opt.reset();
    options.optSize = 4096;
    for (const char* kept : {"usr/share", "usr/apps", "usr/home/owner/apps_rw", "usr/home/owner/.cache"}) {
        std::error_code error;
        if (std::filesystem::exists(set.FilesOpt() / kept, error)) {
            options.binds.push_back({set.FilesOpt() / kept, std::filesystem::path("/opt") / kept, false});
        }
    }
    // A mount creates the folders of its path, and an empty file takes no room.
    for (const char* folder : {"/opt/usr/home/owner/share", "/opt/usr/home/owner/content/Documents"}) {
        options.binds.push_back({"/dev/null", std::filesystem::path(folder) / ".full", false});
    }
}

/// library: the built library, which is seen at its installed path. The caller adds to readOnly the folders
/// below /opt, /home, /tmp or /run that the command needs, above all its own program folder.
inline kurasandbox::SandboxOptions SandboxFor(const SetDirectory& set, std::filesystem::path library,
                                              std::vector<std::string> command) {
    kurasandbox::SandboxOptions options;
    options.library = std::move(library);
    options.command = std::move(command);
    options.opt = set.FilesOpt();
    options.home = set.FilesHome();
    options.tmp = set.FilesTmp();
    options.chipIdFile = set.ChipIdFile();
    options.binds.push_back({set.Path(), kBoundSetDirectory, true});
    options.environment.emplace_back(kSetDirectoryVariable, kBoundSetDirectory);

    const std::string image = set.ImageType();
    std::error_code error;
    if (image != "perf") {
        options.imageType = image;
    } else if (std::filesystem::exists("/etc/release", error) ||
               std::filesystem::exists("/etc/debug", error)) {
        options.writableSystem = true;
    }

    const std::string fault = set.OptFault();
    options.optReadOnly = fault == "read-only";
    if (fault == "full") {
        FillOpt(set, options);
    }
    return options;
}

}  // namespace kuraset
