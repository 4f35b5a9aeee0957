// What the adapters of the registry share.
#pragma once

#include "quorva/registry.h"

namespace quorva::walk {

// Octets up to the end of the innermost container, or of the buffer: what the decoder of a text is told when
// nobody knows better.
uint32_t octetsLeft(const RtxContext* pctxt);

// A pointer to a text as a value of its own on the heap; null if memory is exhausted.
void* textValue(RtxContext* pctxt, const char* text);

extern const QuorvaType registry[];
extern const size_t registrySize;

} // namespace quorva::walk
