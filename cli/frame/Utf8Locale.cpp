#include "Utf8Locale.h"

#include <langinfo.h>

#include <cstring>
#include <cwchar>
#include <cwctype>

namespace cli {

namespace {

constexpr std::size_t kEscapedByte = 4;  ///< columns of \x9c, as a table writes what is no character
constexpr const char* kEllipsis = "\xe2\x80\xa6";

/// Null when the machine has no locale with UTF-8.
locale_t MakeLocale() {
    const locale_t users = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (users != nullptr && std::strcmp(nl_langinfo_l(CODESET, users), "UTF-8") == 0) {
        return users;
    }
    if (users != nullptr) {
        freelocale(users);
    }
    return newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
}

struct Character {
    wchar_t code = 0;
    std::size_t bytes = 1;
    std::size_t width = kEscapedByte;
};

/// The character that the text, which is not empty, begins with.
Character FirstOf(std::string_view text) {
    std::mbstate_t state{};
    Character first;
    const std::size_t bytes = std::mbrtowc(&first.code, text.data(), text.size(), &state);
    if (bytes == 0 || bytes > text.size()) {
        first.code = 0;
        return first;
    }
    first.bytes = bytes;
    const int width = wcwidth(first.code);
    first.width = std::iswprint(static_cast<std::wint_t>(first.code)) != 0 && width >= 0
                      ? static_cast<std::size_t>(width)
                      : kEscapedByte * bytes;
    return first;
}

bool IsIn(wchar_t code, wchar_t first, wchar_t last) {
    return code >= first && code <= last;
}

}  // namespace

Utf8Locale::Utf8Locale() : m_before(uselocale(nullptr)) {
    static const locale_t kLocale = MakeLocale();
    if (kLocale != nullptr) {
        uselocale(kLocale);
    }
}

Utf8Locale::~Utf8Locale() {
    uselocale(m_before);
}

std::size_t WidthOf(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const Character first = FirstOf(text);
        width += first.width;
        text.remove_prefix(first.bytes);
    }
    return width;
}

std::string CutTo(std::string_view text, std::size_t width) {
    if (WidthOf(text) <= width) {
        return std::string(text);
    }
    std::size_t end = 0;
    std::size_t used = 1;  // the ellipsis
    while (end < text.size()) {
        const Character next = FirstOf(text.substr(end));
        if (used + next.width > width) {
            break;
        }
        used += next.width;
        end += next.bytes;
    }
    const std::string_view kept = text.substr(0, end);
    return std::string(kept.substr(0, kept.find_last_not_of(' ') + 1)) + kEllipsis;
}

bool IsRightToLeft(std::string_view text) {
    while (!text.empty()) {
        const Character first = FirstOf(text);
        const wchar_t code = first.code;
        if (IsIn(code, 0x0590, 0x08ff) || IsIn(code, 0xfb1d, 0xfdff) || IsIn(code, 0xfe70, 0xfefc) ||
            IsIn(code, 0x10800, 0x10fff) || IsIn(code, 0x1e800, 0x1efff)) {
            return true;
        }
        text.remove_prefix(first.bytes);
    }
    return false;
}

}  // namespace cli
