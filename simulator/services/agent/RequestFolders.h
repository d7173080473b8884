// The folders through which the agent and the library talk. File names come from outside. Therefore every
// access is relative to a folder that the agent opened itself, follows no link, and reads no more than the
// longest request.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "set/FileAccess.h"

namespace kuraset {

class RequestFolders {
public:
    enum class Place { Data, Requests, Acknowledgements };

    /// tmp: the folder that serves as /tmp. Creates the folders; throws SetError::Io.
    explicit RequestFolders(const std::filesystem::path& tmp);

    const std::filesystem::path& Path(Place place) const { return At(place).path; }

    /// False when somebody removed or replaced one of the folders.
    bool Intact() const;

    /// The file's text; none when it is no regular file, cannot be read or is too long.
    std::optional<std::string> Read(Place place, const std::string& name) const;
    bool IsRegular(Place place, const std::string& name) const;
    /// Replaces whatever has that name by a new file.
    bool Write(Place place, const std::string& name, const std::string& text) const;
    bool Remove(Place place, const std::string& name) const;
    std::vector<std::string> RequestNames() const;

private:
    struct Folder {
        std::filesystem::path path;
        Descriptor descriptor;
    };

    const Folder& At(Place place) const { return m_folders[static_cast<std::size_t>(place)]; }

    std::vector<Folder> m_folders;
};

}  // namespace kuraset
