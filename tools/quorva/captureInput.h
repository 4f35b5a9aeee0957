// Messages of a capture.
#pragma once

#include "tools/quorva/input.h"
#include "tools/quorva/source.h"

namespace quorva::tool {

// Hands on the messages of a capture, and what looks like one but can't be had.
void readCapture(Source& source, const std::string& name, const InputOptions& options,
                 const TakeMessage& take);

} // namespace quorva::tool
