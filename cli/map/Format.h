// Writes a solution map in one layout, so that a change of content is all that a comparison of files shows.
#pragma once

#include <string>

#include "XmlDocument.h"

namespace kuramap {

/// The document in the canonical layout: UTF-8, four blanks a level, names in lower case, attributes in the
/// order of the library's record, of an attribute written twice the one that counts. Comments, unknown
/// elements and attributes, and text between tags stay. The result reads as the same map and formats to
/// itself. Throws Unreadable for a document that is not well-formed or not finished.
std::string Format(const XmlDocument& document);

}  // namespace kuramap
