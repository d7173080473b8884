// Writes a solution map in one layout, so that a comparison of two files shows changes of content only.
#pragma once

#include <string>

#include "XmlDocument.h"

namespace kuramap {

/// Writes the document in the canonical layout: UTF-8, four blanks a level, names in lower case, attributes
/// in the order of the library's record. When an attribute is written twice, only the one that counts is
/// kept. Comments, unknown elements and attributes, and text between tags stay. The result means the same as
/// the document; formatting it again changes nothing. Throws Unreadable for a document that is not
/// well-formed or not finished.
std::string Format(const XmlDocument& document);

}  // namespace kuramap
