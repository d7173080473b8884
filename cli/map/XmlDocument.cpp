#include "XmlDocument.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include "Characters.h"
#include "ExpatParser.h"

namespace kuramap {

namespace {

constexpr std::size_t kChunk = 256 * 1024;
constexpr std::size_t kBlock = 1024 * 1024;

/// The library reads no file of this size or more.
constexpr std::size_t kTooLarge = 0x7fffffff;

/// No element of a real map has more attributes; a document with more was made to exhaust its reader.
constexpr std::size_t kMostAttributes = 10000;

class FileHandle {
public:
    explicit FileHandle(int number) : m_number(number) {}
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() {
        if (m_number > STDERR_FILENO) {
            close(m_number);
        }
    }
    int Number() const { return m_number; }

private:
    int m_number;
};

int OpenFile(const std::string& path) {
    // Without O_NONBLOCK, opening a pipe that nobody writes to would block.
    const int number = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (number < 0) {
        Refuse(path, std::strerror(errno));
    }
    const FileHandle handle(number);
    struct stat status {};
    if (fstat(number, &status) != 0) {
        Refuse(path, std::strerror(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        Refuse(path, "is a folder, not a solution map");
    }
    if (!S_ISREG(status.st_mode)) {
        Refuse(path, "is not a regular file; use - to read standard input");
    }
    if (static_cast<std::size_t>(status.st_size) >= kTooLarge) {
        Refuse(path, "has 2 GiB or more, which a set does not read");
    }
    return dup(number);
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// The encoding that the first bytes show without a declaration; empty when they show none.
std::string EncodingByMark(std::string_view text) {
    if (text.substr(0, 2) == "\xff\xfe" || text.substr(0, 2) == std::string_view("<\0", 2)) {
        return "UTF-16LE";
    }
    if (text.substr(0, 2) == "\xfe\xff" || text.substr(0, 2) == std::string_view("\0<", 2)) {
        return "UTF-16BE";
    }
    return "";
}

}  // namespace

/// Fills a document from a text that arrives in pieces.
class XmlDocumentReader {
public:
    explicit XmlDocumentReader(XmlDocument& document)
        : m_document(document), m_parser(XML_ParserCreate(nullptr)) {
        if (m_parser == nullptr) {
            throw std::bad_alloc();
        }
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), OnStart, OnEnd);
        XML_SetCharacterDataHandler(m_parser.get(), OnText);
        XML_SetXmlDeclHandler(m_parser.get(), OnDeclaration);
    }

    /// Reads one more piece. False after an error, which ends the reading.
    bool Feed(std::string_view piece) {
        if (m_document.m_text.empty()) {
            m_mark = EncodingByMark(piece);
        }
        m_document.m_text.append(piece);
        const XML_Status status =
            XML_Parse(m_parser.get(), piece.data(), static_cast<int>(piece.size()), XML_FALSE);
        if (m_failure != nullptr) {
            std::rethrow_exception(m_failure);
        }
        if (status == XML_STATUS_ERROR) {
            m_document.m_error = ErrorHere();
        }
        return status != XML_STATUS_ERROR;
    }

    void Finish() {
        if (!m_mark.empty()) {
            m_document.m_encoding = m_mark;
        }
        if (m_document.m_error) {
            RefuseWhatIsNoDocument(XML_GetErrorCode(m_parser.get()), *m_document.m_error);
            return;
        }
        // The library never tells its parser that the text has ended, so it does not meet an error that is
        // found here.
        const bool isComplete = XML_Parse(m_parser.get(), "", 0, XML_TRUE) == XML_STATUS_OK;
        if (m_failure != nullptr) {
            std::rethrow_exception(m_failure);
        }
        if (!isComplete) {
            const ReadingError error = ErrorHere();
            RefuseWhatIsNoDocument(XML_GetErrorCode(m_parser.get()), error);
            m_document.m_unfinished = error;
        }
    }

private:
    ReadingError ErrorHere() const {
        const auto index = XML_GetCurrentByteIndex(m_parser.get());
        const std::size_t offset = index < 0 ? 0 : static_cast<std::size_t>(index);
        return {std::min(offset, m_document.m_text.size()),
                XML_ErrorString(XML_GetErrorCode(m_parser.get()))};
    }

    void RefuseWhatIsNoDocument(XML_Error code, const ReadingError& error) const {
        if (m_document.m_text.empty()) {
            Refuse(m_document.m_fileName, "is empty");
        }
        if (code == XML_ERROR_UNKNOWN_ENCODING) {
            Refuse(m_document.m_fileName, "has an encoding that a set does not read; write UTF-8");
        }
        if (code == XML_ERROR_AMPLIFICATION_LIMIT_BREACH) {
            Refuse(m_document.m_fileName, "expands entities without bounds; a set refuses it too");
        }
        if (m_document.m_elements.empty()) {
            const LineColumn place = m_document.LineColumnsOf({error.offset}).front();
            Refuse(m_document.m_fileName, "is not an XML document: " + error.reason + " at line " +
                                              std::to_string(place.line) + ", column " +
                                              std::to_string(place.column));
        }
    }

    /// Stores an exception, which Feed throws again: it must not pass the parser's frames, which are C.
    template <typename Work>
    void Guarded(Work work) {
        if (m_failure != nullptr) {
            return;
        }
        try {
            work();
        } catch (...) {
            m_failure = std::current_exception();
            XML_StopParser(m_parser.get(), XML_FALSE);
        }
    }

    std::size_t OffsetHere() const {
        return static_cast<std::size_t>(XML_GetCurrentByteIndex(m_parser.get()));
    }

    static void XMLCALL OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
        auto* reader = static_cast<XmlDocumentReader*>(self);
        reader->Guarded([&] { reader->Start(name, attributes); });
    }

    static void XMLCALL OnEnd(void* self, const XML_Char*) {
        // Expat still reports the end of an empty element after XML_StopParser, although its start was not
        // stored.
        auto* reader = static_cast<XmlDocumentReader*>(self);
        reader->Guarded([&] { reader->m_open.pop_back(); });
    }

    static void XMLCALL OnText(void* self, const XML_Char* text, int length) {
        auto* reader = static_cast<XmlDocumentReader*>(self);
        reader->Guarded([&] { reader->Text({text, static_cast<std::size_t>(length)}); });
    }

    static void XMLCALL OnDeclaration(void* self, const XML_Char*, const XML_Char* encoding, int) {
        auto* reader = static_cast<XmlDocumentReader*>(self);
        reader->Guarded([&] {
            if (encoding != nullptr) {
                reader->m_document.m_encoding = encoding;
            }
        });
    }

    void Start(const char* name, const char** attributes) {
        XmlDocument& document = m_document;
        Element element;
        element.offset = OffsetHere();
        element.name = document.Intern(name);
        element.parent = m_open.empty() ? kNoElement : m_open.back();
        element.firstAttribute = static_cast<std::uint32_t>(document.m_attributes.size());
        for (; *attributes != nullptr; attributes += 2) {
            document.m_attributes.push_back({document.Intern(attributes[0]), document.Keep(attributes[1])});
        }
        element.attributeCount =
            static_cast<std::uint32_t>(document.m_attributes.size()) - element.firstAttribute;
        if (element.attributeCount > kMostAttributes) {
            Refuse(document.m_fileName, "has an element with " + std::to_string(element.attributeCount) +
                                            " attributes; no solution map has");
        }
        m_open.push_back(static_cast<std::uint32_t>(document.m_elements.size()));
        document.m_elements.push_back(element);
    }

    void Text(std::string_view text) {
        const std::uint32_t element = m_open.empty() ? kNoElement : m_open.back();
        const bool isBlank = text.find_first_not_of(" \t\r\n") == std::string_view::npos;
        // The parser reports a text in several pieces; the first one of an element makes the entry.
        if (!isBlank && (m_document.m_texts.empty() || m_document.m_texts.back().element != element)) {
            const std::size_t blanks = text.find_first_not_of(" \t\r\n");
            m_document.m_texts.push_back({OffsetHere() + blanks * m_document.BytesPerUnit(), element});
        }
    }

    XmlDocument& m_document;
    Parser m_parser;
    std::string m_mark;
    std::vector<std::uint32_t> m_open;
    std::exception_ptr m_failure;
};

XmlDocument XmlDocument::Read(const std::string& path) {
    XmlDocument document;
    const bool isInput = path == "-";
    document.m_fileName = isInput ? "standard input" : path;
    const FileHandle file(isInput ? STDIN_FILENO : OpenFile(path));
    if (file.Number() < 0) {
        Refuse(document.m_fileName, std::strerror(errno));
    }
    XmlDocumentReader reader(document);
    std::vector<char> piece(kChunk);
    for (;;) {
        const ssize_t count = read(file.Number(), piece.data(), piece.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            Refuse(document.m_fileName, std::strerror(errno));
        }
        if (document.m_text.size() + static_cast<std::size_t>(count) >= kTooLarge) {
            Refuse(document.m_fileName, "has 2 GiB or more, which a set does not read");
        }
        if (count == 0 || !reader.Feed({piece.data(), static_cast<std::size_t>(count)})) {
            break;
        }
    }
    reader.Finish();
    return document;
}

XmlDocument XmlDocument::Parse(std::string text, const std::string& name) {
    XmlDocument document;
    document.m_fileName = name;
    XmlDocumentReader reader(document);
    const std::string_view all(text);
    for (std::size_t from = 0; from < all.size() && reader.Feed(all.substr(from, kChunk)); from += kChunk) {
    }
    reader.Finish();
    return document;
}

const Name* XmlDocument::Intern(std::string_view text) {
    const auto known = m_nameOf.find(text);
    if (known != m_nameOf.end()) {
        return known->second;
    }
    Name& name = m_names.emplace_back();
    name.text = text;
    name.lower = ToLower(text);
    name.id = static_cast<std::uint32_t>(m_names.size() - 1);
    m_nameOf.emplace(name.text, &name);
    return &name;
}

std::string_view XmlDocument::Keep(std::string_view value) {
    if (value.empty()) {
        return {};
    }
    if (value.size() > m_blockLeft) {
        const std::size_t size = std::max(kBlock, value.size());
        m_blocks.push_back(std::make_unique<char[]>(size));
        m_blockEnd = m_blocks.back().get();
        m_blockLeft = size;
    }
    char* const copy = m_blockEnd;
    std::memcpy(copy, value.data(), value.size());
    m_blockEnd += value.size();
    m_blockLeft -= value.size();
    return {copy, value.size()};
}

std::size_t XmlDocument::BytesPerUnit() const {
    return ToLower(m_encoding).rfind("utf-16", 0) == 0 ? 2 : 1;
}

std::size_t XmlDocument::LowByte() const {
    return m_encoding == "UTF-16BE" ? 1 : 0;
}

std::size_t XmlDocument::AttributeOffset(const Element& element, std::uint32_t index) const {
    const std::size_t unit = BytesPerUnit();
    const std::size_t low = LowByte();
    std::size_t at = element.offset;
    const auto here = [&] { return at + low < m_text.size() ? m_text[at + low] : '>'; };
    const auto skip = [&](bool (*isPassed)(char)) {
        while (at + low < m_text.size() && isPassed(here())) {
            at += unit;
        }
    };
    skip([](char c) { return !IsBlank(c) && c != '>'; });
    for (std::uint32_t i = element.firstAttribute;; ++i) {
        skip(IsBlank);
        if (i == index || at + low >= m_text.size()) {
            return std::min(at, m_text.size());
        }
        skip([](char c) { return c != '"' && c != '\''; });
        const char quote = here();
        at += unit;
        while (at + low < m_text.size() && here() != quote) {
            at += unit;
        }
        at += unit;
    }
}

std::vector<LineColumn> XmlDocument::LineColumnsOf(const std::vector<std::size_t>& offsets) const {
    std::vector<LineColumn> positions;
    positions.reserve(offsets.size());
    const std::size_t unit = BytesPerUnit();
    const std::size_t low = LowByte();
    const bool isUtf8 = ToLower(m_encoding) == "utf-8";
    std::size_t at = 0;
    if (m_text.compare(0, 3, "\xef\xbb\xbf") == 0) {
        at = 3;
    } else if (unit == 2 &&
               (m_text.compare(0, 2, "\xff\xfe") == 0 || m_text.compare(0, 2, "\xfe\xff") == 0)) {
        at = 2;
    }
    LineColumn here;
    for (const std::size_t offset : offsets) {
        for (; at < offset && at + unit <= m_text.size(); at += unit) {
            const auto c = static_cast<unsigned char>(m_text[at + low]);
            if (c == '\n' && (unit == 1 || m_text[at + 1 - low] == '\0')) {
                here = {here.line + 1, 1};
            } else if (!isUtf8 || (c & 0xC0) != 0x80) {
                ++here.column;
            }
        }
        positions.push_back(here);
    }
    return positions;
}

}  // namespace kuramap
