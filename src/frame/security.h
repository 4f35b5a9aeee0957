// The security steps of the EPS and 5GS PDUs, TS 24.301, 4.4 and TS 24.501, 4.4. Positions are octet indices.
#pragma once

#include "src/frame/decoder.h"
#include "src/frame/encoder.h"

namespace quorva::frame {

// Records -70 with the received and the computed code; decoding goes on.
void macMismatch(Decoder d, uint32_t received, uint32_t computed);

// Compares the code of the octets from `from` to the buffer's end. A difference, and a computation that
// fails, is recorded; neither is fatal.
void checkMac(Decoder d, size_t from, uint32_t received);

// Deciphers the octets from `from` to the buffer's end, in place.
int decipherRest(Decoder d, size_t from);

// Enciphers, if asked, what stands between `cipherFrom` and the cursor, and then computes the code over what
// stands between `macFrom` and the cursor, stores it and writes it at `macAt`.
int protect(Encoder e, size_t macFrom, size_t cipherFrom, size_t macAt, bool cipher, uint32_t& mac);

// -9 as a record of its own.
int newBadChoice(Decoder d);

} // namespace quorva::frame
