// An XML document as its author wrote it: every element and attribute with its place in the text. The tool
// reads documents itself, because the library keeps neither names nor places. It uses the same parser as the
// library and reports the same errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kuramap {

/// Thrown when a file cannot be read at all. what() names the file and the reason in one line.
class Unreadable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws Unreadable "FILE: REASON".
[[noreturn]] inline void Refuse(const std::string& file, const std::string& reason) {
    throw Unreadable(file + ": " + reason);
}

/// A place in a document: line and column from 1, the column in characters.
struct LineColumn {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// The name of elements or attributes. A document keeps each spelling once.
struct Name {
    std::string text;
    std::string lower;     ///< in lower case, as the library compares it
    std::uint32_t id = 0;  ///< from 0, in the order of first use
};

struct Attribute {
    const Name* name = nullptr;
    std::string_view value;  ///< as the library gets it: references expanded, UTF-8
};

constexpr std::uint32_t kNoElement = UINT32_MAX;

struct Element {
    std::size_t offset = 0;  ///< of its "<"
    const Name* name = nullptr;
    std::uint32_t parent = kNoElement;
    std::uint32_t firstAttribute = 0;
    std::uint32_t attributeCount = 0;
};

/// Text between tags that is not blank.
struct CharacterData {
    std::size_t offset = 0;
    std::uint32_t element = kNoElement;  ///< the element in which it stands
};

/// Where and why the reading ended early.
struct ReadingError {
    std::size_t offset = 0;
    std::string reason;
};

class XmlDocument {
public:
    /// Reads the file at path, or standard input for "-". Throws Unreadable for a folder, a pipe, a file
    /// without any element, and a document whose entities or attributes exhaust memory.
    static XmlDocument Read(const std::string& path);

    /// Reads a text in memory. Messages call it name. Throws Unreadable like Read.
    static XmlDocument Parse(std::string text, const std::string& name);

    XmlDocument(XmlDocument&&) noexcept = default;
    XmlDocument& operator=(XmlDocument&&) noexcept = default;

    const std::string& FileName() const { return m_fileName; }
    /// The bytes read.
    const std::string& Source() const { return m_text; }
    const std::vector<Element>& Elements() const { return m_elements; }
    /// The attributes of all elements. Those of one element stand side by side, in the order written.
    const std::vector<Attribute>& Attributes() const { return m_attributes; }
    const std::vector<CharacterData>& Texts() const { return m_texts; }
    const std::deque<Name>& Names() const { return m_names; }

    /// Set when the document is not well-formed. Nothing behind that place was read.
    const std::optional<ReadingError>& Error() const { return m_error; }
    /// Set when the text ends before the root element does.
    const std::optional<ReadingError>& Unfinished() const { return m_unfinished; }
    /// The encoding by the byte order mark or the declaration; "UTF-8" without both.
    const std::string& Encoding() const { return m_encoding; }

    /// The offset of an attribute's name; index as in Attributes().
    std::size_t AttributeOffset(const Element& element, std::uint32_t index) const;

    /// The line and column of each offset. The offsets must ascend.
    std::vector<LineColumn> LineColumnsOf(const std::vector<std::size_t>& offsets) const;

private:
    friend class XmlDocumentReader;

    XmlDocument() = default;
    const Name* Intern(std::string_view text);
    std::string_view Keep(std::string_view value);
    std::size_t BytesPerUnit() const;
    /// Which byte of a unit holds an ASCII character.
    std::size_t LowByte() const;

    std::string m_fileName;
    std::string m_text;
    std::string m_encoding = "UTF-8";
    std::vector<Element> m_elements;
    std::vector<Attribute> m_attributes;
    std::vector<CharacterData> m_texts;
    std::optional<ReadingError> m_error;
    std::optional<ReadingError> m_unfinished;

    // A deque and a block never move their contents, so views into them stay valid.
    std::deque<Name> m_names;
    std::unordered_map<std::string_view, const Name*> m_nameOf;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_blockLeft = 0;
    char* m_blockEnd = nullptr;
};

}  // namespace kuramap
