// JSON texts of values.
#pragma once

#include "src/walk/fields.h"
#include "src/walk/textOut.h"

namespace quorva::walk {

// A text in quotes; one that is no UTF-8 as an object with its octets.
void putJsonText(TextOut& out, std::string_view text);
// What stands at a place, without a name.
void putJson(TextOut& out, const Shape& shape, Rows by);

// What a leaf says: as in QuorvaItem.
void putText(TextOut& out, const Shape& shape, const Leaf& leaf);

// A value into what stands at a place.
int readJson(RtxContext* ctxt, const Shape& shape, const char* text, size_t length, QuorvaJsonFault& fault);

} // namespace quorva::walk
