// Why and where a message failed.
#pragma once

#include "quorva/registry.h"

#include <string>
#include <vector>

namespace quorva::tool {

// Where a decoder stopped. It leaves the names of the place on the stack then, apart from that of an octet
// string for which there were not enough octets: only the trace has it.
struct Stop {
   bool early = false;            // ahead of the message's end
   std::vector<std::string> path; // of the element, beginning with the type
};

// The names of the element that a codec is at, outermost first.
std::vector<std::string> openNames(const RtxContext* ctxt);

std::string joined(const std::vector<std::string>& words, const char* separator);

// Where the decoder of a type stopped; the context has a trace.
Stop stopOf(const QuorvaType& type, const RtxContext* ctxt, int status, bool macChecked);

// What the failure records of a context tell.
std::string failureText(const RtxContext* ctxt, int status, const Stop& stop, bool macChecked);

// The status of a message; a wrong code counts only if there was a key to check it with.
int statusOf(const RtxContext* ctxt, int status, bool macChecked);

} // namespace quorva::tool
