// The character locale in which text for people is measured. The texts of a set are UTF-8 in every locale of
// its user, so they are measured as UTF-8 in LANG=C, too.
#pragma once

#include <clocale>
#include <cstddef>
#include <string>
#include <string_view>

namespace cli {

/// While the object lives, this thread's character functions know UTF-8: in the user's locale, or in C.UTF-8
/// where that locale has another encoding. Numbers and everything else stay as they are, in this thread and
/// elsewhere: the library reads numbers in this process.
class Utf8Locale {
public:
    Utf8Locale();
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale();

private:
    locale_t m_before;
};

/// Columns that the text takes on a terminal. Within a Utf8Locale, as the next.
std::size_t WidthOf(std::string_view text);

/// The start of the text with "..." as one character behind it, in at most that many columns; the whole text
/// where it fits.
std::string CutTo(std::string_view text, std::size_t width);

/// Whether the text holds letters that are written from right to left.
bool IsRightToLeft(std::string_view text);

}  // namespace cli
