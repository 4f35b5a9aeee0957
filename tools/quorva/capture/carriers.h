// From the frames of a capture to the messages in them.
#pragma once

#include "tools/quorva/capture/finding.h"

#include <map>
#include <vector>

namespace quorva::capture {

// What stands between the frames of a capture and the messages, for a whole capture: fragments are known by
// what came before.
class Carriers {
public:
   // Is there a carrier for frames of a link type? The numbers are libpcap's.
   static bool knows(int linkType);

   // Hands on each message of a frame, and what looks like one but can't be had, in their order. Frames with
   // neither give nothing.
   void find(int linkType, Octets frame, const Take& take);

private:
   friend class Walk;

   // A message of LAPDm in segments.
   struct Segments {
      std::vector<uint8_t> octets; // so far
      unsigned number = 0;         // N(S) of the last segment
      bool ended = false;          // and with it the message: the segment may come again
   };
   std::map<uint64_t, Segments> segments_; // of a channel
};

// A link type of the tester's own, 147 to 162, USER0 to USER15: bare messages.
inline bool isUserLink(int linkType) {
   return linkType >= 147 && linkType <= 162;
}

} // namespace quorva::capture
