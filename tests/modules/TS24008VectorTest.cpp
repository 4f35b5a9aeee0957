// Messages of TS 24.008 from the air and from other projects: what they say, and that they come out again as
// they went in.

#include "quorva/TS24008Msg.h"
#include "tests/modules/messages.h"

#include <algorithm>

namespace {

using namespace quorva::test;

// Their radio access capability ends with the last group of a release that the newest decoder knows. Its
// container stays open then and hides the optional elements; an older decoder reads them.
const std::set<std::string_view> kEndOnGroup = {"attach-request-1", "attach-request-2",
                                                "routing-area-update-request-1",
                                                "routing-area-update-request-2"};
constexpr uint16_t kOlderRelease = 4;

std::vector<std::string> sequenceNumber(const FactSource& source) {
   std::vector<std::string> values = at(as::number, {"sendSeqNum"})(source);
   if (values.empty()) values.emplace_back("0");
   return values;
}

// Digits that are not there read as 15 each.
std::string networkOfPair(const Leaves& all, size_t i) {
   const std::string pair = as::plmn(all, i);
   return pair == "-" ? "1665-1665" : pair;
}

// Cause values of call control are noted in hex.
std::string causeValue(const Leaves& all, size_t i) {
   return as::hexNumber(as::numberOf(all[i].value), 2);
}

// A setup container holds the elements of a Setup message.
std::string recordOf(std::string record) {
   return record == "CC_Establishment" ? "Setup" : record;
}

std::string transferCapability(const Leaves& all, size_t i) {
   return as::hexNumber(as::numberOf(as::enumeration(TS24008IE_InfoXferCap_ToEnum)(all, i)), 2);
}

MessageRules rules() {
   MessageRules all =
         loadRules("facts-ts24008.txt", {{"causeValue", causeValue}, {"transferCap", transferCapability}});
   all.type = "TS24008Msg_PDU";
   all.facts["iei-order"] = identifiersOfElements("TS24008Msg", recordOf);
   all.facts["send-sequence"] = sequenceNumber;
   all.facts["plmn"] = networksOf(networkOfPair, {"imsi"});
   all.open = [](Leaves& leaves) {
      for (size_t i = 0; i < leaves.size(); ++i)
         if (matches(leaves[i].path, "data.obj_CC_Establishment")) openMessage(leaves, i, "TS24008Msg_Setup");
   };
   all.prepare = [](RtxContext* ctxt, const Vector& vector) {
      if (kEndOnGroup.count(vector.name) != 0) ctxt->protocolRelease = kOlderRelease;
   };
   return all;
}

class MessagesTS24008 : public testing::TestWithParam<Vector> {};

TEST_P(MessagesTS24008, DecodeAsTheirFactsSayAndEncodeBack) {
   static const MessageRules all = rules();
   checkMessage(GetParam(), all);
}

INSTANTIATE_TEST_SUITE_P(Vectors, MessagesTS24008, vectorsOf("ts24008.txt"), vectorName);

// With the newest release the four lose what follows the capability, and come out without it.
TEST(VectorsTS24008, ACapabilityThatEndsOnAGroupHidesTheRest) {
   size_t seen = 0;
   for (const Vector& vector : loadVectors(QUORVA_TEST_DATA "/vectors/ts24008.txt")) {
      if (kEndOnGroup.count(vector.name) == 0) continue;
      SCOPED_TRACE(vector.name);
      ++seen;
      Message message("TS24008Msg_PDU");
      ASSERT_EQ(message.decode(vector.octets), 0);
      const size_t used = message.context().used();
      EXPECT_LT(used, vector.octets.size());
      const Leaves leaves = message.leaves();
      EXPECT_EQ(identifiersOfElements("TS24008Msg")({vector, leaves}), std::vector<std::string>{""});
      int status = 0;
      EXPECT_EQ(hexFromOctets(message.encode(status)), hexFromOctets(vector.octets).substr(0, 2 * used));
      EXPECT_EQ(status, 0);
   }
   EXPECT_EQ(seen, kEndOnGroup.size());
}

} // namespace
