// Messages of the GSM radio interface, TS 44.018: which PDU of theirs octets are, and channels in their text.
#pragma once

#include "tools/quorva/headline.h"

#include "quorva/registry.h"

#include <string>
#include <string_view>

namespace quorva::tool {

// Is it the name of a radio channel: "bcch", "ccch", "dcch", "sacch"?
bool isRadioChannel(std::string_view name);

// The type to decode octets as: one of a given name, or the PDU of the radio channel of this name. Without a
// name the PDU that they begin like; between two of radio resources that have the message the direction
// decides. Null if they begin like none.
const char* typeNameOf(const char* given, capture::Octets octets, capture::Direction direction,
                       MessageNames& names);

// Is it a type of TS 44.018? Its values may have lists of channels.
bool isRadio(const QuorvaType& type);

// Does nothing follow but what fills a block up? TS 44.006, 5.2.
bool isPadding(capture::Octets octets);

// The printed text of a value, with a line "# channels 3, 12, 40" behind the bits of each such list.
std::string withChannels(std::string_view text);

} // namespace quorva::tool
