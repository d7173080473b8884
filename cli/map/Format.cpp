#include "Format.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "Characters.h"
#include "ExpatParser.h"
#include "Meaning.h"
#include "SolutionMap.h"
#include "Vocabulary.h"

namespace kuramap {

namespace {

constexpr std::size_t kWidth = 110;
constexpr std::size_t kIndent = 4;

using Attributes = std::vector<std::pair<std::string, std::string>>;

/// Whether the attribute begins a new line in a solution, so that attributes that belong together share a
/// line.
bool BeginsLine(std::string_view name) {
    constexpr std::string_view kFirst[] = {"sid_issue", "sid_button1", "reboot", "toast1", "source"};
    return std::find(std::begin(kFirst), std::end(kFirst), name) != std::end(kFirst);
}

using References = std::initializer_list<std::pair<char, const char*>>;

/// What is escaped between tags. Parsers turn a literal CR into LF, so a CR here was written as a reference.
constexpr References kInText = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'\r', "&#13;"}};
/// What is escaped in the value of an attribute. Parsers turn a literal line break or tab there into a blank,
/// so one in the value was written as a reference.
constexpr References kInValue = {{'&', "&amp;"},  {'<', "&lt;"},   {'"', "&quot;"},
                                 {'\n', "&#10;"}, {'\r', "&#13;"}, {'\t', "&#9;"}};

std::string Escaped(std::string_view text, const References& references) {
    std::string escaped;
    for (const char c : text) {
        const auto found = std::find_if(references.begin(), references.end(),
                                        [c](const auto& reference) { return reference.first == c; });
        if (found == references.end()) {
            escaped += c;
        } else {
            escaped += found->second;
        }
    }
    return escaped;
}

/// The attributes of an element in the order and spelling of the canonical layout.
Attributes Arranged(const char** written, ElementKind kind) {
    const std::vector<std::string>& known = AttributeNames(kind);
    Attributes others;
    std::vector<const char*> values(known.size(), nullptr);
    for (; *written != nullptr; written += 2) {
        const auto name = std::find(known.begin(), known.end(), ToLower(written[0]));
        if (name == known.end()) {
            others.emplace_back(written[0], written[1]);
        } else {
            values[static_cast<std::size_t>(name - known.begin())] = written[1];
        }
    }
    Attributes arranged;
    for (std::size_t i = 0; i < known.size(); ++i) {
        if (values[i] != nullptr) {
            arranged.emplace_back(known[i], values[i]);
        }
    }
    arranged.insert(arranged.end(), others.begin(), others.end());
    return arranged;
}

/// Writes each node when the parser reports it.
class Writer {
public:
    std::string Write(std::string_view source) {
        const Parser parser(XML_ParserCreate(nullptr));
        if (parser == nullptr) {
            throw std::bad_alloc();
        }
        m_parser = parser.get();
        XML_SetUserData(m_parser, this);
        XML_SetElementHandler(m_parser, OnStart, OnEnd);
        XML_SetCharacterDataHandler(m_parser, OnText);
        XML_SetCommentHandler(m_parser, OnComment);
        XML_SetProcessingInstructionHandler(m_parser, OnInstruction);
        m_out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        XML_Parse(m_parser, source.data(), static_cast<int>(source.size()), XML_TRUE);
        if (m_failure != nullptr) {
            std::rethrow_exception(m_failure);
        }
        return std::move(m_out);
    }

private:
    struct Open {
        std::string name;
        bool hasContent = false;
    };

    template <typename Work>
    static void Guarded(void* self, Work work) {
        auto* writer = static_cast<Writer*>(self);
        if (writer->m_failure != nullptr) {
            return;
        }
        try {
            work(*writer);
        } catch (...) {
            writer->m_failure = std::current_exception();
            XML_StopParser(writer->m_parser, XML_FALSE);
        }
    }

    static void XMLCALL OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
        Guarded(self, [&](Writer& writer) { writer.Start(name, attributes); });
    }
    static void XMLCALL OnEnd(void* self, const XML_Char*) {
        Guarded(self, [](Writer& writer) { writer.End(); });
    }
    static void XMLCALL OnText(void* self, const XML_Char* text, int length) {
        Guarded(self, [&](Writer& writer) { writer.m_text.append(text, static_cast<std::size_t>(length)); });
    }
    static void XMLCALL OnComment(void* self, const XML_Char* text) {
        Guarded(self, [&](Writer& writer) {
            writer.BeginNode(false);
            writer.m_out += "<!--" + std::string(text) + "-->\n";
            writer.m_wasComment = true;
        });
    }
    static void XMLCALL OnInstruction(void* self, const XML_Char* target, const XML_Char* data) {
        Guarded(self, [&](Writer& writer) {
            writer.BeginNode(false);
            writer.m_out += "<?" + std::string(target) + (*data == '\0' ? "" : " ") + data + "?>\n";
        });
    }

    std::string Margin() const { return std::string(kIndent * m_open.size(), ' '); }

    /// Writes what comes before a node: the ">" of the parent's tag, pending text, a blank line, the margin.
    void BeginNode(bool isSolution) {
        // Only the line breaks behind the text count, because the text gets a line of its own.
        const std::size_t textEnd = m_text.find_last_not_of(" \t\r\n") + 1;
        const auto breaks =
            std::count(m_text.begin() + static_cast<std::ptrdiff_t>(textEnd), m_text.end(), '\n');
        CloseParentTag();
        WriteText();
        const bool isFirst = m_isFirst;
        m_isFirst = false;
        const bool isBelowRoot = m_open.size() == 1;
        // No blank line between a solution and a comment right above it.
        const bool isOwnGroup = isSolution && isBelowRoot && !(m_wasComment && breaks < 2);
        if (!isFirst && (isOwnGroup || (isBelowRoot && breaks > 1))) {
            m_out += "\n";
        }
        m_wasComment = false;
        m_out += Margin();
    }

    void CloseParentTag() {
        if (!m_open.empty() && !m_open.back().hasContent) {
            m_open.back().hasContent = true;
            m_out += ">\n";
        }
    }

    void WriteText() {
        const std::string_view text = Trimmed(m_text);
        if (!text.empty()) {
            m_out += Margin() + Escaped(text, kInText) + "\n";
        }
        m_text.clear();
    }

    void Start(const char* written, const char** attributes) {
        const std::string lower = ToLower(written);
        const ElementKind kind = KindOfElement(lower);
        const std::string name = kind == ElementKind::kUnknown ? written : lower;
        BeginNode(kind == ElementKind::kSolution);
        m_out += "<" + name;
        std::size_t column = kIndent * m_open.size() + 1 + name.size();
        const std::size_t aligned = column + 1;
        bool isFirst = true;
        for (const auto& [key, value] : Arranged(attributes, kind)) {
            const std::string text = key + "=\"" + Escaped(value, kInValue) + "\"";
            const bool isNewLine = !isFirst && ((kind == ElementKind::kSolution && BeginsLine(key)) ||
                                                column + 1 + text.size() > kWidth);
            m_out += isNewLine ? "\n" + std::string(aligned, ' ') : " ";
            m_out += text;
            column = (isNewLine ? aligned : column + 1) + text.size();
            isFirst = false;
        }
        m_open.push_back({name, false});
        m_isFirst = true;
    }

    void End() {
        const bool hasText = !Trimmed(m_text).empty();
        if (hasText) {
            CloseParentTag();
            WriteText();
        }
        m_text.clear();
        const Open element = std::move(m_open.back());
        m_open.pop_back();
        m_out += element.hasContent ? Margin() + "</" + element.name + ">\n" : "/>\n";
        m_isFirst = false;
        m_wasComment = false;
    }

    XML_Parser m_parser = nullptr;
    std::string m_out;
    std::string m_text;  // the text since the last node
    std::vector<Open> m_open;
    bool m_isFirst = true;
    bool m_wasComment = false;
    std::exception_ptr m_failure;
};

[[noreturn]] void RefuseAt(const XmlDocument& document, const ReadingError& error) {
    const LineColumn place = document.LineColumnsOf({error.offset}).front();
    throw Unreadable(document.FileName() + ":" + std::to_string(place.line) + ":" +
                     std::to_string(place.column) + ": " + error.reason +
                     "; mend the XML before it can be formatted");
}

}  // namespace

std::string Format(const XmlDocument& document) {
    if (document.Error()) {
        RefuseAt(document, *document.Error());
    }
    if (document.Unfinished()) {
        RefuseAt(document, *document.Unfinished());
    }
    std::string text = Writer().Write(document.Source());
    const XmlDocument again = XmlDocument::Parse(text, document.FileName());
    if (!(MeaningOf(SolutionMap(again)) == MeaningOf(SolutionMap(document)))) {
        throw Unreadable(document.FileName() + ": cannot be formatted without changing what it says");
    }
    return text;
}

}  // namespace kuramap
