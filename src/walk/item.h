// What a visitor is told, and what a path leads to.
#pragma once

#include "src/walk/fields.h"
#include "src/walk/json.h"

namespace quorva::walk {

// Fills an item but for its path, name and index. False if memory is exhausted; the text is that of `out`.
bool describe(const Shape& shape, const char* doc, HeapOut& out, QuorvaItem& item);

// What stands at a path, and the words about it, or else about what it is in; where these tell no clause the
// words about what tells one around it. Statuses as of quorvaGet.
int shapeAt(RtxContext* ctxt, const QuorvaType* type, const void* value, const char* path, Shape& shape,
            const char*& doc, const char*& around);

} // namespace quorva::walk
