// Owns an Expat parser.
#pragma once

#include <expat.h>

#include <memory>
#include <type_traits>

namespace kuramap {

struct ParserFree {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree>;

}  // namespace kuramap
