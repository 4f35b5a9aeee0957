// Link layers: Ethernet, Linux cooked, loopback, raw IP, and those that hold messages themselves.

#include "tools/quorva/capture/walk.h"

#include <algorithm>

namespace quorva::capture {

void Walk::found(Octets octets, const char* type, const char* carrier) {
   if (octets.empty()) return;
   Finding finding;
   finding.octets = octets;
   finding.type = type;
   finding.carrier = carrier;
   finding.direction = direction;
   finding.source = source;
   finding.target = target;
   finding.terminal = terminal;
   take_(finding);
}

void Walk::fault(const char* carrier, std::string why) {
   Finding finding;
   finding.carrier = carrier;
   finding.direction = direction;
   finding.source = source;
   finding.target = target;
   finding.fault = std::move(why);
   take_(finding);
}

void Walk::byEtherType(unsigned type, Octets packet) {
   Reader reader(packet);
   // Tags of IEEE 802.1Q and 802.1ad, and one from before they had a number.
   while (type == 0x8100 || type == 0x88A8 || type == 0x9100) {
      reader.skip(2);
      type = reader.number(2);
   }
   if (type == 0x0800 || type == 0x86DD) internet(reader.rest());
}

void Walk::ethernet(Octets frame) {
   Reader reader(frame);
   reader.skip(12);
   const unsigned type = reader.number(2);
   byEtherType(type, reader.rest());
}

void Walk::cooked(Octets frame) {
   Reader reader(frame);
   reader.skip(14);
   const unsigned type = reader.number(2);
   byEtherType(type, reader.rest());
}

void Walk::cooked2(Octets frame) {
   Reader reader(frame);
   const unsigned type = reader.number(2);
   reader.skip(18);
   byEtherType(type, reader.rest());
}

// The address family ahead has another number, in another octet order, on each system: the packet tells its
// version as well.
void Walk::loopback(Octets frame) {
   Reader reader(frame);
   reader.skip(4);
   internet(reader.rest());
}

namespace {

constexpr const char* kUserNames[] = {"USER0",  "USER1",  "USER2",  "USER3", "USER4",  "USER5",
                                      "USER6",  "USER7",  "USER8",  "USER9", "USER10", "USER11",
                                      "USER12", "USER13", "USER14", "USER15"};

struct Link {
   int type; // as libpcap has it
   void (Walk::*walk)(Octets);
};

constexpr Link kLinks[] = {
      {0, &Walk::loopback},      {1, &Walk::ethernet},   {12, &Walk::internet},  {14, &Walk::internet},
      {101, &Walk::internet},    {108, &Walk::loopback}, {113, &Walk::cooked},   {217, &Walk::gsmtap},
      {218, &Walk::gsmtap},      {228, &Walk::internet}, {229, &Walk::internet}, {248, &Walk::sctp},
      {252, &Walk::exportedPdu}, {276, &Walk::cooked2},
};

const Link* linkOf(int type) {
   const auto* link = std::find_if(std::begin(kLinks), std::end(kLinks),
                                   [type](const Link& each) { return each.type == type; });
   return link == std::end(kLinks) ? nullptr : link;
}

} // namespace

bool Carriers::knows(int linkType) {
   return isUserLink(linkType) || linkOf(linkType) != nullptr;
}

void Carriers::find(int linkType, Octets frame, const Take& take) {
   Walk walk(*this, take);
   if (isUserLink(linkType)) {
      walk.found(frame, nullptr, kUserNames[linkType - 147]);
   } else if (const Link* link = linkOf(linkType)) {
      (walk.*link->walk)(frame);
   }
}

} // namespace quorva::capture
