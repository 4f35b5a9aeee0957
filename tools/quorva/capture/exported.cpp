// Exported PDUs: what a protocol analyser was asked to write by itself, behind tags that tell of its origin.

#include "tools/quorva/capture/walk.h"

#include <algorithm>
#include <string_view>

namespace quorva::capture {

namespace {

enum Tag : unsigned {
   kEnd = 0,
   kDissectorName = 12,
   kTableName = 14,
   kSourceIPv4 = 20,
   kTargetIPv4 = 21,
   kSourceIPv6 = 22,
   kTargetIPv6 = 23,
   kTableNumber = 32,
   kDirection = 35,
};

// What a dissector's name stands for: a carrier to go on with, or a message of a type.
struct Content {
   std::string_view name;
   void (Walk::*walk)(Octets);
   const char* type;
   const char* carrier;
};

constexpr Content kContents[] = {
      {"nas-eps", nullptr, "TS24301Msg_PDU", "exported NAS-EPS"},
      {"nas-eps_plain", nullptr, "TS24301Msg_PDU", "exported NAS-EPS"},
      {"nas-5gs", nullptr, "TS24501Msg_PDU", "exported NAS-5GS"},
      {"gsm_a_dtap", nullptr, nullptr, "exported DTAP"},
      {"s1ap", &Walk::s1ap, nullptr, nullptr},
      {"ngap", &Walk::ngap, nullptr, nullptr},
      {"sctp", &Walk::sctp, nullptr, nullptr},
      {"gsmtap", &Walk::gsmtap, nullptr, nullptr},
      {"ip", &Walk::internet, nullptr, nullptr},
      {"eth", &Walk::ethernet, nullptr, nullptr},
      {"eth_withoutfcs", &Walk::ethernet, nullptr, nullptr},
};

std::string_view textOf(Octets octets) {
   const std::string_view text(reinterpret_cast<const char*>(octets.data()), octets.size());
   return text.substr(0, text.find('\0'));
}

void setAddress(Address& address, Octets octets, size_t size) {
   if (octets.size() < size) return;
   std::copy_n(octets.begin(), size, address.octets);
   address.size = static_cast<uint8_t>(size);
}

} // namespace

void Walk::exportedPdu(Octets frame) {
   Reader reader(frame);
   std::string_view name, table;
   unsigned number = 0;
   for (;;) {
      const unsigned tag = reader.number(2);
      const Octets value = reader.take(reader.number(2));
      if (!reader.good()) return fault("exported PDU", "its tags don't end");
      if (tag == kEnd) break;
      switch (tag) {
      case kDissectorName: name = textOf(value); break;
      case kTableName: table = textOf(value); break;
      case kTableNumber: number = Reader(value).number(4); break;
      case kSourceIPv4: setAddress(source, value, 4); break;
      case kTargetIPv4: setAddress(target, value, 4); break;
      case kSourceIPv6: setAddress(source, value, 16); break;
      case kTargetIPv6: setAddress(target, value, 16); break;
      case kDirection:
         // 0 and 1; the number for "unknown" is another.
         if (const unsigned way = Reader(value).number(4); value.size() >= 4 && way < 2)
            direction = way == 0 ? Direction::uplink : Direction::downlink;
         break;
      default: break;
      }
   }
   if (name.empty() && table == "sctp.ppi") name = number == 18 ? "s1ap" : number == 60 ? "ngap" : "";
   for (const Content& each : kContents) {
      if (each.name != name) continue;
      if (each.walk != nullptr) return (this->*each.walk)(reader.rest());
      return found(reader.rest(), each.type, each.carrier);
   }
}

} // namespace quorva::capture
