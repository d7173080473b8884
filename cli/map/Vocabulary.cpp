#include "Vocabulary.h"

namespace kuramap {

ElementKind KindOfElement(std::string_view lowerName) {
    if (lowerName == "solution") {
        return ElementKind::kSolution;
    }
    if (lowerName == "sol_val") {
        return ElementKind::kValue;
    }
    if (lowerName == "sm") {
        return ElementKind::kCount;
    }
    return lowerName == "sminfo" ? ElementKind::kVersion : ElementKind::kUnknown;
}

const std::vector<std::string>& ElementNames() {
    static const std::vector<std::string> kNames = {"solution", "sol_val", "sm", "sminfo"};
    return kNames;
}

const std::vector<std::string>& AttributeNames(ElementKind kind) {
    static const std::vector<std::string> kNone;
    static const std::vector<std::string> kVersion = {"version"};
    static const std::vector<std::string> kCount = {"cnt"};
    static const std::vector<std::string> kSolution(kFieldNames.begin(), kFieldNames.end());
    static const std::vector<std::string> kValue = {"param_value", "param_type"};
    switch (kind) {
        case ElementKind::kVersion:
            return kVersion;
        case ElementKind::kCount:
            return kCount;
        case ElementKind::kSolution:
            return kSolution;
        case ElementKind::kValue:
            return kValue;
        case ElementKind::kUnknown:
            break;
    }
    return kNone;
}

}  // namespace kuramap
