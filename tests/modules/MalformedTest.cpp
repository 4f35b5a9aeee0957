// Messages that a dissector could not read to their end or found octets behind: each is refused or leaves
// octets, but for those whose fault lies in octets that the library does not look into.

#include "tests/modules/messages.h"

using namespace quorva::test;

namespace {

// Read to the end with status 0, and why.
const std::map<std::string_view, const char*> kAccepted = {
      {"bad-security-mode-complete-1", "unknown elements of identifier 0 and no octets are skipped"},
      {"bad-imsi-detach-indication-4", "a TMSI is four octets, whatever its length says"},
      {"bad-imsi-detach-indication-7", "an IMSI may have any number of digits up to 15"},
      {"bad-downlink-generic-nas-transport-1", "the contents of the container are octets"},
      {"bad-security-mode-complete-registration-request-2", "the message in the container is octets"},
      {"bad-security-mode-complete-registration-request-4", "the message in the container is octets"},
      {"bad-security-mode-complete-2", "the message in the container is octets"},
      {"bad-no-message-2", "the length of the last element ends behind the buffer, its contents do not"},
};

class MalformedMessages : public testing::TestWithParam<Vector> {};

TEST_P(MalformedMessages, EndWithAStatusOrOctetsLeft) {
   const Vector& vector = GetParam();
   if (quorvaFindType(pduOf(vector)) == nullptr) GTEST_SKIP() << "no module " << pduOf(vector);
   Message message(pduOf(vector));
   setDirection(message.context(), vector);
   SecurityState().apply(message.context());
   const int status = message.decode(vector.octets);
   const size_t used = message.context().used();
   const auto accepted = kAccepted.find(vector.name);
   EXPECT_EQ(status >= 0 && used >= vector.octets.size(), accepted != kAccepted.end())
         << "status " << status << ", " << used << " of " << vector.octets.size() << ": "
         << vector.fact("reason");
   message.leaves(); // whatever was decoded can be printed
}

// Cut anywhere. The block that holds the octets ends with them, so that a sanitizer sees a step beyond. A cut
// inside an element is not always told: what ends behind the buffer may be a part that nobody reads.
TEST_P(MalformedMessages, CutAnywhere) {
   const Vector& vector = GetParam();
   if (quorvaFindType(pduOf(vector)) == nullptr) GTEST_SKIP() << "no module " << pduOf(vector);
   for (size_t size = 0; size < vector.octets.size(); ++size) {
      Message message(pduOf(vector));
      setDirection(message.context(), vector);
      SecurityState().apply(message.context());
      int status = message.decode(
            {vector.octets.begin(), vector.octets.begin() + static_cast<std::ptrdiff_t>(size)});
      if (status >= 0) message.encode(status); // no fault in what is left, and none in writing it
      message.leaves();
   }
}

INSTANTIATE_TEST_SUITE_P(Vectors, MalformedMessages, vectorsOf("malformed.txt"), vectorName);

} // namespace
