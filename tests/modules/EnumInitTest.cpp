// Enumeration tables and initialisers.

#include "quorva/modules.h"
#include "quorva/rtxStatus.h"

#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

struct Enumeration {
   const char* name;
   const RtxEnumItem* table;
   size_t rows;
   const char* (*toString)(int32_t);
   int (*toEnum)(RtxContext*, const char*, uint32_t*);
};

#define ENUMERATION(X)                                                                                       \
   { #X, X##_ENUMTAB, std::size(X##_ENUMTAB), X##_ToString, X##_ToEnum }

// With and without gaps, from 0, 1 and 5 on, with names that share a beginning or differ in case.
const Enumeration kEnumerations[] = {
      ENUMERATION(TS24007L3_SecHdrType),
      ENUMERATION(TS24007L3_ProtoDiscr),
      ENUMERATION(TS24008IE_NSAPIValues),
      ENUMERATION(TS24008IE_GSM400Struct_bandsSupported),
      ENUMERATION(TS24008IE_GPRSTimer3_unit),
      ENUMERATION(TS24008IE_TFTPacketFilterComponentType),
      ENUMERATION(TS24008IE_RejectCauseValue),
      ENUMERATION(TS24301IE_EMMCause),
      ENUMERATION(TS24301IE_NASSecurityAlgorithms_typeOfCiph),
      ENUMERATION(TS24301IE_PagingIdentity_ident),
      ENUMERATION(TS24501IE_RegistrationTypeValue),
      ENUMERATION(TS24501Msg_PDUSessionIdentity),
};

TEST(Enumerations, TablesAreInOrderByNameAndByValue) {
   for (auto& e : kEnumerations) {
      SCOPED_TRACE(e.name);
      std::set<size_t> places;
      int32_t last = -1;
      for (size_t i = 0; i < e.rows; ++i) {
         const RtxEnumItem& row = e.table[i];
         EXPECT_EQ(row.nameLength, strlen(row.name));
         if (i != 0) {
            EXPECT_LT(strcmp(e.table[i - 1].name, row.name), 0);
         }
         ASSERT_LT(row.valueOrder, e.rows);
         places.insert(row.valueOrder);
         EXPECT_GT(e.table[row.valueOrder].value, last);
         last = e.table[row.valueOrder].value;
      }
      EXPECT_EQ(places.size(), e.rows);
   }
}

TEST(Enumerations, NamesAndValuesFindEachOther) {
   for (auto& e : kEnumerations) {
      SCOPED_TRACE(e.name);
      std::set<int32_t> values;
      for (size_t i = 0; i < e.rows; ++i) {
         values.insert(e.table[i].value);
         EXPECT_STREQ(e.toString(e.table[i].value), e.table[i].name);
         uint32_t value = 0xAAAA;
         EXPECT_EQ(e.toEnum(nullptr, e.table[i].name, &value), 0);
         EXPECT_EQ(value, static_cast<uint32_t>(e.table[i].value));
      }
      for (int32_t value = -1; value < 300; ++value)
         if (values.count(value) == 0) {
            EXPECT_STREQ(e.toString(value), "_UNKNOWN_") << value;
         }
      EXPECT_STREQ(e.toString(INT32_MIN), "_UNKNOWN_");
      EXPECT_STREQ(e.toString(INT32_MAX), "_UNKNOWN_");
   }
}

TEST(Enumerations, ARefusedNameChangesNothing) {
   uint32_t value = 77;
   for (const char* name : {"integProtAnd", "NoSec", "", "noSecX", "zzz"})
      EXPECT_EQ(TS24007L3_SecHdrType_ToEnum(nullptr, name, &value), RTX_E_BAD_ENUM) << name;
   EXPECT_EQ(TS24007L3_SecHdrType_ToEnum(nullptr, nullptr, &value), RTX_E_BAD_ENUM);
   EXPECT_EQ(value, 77u);
   EXPECT_EQ(TS24007L3_SecHdrType_ToEnum2(nullptr, "integProtAndCipherAnd", 18, &value), 0);
   EXPECT_EQ(value, 2u);
}

template <class Record>
Record dirty(int (*init)(Record*)) {
   Record record;
   memset(&record, 0xFF, sizeof record);
   EXPECT_EQ(init(&record), 0);
   return record;
}

TEST(Init, ClearsWhatTellsWhatIsThereAndNothingElse) {
   const auto capability = dirty(asn1Init_TS24301IE_UENetworkCapability);
   EXPECT_EQ(capability.m.umtsEncryptAlgsPresent, 0);
   EXPECT_EQ(capability.m.spare4Present, 0);
   EXPECT_EQ(capability.spare4.numocts, 0u);
   EXPECT_EQ(capability.spare4.data, nullptr);
   EXPECT_EQ(capability.length, 0xFF); // a plain value is left alone
   EXPECT_EQ(capability.epsEncryptAlgs.eea0, 0xFF);

   const auto list = dirty(asn1Init_TS24301IE_TrackingAreaIdentList);
   EXPECT_EQ(list.idents.n, 0);
   EXPECT_EQ(list.idents.elem[0].typeOfList, 0xFF);

   const auto options = dirty(asn1Init_TS24007L3_L3HdrOptions);
   EXPECT_EQ(options.t, 0u);
   EXPECT_EQ(options.u.skipInd, 0);

   const auto pair = dirty(asn1Init_TS24008IE_MCCMNCPair);
   EXPECT_STREQ(pair.mcc, "");
   EXPECT_STREQ(pair.mnc, "");
   EXPECT_EQ(static_cast<uint8_t>(pair.mcc[1]), 0xFF);

   const auto identity = dirty(asn1Init_TS24301IE_EPSMobileIdentity);
   EXPECT_EQ(identity.filler, 15);
   EXPECT_EQ(identity.oddEvenInd, 0xFF);

   // Nested records, in a group of the message and in none.
   const auto accept = dirty(asn1Init_TS24301Msg_AttachAccept);
   EXPECT_EQ(accept.taiList.idents.n, 0);
   EXPECT_EQ(accept.guti.filler, 15);
   EXPECT_EQ(accept.m.group1Present, 0);
   EXPECT_EQ(accept.esmMessageContainer.pduSm.data.t, 0u);
   EXPECT_EQ(accept.cipherKeyData.dataSet.n, 0);

   // Spare bits in optional and in mandatory octets, in a group, in a record without an initialiser.
   const auto availability = dirty(asn1Init_TS24301IE_UERadioCapIdAvailability);
   EXPECT_EQ(availability.spare2, 0);
   EXPECT_EQ(availability.spare, 0);
   EXPECT_EQ(availability.value, 0xFF);
   EXPECT_EQ(capability.octet11.spare, 0);
   EXPECT_EQ(accept.result.spare, 0);
   EXPECT_EQ(static_cast<uint8_t>(accept.result.result), 0xFF);
   // Values alone go all together.
   const auto request = dirty(asn1Init_TS24501Msg_IdentityRequest);
   EXPECT_EQ(request.identity.typeOfIdent, 0u);
}

TEST(Init, PDU) {
   const auto pdu = dirty(asn1Init_TS24301Msg_PDU);
   EXPECT_EQ(pdu.m.secHdrPresent, 0);
   EXPECT_EQ(pdu.secHdr.msgAuthCode, 0u);
   EXPECT_EQ(pdu.protoDiscr, 0u);
   EXPECT_EQ(pdu.data.t, 0u);
   EXPECT_EQ(pdu.data.u.obj_AttachAccept, nullptr);
   const auto pdu5 = dirty(asn1Init_TS24501Msg_PDU); // the rest shows in its print
   EXPECT_EQ(pdu5.m.secHdrPresent, 0);
   EXPECT_EQ(pdu5.data.u.obj_RegAccept5G, nullptr);
}

// PDUs and records: SelectorTest.cpp and RoundTripTest.cpp.
TEST(Sample, OfTexts) {
   char digits[sizeof(TS24008IE_IMSI)];
   EXPECT_EQ(asn1Test_TS24008IE_IMSI(nullptr, digits), digits);
   EXPECT_EQ(strspn(digits, "0123456789"), strlen(digits));
   EXPECT_EQ(asn1Test_TS24008IE_TBCDString(), asn1Test_TS24008IE_TBCDString());
}

} // namespace
