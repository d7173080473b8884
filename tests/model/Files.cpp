#include "Files.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <memory>

namespace model {

namespace {

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string ReadLink(const std::string& path) {
    char target[512];
    const ssize_t length = readlink(path.c_str(), target, sizeof target);
    return {target, length < 0 ? 0 : static_cast<std::size_t>(length)};
}

void Add(Tree& tree, const std::string& path);

void AddBelow(Tree& tree, const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), closedir);
    while (open != nullptr) {
        const dirent* const entry = readdir(open.get());
        if (entry == nullptr) {
            return;
        }
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            Add(tree, folder + "/" + name);
        }
    }
}

void Add(Tree& tree, const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return;
    }
    Node& node = tree[path];
    if (S_ISDIR(status.st_mode)) {
        node.kind = Kind::Folder;
        AddBelow(tree, path);
    } else if (S_ISLNK(status.st_mode)) {
        node = {Kind::Link, ReadLink(path)};
    } else if (S_ISREG(status.st_mode)) {
        node = {status.st_nlink == 1 ? Kind::Plain : Kind::SecondName, ReadText(path)};
    } else {
        node.kind = Kind::Other;
    }
}

bool IsWatched(const std::string& path) {
    for (const char* root : {kAgent, kGuideFolder, kDocuments, kVictims}) {
        if (path.rfind(root, 0) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

Tree ReadTree() {
    Tree tree;
    for (const char* root : {kAgent, kGuideFolder, kDocuments, kVictims}) {
        Add(tree, root);
    }
    return tree;
}

Way WayTo(const Tree& tree, const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        const std::string folder = path.substr(0, slash);
        if (!IsWatched(folder)) {
            continue;
        }
        const auto node = tree.find(folder);
        if (node == tree.end()) {
            return Way::Missing;
        }
        if (node->second.kind == Kind::Link) {
            const auto target = tree.find(node->second.text);
            return target != tree.end() && target->second.kind == Kind::Plain ? Way::NoFolder : Way::Linked;
        }
        if (node->second.kind != Kind::Folder) {
            return Way::NoFolder;
        }
    }
    return Way::Clear;
}

int WriteGuarded(Tree& tree, const std::string& path, const std::string& text) {
    switch (WayTo(tree, path)) {
        case Way::Missing:
            return ENOENT;
        case Way::NoFolder:
            return ENOTDIR;
        case Way::Linked:
            return kAnyError;
        case Way::Clear:
            break;
    }
    const auto node = tree.find(path);
    if (node == tree.end() || node->second.kind == Kind::Plain) {
        tree[path] = {Kind::Plain, text};
        return 0;
    }
    return node->second.kind == Kind::Folder ? EISDIR : kAnyError;
}

}  // namespace model
