// Octets of messages with their meaning beside them.
#pragma once

#include "quorva/registry.h"

#include <map>
#include <string>
#include <utility>

namespace quorva::tool {

// As text: octets and bits on the left, fields on the right, with the words about them where these begin. The
// context has a trace of the message, and its buffer.
std::string annotationText(RtxContext* ctxt, const QuorvaType& type, const void* value);

// What numbers of a message mean, by offset and number of their bits.
using BitNames = std::map<std::pair<size_t, size_t>, std::string>;
BitNames bitNames(RtxContext* ctxt, const QuorvaType& type, const void* value);

// A listing of bits, with these behind the titles of the fields.
std::string withNames(const std::string& listing, const BitNames& names);

// As a page that needs nothing else: pointing at a field lights up its bits, and the other way round.
std::string annotationPage(RtxContext* ctxt, const QuorvaType& type, const void* value,
                           const std::string& origin);

} // namespace quorva::tool
