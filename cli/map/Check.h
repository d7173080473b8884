// Finds everything in a solution map that fails silently on a set, in one pass over the map.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Rules.h"
#include "TextFiles.h"
#include "XmlDocument.h"

namespace kuramap {

struct Finding {
    const Rule* rule = nullptr;
    Severity severity = Severity::kError;
    std::string file;
    LineColumn position;
    std::string issue;    ///< the issue code concerned, empty for none
    std::string message;  ///< one sentence or more, without the issue and the tag
};

struct CheckOptions {
    std::map<std::string, Severity> severities;  ///< by tag, instead of the rule's own
    std::vector<TextTable> texts;                ///< one for each language; empty: texts are not checked
    std::optional<std::size_t> width;            ///< the greatest number of characters in a text
    std::optional<CodeList> codes;               ///< the codes that the engine reports
    std::optional<AllowList> allowed;
};

struct CheckResult {
    std::vector<Finding> findings;  ///< by file as given, then by place
    std::size_t allowed = 0;        ///< findings that the allow file accepts

    std::size_t Count(Severity severity) const;
};

/// The findings in one map, sorted by place. Each has its chosen severity; rules that are off find nothing.
std::vector<Finding> CheckMap(const XmlDocument& document, const CheckOptions& options);

/// The findings in several maps, without those that the allow file accepts. An entry of the allow file that
/// accepts nothing is a finding, too.
CheckResult CheckMaps(const std::vector<XmlDocument>& documents, const CheckOptions& options);

}  // namespace kuramap
