#include "Look.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace cli {

namespace {

constexpr std::size_t kUsualWidth = 80;

/// A whole number above 0 in the environment; otherwise 0.
std::size_t NumberFrom(const char* variable) {
    const char* text = std::getenv(variable);
    if (text == nullptr) {
        return 0;
    }
    const char* const end = text + std::strlen(text);
    std::size_t number = 0;
    const auto [read, error] = std::from_chars(text, end, number);
    return error == std::errc() && read == end ? number : 0;
}

winsize SizeOfOutput() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
        size = {};
    }
    return size;
}

}  // namespace

LookOptions& TheLookOptions() {
    static LookOptions options;
    return options;
}

bool IsForTerminal() {
    return NumberFrom(kInsideWidthVariable) > 0 || isatty(STDOUT_FILENO) != 0;
}

std::size_t TerminalWidth() {
    if (!IsForTerminal()) {
        return 0;
    }
    for (const std::size_t width :
         {NumberFrom(kInsideWidthVariable), NumberFrom("COLUMNS"), std::size_t{SizeOfOutput().ws_col}}) {
        if (width > 0) {
            return width;
        }
    }
    return kUsualWidth;
}

std::size_t TerminalHeight() {
    const std::size_t rows = NumberFrom("LINES");
    return rows > 0 ? rows : SizeOfOutput().ws_row;
}

bool ColourWanted() {
    const std::string& when = TheLookOptions().color;
    if (when != "auto") {
        return when == "always";
    }
    const char* noColour = std::getenv("NO_COLOR");
    return IsForTerminal() && (noColour == nullptr || *noColour == '\0');
}

const char* SequenceOf(Tone tone) {
    switch (tone) {
        case Tone::kHeading:
            return "\033[1m";
        case Tone::kGood:
            return "\033[32m";
        case Tone::kWarning:
            return "\033[33m";
        case Tone::kBad:
            return "\033[31m";
        case Tone::kPlain:
            break;
    }
    return "";
}

std::string Painted(const std::string& text, Tone tone) {
    return tone == Tone::kPlain || !ColourWanted() ? text : SequenceOf(tone) + text + "\033[0m";
}

}  // namespace cli
