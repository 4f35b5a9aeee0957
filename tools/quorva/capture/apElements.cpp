// S1AP (TS 36.413) and NGAP (TS 38.413): to the NAS messages in their PDUs. Both put their elements into open
// types, whose lengths stand on octets' borders: a walk over these finds a NAS-PDU without knowing the
// others. Only lists of bearers and sessions are read bit by bit.

#include "tools/quorva/capture/perReader.h"
#include "tools/quorva/capture/walk.h"

#include <algorithm>

namespace quorva::capture {

namespace {

// A procedure that carries NAS messages, and where these go. What was not delivered was on its way down.
struct Procedure {
   unsigned code;
   Direction direction;
};

using Messages = std::vector<std::vector<uint8_t>>;

// A list of bearers or sessions, or an item of one, in which messages may stand.
struct List {
   unsigned element;
   void (*read)(PerReader& reader, Messages& messages);
};

void takeMessage(PerReader& reader, Messages& messages) {
   const Octets octets = reader.openOctets();
   if (reader.good()) messages.emplace_back(octets.begin(), octets.end());
}

// SEQUENCE OF ProtocolExtensionField: 1 to 65,535 of them.
void skipExtensions(PerReader& reader) {
   for (size_t count = size_t{reader.alignedNumber(2)} + 1; count > 0 && reader.good(); --count) {
      reader.alignedNumber(2); // id
      reader.bits(2);          // criticality
      reader.openOctets();
   }
}

// E-RABLevelQoSParameters, TS 36.413, 9.2.1.15.
void skipQos(PerReader& reader) {
   const bool extended = reader.flag(), gbr = reader.flag(), extensions = reader.flag();
   reader.alignedNumber(1); // QCI
   const bool retentionExtended = reader.flag(), retentionExtensions = reader.flag();
   reader.bits(4 + 1 + 1); // priority, pre-emption
   if (retentionExtensions) skipExtensions(reader);
   if (retentionExtended) reader.skipAdditions();
   if (gbr) {
      const bool gbrExtended = reader.flag(), gbrExtensions = reader.flag();
      for (int rate = 0; rate < 4; ++rate) reader.skipLargeNumber(3); // up to 10^10: five octets
      if (gbrExtensions) skipExtensions(reader);
      if (gbrExtended) reader.skipAdditions();
   }
   if (extensions) skipExtensions(reader);
   if (extended) reader.skipAdditions();
}

void skipBearerId(PerReader& reader) {
   if (reader.flag()) {
      reader.openOctets(); // a number beyond 15
   } else {
      reader.bits(4);
   }
}

// A transport layer address of 1 to 160 bits, or more; a tunnel endpoint identifier.
void skipTunnel(PerReader& reader) {
   if (reader.flag()) {
      const size_t bits = reader.alignedNumber(1);
      reader.aligned((bits + 7) / 8);
   } else {
      const size_t bits = reader.bits(8) + 1;
      reader.aligned((bits + 7) / 8);
   }
   reader.aligned(4);
}

// Reads the items of a list, each in a field of its own: 1 to 256 of them.
template <unsigned kItem, auto kRead>
void readFields(PerReader& reader, Messages& messages) {
   for (size_t count = size_t{reader.alignedNumber(1)} + 1; count > 0 && reader.good(); --count) {
      const bool known = reader.alignedNumber(2) == kItem;
      reader.bits(2);
      PerReader item(reader.openOctets());
      if (known) kRead(item, messages);
   }
}

// E-RABToBeSetupItemCtxtSUReq, its message being optional, and E-RABToBeSetupItemBearerSUReq.
template <bool kOptional>
void readSetup(PerReader& item, Messages& messages) {
   item.bits(1);
   const bool present = !kOptional || item.flag();
   item.bits(1);
   skipBearerId(item);
   skipQos(item);
   skipTunnel(item);
   if (present) takeMessage(item, messages);
}

// E-RABToBeModifiedItemBearerModReq.
void readModification(PerReader& item, Messages& messages) {
   item.bits(2);
   skipBearerId(item);
   skipQos(item);
   takeMessage(item, messages);
}

// Items of PDU sessions, TS 38.413, 9.3.4: identity, message, slice where one is set up, transfer.
template <bool kSlice>
void readSessions(PerReader& reader, Messages& messages) {
   for (size_t count = size_t{reader.alignedNumber(1)} + 1; count > 0 && reader.good(); --count) {
      const bool extended = reader.flag(), present = reader.flag(), extensions = reader.flag();
      reader.alignedNumber(1);
      if (present) takeMessage(reader, messages);
      if (kSlice) {
         const bool sliceExtended = reader.flag(), differentiator = reader.flag(), more = reader.flag();
         reader.bits(8);
         if (differentiator) reader.aligned(3);
         if (more) skipExtensions(reader);
         if (sliceExtended) reader.skipAdditions();
      }
      reader.openOctets();
      if (extensions) skipExtensions(reader);
      if (extended) reader.skipAdditions();
   }
}

} // namespace

struct ApplicationProtocol {
   const char* name;
   const char* type;  // of its messages
   unsigned message;  // element NAS-PDU
   unsigned terminal; // element that names the terminal on the radio side
   std::span<const Procedure> procedures;
   std::span<const List> lists;
};

namespace {

constexpr Procedure kS1apProcedures[] = {
      {5, Direction::downlink},  // E-RABSetup
      {6, Direction::downlink},  // E-RABModify
      {7, Direction::downlink},  // E-RABRelease
      {9, Direction::downlink},  // InitialContextSetup
      {11, Direction::downlink}, // DownlinkNASTransport
      {12, Direction::uplink},   // InitialUEMessage
      {13, Direction::uplink},   // UplinkNASTransport
      {16, Direction::downlink}, // NASNonDeliveryIndication
};
constexpr List kS1apLists[] = {
      {16, readFields<17, readSetup<false>>},
      {24, readFields<52, readSetup<true>>},
      {30, readFields<36, readModification>},
};
constexpr ApplicationProtocol kS1ap = {"S1AP", "TS24301Msg_PDU", 26, 8, kS1apProcedures, kS1apLists};

constexpr Procedure kNgapProcedures[] = {
      {4, Direction::downlink},  // DownlinkNASTransport
      {14, Direction::downlink}, // InitialContextSetup
      {15, Direction::uplink},   // InitialUEMessage
      {19, Direction::downlink}, // NASNonDeliveryIndication
      {26, Direction::downlink}, // PDUSessionResourceModify
      {28, Direction::downlink}, // PDUSessionResourceRelease
      {29, Direction::downlink}, // PDUSessionResourceSetup
      {46, Direction::uplink},   // UplinkNASTransport
};
constexpr List kNgapLists[] = {
      {64, readSessions<false>},
      {71, readSessions<true>},
      {74, readSessions<true>},
};
constexpr ApplicationProtocol kNgap = {"NGAP", "TS24501Msg_PDU", 38, 85, kNgapProcedures, kNgapLists};

} // namespace

void Walk::elements(const ApplicationProtocol& protocol, Octets pdu) {
   PerReader outer(pdu);
   const uint32_t kind = outer.bits(3); // 0: initiating; the messages of others are no NAS messages
   const unsigned code = outer.alignedNumber(1);
   outer.bits(2); // criticality
   const auto procedure = std::find_if(protocol.procedures.begin(), protocol.procedures.end(),
                                       [code](const Procedure& each) { return each.code == code; });
   if (outer.good() && (kind != 0 || procedure == protocol.procedures.end())) return;

   PerReader reader(outer.openOctets());
   reader.bits(1);
   Messages messages;
   bool good = outer.good();
   for (size_t count = reader.alignedNumber(2); good && count > 0 && reader.good(); --count) {
      const unsigned element = reader.alignedNumber(2);
      reader.bits(2);
      const Octets value = reader.openOctets();
      if (!reader.good()) break;
      if (element == protocol.terminal) terminal = value;
      PerReader inner(value);
      if (element == protocol.message) takeMessage(inner, messages);
      for (const List& each : protocol.lists)
         if (each.element == element) each.read(inner, messages);
      good = inner.good();
   }
   if (procedure != protocol.procedures.end()) direction = procedure->direction;
   for (const auto& message : messages) found(message, protocol.type, protocol.name);
   if (!good || !reader.good()) fault(protocol.name, "its elements don't end within the PDU");
}

void Walk::s1ap(Octets pdu) {
   elements(kS1ap, pdu);
}

void Walk::ngap(Octets pdu) {
   elements(kNgap, pdu);
}

} // namespace quorva::capture
