#include "Document.h"

#include <cstddef>
#include <iterator>
#include <system_error>
#include <utility>
#include <vector>

#include "ScenarioError.h"
#include "support/Files.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargest = std::uintmax_t{16} << 20;
constexpr std::size_t kDeepest = 64;
/// The limit of one object, because its members are searched one by one.
constexpr std::size_t kMostMembers = 10000;

/// How far the parser has read. It also reads the character behind a number, which may be a line feed; the
/// token before that belongs to the line before.
struct Position {
    int line = 1;
    char last = '\0';

    int OfLastToken() const { return last == '\n' ? line - 1 : line; }
};

/// Reads characters and counts lines. The parser copies the reader, so the count lies outside of it.
class CountingReader {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingReader(const char* at, Position* position) : m_at(at), m_position(position) {}

    reference operator*() const { return *m_at; }
    CountingReader& operator++() {
        m_position->last = *m_at;
        m_position->line += *m_at == '\n' ? 1 : 0;
        ++m_at;
        return *this;
    }
    CountingReader operator++(int) {
        CountingReader old = *this;
        ++*this;
        return old;
    }
    bool operator==(const CountingReader& other) const { return m_at == other.m_at; }
    bool operator!=(const CountingReader& other) const { return m_at != other.m_at; }

private:
    const char* m_at;
    Position* m_position;
};

/// The text of a place. Lines are stored by this text, because it takes far less memory than a JsonPlace.
std::string Child(const std::string& pointer, const std::string& name) {
    return pointer + (JsonPlace() / name).to_string();
}

/// Builds the value while it notes the line of each part. A member's line is that of its name.
class Builder : public nlohmann::json_sax<Json> {
public:
    Builder(const Position& position, std::map<std::string, int>& lines)
        : m_position(position), m_lines(lines) {}

    Json root;
    std::string failure;
    int failureLine = 0;

    bool null() override { return Add(nullptr); }
    bool boolean(bool value) override { return Add(value); }
    bool number_integer(number_integer_t value) override { return Add(value); }
    bool number_unsigned(number_unsigned_t value) override { return Add(value); }
    bool number_float(number_float_t value, const string_t&) override { return Add(value); }
    bool string(string_t& value) override { return Add(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(Json::object()); }
    bool start_array(std::size_t) override { return Open(Json::array()); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }

    bool key(string_t& name) override {
        Frame& frame = m_frames.back();
        frame.name = name;
        const std::string place = Child(frame.pointer, name);
        const auto [known, fresh] = m_lines.emplace(place, Line());
        if (!fresh) {
            return Fail(support::PlaceInWords(JsonPlace(place), root) + ": is there twice, first in line " +
                        std::to_string(known->second));
        }
        if (frame.value->size() == kMostMembers) {
            return Fail(support::PlaceInWords(JsonPlace(frame.pointer), root) + ": has more than " +
                        std::to_string(kMostMembers) + " members");
        }
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override {
        // "[json.exception.parse_error.101] parse error at line 3, column 5: what is wrong"
        const std::string text = error.what();
        const std::size_t at = text.find(": ");
        return Fail("is not JSON: " + (at == std::string::npos ? text : text.substr(at + 2)));
    }

private:
    int Line() const { return m_position.OfLastToken(); }

    struct Frame {
        Json* value;
        std::string pointer;
        std::string name;  ///< of the member that comes next, in an object
    };

    bool Fail(const std::string& text) {
        failure = text;
        failureLine = Line();
        return false;
    }

    /// Stores the value at its place. Null when no value may stand there.
    Json* Put(Json value, std::string& pointer) {
        if (m_frames.empty()) {
            root = std::move(value);
            m_lines[""] = Line();
            return &root;
        }
        Frame& frame = m_frames.back();
        if (frame.value->is_array()) {
            pointer = frame.pointer + "/" + std::to_string(frame.value->size());
            m_lines[pointer] = Line();
            frame.value->push_back(std::move(value));
            return &frame.value->back();
        }
        pointer = Child(frame.pointer, frame.name);
        Json& member = (*frame.value)[frame.name];
        member = std::move(value);
        return &member;
    }

    bool Add(Json value) {
        std::string pointer;
        Put(std::move(value), pointer);
        return true;
    }

    bool Open(Json value) {
        if (m_frames.size() == kDeepest) {
            return Fail("is nested more than " + std::to_string(kDeepest) + " levels deep");
        }
        std::string pointer;
        Json* placed = Put(std::move(value), pointer);
        m_frames.push_back({placed, pointer, {}});
        return true;
    }

    bool Close() {
        m_frames.pop_back();
        return true;
    }

    const Position& m_position;
    std::map<std::string, int>& m_lines;
    std::vector<Frame> m_frames;
};

std::string ReadText(const fs::path& path) {
    const auto refuse = [&path](const std::string& complaint) -> ScenarioError {
        return ScenarioError(path.string() + ": " + complaint);
    };
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        throw refuse(status.type() == fs::file_type::not_found ? "no such file"
                                                               : "cannot be read: " + error.message());
    }
    if (fs::is_directory(status)) {
        throw refuse("is a folder, not a scenario");
    }
    if (!fs::is_regular_file(status)) {
        throw refuse("is not a regular file");
    }
    if (fs::file_size(path, error) > kLargest) {
        throw refuse("is larger than a scenario may be (16 MiB)");
    }
    const auto text = support::ReadFile(path);
    if (!text) {
        throw refuse("cannot be read");
    }
    return *text;
}

}  // namespace

Document Document::Read(const fs::path& path) {
    return Parse(ReadText(path), path.string());
}

Document Document::Parse(const std::string& text, const std::string& file) {
    if (text.find('\0') != std::string::npos) {
        throw ScenarioError(file + ": is a binary file, not JSON");
    }
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        throw ScenarioError(file + ": is empty");
    }
    Document document;
    document.m_file = file;
    Position position;
    Builder builder(position, document.m_lines);
    const char* begin = text.data();
    if (!Json::sax_parse(CountingReader(begin, &position), CountingReader(begin + text.size(), &position),
                         &builder)) {
        throw ScenarioError(file + ":" + std::to_string(builder.failureLine) + ": " + builder.failure);
    }
    document.m_root = std::move(builder.root);
    return document;
}

void Document::Complain(const JsonPlace& place, const std::string& complaint) const {
    auto line = m_lines.find(place.to_string());
    for (JsonPlace around = place; line == m_lines.end() && !around.empty();) {
        around.pop_back();
        line = m_lines.find(around.to_string());
    }
    const std::string words = support::PlaceInWords(place, m_root);
    throw ScenarioError(m_file + ":" + std::to_string(line == m_lines.end() ? 1 : line->second) + ": " +
                        (words.empty() ? "" : words + ": ") + complaint);
}

}  // namespace scenario
