// The model's picture of the folders that the library writes into, and the effect of a write on them.
#pragma once

#include <map>
#include <string>

namespace model {

enum class Kind { Folder, Plain, SecondName, Link, Other };

struct Node {
    Kind kind = Kind::Plain;
    std::string text;  ///< a plain file's bytes, a link's target

    bool operator==(const Node& other) const { return kind == other.kind && text == other.text; }
};

/// Every path below the watched folders, and these themselves.
using Tree = std::map<std::string, Node>;

constexpr const char* kAgent = "/tmp/vardo";
constexpr const char* kRequests = "/tmp/vardo/req";
constexpr const char* kGuideFolder = "/tmp/tutorlink";
constexpr const char* kGuideFile = "/tmp/tutorlink/inference_result";
constexpr const char* kDocuments = "/opt/usr/home/owner/content/Documents";
constexpr const char* kDocumentsFile = "/opt/usr/home/owner/content/Documents/inference_result";
constexpr const char* kVictims = "/home/victims";

/// What stands on the real file system.
Tree ReadTree();

/// Whether a folder of the path, or the path, is missing, and whether one of the folders is no folder.
enum class Way { Clear, Missing, NoFolder, Linked };
Way WayTo(const Tree& tree, const std::string& path);

constexpr int kAnyError = -1;

/// A write that follows no link: 0 and the file holds text, or the error number, kAnyError where the rules
/// do not name it, and nothing changed.
int WriteGuarded(Tree& tree, const std::string& path, const std::string& text);

}  // namespace model
