// The attributes of one start tag are either owned or borrowed. Owned, they are a map that Insert fills.
// Borrowed, they are Expat's own pairs, which live as long as its callback; this saves a parse from copying
// each name and value twice. Both answer alike: names are compared in lower case, and the last value of a
// name wins.
#include "KURA_XMLParser.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "KURA_XMLParser/LowerCase.h"
#include "base/Text32.h"

namespace KURA {

namespace {

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) {
        return false;
    }
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (Lower(left[i]) != Lower(right[i])) {
            return false;
        }
    }
    return true;
}

bool HasCapital(const std::string& name) {
    return std::any_of(name.begin(), name.end(), [](char c) { return Lower(c) != c; });
}

/// True when written, lower-cased, equals name, which has no capital.
bool IsNamed(const char* written, const char* name) {
    if (std::strcmp(written, name) == 0) {
        return true;
    }
    while (*name != '\0' && Lower(*written) == *name) {
        ++written;
        ++name;
    }
    return *name == '\0' && *written == '\0';
}

/// Returns the index of the name that equals written, lower-cased, or count when none does. Documents write
/// their attributes in a fixed order, so the search starts at the name that is expected next.
std::size_t IndexOf(const char* written, const char* const* names, std::size_t count, std::size_t expected) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t index = (expected + i) % count;
        if (IsNamed(written, names[index])) {
            return index;
        }
    }
    return count;
}

}  // namespace

TCXMLParser::TCAttributes::TCAttributes(const TCAttributes& other)
    : m_borrowed(other.m_borrowed), m_owned(other.m_owned) {
    m_Own();
}

TCXMLParser::TCAttributes& TCXMLParser::TCAttributes::operator=(const TCAttributes& other) {
    TCAttributes copy(other);
    m_borrowed = nullptr;
    m_owned.swap(copy.m_owned);
    return *this;
}

void TCXMLParser::TCAttributes::m_Own() {
    const char** pairs = std::exchange(m_borrowed, nullptr);
    for (; pairs != nullptr && pairs[0] != nullptr && pairs[1] != nullptr; pairs += 2) {
        Insert(pairs[0], pairs[1]);
    }
}

void TCXMLParser::TCAttributes::Insert(std::string name, const std::string& value) {
    m_Own();
    for (char& c : name) {
        c = Lower(c);
    }
    m_owned.insert_or_assign(std::move(name), value);
}

bool TCXMLParser::TCAttributes::m_Find(const std::string& name, std::string_view& value) const {
    if (m_borrowed == nullptr) {
        const auto owned = m_owned.find(name);
        if (owned == m_owned.end()) {
            return false;
        }
        value = owned->second;
        return true;
    }
    const char* wanted = name.c_str();
    std::string_view text;
    if (!HasCapital(name)) {
        m_FindAll(&wanted, 1, &text);
    }
    if (text.data() == nullptr) {
        return false;
    }
    value = text;
    return true;
}

void TCXMLParser::TCAttributes::m_FindAll(const char* const* names, std::size_t count,
                                          std::string_view* values) const {
    if (m_borrowed == nullptr) {
        for (std::size_t i = 0; i < count; ++i) {
            m_Find(names[i], values[i]);
        }
        return;
    }
    std::size_t expected = 0;
    for (const char** pair = m_borrowed; pair[0] != nullptr && pair[1] != nullptr; pair += 2) {
        const std::size_t index = IndexOf(pair[0], names, count, expected);
        if (index < count) {
            values[index] = pair[1];
            expected = index + 1;
        }
    }
}

bool TCXMLParser::TCAttributes::GetValue(const std::string& name, std::string& value) const {
    std::string_view text;
    if (!m_Find(name, text)) {
        return false;
    }
    value = text;
    return true;
}

bool TCXMLParser::TCAttributes::GetValue(const std::string& name, unsigned long long& value) const {
    std::string_view text;
    if (!m_Find(name, text)) {
        return false;
    }
    value = base::ToUInt32(text.data());
    return true;
}

bool TCXMLParser::TCAttributes::GetValue(const std::string& name, double& value) const {
    std::string_view text;
    if (!m_Find(name, text)) {
        return false;
    }
    char* end = nullptr;
    const double number = std::strtod(text.data(), &end);
    if (*end != '\0') {
        return false;
    }
    value = number;
    return true;
}

bool TCXMLParser::TCAttributes::GetValue(const std::string& name, bool& value) const {
    std::string_view text;
    if (!m_Find(name, text)) {
        return false;
    }
    value = !EqualsIgnoringCase(text, "false") && text != "0";
    return true;
}

bool TCXMLParser::TCAttributes::GetValue(const std::string& name, unsigned int& value) const {
    std::string_view text;
    if (!m_Find(name, text)) {
        return false;
    }
    // Also true when the value is no number: the caller's default then stays.
    std::uint32_t number = 0;
    if (base::ScanUInt32(text.data(), number)) {
        value = number;
    }
    return true;
}

bool TCXMLParser::TCAttributes::GetValue(const std::string& name, int& value) const {
    std::string_view text;
    if (!m_Find(name, text)) {
        return false;
    }
    std::int32_t number = 0;
    if (base::ScanInt32(text.data(), number)) {
        value = number;
    }
    return true;
}

bool TCXMLParser::TCAttributes::HasAttrOfValue(const std::string& name, std::string value) const {
    std::string_view text;
    return m_Find(name, text) && EqualsIgnoringCase(text, value);
}

}  // namespace KURA
