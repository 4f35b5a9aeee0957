// Ciphering and codes over memory that nobody has set: under valgrind any branch and any address that depends
// on a key, a key stream or a state is reported. Without valgrind the tests run, and show nothing.
#if __has_include(<valgrind/memcheck.h>)

#include "quorva/rt3gppNasSec.h"
#include "runtime/nas/aes128.h"
#include "tests/support/context.h"

#include <gtest/gtest.h>
#include <valgrind/memcheck.h>

using namespace quorva;
using namespace quorva::test;

namespace {

TEST(Secrets, NeitherBranchNorAddressDependsOnThem) {
   const unsigned before = VALGRIND_COUNT_ERRORS;
   for (const bool portable : {false, true}) {
      if (!portable && aesHardware() == nullptr) continue;
      aesForcePortable(portable);
      for (const int algorithm : {1, 2, 3}) {
         TestContext ctx;
         rtxCtxtSetFlag(ctx, RTX_CTXT_STANDARD);
         Octets key(16, 1), data(150, 0x5A);
         (void)VALGRIND_MAKE_MEM_UNDEFINED(key.data(), key.size());
         (void)VALGRIND_MAKE_MEM_UNDEFINED(data.data(), data.size());
         ASSERT_EQ(rtx3gppSecInitialize(ctx), 0);
         ASSERT_EQ(rtx3gppAssignAlgorithmKeys(ctx, key.data(), key.data(), algorithm, algorithm), 0);
         uint32_t mac = 0;
         for (const size_t length : {0u, 1u, 7u, 64u, 150u}) {
            ASSERT_EQ(rtx3gppComputeMAC(ctx, data.data(), length, &mac), 0);
            ASSERT_EQ(rtx3gppCipher(ctx, data.data(), length), 0);
         }
         rtx3gppSecFree(ctx);
      }
      aesForcePortable(false);
   }
   EXPECT_EQ(VALGRIND_COUNT_ERRORS, before);
}

// What the test above is worth.
TEST(Secrets, AddressesThatDependAreReported) {
   const unsigned before = VALGRIND_COUNT_ERRORS;
   static volatile uint8_t table[256], secret = 1;
   (void)VALGRIND_MAKE_MEM_UNDEFINED(&secret, 1);
   table[0] = table[secret];
   EXPECT_EQ(VALGRIND_COUNT_ERRORS > before, RUNNING_ON_VALGRIND != 0);
}

} // namespace

#endif
