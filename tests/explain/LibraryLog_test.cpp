// The log lines by which diagnoses and repairs are explained are those that the library writes.
#include "explain/LibraryLog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

namespace {

using cli::Line;
using nlohmann::json;

/// The source with the pieces of a text that it breaks over lines put together.
std::string SourceOf(const std::string& name) {
    std::ifstream file(std::filesystem::path(KURA_SOURCE) / "src" / name, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return std::regex_replace(text, std::regex("\"\\s*\n\\s*\""), "");
}

/// As it stands in a source.
std::string Escaped(const std::string& text) {
    return "\"" + std::regex_replace(text, std::regex("\n"), "\\n") + "\"";
}

/// All sources of the unit.
std::string UnitOf(const std::string& name) {
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    std::string text;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::path(KURA_SOURCE) / "src" / folder)) {
        text += SourceOf(folder / entry.path().filename());
    }
    return text;
}

json LogEntry(const char* function, const std::string& message) {
    return {{"kind", "log"}, {"function", function}, {"message", message}};
}

TEST(LibraryLog, EveryFormatStandsInTheLibrarysSources) {
    for (const cli::LogLine& line : cli::kLogLines) {
        const std::string source = SourceOf(line.source);
        EXPECT_NE(source, "") << line.source;
        EXPECT_NE(source.find(Escaped(line.format)), std::string::npos) << line.source << ": " << line.format;
        EXPECT_NE(UnitOf(line.source).find(line.function), std::string::npos) << line.function;
    }
}

TEST(LibraryLog, ValuesEndWhereTheFormatGoesOn) {
    const json entry =
        LogEntry("GetInferenceResult", "Skip because of time. TR_0 Time: [b c] >>> TR_1 Time : [a]]");
    EXPECT_EQ(cli::ValuesOf(entry, Line::kWentLater), (std::vector<std::string>{"b c", "a]"}));
    EXPECT_FALSE(cli::Says(entry, Line::kSelected));
}

TEST(LibraryLog, OnlyTheWholeLineOfTheFunctionCounts) {
    EXPECT_TRUE(cli::Says(LogEntry("GetInferenceResult", "Skip bg issue"), Line::kSkippedBackground));
    EXPECT_FALSE(cli::Says(LogEntry("GetInferenceResult", "Skip bg issue!"), Line::kSkippedBackground));
    EXPECT_FALSE(cli::Says(LogEntry("Another", "Skip bg issue"), Line::kSkippedBackground));
}

TEST(LibraryLog, ACutMessageKeepsTheStartOfItsLastValue) {
    json entry = LogEntry("ProcessCMD", "\nsolution is cmd type : echo aaa");
    EXPECT_FALSE(cli::Says(entry, Line::kCommand));
    entry["cut"] = true;
    EXPECT_EQ(cli::ValuesOf(entry, Line::kCommand), std::vector<std::string>{"echo aaa"});
}

}  // namespace
