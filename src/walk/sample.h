// Samples of records by their tables: one fixed, legal value of each type.
#pragma once

#include "quorva/rtxContext.h"
#include "src/walk/table.h"

namespace quorva::walk {

// A new sample of a type on the context's heap; null if memory is exhausted.
void* sample(RtxContext* pctxt, const Module& module, unsigned type);

// Fills a zeroed place with a sample of a type that needs no memory of its own.
void fillSample(void* place, const Module& module, unsigned type);

} // namespace quorva::walk
