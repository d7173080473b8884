#include "PrivateValues.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <sstream>

namespace cli {

namespace {

constexpr std::size_t kShortestInWords = 8;
constexpr std::size_t kShortestWithDigits = 4;
constexpr std::size_t kShortestNumber = 6;
constexpr const char* kSerialInfo = "187";
constexpr const char* kSeriesInfo = "0";

/// A settings key is private when one of its words is here.
constexpr const char* kPrivateWords[] = {
    "account",  "address",  "bssid",  "chip",  "chipid", "contact",  "duid",    "email",
    "hostname", "device",   "imei",   "mac",   "mail",   "name",     "nick",    "nickname",
    "owner",    "password", "person", "phone", "pin",    "postcode", "profile", "serial",
    "sn",       "ssid",     "token",  "udid",  "user",   "username", "uuid",
};

/// Values that name nobody.
constexpr const char* kPlainWords[] = {"auto",    "default", "guest", "home",  "localhost", "no",
                                       "none",    "off",     "on",    "owner", "root",      "true",
                                       "unknown", "user",    "yes",   "false"};

template <typename List>
bool IsIn(const List& list, const std::string& word) {
    return std::find(std::begin(list), std::end(list), word) != std::end(list);
}

std::string Lower(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

bool IsOfWord(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c & 0x80) != 0;
}

bool IsPrivateKey(const std::string& key) {
    std::string word;
    for (const char c : Lower(key) + '/') {
        if (IsOfWord(c)) {
            word += c;
        } else if (IsIn(kPrivateWords, word)) {
            return true;
        } else {
            word.clear();
        }
    }
    return false;
}

/// Whether the value is replaced within a longer word, too. "main" is not: it would spoil "remaining".
bool CountsInWords(const std::string& value) {
    return value.size() >= kShortestInWords ||
           (value.size() >= kShortestWithDigits && value.find_first_of("0123456789") != std::string::npos);
}

/// Where the value stands in text from a place on; npos when nowhere. Both are in lower case.
std::size_t Find(const std::string& text, const std::string& value, std::size_t from) {
    for (std::size_t at = text.find(value, from); at != std::string::npos; at = text.find(value, at + 1)) {
        const std::size_t end = at + value.size();
        const bool isWord =
            (at == 0 || !IsOfWord(text[at - 1])) && (end == text.size() || !IsOfWord(text[end]));
        if (isWord || CountsInWords(value)) {
            return at;
        }
    }
    return std::string::npos;
}

/// As the text stands between quotes in JSON.
std::string Escaped(const std::string& text) {
    const std::string quoted = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace

PrivateValues::PrivateValues(const kuraset::SetDirectory& set, const std::vector<std::string>& further) {
    for (const std::string& text : further) {
        Add(text, "<hidden>");
    }
    AddDescription(set.Description());
    AddSettings(set.ListSettings());
    Add(set.Path().string(), "<set>");
    AddUser();
    std::stable_sort(m_values.begin(), m_values.end(),
                     [](const Value& a, const Value& b) { return a.text.size() > b.text.size(); });
}

void PrivateValues::Add(const std::string& text, const std::string& placeholder) {
    const std::string value = Lower(text);
    if (value.find_first_not_of(" /") == std::string::npos || IsIn(kPlainWords, value)) {
        return;
    }
    m_values.push_back({value, placeholder});
    if (Escaped(value) != value) {
        m_values.push_back({Escaped(value), placeholder});
    }
}

void PrivateValues::AddDescription(const nlohmann::json& description) {
    Add(description.value("serial", ""), "<serial>");
    AddChipId(description.value("chip_id", ""));
    const auto info = description.value("info", nlohmann::json::object());
    for (const auto& [key, value] : info.items()) {
        if (value.is_string() && key != kSeriesInfo) {
            Add(value, key == kSerialInfo ? "<serial>" : "<info-" + key + ">");
        }
    }
}

/// The line as a whole, its digits in one piece, and each number that is long enough to tell something.
void PrivateValues::AddChipId(const std::string& line) {
    Add(line, "<chip-id>");
    std::istringstream words(line);
    std::string digits;
    for (std::string word; words >> word;) {
        const std::string bare = Lower(word.substr(0, 2)) == "0x" ? word.substr(2) : word;
        digits += bare;
        if (bare.size() >= kShortestNumber) {
            Add(word, "<chip-id>");
            Add(bare, "<chip-id>");
        }
    }
    Add(digits, "<chip-id>");
}

void PrivateValues::AddSettings(const nlohmann::json& settings) {
    for (const auto& [key, value] : settings.items()) {
        const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
        if (IsPrivateKey(key) && !value.is_boolean() &&
            (value.is_string() || text.size() >= kShortestNumber)) {
            Add(text, "<private-setting>");
        }
    }
}

void PrivateValues::AddUser() {
    Add(Variable("HOME"), "<home>");
    Add(Variable("USER"), "<user>");
    Add(Variable("LOGNAME"), "<user>");
    if (const passwd* entry = getpwuid(getuid())) {
        const std::string person = entry->pw_gecos == nullptr ? "" : entry->pw_gecos;
        Add(entry->pw_name, "<user>");
        Add(entry->pw_dir, "<home>");
        Add(person.substr(0, person.find(',')), "<user>");
    }
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) {
        Add(host.data(), "<host>");
    }
}

std::string PrivateValues::Clean(std::string text) {
    std::string lower = Lower(text);
    for (const Value& value : m_values) {
        std::string cleaned;
        std::size_t from = 0;
        for (std::size_t at = 0; (at = Find(lower, value.text, from)) != std::string::npos;) {
            cleaned.append(text, from, at - from).append(value.placeholder);
            from = at + value.text.size();
            m_places[value.placeholder] = m_places.value(value.placeholder, 0) + 1;
        }
        if (from != 0) {
            text = cleaned.append(text, from);
            lower = Lower(text);
        }
    }
    return text;
}

Json PrivateValues::Clean(const Json& document) {
    if (document.is_string()) {
        return Clean(document.get<std::string>());
    }
    if (document.is_number() && document.dump().size() >= kShortestNumber) {
        const std::string number = document.dump();
        return Clean(number) == number ? document : Json(0);
    }
    if (!document.is_structured()) {
        return document;
    }
    Json cleaned = document.is_array() ? Json::array() : Json::object();
    for (const auto& [key, value] : document.items()) {
        if (document.is_array()) {
            cleaned.push_back(Clean(value));
        } else {
            cleaned[Clean(key)] = Clean(value);
        }
    }
    return cleaned;
}

bool PrivateValues::StandIn(const std::string& bytes) const {
    const std::string lower = Lower(bytes);
    return std::any_of(m_values.begin(), m_values.end(), [&lower](const Value& value) {
        return Find(lower, value.text, 0) != std::string::npos;
    });
}

std::size_t PrivateValues::Longest() const {
    return m_values.empty() ? 0 : m_values.front().text.size();
}

Json PrivateValues::TakenOut() const {
    Json list = Json::array();
    for (const auto& [placeholder, places] : m_places.items()) {
        list.push_back({{"what", placeholder}, {"places", places}});
    }
    return list;
}

}  // namespace cli
