// Printing of records by their tables.
#pragma once

#include "quorva/rtxContext.h"
#include "src/walk/table.h"

namespace quorva::walk {

// Prints the value at `value`, of the given type, under a name. Always 0.
int print(RtxContext* pctxt, const char* name, const Module& module, unsigned type, const void* value);

} // namespace quorva::walk
