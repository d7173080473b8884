// The memory of a parse. This program stands in front of Expat's creation, stop and release of a parser and
// of operator new, so it can count parsers and stops, give Expat memory of its own, and refuse the n-th piece
// of either.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"
#include "RefusedMemory.h"
#include "dlog.h"

using fakes::refusal;
using KURA::KURA_SolutionMap;
using KURA::TCXMLParser;

namespace {

void* g_huge = nullptr;
int g_parsers = 0;
int g_parsersMade = 0;
int g_stops = 0;
int g_expatPieces = 0;
const char* g_encoding = "none asked for yet";

constexpr std::size_t kHuge = std::size_t{1} << 30;
constexpr std::size_t kWindow = std::size_t{1} << 22;

/// Address space of any size in front of the same few pages, so that a text of 2 GiB costs no memory.
void* MapHuge(std::size_t size) {
    const std::size_t whole = (size / kWindow + 1) * kWindow;
    auto* base = static_cast<char*>(
        mmap(nullptr, whole, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    const int file = memfd_create("window", MFD_CLOEXEC);
    if (base == MAP_FAILED || file < 0 || ftruncate(file, static_cast<off_t>(kWindow)) != 0) {
        throw std::bad_alloc();
    }
    for (std::size_t at = 0; at < whole; at += kWindow) {
        if (mmap(base + at, kWindow, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED) {
            throw std::bad_alloc();
        }
    }
    close(file);
    g_huge = base;
    return base;
}

void* ExpatMalloc(std::size_t size) {
    void* piece = refusal.Strikes() ? nullptr : std::malloc(size);
    g_expatPieces += piece != nullptr ? 1 : 0;
    return piece;
}

void* ExpatRealloc(void* old, std::size_t size) {
    if (refusal.Strikes()) {
        return nullptr;
    }
    g_expatPieces += old == nullptr ? 1 : 0;
    return std::realloc(old, size);
}

void ExpatFree(void* piece) {
    g_expatPieces -= piece != nullptr ? 1 : 0;
    std::free(piece);
}

struct MemorySuite {
    void* (*allocate)(std::size_t);
    void* (*reallocate)(void*, std::size_t);
    void (*release)(void*);
};

const MemorySuite kSuite = {ExpatMalloc, ExpatRealloc, ExpatFree};

template <typename Function>
Function* NextOf(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

constexpr const char* kDocument =
    "<m><sminfo version='1'/><sm cnt='2'/>"
    "<solution issue_code='1' sol_name='a text that is too long for its record to hold inside'>"
    "<sol_val param_value='a value that is too long for its record to hold inside' "
    "param_type='t'/></solution>"
    "<an_unknown_element_with_a_long_name/>"
    "<solution sid_issue='another text that is too long for its record to hold inside'/></m>";

}  // namespace

extern "C" __attribute__((visibility("default"))) void* XML_ParserCreate(const char* encoding) {
    static auto* create = NextOf<void*(const char*, const MemorySuite*, const char*)>("XML_ParserCreate_MM");
    g_encoding = encoding;
    void* parser = create(encoding, &kSuite, nullptr);
    g_parsers += parser != nullptr ? 1 : 0;
    g_parsersMade += parser != nullptr ? 1 : 0;
    return parser;
}

extern "C" __attribute__((visibility("default"))) void XML_ParserFree(void* parser) {
    static auto* release = NextOf<void(void*)>("XML_ParserFree");
    g_parsers -= parser != nullptr ? 1 : 0;
    release(parser);
}

extern "C" __attribute__((visibility("default"))) int XML_StopParser(void* parser, unsigned char resumable) {
    static auto* stop = NextOf<int(void*, unsigned char)>("XML_StopParser");
    ++g_stops;
    return stop(parser, resumable);
}

TEST(ParseMemory, FreesTheParserOnEveryPath) {
    KURA_SolutionMap map;
    EXPECT_TRUE(TCXMLParser().Parse(kDocument, map));
    EXPECT_EQ(g_parsers, 0);
    EXPECT_FALSE(TCXMLParser().Parse("<a></b>", map));
    EXPECT_EQ(g_parsers, 0);
    EXPECT_THROW(TCXMLParser().Parse("<sol_val/>", map), std::out_of_range);
    EXPECT_EQ(g_parsers, 0);
    EXPECT_EQ(g_parsersMade, 3) << "the count sees the library's parsers";
    EXPECT_EQ(g_expatPieces, 0);
}

TEST(ParseMemory, LeavesTheEncodingToTheDocument) {
    for (const char* text : {kDocument, "<?xml version='1.0' encoding='ISO-8859-1'?><m/>"}) {
        g_encoding = "none asked for yet";
        KURA_SolutionMap map;
        EXPECT_TRUE(TCXMLParser().Parse(text, map));
        EXPECT_EQ(g_encoding, nullptr) << text;
    }
}

TEST(ParseMemory, LogsThatNoParserCouldBeCreated) {
    KURA_SolutionMap map;
    map.version = 5;
    map.count = 6;
    map.solutions.emplace_back("1", "", "", "", "", "", "", "", "", "", "", "", "", "", "");
    const TCXMLParser parser;
    const std::string text = "<m/>";
    refusal.Begin(0);
    const bool parsed = parser.Parse(text, map);
    refusal.End();
    EXPECT_FALSE(parsed);
    EXPECT_EQ(fakes::Set().Messages(), std::vector<std::string>{"Couldnt create parser"});
    EXPECT_TRUE(fakes::Set().Logged(DLOG_ERROR, "Couldnt create parser"));
    EXPECT_EQ(fakes::Set().log.at(0).function, "Parse");
    EXPECT_TRUE(map.solutions.empty());
    EXPECT_EQ(map.version, 5);
    EXPECT_EQ(map.count, 6U);
}

TEST(ParseMemory, LosesNothingWhicheverPieceIsRefused) {
    fakes::Set().keepRecords = false;
    const TCXMLParser parser;
    const std::string text = kDocument;
    int refused = 0;
    int thrown = 0;
    bool struck = true;
    for (std::size_t n = 0; struck; ++n) {
        KURA_SolutionMap map;
        bool parsed = true;
        refusal.Begin(n);
        try {
            parsed = parser.Parse(text, map);
            refused += parsed ? 0 : 1;
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
        struck = refusal.End();
        ASSERT_EQ(g_parsers, 0) << "piece " << n;
        ASSERT_EQ(g_expatPieces, 0) << "piece " << n;
        ASSERT_TRUE(struck || (parsed && map.solutions.size() == 2)) << "with every piece it parses";
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(thrown, 0);
}

TEST(ParseMemory, MakesNoRoomForADeclaredCount) {
    const TCXMLParser parser;
    KURA_SolutionMap map;
    EXPECT_TRUE(parser.Parse("<m><sm cnt='4294967295'/><solution/></m>", map));
    EXPECT_EQ(map.count, 4294967295U);
    EXPECT_LE(map.solutions.capacity(), 2U);
}

TEST(ParseMemory, KeepsRoomForTheSolutionsAndNotForTheRestOfTheText) {
    const std::string comment = "<!--" + std::string(5000000, 'x') + "-->";
    const struct {
        std::string text;
        std::size_t solutions;
    } rows[] = {{"<m>" + comment + "<solution/></m>", 1},
                {"<m>" + comment + "</m>", 0},
                {"<m><solution/><solution/>" + comment + "</wrong>", 2}};
    for (const auto& row : rows) {
        KURA_SolutionMap map;
        TCXMLParser().Parse(row.text, map);
        EXPECT_EQ(map.solutions.size(), row.solutions);
        EXPECT_LE(map.solutions.capacity(), 2 * row.solutions);
    }
    KURA_SolutionMap map;
    EXPECT_THROW(TCXMLParser().Parse("<m>" + comment + "<sol_val/></m>", map), std::out_of_range);
    EXPECT_EQ(map.solutions.capacity(), 0U);
}

TEST(ParseMemory, StopsExpatOnlyForAnException) {
    KURA_SolutionMap map;
    EXPECT_TRUE(TCXMLParser().Parse(kDocument, map));
    EXPECT_TRUE(TCXMLParser().Parse("<m>no end", map));
    EXPECT_FALSE(TCXMLParser().Parse("<m></wrong>", map));
    EXPECT_EQ(g_stops, 0);
    EXPECT_THROW(TCXMLParser().Parse("<m><sol_val/><sol_val/></m>", map), std::out_of_range);
    EXPECT_EQ(g_stops, 1);
}

TEST(ParseMemory, RefusesATextLongerThanExpatCanCount) {
    if (std::string().max_size() < std::size_t{1} << 31) {
        GTEST_SKIP() << "this machine has no text of that length";
    }
    refusal.allocate = [](std::size_t size) { return size > kHuge ? MapHuge(size) : std::malloc(size); };
    refusal.release = [](void* piece) {
        if (piece != g_huge) {
            std::free(piece);
        }
    };
    const std::string text(std::size_t{1} << 31, '\0');
    const TCXMLParser parser;
    KURA_SolutionMap map;
    EXPECT_FALSE(parser.Parse(text, map));
    EXPECT_EQ(g_parsers, 0);
    EXPECT_TRUE(
        fakes::Set().Logged(DLOG_ERROR, "Error while parsing xml: invalid argument, line: 1, col: 0"));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_ERROR, "Parsing failed."));
}
