#include "KuraSet.h"
#include "schema/SchemaTexts.h"
#include "support/JsonSchema.h"

namespace kuraset {

void CheckDescription(const json& description) {
    // Never destroyed, because the engine's thread may read the set while the process exits.
    static const auto& schema = *new support::JsonSchema({schema::kSet});
    const support::OrderedJson document(description);
    if (const auto complaint = schema.Check(document)) {
        const std::string place = support::PlaceInWords(complaint->place, document);
        throw SetError(SetError::Kind::Damaged,
                       "set.json: " + (place.empty() ? "" : place + ": ") + complaint->text);
    }
}

}  // namespace kuraset
