// Messages of TS 24.011 from captures and from other projects' tests.

#include "quorva/TS24011Msg.h"
#include "tests/modules/messages.h"

namespace {

using namespace quorva::test;

class MessagesSms : public testing::TestWithParam<Vector> {};

TEST_P(MessagesSms, DecodeAsTheirFactsSayAndEncodeBack) {
   const Vector& vector = GetParam();
   MessageRules all = loadRules("facts-ts24011.txt");
   // A message of the relay protocol begins with its type, which is below the discriminator of the other.
   all.type = (vector.octets[0] & 15) == 9 ? "TS24011Msg_CP_PDU" : "TS24011Msg_RP_PDU";
   all.open = [](Leaves& leaves) {
      for (size_t i = 0; i < leaves.size(); ++i)
         if (matches(leaves[i].path, "cpUserData")) openMessage(leaves, i, "TS24011Msg_RP_PDU");
   };
   checkMessage(vector, all);
}

INSTANTIATE_TEST_SUITE_P(Vectors, MessagesSms, vectorsOf("ts24011.txt"), vectorName);

} // namespace
