// GSMTAP: messages of the radio side in UDP, behind a header that tells the channel.

#include "tools/quorva/capture/walk.h"

#include <algorithm>

namespace quorva::capture {

namespace {

enum Payload : unsigned { kUm = 1, kAbis = 2, kLteNas = 18 };

enum class Framing { none, pseudoLength, lapdm };

// A channel of the GSM radio interface. Other channels have no messages of Layer 3.
struct Channel {
   unsigned number;
   Framing framing;
   const char* carrier;
};

constexpr Channel kChannels[] = {
      {1, Framing::pseudoLength, "GSMTAP Um BCCH"}, {2, Framing::pseudoLength, "GSMTAP Um CCCH"},
      {4, Framing::pseudoLength, "GSMTAP Um AGCH"}, {5, Framing::pseudoLength, "GSMTAP Um PCH"},
      {6, Framing::lapdm, "GSMTAP Um SDCCH"},       {7, Framing::lapdm, "GSMTAP Um SDCCH/4"},
      {8, Framing::lapdm, "GSMTAP Um SDCCH/8"},     {9, Framing::lapdm, "GSMTAP Um FACCH/F"},
      {10, Framing::lapdm, "GSMTAP Um FACCH/H"},
};
constexpr unsigned kSlow = 0x80; // the slow associated channel (SACCH) of a channel

// Types of radio resource messages, TS 44.018: with a pseudo length, those of dedicated channels by
// direction, those in a frame with a short header.
constexpr const char* kWithPseudoLength = "TS44018Msg_L2_PSEUDO_LEN_PDU";
constexpr const char* kDownlinkDedicated = "TS44018Msg_DL_DCCH_PDU";
constexpr const char* kUplinkDedicated = "TS44018Msg_UL_DCCH_PDU";
constexpr const char* kUplinkSlow = "TS44018Msg_UL_SACCH_PDU";
constexpr const char* kShort = "TS44018Msg_RR_Short_PD_PDU";

constexpr unsigned kRadioResource = 6; // protocol discriminator
constexpr unsigned kShortTypes = 14;   // message types behind a short header
constexpr size_t kMostOpen = 4096;     // channels that are within a message
constexpr size_t kMostOctets = 251;    // of a message, TS 44.006, 5.8.5

} // namespace

// A message of a dedicated channel; other protocols than radio resource go by their discriminator.
void Walk::dedicated(Octets message, bool slow, const char* carrier) {
   if (message.empty()) return;
   const char* type = nullptr;
   if ((message[0] & 15) == kRadioResource) {
      type = direction == Direction::downlink ? kDownlinkDedicated : slow ? kUplinkSlow : kUplinkDedicated;
   }
   found(message, type, carrier);
}

// A block of the broadcast and common channels. Fill frames of the data link have no message.
void Walk::pseudoLength(Octets block, const char* carrier) {
   if (block.size() > 1 && (block[1] & 15) == kRadioResource) found(block, kWithPseudoLength, carrier);
}

// Puts the contents of information frames together, TS 44.006, 5.8.5: true if a message is complete, which
// the octets are then. Frames that come again are passed over.
bool Walk::segment(uint64_t place, unsigned control, bool more, Octets& octets, const char* carrier) {
   const unsigned number = control >> 1 & 7; // N(S)
   auto open = state_.segments_.find(place);
   if (open != state_.segments_.end()) {
      const Carriers::Segments& last = open->second;
      const bool same = number == last.number;
      if (same && last.octets.size() >= octets.size() &&
          std::equal(octets.rbegin(), octets.rend(), last.octets.rbegin()))
         return false;
      if (same || last.ended) {
         state_.segments_.erase(open);
         open = state_.segments_.end();
      }
   }
   if (open == state_.segments_.end()) {
      if (!more) return true;
      if (state_.segments_.size() >= kMostOpen) state_.segments_.erase(state_.segments_.begin());
      open = state_.segments_.emplace(place, Carriers::Segments()).first;
   } else if (number != ((open->second.number + 1) & 7)) {
      state_.segments_.erase(open);
      fault(carrier, "LAPDm segment: one ahead of it is missing");
      return false;
   }
   Carriers::Segments& segments = open->second;
   segments.octets.insert(segments.octets.end(), octets.begin(), octets.end());
   segments.number = number;
   segments.ended = !more;
   if (segments.octets.size() > kMostOctets) {
      state_.segments_.erase(open);
      fault(carrier, "LAPDm segment: more than the 251 octets of a message");
      return false;
   }
   if (more) return false;
   octets = segments.octets; // they stand until the next frame
   return true;
}

// Takes the message out of a frame of the data link, TS 44.006. `place` tells its channel from all others.
void Walk::lapdm(uint64_t place, bool slow, Octets frame, const char* carrier) {
   Reader reader(frame);
   if (slow) reader.skip(2); // of the physical layer
   // A short header in place of address and control, format Bter. Type 0, system information, is of one
   // channel: elsewhere it is a block of zeros.
   if (const Octets rest = reader.rest(); !rest.empty() && (rest[0] & 0x83) == 0) {
      const unsigned type = rest[0] >> 2;
      if (type < kShortTypes && (type > 0 || (slow && direction == Direction::downlink)))
         found(rest, kShort, carrier);
      return;
   }
   const unsigned address = reader.number(1);
   const unsigned control = reader.number(1);
   const unsigned length = reader.number(1);
   const bool numbered = (control & 1) == 0;
   const bool establishes = (control & 0xEF) == 0x2F; // SABM
   if (!reader.good() || (address & 0x61) != 1 || (length & 1) == 0) return;
   const bool unnumbered = (control & 0xEF) == 0x03;            // UI
   if (!numbered && !unnumbered) state_.segments_.erase(place); // the link begins anew, or ends
   if (!numbered && !establishes && !unnumbered) return;
   // System information on the slow channel has the length octet as its pseudo length, and rest octets behind
   // what that counts.
   const Octets withLength = frame.subspan(frame.size() - reader.left() - 1);
   Octets message = reader.take(std::min<size_t>(length >> 2, reader.left()));
   if (message.empty()) return;
   if (message.size() < length >> 2) return fault(carrier, "cut short when it was captured");
   if (numbered && !segment(place, control, (length & 2) != 0, message, carrier)) return;
   if (slow && unnumbered && direction == Direction::downlink && (message[0] & 15) == kRadioResource)
      return found(withLength, kWithPseudoLength, carrier);
   dedicated(message, slow, carrier);
}

void Walk::gsmtap(Octets packet) {
   Reader reader(packet);
   const unsigned version = reader.number(1);
   const size_t headerLength = reader.number(1) * 4;
   const unsigned payload = reader.number(1);
   const unsigned slot = reader.number(1);
   const unsigned arfcn = reader.number(2);
   reader.skip(6);
   const unsigned channelNumber = reader.number(1);
   reader.skip(1);
   const unsigned subSlot = reader.number(1);
   if (!reader.good() || version != 2 || headerLength < 16 || headerLength > packet.size()) return;
   const Octets content = packet.subspan(headerLength);
   direction = (arfcn & 0x4000) != 0 ? Direction::uplink : Direction::downlink;
   if (payload == kLteNas) return found(content, "TS24301Msg_PDU", "GSMTAP LTE NAS");
   if (payload == kAbis) return dedicated(content, false, "GSMTAP Abis");
   if (payload != kUm) return;
   const bool slow = (channelNumber & kSlow) != 0;
   for (const Channel& each : kChannels) {
      if (each.number != (channelNumber & ~kSlow)) continue;
      if (each.framing == Framing::pseudoLength) return pseudoLength(content, each.carrier);
      // SAPI is the last part.
      const uint64_t place = uint64_t{arfcn} << 32 | slot << 24 | subSlot << 16 | channelNumber << 8 |
                             (content.size() > 2 ? content[slow ? 2 : 0] & 0x1Cu : 0u);
      return lapdm(place, slow, content, each.carrier);
   }
}

} // namespace quorva::capture
