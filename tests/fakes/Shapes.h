// Everything that somebody may put in the place of a plain file that the library wants to write or read.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace shapes {

/// What every link leads to.
inline const std::string kVictim = "/home/victim";
/// The other name of a file with two; on the same partition.
inline std::string SecondName(const std::string& path) {
    return path + ".other-name";
}

/// One way to put something other than a plain file at a path. The victim stays as it is.
struct Shape {
    const char* name;
    std::function<void(const std::string& path)> make;
};

inline void PrintTo(const Shape& shape, std::ostream* stream) {
    *stream << shape.name;
}

/// Moves what is at path away and leaves a link to it.
inline void ReplaceByLink(const std::string& path) {
    std::filesystem::rename(path, path + ".moved");
    std::filesystem::create_symlink(path + ".moved", path);
}

/// What can be put in the place of a file.
inline const std::vector<Shape>& FileShapes() {
    static const std::vector<Shape> shapes = {
        {"FileLink", [](const std::string& path) { std::filesystem::create_symlink(kVictim, path); }},
        {"FolderLink",
         [](const std::string& path) { std::filesystem::create_directory_symlink("/home", path); }},
        {"DanglingLink",
         [](const std::string& path) { std::filesystem::create_symlink("/home/nothing", path); }},
        {"LinkToItself", [](const std::string& path) { std::filesystem::create_symlink(path, path); }},
        {"LinkToADevice",
         [](const std::string& path) { std::filesystem::create_symlink("/dev/zero", path); }},
        {"Fifo", [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }},
        {"HardLink",
         [](const std::string& path) {
             std::ofstream(SecondName(path)) << "kept";
             std::filesystem::create_hard_link(SecondName(path), path);
         }},
        {"Folder", [](const std::string& path) { std::filesystem::create_directory(path); }},
    };
    return shapes;
}

/// The same, and a link in the place of the folder.
inline std::vector<Shape> Shapes() {
    std::vector<Shape> shapes = FileShapes();
    shapes.push_back({"LinkedParent", [](const std::string& path) {
                          ReplaceByLink(std::filesystem::path(path).parent_path());
                      }});
    return shapes;
}

}  // namespace shapes
