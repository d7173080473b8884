// An XML document as its author wrote it: every element and attribute with its place in the text. The library
// keeps neither names nor places, so the tool for authors reads by itself, with the same parser and the same
// rules about what is an error.
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

/// The file cannot be read as a document at all. what() names the file and the reason, in one line.
class Unreadable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A place in a document: line and column from 1, the column in characters.
struct LineColumn {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// A name that some element or attribute has; each spelling once a document.
struct Name {
    std::string text;
    std::string lower;     ///< what the library knows it by
    std::uint32_t id = 0;  ///< counts from 0 in a document
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
    std::uint32_t element = kNoElement;  ///< the element that it stands in
};

/// Where and why the reading ended early.
struct ReadingError {
    std::size_t offset = 0;
    std::string reason;
};

class XmlDocument {
public:
    /// Reads the file at path, or standard input for "-". Throws Unreadable for what is no XML document: a
    /// folder, a pipe, nothing but an error, an expansion of entities or a number of attributes without
    /// bounds.
    static XmlDocument Read(const std::string& path);

    /// The same for a text in memory; name stands for it in messages.
    static XmlDocument Parse(std::string text, const std::string& name);

    XmlDocument(XmlDocument&&) noexcept = default;
    XmlDocument& operator=(XmlDocument&&) noexcept = default;

    const std::string& FileName() const { return m_fileName; }
    /// The bytes read.
    const std::string& Source() const { return m_text; }
    const std::vector<Element>& Elements() const { return m_elements; }
    /// All attributes; an element's stand side by side, in the order written.
    const std::vector<Attribute>& Attributes() const { return m_attributes; }
    const std::vector<CharacterData>& Texts() const { return m_texts; }
    const std::deque<Name>& Names() const { return m_names; }

    /// Set when the document is not well-formed: what follows that place was not read.
    const std::optional<ReadingError>& Error() const { return m_error; }
    /// Set when the text ends before the root element does.
    const std::optional<ReadingError>& Unfinished() const { return m_unfinished; }
    /// The encoding that the document declares or shows; "UTF-8" without either.
    const std::string& Encoding() const { return m_encoding; }

    /// Where the name of an attribute stands; index as in Attributes().
    std::size_t AttributeOffset(const Element& element, std::uint32_t index) const;

    /// The places of offsets, in their order; offsets ascend.
    std::vector<LineColumn> LineColumnsOf(const std::vector<std::size_t>& offsets) const;

private:
    friend class XmlDocumentReader;

    XmlDocument() = default;
    const Name* Intern(std::string_view text);
    std::string_view Keep(std::string_view value);
    std::size_t BytesPerUnit() const;
    /// Of the bytes of a unit, the one that tells an ASCII character.
    std::size_t LowByte() const;

    std::string m_fileName;
    std::string m_text;
    std::string m_encoding = "UTF-8";
    std::vector<Element> m_elements;
    std::vector<Attribute> m_attributes;
    std::vector<CharacterData> m_texts;
    std::optional<ReadingError> m_error;
    std::optional<ReadingError> m_unfinished;

    // Deques and blocks never move what they hold, so views into them stay good.
    std::deque<Name> m_names;
    std::unordered_map<std::string_view, const Name*> m_nameOf;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_blockLeft = 0;
    char* m_blockEnd = nullptr;
};

}  // namespace kuramap
