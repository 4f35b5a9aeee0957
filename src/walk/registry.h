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

// Where the rows of a registered type are.
struct TypePlace {
   uint16_t module, type;
};
extern const TypePlace registryPlaces[]; // row by row of the registry
extern const uint16_t registryNumbers[]; // row of the registry, type by type of all modules
extern const uint16_t registryStarts[];  // where the types of each module begin there

inline bool isRegistered(const QuorvaType* type) {
   return type >= registry && type < registry + registrySize;
}

// The registered type with that number in that module.
inline const QuorvaType& registered(unsigned module, unsigned type) {
   return registry[registryNumbers[registryStarts[module] + type]];
}

} // namespace quorva::walk
