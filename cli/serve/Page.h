// The files of the page. They are read when the server starts, so that no request can name a file of the
// machine, and so that an open page does not change.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace cli::serve {

struct PageFile {
    std::string type;  ///< the Content-Type
    std::string text;
};

class Page {
public:
    /// Reads the page in the language, or in English when there are no texts in that language. Throws
    /// VerbError when a file is missing.
    static Page Load(const std::filesystem::path& folder, const std::string& language);

    /// Null when the page has no such file. The empty name is the page itself.
    const PageFile* Find(const std::string& name) const;

private:
    std::map<std::string, PageFile> m_files;
};

/// The page that belongs to this command: installed beside it or in its build folder. Throws VerbError.
std::filesystem::path PageFolder();

}  // namespace cli::serve
