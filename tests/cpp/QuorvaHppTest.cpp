// The header for C++: what its results, its contexts and its keys promise.
#include "quorva/quorva.hpp"
#include "quorva/TS24301Msg.h"
#include "quorva/TS24501Msg.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <span>

using quorva::Context;
using quorva::test::hexFromOctets;
using quorva::test::octetsFromHex;

namespace {

const char reject[] = "0744035f0104";
const auto integKey = octetsFromHex("0f1e2d3c4b5a69788796a5b4c3d2e1f0");
const auto cipherKey = octetsFromHex("00112233445566778899aabbccddeeff");
const char complete[] = "47c664ada000faba"; // Security mode complete, uplink, COUNT 0, under these keys

TEST(QuorvaHpp, CodesRecordsByTheirTypes) {
   Context ctxt;
   auto pdu = ctxt.decode<TS24301Msg_PDU>(octetsFromHex(reject));
   ASSERT_TRUE(pdu) << pdu.error().what();
   EXPECT_EQ(pdu->data.u.obj_AttachReject->emmCause, 3u);
   EXPECT_EQ(hexFromOctets(*ctxt.encode(*pdu)), reject);
   EXPECT_EQ(ctxt.to_string(*pdu, "PDU").substr(0, 5), "PDU {");
   const std::string json = ctxt.to_json(*pdu);
   EXPECT_EQ(ctxt.to_json(ctxt.from_json<TS24301Msg_PDU>(json).value()), json);
   EXPECT_EQ(*ctxt.get(*pdu, "data.obj_AttachReject.emmCause"), "illegalUE");
   // Presence and group bits go together.
   ctxt.set(*pdu, "data.obj_AttachReject.t3402Value.value.timerValue", "7").value();
   EXPECT_EQ(hexFromOctets(*ctxt.encode(*pdu)), "0744035f0104160107");

   const auto any = ctxt.decode(octetsFromHex("7e005b01"));
   ASSERT_TRUE(any);
   EXPECT_EQ((*any).as<TS24301Msg_PDU>(), nullptr);
   EXPECT_EQ((*any).as<TS24501Msg_PDU>()->data.u.obj_IdentityRequest5G->identity.typeOfIdent, 1u);
}

// Each is what another call would leave behind, if it did: they share a context.
TEST(QuorvaHpp, FailuresTellWhereTheyLie) {
   Context ctxt;
   const struct {
      const char* octets;
      int status;
      const char* path;
   } refused[] = {
         {"0744035f01", RTX_E_END_OF_DATA, "data.u.obj_AttachReject.t3346Value.value.unit"},
         {"07FF", RTX_E_BAD_CHOICE, "data"},
         {"074201490F0100f1100001400000F110", RTX_E_END_OF_DATA,
          "data.u.obj_AttachAccept.taiList.idents.elem[1].elements.partTrkIdentList0.mcc_mnc"},
         {"", RTX_E_END_OF_DATA, ""},
         {complete, RTX_E_NO_SECURITY, ""},
   };
   for (const auto& [octets, status, path] : refused) {
      const auto pdu = ctxt.decode<TS24301Msg_PDU>(octetsFromHex(octets));
      EXPECT_FALSE(pdu);
      EXPECT_EQ(pdu.status(), status) << octets;
      EXPECT_STREQ(pdu.error().path(), path) << octets;
      EXPECT_NE(ctxt.get(*pdu.partial(), path).status(), RTX_E_UNKNOWN_NAME) << path;
      try {
         pdu.value();
         ADD_FAILURE() << octets;
      } catch (const std::exception& error) {
         EXPECT_STREQ(error.what(), pdu.error().what());
         EXPECT_NE(std::string(error.what()).find(path), std::string::npos);
      }
   }
   EXPECT_STREQ(ctxt.decode<TS24008IE_P_TMSI_Type>({}).error().path(), "spare"); // a name of several words
   EXPECT_EQ(ctxt.decode<TS24301IE_PartialTrkAreaIdent0>(octetsFromHex("00")).status(), RTX_E_CANNOT_DO);
   const auto none = ctxt.decode(octetsFromHex("0F"));
   EXPECT_EQ(none.status(), RTX_E_BAD_CHOICE);
   EXPECT_EQ(ctxt.encode(*none).status(), RTX_E_NULL);
   EXPECT_EQ(ctxt.to_string(*none) + ctxt.to_json(*none), "");
   EXPECT_EQ(ctxt.get(*none, "msgType").status(), RTX_E_BAD_ARGUMENT);
   EXPECT_STREQ(ctxt.decode<TS24301Msg_PDU>(octetsFromHex("07FF")).error().what(),
                "RTX_E_BAD_CHOICE (-9) at data");

   auto& pdu = ctxt.make<TS24301Msg_PDU>();
   auto& attach = ctxt.make<TS24301Msg_AttachReject>();
   asn1SetTC_TS24301Msg_PDU_obj_AttachReject(ctxt, &pdu, &attach);
   attach.emmCause = 3;
   attach.m.esmMsgContPresent = 1; // which holds no message
   const auto octets = ctxt.encode(pdu);
   EXPECT_EQ(std::string(octets.error().path()).rfind("data.u.obj_AttachReject.esmMsgCont", 0), 0u)
         << octets.error().what();
   EXPECT_TRUE(octets.status() < 0);

   const auto json =
         ctxt.from_json<TS24301Msg_PDU>("{\"data\":\n{\"obj_AttachReject\":{\"emmCause\":\"no\"}}}");
   EXPECT_EQ(json.status(), RTX_E_BAD_ENUM);
   EXPECT_STREQ(json.error().what(), "no such name (line 2, column 33) at data.obj_AttachReject.emmCause");
   EXPECT_EQ(ctxt.set(pdu, "data.none", "1").status(), RTX_E_UNKNOWN_NAME);
   EXPECT_EQ(ctxt.get(pdu, "secHdr.seqNumber").status(), RTX_E_NOT_INIT);
   EXPECT_TRUE(ctxt.decode<TS24301Msg_PDU>(octetsFromHex(reject)));
}

TEST(QuorvaHpp, KeysOutliveResetsAndAreErased) {
   Context ctxt;
   EXPECT_EQ(ctxt.set_keys(2, integKey, 2, octetsFromHex("00")).status(), RTX_E_BAD_ARGUMENT);
   EXPECT_EQ(ctxt.set_keys(1, integKey, 2, cipherKey).status(), RTX_E_UNSUPPORTED); // in default mode
   ctxt.set_keys(2, integKey, 2, cipherKey).value();
   RtxContext* const inner = ctxt;
   for (int round = 0; round < 3; ++round) {
      ctxt.next(QUORVA_UPLINK, 0);
      EXPECT_EQ(ctxt.decode<TS24301Msg_PDU>(octetsFromHex(complete)).value().msgType, 0x5E);
      EXPECT_EQ(hexFromOctets(ctxt.octets().data(), ctxt.octets().size()), "47c664ada000075e");
      ctxt.next(QUORVA_UPLINK, 1);
      const auto wrong = ctxt.decode<TS24301Msg_PDU>(octetsFromHex(complete));
      EXPECT_LT(wrong.status(), 0);
      EXPECT_EQ(wrong.partial()->secHdr.seqNumber, 0);

      const auto zeros = [](const void* memory, size_t size) {
         const auto* octets = static_cast<const uint8_t*>(memory);
         return std::all_of(octets, octets + size, [](uint8_t octet) { return octet == 0; });
      };
      const RtxNasSecContext record = *inner->nasSec;
      EXPECT_FALSE(zeros(record.aesSchedules, 352) || zeros(record.cmacSubkeys, 32));
      if (round == 0) rtxMemReset(ctxt); // by the C interface
      if (round != 1) continue;
      ctxt.next(QUORVA_UPLINK, 0, 32); // which no message can have
      ctxt.reset();
      EXPECT_EQ(ctxt.octets().size(), 0u);
      EXPECT_TRUE(zeros(record.aesSchedules, 352) && zeros(record.cmacSubkeys, 32));
   }
   const uint8_t* const copies[] = {inner->nasSec->integKey, inner->nasSec->cipherKey};
   ctxt.clear_keys();
   for (const uint8_t* copy : copies) EXPECT_EQ(hexFromOctets(copy, 16), std::string(32, '0'));
   EXPECT_EQ(inner->nasSec, nullptr);
   EXPECT_EQ(inner->keptKeys, nullptr);
   EXPECT_EQ(ctxt.decode<TS24301Msg_PDU>(octetsFromHex(complete)).status(), RTX_E_NO_SECURITY);
}

TEST(QuorvaHpp, CountBearerAndDirectionCount) {
   Context ctxt;
   ctxt.set_keys(2, integKey, 0, {}).value();
   auto& request = ctxt.make<TS24501Msg_IdentityRequest>();
   request.identity.typeOfIdent = TS24501IE_TypeOfIdentity_suci;
   auto& pdu = ctxt.make<TS24501Msg_PDU>();
   asn1SetTC_TS24501Msg_PDU_obj_IdentityRequest5G(ctxt, &pdu, &request);
   pdu.m.secHdrPresent = 1;
   pdu.secHdr.protoDiscr = TS24501Msg_NAS5GProtoDiscr_mobMgmt5G;
   pdu.secHdr.secHdrType = TS24501Msg_NAS5GSecHdrType_integProt;
   pdu.secHdr.seqNumber = 5;
   ctxt.next(QUORVA_DOWNLINK, 0x105, 1);
   const auto octets = ctxt.encode(pdu).value();
   EXPECT_EQ(ctxt.decode(octets).status(), 0);
   const struct {
      QuorvaDirection direction;
      uint32_t count;
      uint8_t bearer;
      int status;
   } others[] = {{QUORVA_UPLINK, 0x105, 1, RTX_E_MAC_MISMATCH},
                 {QUORVA_DOWNLINK, 5, 1, RTX_E_MAC_MISMATCH},
                 {QUORVA_DOWNLINK, 0x105, 2, RTX_E_MAC_MISMATCH},
                 {QUORVA_DOWNLINK, 0x105, 32, RTX_E_BAD_ARGUMENT}};
   for (const auto& [direction, count, bearer, status] : others) {
      ctxt.next(direction, count, bearer);
      EXPECT_EQ(ctxt.decode<TS24501Msg_PDU>(octets).status(), status);
   }
}

TEST(QuorvaHpp, ContextsMoveWithTheirRecords) {
   Context first;
   auto& pdu = first.decode<TS24301Msg_PDU>(octetsFromHex(reject)).value();
   Context second = std::move(first);
   EXPECT_EQ(hexFromOctets(*second.encode(pdu)), reject);

   EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move)
   first.reset();
   first.clear_keys();
   first.next(QUORVA_UPLINK);
   const int statuses[] = {first.set_keys(0, {}, 0, {}).status(),
                           first.decode<TS24301Msg_PDU>(octetsFromHex(reject)).status(),
                           first.decode(octetsFromHex(reject)).status(),
                           first.encode(pdu).status(),
                           first.from_json<TS24301Msg_PDU>("{}").status(),
                           first.get(pdu, "msgType").status(),
                           first.set(pdu, "msgType", "1").status(),
                           first.visit(pdu, [](const QuorvaItem&) {}).status()};
   for (const int status : statuses) EXPECT_EQ(status, RTX_E_NOT_INIT);
   EXPECT_EQ(first.to_string(pdu), "");
   EXPECT_THROW(first.make<TS24301Msg_PDU>(), quorva::Error);
   first = Context(RTX_CTXT_STANDARD);
   EXPECT_TRUE(first.set_keys(3, integKey, 3, cipherKey));

   g_malloc_func = [](size_t) -> void* { return nullptr; };
   try {
      Context none;
      ADD_FAILURE();
   } catch (const quorva::Error& error) {
      EXPECT_EQ(error.status(), RTX_E_NOMEM);
   }
   g_malloc_func = std::malloc;
}

TEST(QuorvaHpp, TextsOfAnyLengthAndVisitorsThatThrow) {
   Context ctxt;
   auto& request = *asn1Test_TS24501Msg_RegRequest(ctxt);
   std::string text(1 << 20, '\0');
   RtxPrintToStringBuffer buffer = {text.data(), text.size(), 0};
   ASSERT_EQ(rtxSetPrintStream(ctxt, rtxPrintStreamToStringCB, &buffer), 0);
   const std::string printed = ctxt.to_string(request, "request");
   asn1PrtToStrm_TS24501Msg_RegRequest(ctxt, "request", &request); // to the stream of before
   EXPECT_GT(printed.size(), 8192u);
   EXPECT_EQ(printed, text.substr(0, buffer.used));

   size_t leaves = 0;
   EXPECT_TRUE(ctxt.visit(request, [&](const QuorvaItem& item) { leaves += item.path[0] != '\0'; }));
   EXPECT_GT(leaves, 100u);
   const auto stop = [&](const QuorvaItem&) {
      if (--leaves == 50) throw std::string("enough");
   };
   EXPECT_THROW((void)ctxt.visit(request, stop), std::string);
   EXPECT_EQ(leaves, 50u);
}

TEST(QuorvaHpp, OctetsOfAnyKind) {
   const uint8_t plain[] = {7, 0x52};
   const std::array<uint8_t, 2> array = {7, 0x52};
   const std::span<const uint8_t> span = array;
   for (const quorva::Octets octets :
        {quorva::Octets(plain), quorva::Octets(array), quorva::Octets(span),
         quorva::Octets(std::string_view("\x07\x52")), quorva::Octets(plain, 2)})
      EXPECT_EQ(hexFromOctets(octets.data(), octets.size()), "0752");
   EXPECT_EQ(std::span<const uint8_t>(quorva::Octets(array)).size(), 2u);
   static_assert(!std::is_constructible_v<quorva::Octets, std::vector<uint16_t>>);
   static_assert(!std::is_constructible_v<quorva::Octets, const char(&)[5]>, "digits, and a NUL");
   static_assert(!std::is_constructible_v<quorva::Value, const TS24301Msg_PDU&>,
                 "the encoder writes lengths");
   static_assert(std::is_constructible_v<quorva::View, const TS24301Msg_PDU&>);
   static_assert(!std::is_constructible_v<quorva::View, const uint32_t&>, "of which type would it be?");
}

} // namespace
