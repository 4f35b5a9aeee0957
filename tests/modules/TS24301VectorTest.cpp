// Real EPS messages: what they say, and that they come out again as they went in.

#include "quorva/modules.h"
#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

bool isServiceRequest(const Octets& octets) {
   return octets[0] >> 4 >= 12;
}

bool isProtected(const Octets& octets) {
   return (octets[0] & 15) == 7 && octets[0] >> 4 >= 1 && octets[0] >> 4 <= 4;
}

// What the application would do with a NAS message container: the CP message in it, and the RP message in
// that.
void openContainers(Leaves& leaves) {
   for (size_t i = 0; i < leaves.size(); ++i) {
      const std::string path = leaves[i].path;
      if (!matches(path, "obj_DLNASTransport") && !matches(path, "obj_ULNASTransport") &&
          !matches(path, "nasMsgCont") && !matches(path, "obj_CP_DATA.cpUserData"))
         continue;
      openMessage(leaves, i, matches(path, "cpUserData") ? "TS24011Msg_RP_PDU" : "TS24011Msg_CP_PDU");
   }
}

std::string serviceType(const Leaves& all, size_t i) {
   const std::string& value = all[i].value;
   if (value == "moCSFallback") return "0";
   if (value == "mtCSFallBack") return "1";
   if (value == "moCSFBEmergCall") return "2";
   if (value == "pktSvcsViaS1") return "8";
   return value;
}

// Addresses of a PDN: an interface identifier, an IPv4 address, or one behind the other.
std::string pdnIpv4(const Leaves& all, size_t i) {
   const Octets octets = as::part(all[i]);
   return octets.size() == 4 ? as::ipv4(all, i) : as::grouped(as::part(all[i], 8), '.');
}

std::string pdnInterface(const Leaves& all, size_t i) {
   return as::part(all[i]).size() == 4 ? "" : as::grouped(as::part(all[i], 0, 8), ':');
}

MessageRules rules() {
   MessageRules all =
         loadRules("facts-eps.txt",
                   {{"serviceType", serviceType}, {"pdnIpv4", pdnIpv4}, {"pdnInterface", pdnInterface}});
   all.type = "TS24301Msg_PDU";
   all.facts["iei-order"] = identifiersOfElements("TS24301Msg");
   all.facts["plmn"] = networksOf(as::plmn, {"content.imsi", "obj_IdentResp.imsi"});
   all.open = openContainers;
   all.macAt = 1;
   all.macOctets = 4;
   all.isProtected = [](const Vector& vector) { return isProtected(vector.octets); };
   return all;
}

// The short form has the code of two octets in the message.
MessageRules shortFormRules() {
   MessageRules all = rules();
   all.macAt = 2;
   all.macOctets = 2;
   all.isProtected = [](const Vector&) { return true; };
   return all;
}

class EpsMessages : public testing::TestWithParam<Vector> {};

TEST_P(EpsMessages, DecodeAsTheirFactsSayAndEncodeBack) {
   static const MessageRules longForm = rules(), shortForm = shortFormRules();
   checkMessage(GetParam(), isServiceRequest(GetParam().octets) ? shortForm : longForm);
}

// Without a security state a computation fails with -71. For the code alone that is recorded and decoding
// goes on; that there is no deciphering stops it, with the same status.
TEST_P(EpsMessages, WithoutASecurityState) {
   const Vector& vector = GetParam();
   if (!isProtected(vector.octets) && !isServiceRequest(vector.octets)) return;
   Message message("TS24301Msg_PDU");
   setDirection(message.context(), vector);
   EXPECT_EQ(message.decode(vector.octets), RTX_E_NO_SECURITY);
   const bool enciphered = isProtected(vector.octets) && (vector.octets[0] >> 4) % 2 == 0;
   const auto& pdu = message.as<TS24301Msg_PDU>();
   EXPECT_EQ(pdu.m.secHdrPresent, 1);
   EXPECT_EQ(pdu.data.t != 0, !enciphered);
}

class ProtectedEpsMessages : public testing::TestWithParam<Vector> {};

TEST_P(ProtectedEpsMessages, VerifyAndDecipherAndShowDamage) {
   // The code does not cover the type of the security header: a change of that one shows in the record alone.
   const auto headerShows = [original = GetParam().octets[0] >> 4](Message& message) {
      const auto& pdu = message.as<TS24301Msg_PDU>();
      return !pdu.m.secHdrPresent || pdu.secHdr.secHdrType != static_cast<uint32_t>(original);
   };
   checkProtected(GetParam(), "TS24301Msg_PDU", 1, 6, headerShows);
}

// What a deciphered message says is what the same message says that was never protected.
TEST_P(ProtectedEpsMessages, SayWhatThePlainOnesSay) {
   const Vector& vector = GetParam();
   if (!vector.has("plain")) return;
   Message message("TS24301Msg_PDU"), plain("TS24301Msg_PDU");
   setDirection(message.context(), vector);
   setDirection(plain.context(), vector);
   SecurityState::of(vector).apply(message.context());
   ASSERT_EQ(message.decode(vector.octets), 0);
   ASSERT_EQ(plain.decode(vector.hex("plain")), 0);
   const Leaves expected = plain.leaves();
   Leaves found = message.leaves();
   std::erase_if(found, [](const Leaf& leaf) { return leaf.path.compare(0, 7, "secHdr.") == 0; });
   ASSERT_EQ(found.size(), expected.size());
   for (size_t i = 0; i < found.size(); ++i) {
      EXPECT_EQ(found[i].path, expected[i].path);
      EXPECT_EQ(found[i].value, expected[i].value) << found[i].path;
   }
}

// The code that stood in the record is not what the encoder writes; the one that it writes stands there then.
TEST_P(ProtectedEpsMessages, EncodersStoreTheCode) {
   const Vector& vector = GetParam();
   Message message("TS24301Msg_PDU");
   setDirection(message.context(), vector);
   SecurityState::of(vector).apply(message.context());
   ASSERT_EQ(message.decode(vector.octets), 0);
   auto& pdu = message.as<TS24301Msg_PDU>();
   pdu.secHdr.msgAuthCode = 0x12345678;
   const bool shortForm = isServiceRequest(vector.octets);
   if (shortForm) pdu.data.u.obj_ServiceRequest->shortMAC[0] ^= 0xFF;
   int status = 0;
   EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(vector.octets));
   if (shortForm) {
      EXPECT_EQ(hexFromOctets(pdu.data.u.obj_ServiceRequest->shortMAC, 2),
                hexFromOctets(vector.octets).substr(4));
   } else {
      EXPECT_EQ(as::hexNumber(pdu.secHdr.msgAuthCode, 8), "0x" + vector.fact("mac"));
   }
}

TEST_P(ProtectedEpsMessages, CountBearerDirectionAndKeysEnterTheCode) {
   const Vector& vector = GetParam();
   const auto statusWith = [&vector](auto change) {
      SecurityState state = SecurityState::of(vector);
      change(state);
      Message message("TS24301Msg_PDU");
      setDirection(message.context(), vector);
      state.apply(message.context());
      return message.decode(vector.octets);
   };
   EXPECT_EQ(statusWith([](SecurityState&) {}), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { ++state.count; }), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { ++state.bearer; }), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { state.direction ^= 1; }), 0);
   EXPECT_LT(statusWith([](SecurityState& state) { state.integKey[15] ^= 1; }), 0);
}

INSTANTIATE_TEST_SUITE_P(Vectors, EpsMessages, vectorsOf("eps.txt"), vectorName);
INSTANTIATE_TEST_SUITE_P(Vectors, ProtectedEpsMessages, vectorsOf("nas-security.txt", "sec-eps-"),
                         vectorName);

} // namespace
