#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "KURA_SolutionMap.h"
#include "peers/Peers.h"
#include "peers/RecordBuilder.h"

namespace bench {

namespace {

/// Of each attribute: name, prefix, namespace, and the ends of its value.
constexpr int kPointersPerAttribute = 5;

const char* Chars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

void OnStart(void* userData, const xmlChar* name, const xmlChar* prefix, const xmlChar*, int, const xmlChar**,
             int attributeCount, int, const xmlChar** attributes) {
    auto& records = *static_cast<RecordBuilder*>(userData);
    records.Begin(prefix == nullptr ? Chars(name) : "");
    for (int i = 0; i < attributeCount; ++i, attributes += kPointersPerAttribute) {
        if (attributes[1] == nullptr) {
            records.Add(Chars(attributes[0]),
                        std::string_view(Chars(attributes[3]),
                                         static_cast<std::size_t>(attributes[4] - attributes[3])));
        }
    }
    records.End();
}

}  // namespace

bool ParseWithLibxml2(const std::string& text, KURA::KURA_SolutionMap& map) {
    RecordBuilder records(map, text.size());
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = OnStart;
    xmlParserCtxtPtr context = xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size()));
    if (context == nullptr) {
        return false;
    }
    *context->sax = handler;
    context->userData = &records;
    xmlCtxtUseOptions(context, XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_HUGE);
    const int status = xmlParseDocument(context);
    xmlFreeParserCtxt(context);
    return status == 0;
}

}  // namespace bench
