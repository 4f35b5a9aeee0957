// What the adapters of the registry share.
#pragma once

#include "quorva/registry.h"

namespace quorva::walk {

// Octets up to the end of the innermost container, or of the buffer: what the decoder of a text is told when
// nobody knows better.
uint32_t octetsLeft(RtxContext* pctxt);

// Decodes all digits that are left into a text of `room` characters; -16, and nothing stored, for more
// digits.
int inlineDigits(RtxContext* pctxt, char* text, size_t room, int (*decode)(RtxContext*, char*, uint32_t));

// A pointer to a text as a value of its own on the heap; null if memory is exhausted.
void* textValue(RtxContext* pctxt, const char* text);

extern const QuorvaType registry[];
extern const size_t registrySize;

} // namespace quorva::walk
