// Reads the text of a solution-map document into a KURA_SolutionMap.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "KURA_Export.h"
#include "KURA_SolutionMap.h"

namespace KURA {

/// A growable run of bytes.
class KURA_API TCParserDataBuffer {
public:
    /// Appends length bytes; nothing for a length below 1. The capacity doubles, starting at 1 byte; beyond
    /// 2147483647 bytes std::length_error "vector::_M_realloc_insert", the bytes held staying as they were.
    void InsertData(const char* data, int length);

    /// The first byte; may be null while the buffer is empty. Valid until the next InsertData.
    const char* GetData() const;

    /// Bytes held.
    int GetDataSize() const;

    /// Forgets the bytes and keeps the capacity.
    void Clear();

private:
    std::vector<char> m_bytes;
};

/// One parser serves one document: created, used for one Parse, destroyed. Parse leaves no state behind.
class KURA_API TCXMLParser {
public:
    /// The attributes of one start tag. Names are kept in lower case, values as written. A getter compares
    /// its name byte for byte with the kept ones, so a name with a capital is never found; it returns false
    /// for an absent name and then leaves the output untouched.
    class KURA_API TCAttributes {
    public:
        TCAttributes() = default;
        /// A copy owns its texts, whatever the original borrowed.
        TCAttributes(const TCAttributes& other);
        /// Like the copy, it owns its texts.
        TCAttributes& operator=(const TCAttributes& other);
        ~TCAttributes() = default;

        /// Lower-cases name; the last value of a name wins.
        void Insert(std::string name, const std::string& value);

        /// The text as written.
        bool GetValue(const std::string& name, std::string& value) const;
        /// Base-10 strtoul of a 32-bit machine: saturates at 4294967295, junk gives 0.
        bool GetValue(const std::string& name, unsigned long long& value) const;
        /// False, the output untouched, unless strtod consumes the whole text; an empty text is 0.0.
        bool GetValue(const std::string& name, double& value) const;
        /// False for "false" and "0" in any letter case, true for every other text.
        bool GetValue(const std::string& name, bool& value) const;
        /// "%u" of a 32-bit machine; true, the output untouched, when there is no number.
        bool GetValue(const std::string& name, unsigned int& value) const;
        /// "%d" of a 32-bit machine; true, the output untouched, when there is no number.
        bool GetValue(const std::string& name, int& value) const;

        /// Whether the attribute's value equals value in any letter case; false for an absent one.
        bool HasAttrOfValue(const std::string& name, std::string value) const;

    private:
        friend class TCXMLParser;

        /// Borrows Expat's name/value pairs for the length of one callback, so that a parse copies no text
        /// that no record keeps.
        explicit TCAttributes(const char** pairs) : m_borrowed(pairs) {}

        /// Copies what is borrowed.
        void m_Own();

        /// False, the value untouched, for an absent name. A value is always followed by a zero byte.
        bool m_Find(const std::string& name, std::string_view& value) const;

        /// The values of count lower-case names in one pass over borrowed pairs; absent ones stay untouched.
        void m_FindAll(const char* const* names, std::size_t count, std::string_view* values) const;

        const char** m_borrowed = nullptr;
        std::map<std::string, std::string, std::less<>> m_owned;
    };

    /// Element texts by element name, and the element that is current.
    class KURA_API TCElements {
    public:
        /// Sets or overwrites the text of name.
        void InsertElementData(const std::string& name, const std::string& data);
        /// False, the output untouched, for an unknown name.
        bool GetElementData(const std::string& name, std::string& data) const;
        /// Remembers the element that is current.
        void SetCurrentElement(const std::string& name);
        /// Hands back the element that is current; empty before the first.
        void GetCurrentElement(std::string& name) const;

    private:
        std::map<std::string, std::string> m_elements;
        std::string m_current_element;
    };

    /// What the callbacks receive as their context.
    struct TSParsingContext {
        const TCXMLParser* parser;   ///< not owned
        KURA_SolutionMap* map;       ///< filled; not owned
        std::string currentElement;  ///< lower case; of the start tag seen last
    };

    /// Knows its tags' handlers from the beginning.
    TCXMLParser();

    /// Empties map.solutions, then fills the map from text; version and count stay where the document names
    /// none. False, logged, on malformed text: what was read before the error stays in the map. Text that
    /// only lacks its end parses. A value element before any solution throws std::out_of_range.
    bool Parse(const std::string& text, KURA_SolutionMap& map) const;

    // Callbacks in Expat's shape; context is a TSParsingContext. They return at once on null arguments.

    /// A start tag; attributes is a null-ended run of name, value pairs.
    static void m_StartXmlElement(void* context, const char* name, const char** attributes);
    /// An end tag.
    static void m_EndXmlElement(void* context, const char* name);
    /// The text of an element, or a piece of it; length without a zero byte behind it.
    static void m_SetCharacterData(void* context, const char* text, int length);

    /// Takes the version from "version"; 0 without one.
    static void m_HandleSMInfoTag(KURA_SolutionMap& map, const TCAttributes& attributes);
    /// Takes the declared count from "cnt"; 0 without one.
    static void m_HandleSolutionMapTag(KURA_SolutionMap& map, const TCAttributes& attributes);
    /// Appends a solution; an attribute that is absent is an empty text.
    static void m_HandleSolutionTag(KURA_SolutionMap& map, const TCAttributes& attributes);
    /// std::out_of_range while the map has no solution.
    static void m_HandleSolutionValTag(KURA_SolutionMap& map, const TCAttributes& attributes);

private:
    std::map<std::string, std::function<void(KURA_SolutionMap&, const TCAttributes&)>> m_startTags;
    std::map<std::string, std::function<void(KURA_SolutionMap&, const TCElements&)>> m_elementData;
};

}  // namespace KURA
