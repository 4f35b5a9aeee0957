// What makes a PDU hold a message, over all messages of all PDUs: it encodes as it is, and comes back as
// that.

#include "modules/records.h"
#include "quorva/modules.h"
#include "quorva/quorva.hpp"

#include <map>

using namespace quorva::test;
using quorva_test::Capture;

namespace {

template <class T>
T* sample(RtxContext* ctxt, const char* name) {
   auto* value = static_cast<T*>(quorvaFindType(name)->sample(ctxt));
   EXPECT_NE(value, nullptr);
   return value;
}

struct Message {
   const char *pdu, *member;
   uint32_t selector;
   void (*set)(RtxContext* ctxt, void* pdu);
};
const Message kMessages[] = {
#include "tests/selectors.inc"
};

// In a record that is new, and in one that held another message before, of whatever protocol.
TEST(Selectors, MakePdusThatEncodeAsTheyAre) {
   std::map<std::string, Room> used;
   for (const bool again : {false, true}) {
      for (const Message& message : kMessages) {
         SCOPED_TRACE(std::string(message.pdu) + ' ' + message.member);
         const QuorvaType& type = *quorvaFindType(message.pdu);
         const bool uplink = std::string(message.pdu).find("UL_") != std::string::npos;
         Capture there(kTextRoom), back(kTextRoom);
         Room fresh(type, 0), decoded(type, 0xFF);
         void* pdu = again ? used.try_emplace(message.pdu, type, 0).first->second.get() : fresh.get();
         message.set(&there.ctxt, pdu);
         Coded coded = encode(there.ctxt, type, pdu);
         EXPECT_EQ(coded.status, 0);
         if (uplink) rtxCtxtSetFlag(&back.ctxt, RTX_CTXT_UPLINK);
         EXPECT_EQ(decode(back.ctxt, type, coded.octets, decoded.get()), 0);
         EXPECT_EQ(textOf(back, type, decoded.get()), textOf(there, type, pdu));
      }
   }
   EXPECT_EQ(std::size(kMessages), 370u);
}

// A path to the message, and JSON of the message alone, have the PDU's header say the same, with one message
// behind the other in a record too.
TEST(Selectors, AreThoseOfPathsAndOfJson) {
   std::map<std::string, std::pair<Room, Room>> used;
   for (const Message& message : kMessages) {
      const QuorvaType& type = *quorvaFindType(message.pdu);
      const auto jsonOf = [&type](Room& pdu) { return quorva::Context().to_json({type, pdu.get()}); };
      const auto header = [&jsonOf](Room& pdu) {
         const std::string json = jsonOf(pdu);
         return json.substr(0, json.find("\"data\""));
      };
      SCOPED_TRACE(std::string(message.pdu) + ' ' + message.member);
      Capture capture(kTextRoom);
      Room fresh(type, 0), read(type, 0xFF);
      if (header(fresh).find("l3HdrOpts") == std::string::npos) continue;
      auto& [set, went] = used.try_emplace(message.pdu, std::piecewise_construct,
                                           std::forward_as_tuple(type, 0), std::forward_as_tuple(type, 0))
                                .first->second;
      message.set(&capture.ctxt, set.get());
      const std::string path = std::string("data.") + message.member;
      EXPECT_NE(quorvaSet(&capture.ctxt, &type, went.get(), path.c_str(), ""), RTX_E_UNKNOWN_NAME);
      EXPECT_EQ(header(went), header(set));
      message.set(&capture.ctxt, fresh.get());
      const std::string whole = jsonOf(fresh), json = '{' + whole.substr(whole.find("\"data\""));
      EXPECT_EQ(quorvaFromJson(&capture.ctxt, &type, read.get(), json.data(), json.size(), nullptr), 0);
      EXPECT_EQ(jsonOf(read), whole);
      EXPECT_EQ(encode(capture.ctxt, type, read.get()).status, 0);
   }
   EXPECT_EQ(used.size(), 8u);
}

TEST(Selectors, LeaveHeaderOptionsThatTheCallerHasChosen) {
   TS24301Msg_PDU pdu = {};
   pdu.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_epsBearerIdent;
   pdu.l3HdrOpts.u.epsBearerIdent = TS24007L3_EPSBearerIdentity_id5;
   asn1SetTC_TS24301Msg_PDU_obj_ESMInfoReq(nullptr, &pdu);
   EXPECT_EQ(pdu.l3HdrOpts.u.epsBearerIdent, 5u);
   asn1SetTC_TS24301Msg_PDU_obj_DetachAccept(nullptr, &pdu); // a mobility message has no bearer
   EXPECT_EQ(pdu.l3HdrOpts.t, TS24007L3_L3HdrOptions_t_secHdr);
   EXPECT_EQ(pdu.l3HdrOpts.u.secHdr, 0);
   pdu.l3HdrOpts.t = TS24007L3_L3HdrOptions_t_skipInd;
   pdu.l3HdrOpts.u.skipInd = 12;
   asn1SetTC_TS24301Msg_PDU_obj_ESMInfoReq(nullptr, &pdu);
   EXPECT_EQ(pdu.l3HdrOpts.u.skipInd, 12);
}

// One message has different selectors in different PDUs.
static_assert(TS24301Msg_PDU_t_obj_ActvDfltEPSBearerCtxtReq == 37);
static_assert(TS24301Msg_PDU_SM_t_obj_ActvDfltEPSBearerCtxtReq == 6);
static_assert(TS24301Msg_msgType_AttachAccept == 0x42);
static_assert(TS24501Msg_PDU_t_obj_EstablishRequest5G == 38 &&
              TS24501Msg_PDU_SM_t_obj_EstablishRequest5G == 1);
static_assert(TS24008Msg_msgType_IdentityRequest == 24);
static_assert(TS44018Msg_L2_PSEUDO_LEN_PDU_restOctets_t_obj_SystemInformationType1 == 9);
static_assert(TS44018Msg_RR_Short_PD_PDU_msgType_notification_facch == 1);
static_assert(TS24011Msg_RP_PDU_infoElem_rpMsgType_smma == 6);

} // namespace
