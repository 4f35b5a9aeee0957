// Messages of the GSM radio interface, TS 44.018: which PDU of theirs octets are, and channels in their text.
#pragma once

#include "tools/quorva/headline.h"

#include "quorva/registry.h"

#include <string>
#include <string_view>

namespace quorva::tool {

// Is it the name of a radio channel: "bcch", "ccch", "dcch", "sacch"?
bool isRadioChannel(std::string_view name);

// The PDU of a message on such a channel.
const char* pduOnChannel(std::string_view channel, capture::Octets octets, capture::Direction direction);

// The radio resource PDU that octets of an unknown channel begin like; null if they begin like none. Between
// two that have the message the direction decides.
const char* radioPduOf(capture::Octets octets, capture::Direction direction, MessageNames& names);

// Is it a type of TS 44.018? Its values may have lists of channels.
bool isRadio(const QuorvaType& type);

// Does nothing follow but what fills a block up? TS 44.006, 5.2.
bool isPadding(capture::Octets octets);

// The printed text of a value, with a line "# channels 3, 12, 40" behind the bits of each such list.
std::string withChannels(std::string_view text);

} // namespace quorva::tool
