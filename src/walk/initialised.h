// Standard mode: is a record initialised?
#pragma once

#include "src/walk/codec.h"

namespace quorva::walk {

// What an initialiser or a decoder would have set, and an encoder may have to trust: presence bits that mean
// nothing are 0, flags are 0 or 1, numbers and enumerations have the bits that they have on the wire, counts
// fit their arrays and lengths their bounds, texts end, pointers can be addresses. It goes as far as the
// encoder will, and follows no pointer that fails. Negative status with the path for a record that can't be
// what the caller means: RTX_E_NOT_INIT, or RTX_E_CONSTRAINT and RTX_E_BAD_ENUM for a value that the wire has
// no room for. What is in memory that any value may have, like octets, nobody can tell.
int testInitialised(RtxContext* ctxt, const Module& module, unsigned type, uint8_t* value);

} // namespace quorva::walk
