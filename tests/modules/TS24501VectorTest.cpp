// Messages of TS 24.501 from captures and from other projects' tests.

#include "quorva/TS24501Msg.h"
#include "tests/modules/messages.h"

namespace {

using namespace quorva::test;

// Containers that hold a message as octets.
void openContainers(Leaves& leaves) {
   for (size_t i = 0; i < leaves.size(); ++i)
      for (const char* container : {"nasContainer.contents", "nasMsgContainer.contents"})
         if (matches(leaves[i].path, container)) openMessage(leaves, i, "TS24501Msg_PDU");
}

// The block that holds a leaf.
std::string_view blockOf(const Leaf& leaf) {
   const size_t dot = leaf.path.find_last_of('.');
   return std::string_view(leaf.path).substr(0, dot == std::string::npos ? 0 : dot);
}

// A mobile identity is a length with an arm behind it, a value or a block.
std::string identityType(const Leaves& all, size_t i) {
   static const std::map<std::string_view, const char*> arms = {
         {"none", "0"},  {"suci", "1"},   {"guti", "2"},    {"imei", "3"},
         {"stmsi", "4"}, {"imeisv", "5"}, {"macaddr", "6"}, {"eui_64", "7"}};
   const std::string_view identity = blockOf(all[i]);
   if (i + 1 == all.size() || !all[i + 1].path.starts_with(identity)) return "";
   std::string_view arm = std::string_view(all[i + 1].path).substr(identity.size() + 1);
   arm = arm.substr(0, arm.find('.'));
   const auto found = arms.find(arm);
   return found == arms.end() ? "" : found->second;
}

// Labels, each behind the number of its characters; `i` is the first octet.
std::string dataNetworkName(const Leaves& all, size_t i) {
   if (!all[i].path.ends_with("[0]")) return "";
   std::string name;
   size_t left = 0;
   for (const std::string_view block = blockOf(all[i]); i < all.size() && blockOf(all[i]) == block; ++i) {
      const auto octet = as::numberOf(all[i].value);
      if (left == 0) {
         if (!name.empty()) name += '.';
         left = octet;
      } else {
         name += static_cast<char>(octet);
         --left;
      }
   }
   return name;
}

// The digits of the routing indicator that are there; digit 2 is the first one printed.
std::string routingIndicator(const Leaves& all, size_t i) {
   std::string digits;
   for (const size_t at : {i + 1, i, i + 3, i + 2})
      if (all.at(at).value != "15") digits += all[at].value;
   return digits;
}

// Digits of an identity under the null scheme.
std::string msin(const Leaves& all, size_t i) {
   std::string digits;
   for (const uint8_t octet : as::part(all[i])) {
      digits += static_cast<char>('0' + (octet & 15));
      if (octet >> 4 != 15) digits += static_cast<char>('0' + (octet >> 4));
   }
   return digits;
}

// That of a GPRS timer 3 has names, that of a GPRS timer 2 none.
std::string timerUnit(const Leaves& all, size_t i) {
   return std::isdigit(all[i].value[0]) ? all[i].value
                                        : as::enumeration(TS24008IE_GPRSTimer3_unit_ToEnum)(all, i);
}

// The record of a member.
std::string recordOf(std::string member) {
   member.resize(member.size() - 2); // "5G"
   return member == "MMStatus" || member.substr(0, 2) != "MM" ? member : member.substr(2);
}

// The type of a session and that of its address have names of their own for the same numbers.
std::string sessionType(const Leaves& all, size_t i) {
   const std::string& name = all[i].value;
   TS24501IE_SessionType type = 0;
   return std::to_string(TS24501IE_SessionType_ToEnum(nullptr, ("st_" + name).c_str(), &type) == 0 ||
                                     TS24501IE_SessionType_ToEnum(nullptr, name.c_str(), &type) == 0
                               ? type
                               : 99);
}

MessageRules rules() {
   MessageRules all = loadRules("facts-5gs.txt", {{"identityType", identityType},
                                                  {"routingIndicator", routingIndicator},
                                                  {"msin", msin},
                                                  {"timerUnit", timerUnit},
                                                  {"dataNetworkName", dataNetworkName},
                                                  {"sessionType", sessionType}});
   all.type = "TS24501Msg_PDU";
   all.macAt = 2;
   all.macOctets = 4;
   all.isProtected = [](const Vector& vector) {
      return vector.octets[0] == 0x7E && (vector.octets[1] & 15) != 0;
   };
   all.open = openContainers;
   all.facts["iei-order"] = identifiersOfElements(
         "TS24501Msg", recordOf,
         {"obj_ULNASTrans5G.snssai", "obj_ULNASTrans5G.dnn", "obj_EstablishAccept5G.snssai",
          "obj_EstablishAccept5G.dnn", "obj_SecModeCmd5G.eapMessage"});
   return all;
}

class Messages5GS : public testing::TestWithParam<Vector> {};

TEST_P(Messages5GS, DecodeAsTheirFactsSayAndEncodeBack) {
   static const MessageRules all = rules();
   checkMessage(GetParam(), all);
}

class ProtectedMessages5GS : public testing::TestWithParam<Vector> {};

TEST_P(ProtectedMessages5GS, VerifyAndDecipherAndShowDamage) {
   // The security header's type is not under its MAC: with the spare bits beside it a change stays without a
   // status as long as the rest is deciphered alike, but stands in the record.
   const auto headerShows = [original = GetParam().octets[1]](Message& message) {
      const auto& pdu = message.as<TS24501Msg_PDU>();
      return !pdu.m.secHdrPresent || (unsigned{pdu.secHdr.spare1} << 4 | pdu.secHdr.secHdrType) != original;
   };
   // A UCS2 name ends in a failure whatever protects it.
   const bool named = GetParam().name.find("configuration-update-command") != std::string::npos;
   checkProtected(GetParam(), "TS24501Msg_PDU", 2, 7, headerShows, named ? RTX_E_END_OF_DATA : 0);
}

INSTANTIATE_TEST_SUITE_P(Vectors, Messages5GS, vectorsOf("5gs.txt"), vectorName);
INSTANTIATE_TEST_SUITE_P(Vectors, ProtectedMessages5GS, vectorsOf("nas-security.txt", "sec-5gs-"),
                         vectorName);

} // namespace
