// Messages as lines for other programs: JSON, and columns of fields.
#pragma once

#include "tools/quorva/failure.h"
#include "tools/quorva/headline.h"
#include "tools/quorva/input.h"
#include "tools/quorva/security.h"

#include "quorva/registry.h"

#include <string>
#include <vector>

namespace quorva::tool {

// A message that was decoded, or how far that went.
struct Decoded {
   const Message& message;
   const QuorvaType& type;
   const void* value;
   RtxContext* ctxt;
   int status;
   const Stop& stop;
   const Protection& protection;
   Octets octets; // as they were given
   Octets clear;  // in the clear as far as they could be opened
   bool inner;
};

// An object, with its line end. A message that was decoded to its end alone has a record.
std::string jsonLine(const Decoded& decoded, const std::string& name);

// The same where nothing could be decoded.
std::string jsonLine(const Message& message, const std::string& why);

// Texts of fields with tabs between them; empty ones for what is not there. A path that begins with "**." is
// looked for at any depth, and several texts have commas between them. What would end a column or a line is
// escaped.
std::string columnsLine(const Decoded& decoded, const std::vector<std::string>& paths);

} // namespace quorva::tool
