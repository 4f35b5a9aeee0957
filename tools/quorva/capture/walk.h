// What the carriers share: one frame on its way.
#pragma once

#include "tools/quorva/capture/carriers.h"

namespace quorva::capture {

class Walk {
public:
   Walk(Carriers& state, const Take& take) : state_(state), take_(take) {}

   // Each goes on with what it finds inside.
   void ethernet(Octets frame);
   void cooked(Octets frame);  // SLL, as "any" gives it on Linux
   void cooked2(Octets frame); // SLL2
   void loopback(Octets frame);
   void internet(Octets packet); // of version 4 or 6
   void sctp(Octets packet);
   void gsmtap(Octets packet);
   void exportedPdu(Octets frame);
   void s1ap(Octets pdu);
   void ngap(Octets pdu);

   // A message, with what is known of it by now.
   void found(Octets octets, const char* type, const char* carrier);
   // Something that can't be read, and why.
   void fault(const char* carrier, std::string why);

   Direction direction = Direction::unknown;
   Address source, target;
   Octets terminal;

private:
   void byEtherType(unsigned type, Octets packet);
   void ipv4(Octets packet);
   void ipv6(Octets packet);
   void transport(unsigned protocol, Octets packet);
   void udp(Octets datagram);
   void fragment(unsigned protocol, unsigned offset, Octets rest);
   void pseudoLength(Octets block, const char* carrier);
   bool segment(uint64_t place, unsigned control, bool more, Octets& octets, const char* carrier);
   void lapdm(uint64_t place, bool slow, Octets frame, const char* carrier);
   void elements(const struct ApplicationProtocol& protocol, Octets pdu);
   void dedicated(Octets message, bool slow, const char* carrier);

   Carriers& state_;
   const Take& take_;
};

} // namespace quorva::capture
