// IP, UDP and SCTP (RFC 791, 8200, 768, 9260). What came in fragments is reported, not put together.

#include "tools/quorva/capture/walk.h"

#include <algorithm>

namespace quorva::capture {

namespace {

constexpr unsigned kUdp = 17, kSctp = 132;
constexpr unsigned kGsmtapPort = 4729;
constexpr unsigned kS1apPort = 36412, kNgapPort = 38412;
constexpr unsigned kS1apPayload = 18, kNgapPayload = 60; // payload protocol identifiers of IANA

Address addressOf(Octets octets) {
   Address address;
   std::copy(octets.begin(), octets.end(), address.octets);
   address.size = static_cast<uint8_t>(octets.size());
   return address;
}

std::string cutText(size_t there, size_t whole) {
   return "cut short when it was captured: " + std::to_string(there) + " of " + std::to_string(whole) +
          " octets";
}

} // namespace

void Walk::internet(Octets packet) {
   if (packet.empty()) return;
   if (packet[0] >> 4 == 4) ipv4(packet);
   if (packet[0] >> 4 == 6) ipv6(packet);
}

void Walk::ipv4(Octets packet) {
   Reader reader(packet);
   const size_t headerLength = (reader.number(1) & 15) * 4;
   reader.skip(1);
   size_t length = reader.number(2);
   reader.skip(2);
   const unsigned place = reader.number(2);
   reader.skip(1);
   const unsigned protocol = reader.number(1);
   reader.skip(2);
   source = addressOf(reader.take(4));
   target = addressOf(reader.take(4));
   if (!reader.good() || headerLength < 20 || headerLength > packet.size()) return;
   // An interface that segments by itself is handed packets without a length.
   if (length == 0) length = packet.size();
   if (length < headerLength) return;
   // Behind the packet stands what fills up an Ethernet frame.
   const Octets rest = packet.first(std::min(length, packet.size())).subspan(headerLength);
   if ((place & 0x3FFF) != 0) return fragment(protocol, (place & 0x1FFF) * 8, rest);
   transport(protocol, rest);
}

void Walk::ipv6(Octets packet) {
   Reader reader(packet);
   reader.skip(4);
   const size_t length = reader.number(2);
   unsigned next = reader.number(1);
   reader.skip(1);
   source = addressOf(reader.take(16));
   target = addressOf(reader.take(16));
   if (!reader.good()) return;
   if (length != 0) reader = Reader(reader.rest().first(std::min(length, reader.left())));
   for (;;) {
      switch (next) {
      case 0:
      case 43:
      case 60: { // options of hops, routing, options of the destination
         next = reader.number(1);
         const size_t size = reader.number(1) * 8 + 6;
         if (!reader.skip(size)) return;
         break;
      }
      case 44: { // fragment
         next = reader.number(1);
         reader.skip(1);
         const unsigned place = reader.number(2);
         if (!reader.skip(4)) return;
         // One alone is a whole packet, RFC 6946.
         if ((place & ~6u) != 0) return fragment(next, place & ~7u, reader.rest());
         break;
      }
      default: return transport(next, reader.rest());
      }
   }
}

// Of all traffic only what may hold a message is worth a word. Ports stand in the first fragment alone.
void Walk::fragment(unsigned protocol, unsigned offset, Octets rest) {
   if (protocol == kUdp) {
      Reader ports(offset == 0 ? rest : Octets());
      const unsigned from = ports.number(2);
      if (from != kGsmtapPort && ports.number(2) != kGsmtapPort) return;
   } else if (protocol != kSctp) {
      return;
   }
   fault(protocol == kSctp ? "SCTP" : "GSMTAP",
         "IP fragment, offset " + std::to_string(offset) + ": fragments are not put together");
}

void Walk::transport(unsigned protocol, Octets packet) {
   if (protocol == kUdp) udp(packet);
   if (protocol == kSctp) sctp(packet);
}

void Walk::udp(Octets datagram) {
   Reader reader(datagram);
   const unsigned from = reader.number(2);
   const unsigned to = reader.number(2);
   const size_t length = reader.number(2);
   if (!reader.skip(2) || length < 8 || (from != kGsmtapPort && to != kGsmtapPort)) return;
   if (length > datagram.size()) return fault("GSMTAP", cutText(datagram.size(), length));
   gsmtap(datagram.first(length).subspan(8));
}

void Walk::sctp(Octets packet) {
   Reader reader(packet);
   const unsigned from = reader.number(2);
   const unsigned to = reader.number(2);
   reader.skip(8);
   while (reader.left() >= 4) {
      const unsigned type = reader.number(1);
      const unsigned flags = reader.number(1);
      const size_t length = reader.number(2);
      if (length < 4) return;
      const bool whole = length - 4 <= reader.left();
      const Octets there = reader.take(std::min(length - 4, reader.left()));
      reader.skip(std::min(-length & 3, reader.left()));
      const bool interleaved = type == 64; // I-DATA, RFC 8260
      if (type != 0 && !interleaved) continue;
      Reader chunk(there);
      chunk.skip(interleaved ? 12 : 8);
      // In later fragments of I-DATA another number takes its place.
      unsigned payload = chunk.number(4);
      if (!chunk.good() || (interleaved && (flags & 2) == 0)) continue;
      // Some stacks leave the number out, or send it with its lowest octet first.
      const auto on = [from, to](unsigned port) { return from == port || to == port; };
      if (payload == kS1apPayload << 24 || (payload == 0 && on(kS1apPort))) payload = kS1apPayload;
      if (payload == kNgapPayload << 24 || (payload == 0 && on(kNgapPort))) payload = kNgapPayload;
      if (payload != kS1apPayload && payload != kNgapPayload) continue;
      const char* carrier = payload == kS1apPayload ? "S1AP" : "NGAP";
      if ((flags & 3) != 3) {
         fault(carrier, "SCTP fragment: fragments are not put together");
      } else if (!whole) {
         fault(carrier, cutText(there.size() + 4, length));
      } else if (payload == kS1apPayload) {
         s1ap(chunk.rest());
      } else {
         ngap(chunk.rest());
      }
   }
}

} // namespace quorva::capture
