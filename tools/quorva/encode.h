// The commands "encode" and "diff".
#pragma once

#include "tools/quorva/decode.h"

#include <string>
#include <vector>

namespace quorva::tool {

struct EncodeOptions {
   std::string type; // empty: as the input says
   std::string file; // of JSON; - or empty: standard input
   bool binary = false;
   SecurityOptions security;
};

// Encodes each JSON value of a file: records, or objects that "decode --json" wrote. Octets go to standard
// output, a line of hexadecimal digits a message. False if anything failed.
bool encodeFile(const EncodeOptions& options);

// Lists the fields in which two messages differ, first those of the first one: 0 if there are none, 1, or 2
// if a message can't be decoded.
int showDifferences(const DecodeOptions& options, const Message& first, const Message& second);

} // namespace quorva::tool
