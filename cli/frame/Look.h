// What text for people is made for: the width and the colours of the terminal that shows it, if one does.
#pragma once

#include <cstddef>
#include <string>

namespace cli {

enum class Tone { kPlain, kHeading, kGood, kWarning, kBad };

/// The command line's wishes.
struct LookOptions {
    std::string color = "auto";  ///< "auto", "always" or "never"
    bool pager = true;
};
LookOptions& TheLookOptions();

/// Set to the terminal's width in the environment of a run whose text is delivered by the process that
/// started it.
constexpr const char* kInsideWidthVariable = "KURA_INSIDE_WIDTH";

/// Whether text goes to a terminal, at once or by the process that started this one.
bool IsForTerminal();

/// Columns of the terminal; 0 where text is for a file or a pipe and stays whole.
std::size_t TerminalWidth();

/// Rows of the terminal; 0 where they are not known.
std::size_t TerminalHeight();

/// Whether text may carry colour: as --color says, otherwise on a terminal unless NO_COLOR is set.
bool ColourWanted();

/// The escape sequence that begins the tone; empty for plain text.
const char* SequenceOf(Tone tone);

/// The text in that tone where colour is wanted.
std::string Painted(const std::string& text, Tone tone);

}  // namespace cli
