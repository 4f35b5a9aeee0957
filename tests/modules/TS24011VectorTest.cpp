// Messages of TS 24.011 from captures and from other projects' tests.

#include "quorva/TS24011Msg.h"
#include "tests/modules/messages.h"

namespace {

using namespace quorva::test;

std::vector<std::string> messageNames(const FactSource& source) {
   static const std::map<std::string, std::string> names = {
         {"obj_CP_DATA", "CP-DATA"},
         {"obj_CP_ACK", "CP-ACK"},
         {"obj_CP_ERROR", "CP-ERROR"},
         {"dataToNet", "RP-DATA (MS to Network)"},
         {"dataToMS", "RP-DATA (Network to MS)"},
         {"ackToNet", "RP-ACK (MS to Network)"},
         {"ackToMS", "RP-ACK (Network to MS)"},
         {"errorToNet", "RP-ERROR (MS to Network)"},
         {"smma", "RP-SMMA (MS to Network)"},
   };
   std::string all;
   std::set<std::string> met;
   for (const Leaf& leaf : source.leaves)
      for (size_t begin = 0; begin <= leaf.path.size();) {
         const size_t end = std::min(leaf.path.find('.', begin), leaf.path.size());
         const auto name = names.find(leaf.path.substr(begin, end - begin));
         if (name != names.end() && met.insert(leaf.path.substr(0, end)).second)
            all += (all.empty() ? "" : " + ") + name->second;
         begin = end + 1;
      }
   return {all};
}

// A transaction identifier stays what the options always decode to.
std::string transactionFlag(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) >> 3);
}
std::string transactionValue(const Leaves& all, size_t i) {
   return std::to_string(as::numberOf(all[i].value) & 7);
}

FactTable facts() {
   return {
         {"message", messageNames},
         {"length", lengthOfMessage},
         {"type", at(as::hex(2), {"msgType", "rpMsgType"})},
         {"ti-flag", at(transactionFlag, {"l3HdrOpts.skipInd"})},
         {"ti", at(transactionValue, {"l3HdrOpts.skipInd"})},
         {"rp-message", at(as::hex(2), {"rpMsgType"})},
         {"rp-reference", at(as::hex(2), {"rpMsgRef"})},
         {"called", at(as::text, {"origAddress.number", "destAddress.number"})},
         {"tpdu", at(as::octets, {"userData"})},
         {"cause", at(as::number, {"rpCause.causeValue", "cpCause.value"})},
   };
}

class MessagesSms : public testing::TestWithParam<Vector> {};

TEST_P(MessagesSms, DecodeAsTheirFactsSayAndEncodeBack) {
   const Vector& vector = GetParam();
   MessageRules all;
   // A message of the relay protocol begins with its type, which is below the discriminator of the other.
   all.type = (vector.octets[0] & 15) == 9 ? "TS24011Msg_CP_PDU" : "TS24011Msg_RP_PDU";
   all.facts = facts();
   all.open = [](Leaves& leaves) {
      for (size_t i = 0; i < leaves.size(); ++i)
         if (matches(leaves[i].path, "cpUserData")) openMessage(leaves, i, "TS24011Msg_RP_PDU");
   };
   checkMessage(vector, all);
}

INSTANTIATE_TEST_SUITE_P(Vectors, MessagesSms, vectorsOf("ts24011.txt"), vectorName);

} // namespace
