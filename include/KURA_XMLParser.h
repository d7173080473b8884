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
    /// Appends length bytes; does nothing for a length below 1 or a null data. data may point into the
    /// buffer. The capacity starts at 1 byte and doubles. Beyond 2147483647 bytes it throws std::length_error
    /// "vector::_M_realloc_insert" and keeps the bytes held as they were.
    void InsertData(const char* data, int length);

    /// The first byte; may be null while the buffer is empty. Valid until the next InsertData.
    const char* GetData() const;

    /// Bytes held.
    int GetDataSize() const;

    /// Removes the bytes and keeps the capacity.
    void Clear();

private:
    std::vector<char> m_bytes;
};

/// Reads documents. Parse leaves no state behind in the parser. The caller serialises calls that share a map.
class KURA_API TCXMLParser {
public:
    /// The attributes of one start tag. Names are kept in lower case, values as written. A getter compares
    /// its name byte for byte with the kept ones, so a name with a capital is never found; it returns false
    /// for an absent name and then leaves the output untouched.
    class KURA_API TCAttributes {
    public:
        TCAttributes() = default;
        /// The copy owns its texts, also when the original borrowed them.
        TCAttributes(const TCAttributes& other);
        /// The result owns its texts, also when other borrowed them.
        TCAttributes& operator=(const TCAttributes& other);
        ~TCAttributes() = default;

        /// Stores value under the lower-cased name, in place of an earlier value of that name.
        void Insert(std::string name, const std::string& value);

        /// The text as written.
        bool GetValue(const std::string& name, std::string& value) const;
        /// Base-10 strtoul of a 32-bit machine: saturates at 4294967295, junk gives 0.
        bool GetValue(const std::string& name, unsigned long long& value) const;
        /// True when strtod consumes the whole text, else false with the output untouched. An empty text is
        /// 0.0.
        bool GetValue(const std::string& name, double& value) const;
        /// False for "false" and "0" in any letter case, true for every other text.
        bool GetValue(const std::string& name, bool& value) const;
        /// sscanf "%u" of a 32-bit machine. Also true when the text holds no number; the output is then
        /// untouched.
        bool GetValue(const std::string& name, unsigned int& value) const;
        /// sscanf "%d" of a 32-bit machine. Also true when the text holds no number; the output is then
        /// untouched.
        bool GetValue(const std::string& name, int& value) const;

        /// Whether the attribute's value equals value in any letter case; false for an absent one.
        bool HasAttrOfValue(const std::string& name, std::string value) const;

    private:
        friend class TCXMLParser;

        /// Borrows Expat's name/value pairs for the duration of one callback, so that a parse copies only the
        /// texts that a record keeps.
        explicit TCAttributes(const char** pairs) : m_borrowed(pairs) {}

        /// Copies what is borrowed.
        void m_Own();

        /// False with value untouched for an absent name. A zero byte always follows the text of value.
        bool m_Find(const std::string& name, std::string_view& value) const;

        /// Finds the values of count lower-case names in one pass over the borrowed pairs. The value of an
        /// absent name stays untouched.
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
        std::string currentElement;  ///< the last start tag, in lower case
    };

    /// Registers the handlers of the four tags.
    TCXMLParser();

    /// Empties map.solutions, then fills the map from text. Version and count keep their values when the
    /// document names none. Malformed text is logged and returns false; the map keeps what was read before
    /// the error. A text that is cut off, but correct so far, parses. A value element before any solution
    /// throws std::out_of_range.
    bool Parse(const std::string& text, KURA_SolutionMap& map) const;

    // Callbacks in Expat's shape; context is a TSParsingContext. They return at once on null arguments.

    /// A start tag; attributes is a null-ended run of name, value pairs.
    static void m_StartXmlElement(void* context, const char* name, const char** attributes);
    /// An end tag.
    static void m_EndXmlElement(void* context, const char* name);
    /// The text of an element, or a piece of it. length counts no terminating zero byte.
    static void m_SetCharacterData(void* context, const char* text, int length);

    /// Takes the version from the attribute "version"; 0 when it is absent.
    static void m_HandleSMInfoTag(KURA_SolutionMap& map, const TCAttributes& attributes);
    /// Takes the declared count from the attribute "cnt"; 0 when it is absent.
    static void m_HandleSolutionMapTag(KURA_SolutionMap& map, const TCAttributes& attributes);
    /// Appends a solution. An absent attribute becomes an empty text.
    static void m_HandleSolutionTag(KURA_SolutionMap& map, const TCAttributes& attributes);
    /// Appends a value to the last solution. Throws std::out_of_range when the map has no solution.
    static void m_HandleSolutionValTag(KURA_SolutionMap& map, const TCAttributes& attributes);

private:
    std::map<std::string, std::function<void(KURA_SolutionMap&, const TCAttributes&)>> m_startTags;
    std::map<std::string, std::function<void(KURA_SolutionMap&, const TCElements&)>> m_elementData;
};

}  // namespace KURA
