/**
 * @file namedBits.h
 * Names of bits to bits.
 */
#ifndef QUORVA_RUNTIME_VALUES_NAMEDBITS_H
#define QUORVA_RUNTIME_VALUES_NAMEDBITS_H

#include <cstddef>

#include "quorva/rtxTypes.h"

namespace quorva {

/** A bit string that is filled name by name. */
class NamedBits {
public:
   /** Clears the bits. */
   NamedBits(RtxContext* pctxt, const RtxNamedBit* table, uint8_t* data, size_t size);

   /** Sets the bit of a name. 0, or a status that is on record. */
   int add(const char* name);

   /** Highest bit number plus 1. */
   size_t count() const { return count_; }

private:
   RtxContext* pctxt_;
   const RtxNamedBit* table_;
   uint8_t* data_;
   size_t size_;
   size_t count_ = 0;
};

} // namespace quorva

#endif
