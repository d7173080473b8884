// Documents made to exhaust whoever reads them. Each is read by a process of its own with so much memory and
// processor time and no more; the reader ends by itself, with its own error or with what the document holds.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_XMLParser.h"
#include "trust/Trust.h"

namespace {

/// Bytes for a byte of the document: Expat doubles its buffers, and holds an element's attributes twice. A
/// record of ten bytes takes fifteen texts, and twice that when their list grows; Expat lets entities grow to
/// a hundred times the document.
constexpr long kMostFactor = 8;
constexpr long kMostFactorOfGrowth = 160;
#ifdef __SANITIZE_ADDRESS__
constexpr long kMostMegabytes = 1024;  // freed memory is kept back
#else
constexpr long kMostMegabytes = 64;
#endif
constexpr rlim_t kMostSeconds = 60;

struct Bomb {
    std::string name;
    std::function<std::string()> document;
    bool parses;
    bool grows = false;  ///< a few bytes stand for a record, for an open element, or for an entity
};

/// Sizes are a tenth in every run.
std::size_t Size(std::size_t all) {
    return trust::Count(all / 10, all);
}

std::string Repeat(std::size_t times, const std::string& text) {
    std::string repeated;
    repeated.reserve(times * text.size());
    for (std::size_t i = 0; i < times; ++i) {
        repeated += text;
    }
    return repeated;
}

/// Entities that stand for many of the one before, down to a short text.
std::string Laughs(int levels, int each, const std::string& use) {
    std::string text = "<!DOCTYPE m [<!ENTITY e0 \"laugh laugh laugh\">";
    for (int level = 1; level <= levels; ++level) {
        text += "<!ENTITY e" + std::to_string(level) + " \"" +
                Repeat(static_cast<std::size_t>(each), "&e" + std::to_string(level - 1) + ";") + "\">";
    }
    return text + "]><m>" + use + "</m>";
}

std::string Attributes(std::size_t count) {
    std::string text = "<m><solution";
    for (std::size_t i = 0; i < count; ++i) {
        text += " a" + std::to_string(i) + "='v'";
    }
    return text + "/></m>";
}

std::string DefaultAttributes(std::size_t declared, std::size_t elements) {
    std::string text = "<!DOCTYPE m [<!ATTLIST solution";
    for (std::size_t i = 0; i < declared; ++i) {
        text += " a" + std::to_string(i) + " CDATA 'default'";
    }
    return text + ">]><m>" + Repeat(elements, "<solution/>") + "</m>";
}

/// The same in UTF-16 with its mark.
std::string Wide(const std::string& text) {
    std::string wide = "\xff\xfe";
    for (const char c : text) {
        wide += c;
        wide += '\0';
    }
    return wide;
}

void AddEntities(std::vector<Bomb>& bombs) {
    const auto laughs = [](int levels, int each, std::string use) {
        return [=] { return Laughs(levels, each, use); };
    };
    bombs.push_back({"a billion laughs", laughs(9, 10, "&e9;"), false});
    bombs.push_back({"laughs in an attribute", laughs(9, 10, "<solution sid_sol='&e9;'/>"), false});
    bombs.push_back({"laughs by two", laughs(32, 2, "&e32;"), false});
    bombs.push_back({"laughs by a thousand", laughs(3, 1000, "&e3;"), false});
    bombs.push_back(
        {"laughs in a value", laughs(9, 10, "<solution><sol_val param_value='&e9;'/></solution>"), false});
    bombs.push_back({"laughs not used", laughs(9, 10, ""), true});
    bombs.push_back({"few laughs", laughs(2, 10, "&e2;"), true});
    bombs.push_back({"quadratic entity",
                     [] {
                         return "<!DOCTYPE m [<!ENTITY e \"" + std::string(Size(1000000), 'x') + "\">]><m>" +
                                Repeat(Size(10000), "&e;") + "</m>";
                     },
                     false});
    bombs.push_back({"quadratic in attributes",
                     [] {
                         return "<!DOCTYPE m [<!ENTITY e \"" + std::string(Size(1000000), 'x') + "\">]><m>" +
                                Repeat(1000, "<solution sid_sol='&e;'/>") + "</m>";
                     },
                     false, true});
    bombs.push_back({"entity of itself",
                     [] { return std::string("<!DOCTYPE m [<!ENTITY e \"&e;\">]><m>&e;</m>"); }, false});
    bombs.push_back(
        {"entities in a ring",
         [] { return std::string("<!DOCTYPE m [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]><m>&a;</m>"); },
         false});
    bombs.push_back(
        {"ring in an attribute",
         [] {
             return std::string(
                 "<!DOCTYPE m [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]><m><solution sid_sol='&a;'/></m>");
         },
         false});
    bombs.push_back({"long chain", laughs(5000, 1, "&e5000;"), true});
    bombs.push_back({"many entities",
                     [] {
                         std::string text = "<!DOCTYPE m [";
                         for (std::size_t i = 0; i < Size(200000); ++i) {
                             text += "<!ENTITY e" + std::to_string(i) + " \"x\">";
                         }
                         return text + "]><m/>";
                     },
                     true});
    bombs.push_back(
        {"parameter entities",
         [] { return std::string("<!DOCTYPE m [<!ENTITY % a '<!ENTITY b \"x\">'>%a;]><m>&b;</m>"); }, true});
    bombs.push_back(
        {"a file as entity",
         [] { return std::string("<!DOCTYPE m [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><m>&e;</m>"); },
         true});
    bombs.push_back({"a device as entity",
                     [] { return std::string("<!DOCTYPE m [<!ENTITY e SYSTEM \"/dev/zero\">]><m>&e;</m>"); },
                     true});
    bombs.push_back({"an external DTD",
                     [] { return std::string("<!DOCTYPE m SYSTEM \"http://127.0.0.1:9/dtd\"><m/>"); }, true});
    bombs.push_back({"undefined entity", [] { return std::string("<m>&nothing;</m>"); }, false});
}

/// A document that ends early is read as far as it goes.
void AddDepth(std::vector<Bomb>& bombs) {
    for (const char* name : {"a", "solution", "sol_val_of_a_longer_name"}) {
        const std::string open = std::string("<") + name + ">";
        const std::string close = std::string("</") + name + ">";
        bombs.push_back(
            {"depth of " + open,
             [=] { return "<m>" + Repeat(Size(1000000), open) + Repeat(Size(1000000), close) + "</m>"; },
             true, true});
        bombs.push_back(
            {"depth of " + open + " not closed", [=] { return Repeat(Size(1000000), open); }, true, true});
    }
    bombs.push_back({"depth with attributes",
                     [] {
                         return Repeat(Size(500000), "<solution issue_code='1'>") +
                                Repeat(Size(500000), "</solution>");
                     },
                     true, true});
    bombs.push_back({"closes without end", [] { return "<m>" + Repeat(Size(1000000), "</m>"); }, false});
    bombs.push_back({"opens without end", [] { return std::string(Size(10000000), '<'); }, false});
    bombs.push_back(
        {"depth in UTF-16",
         [] { return Wide("<m>" + Repeat(Size(500000), "<a>") + Repeat(Size(500000), "</a>") + "</m>"); },
         true});
    bombs.push_back({"groups in a content model",
                     [] {
                         return "<!DOCTYPE m [<!ELEMENT m " + std::string(Size(100000), '(') + "a" +
                                std::string(Size(100000), ')') + ">]><m/>";
                     },
                     true});
}

void AddAttributes(std::vector<Bomb>& bombs) {
    bombs.push_back({"attributes", [] { return Attributes(Size(100000)); }, true});
    bombs.push_back({"the same attribute",
                     [] { return "<m><solution" + Repeat(Size(100000), " a='v'") + "/></m>"; }, false});
    bombs.push_back(
        {"default attributes", [] { return DefaultAttributes(Size(2000), Size(2000)); }, true, true});
    bombs.push_back({"namespaces",
                     [] {
                         std::string text = "<m><solution";
                         for (std::size_t i = 0; i < Size(100000); ++i) {
                             text += " xmlns:a" + std::to_string(i) + "='v'";
                         }
                         return text + "/></m>";
                     },
                     true});
    bombs.push_back({"long attribute name",
                     [] { return "<m><solution " + std::string(Size(20000000), 'a') + "='v'/></m>"; }, true});
    bombs.push_back({"long attribute",
                     [] { return "<m><solution sid_sol='" + std::string(Size(50000000), 'a') + "'/></m>"; },
                     true});
    bombs.push_back({"attribute not closed",
                     [] { return "<m><solution sid_sol='" + std::string(Size(50000000), 'a'); }, true});
    bombs.push_back(
        {"character references",
         [] { return "<m><solution sid_sol='" + Repeat(Size(2000000), "&#x10FFFF;") + "'/></m>"; }, true});
    bombs.push_back(
        {"a reference too large",
         [] { return "<m><solution sid_sol='&#x" + std::string(Size(1000000), 'F') + ";'/></m>"; }, false});
    bombs.push_back({"values",
                     [] {
                         return "<m><solution>" + Repeat(Size(300000), "<sol_val param_value='1'/>") +
                                "</solution></m>";
                     },
                     true, true});
}

void AddLength(std::vector<Bomb>& bombs) {
    constexpr std::size_t kHundredMebibytes = std::size_t{100} << 20;
    const auto in = [](std::string before, char filling, std::string after) {
        return [=] { return before + std::string(Size(kHundredMebibytes), filling) + after; };
    };
    bombs.push_back({"100 MiB of text", in("<m>", 'x', "</m>"), true});
    bombs.push_back({"100 MiB of blanks", in("<m>", ' ', "</m>"), true});
    bombs.push_back({"100 MiB of comment", in("<m><!--", 'x', "--></m>"), true});
    bombs.push_back({"100 MiB of CDATA", in("<m><![CDATA[", ']', "]]></m>"), true});
    bombs.push_back({"100 MiB of instruction", in("<m><?p ", 'x', "?></m>"), true});
    bombs.push_back({"100 MiB of a name", in("<", 'x', "/>"), true});
    bombs.push_back({"100 MiB of zeros", in("<m>", '\0', "</m>"), false});
    bombs.push_back({"100 MiB of elements",
                     [] { return "<m>" + Repeat(Size(kHundredMebibytes / 4), "<a/>") + "</m>"; }, true});
    bombs.push_back({"comment not closed", in("<m><!--", 'x', ""), true});
    bombs.push_back({"CDATA not closed", in("<m><![CDATA[", 'x', ""), true});
    bombs.push_back({"DOCTYPE not closed", in("<!DOCTYPE m [", ' ', ""), true});
}

std::vector<Bomb> Bombs() {
    std::vector<Bomb> bombs;
    AddEntities(bombs);
    AddDepth(bombs);
    AddAttributes(bombs);
    AddLength(bombs);
    return bombs;
}

long PeakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// In a process of its own: whether the document was read as it should be, in bounds.
bool IsReadInBounds(const Bomb& bomb) {
    const rlimit time{kMostSeconds, kMostSeconds};
    setrlimit(RLIMIT_CPU, &time);
    const std::string text = bomb.document();
    const long before = PeakKilobytes();
    KURA::KURA_SolutionMap map;
    const bool parsed = KURA::TCXMLParser().Parse(text, map);
    const long grown = PeakKilobytes() - before;
    const long most =
        (bomb.grows ? kMostFactorOfGrowth : kMostFactor) * static_cast<long>(text.size() / 1024) +
        kMostMegabytes * 1024;
    if (parsed != bomb.parses || grown > most) {
        std::printf("%s: parsed %d, %ld KiB for %zu bytes\n", bomb.name.c_str(), parsed ? 1 : 0, grown,
                    text.size());
        std::fflush(stdout);
    }
    return parsed == bomb.parses && grown <= most;
}

}  // namespace

TEST(Bombs, AreReadInBoundsOrRefused) {
    trust::Watch();
    fakes::Set().keepRecords = false;
    const std::vector<Bomb> bombs = Bombs();
    for (const Bomb& bomb : bombs) {
        SCOPED_TRACE(bomb.name);
        const pid_t reader = fork();
        if (reader == 0) {
            _exit(IsReadInBounds(bomb) ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(reader, &status, 0), reader);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << bomb.name << ": status " << status;
    }
    EXPECT_GE(bombs.size(), 50U);
    trust::Report("XML bombs", "one process each, memory and processor time bounded", bombs.size());
}
