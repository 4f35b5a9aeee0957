// Hand-written codecs of digits.
#include "quorva/TS24008IE.h"
#include "tests/modules/codecs.h"

#include <cstring>

using namespace quorva::test;

namespace {

TEST(Digits, TextsTakeTheirCountFromTheCaller) {
   TestContext context;
   char imsi[17];
   ASSERT_EQ(decode(context, "62 02 21 43 65 87 09 F1", NASDec_TS24008IE_IMSI, imsi, 8u), 0);
   EXPECT_STREQ(imsi, "262012345678901");
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_IMSI, imsi), "62 02 21 43 65 87 09 f1");

   TS24008IE_IMEISV imeisv;
   ASSERT_EQ(decode(context, "21 43 65 87 21 43 65 87", NASDec_TS24008IE_IMEISV, imeisv, 8u), 0);
   EXPECT_STREQ(imeisv, "1234567812345678");
   EXPECT_EQ(decode(context, "21 43 65 87 21 43 65 87 21", NASDec_TS24008IE_IMEISV, imeisv, 9u),
             RTX_E_BUFFER_FULL);

   char imei[5];
   ASSERT_EQ(decode(context, "21 F3", NASDec_TS24008IE_IMEI, imei, 2u), 0);
   EXPECT_STREQ(imei, "123");
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_IMEI, "12x"), "status -24");
}

TEST(Digits, HeapTextNeedsTheOctetsFirst) {
   TestContext context;
   const char* text = nullptr;
   ASSERT_EQ(decode(context, "21 43 F5", NASDec_TS24008IE_TBCDString, &text, 3u), 0);
   EXPECT_STREQ(text, "12345");
   ASSERT_EQ(decode(context, "21", NASDec_TS24008IE_TBCDString, &text, 0u), 0);
   EXPECT_STREQ(text, "");
   text = nullptr;
   EXPECT_EQ(decode(context, "21 43", NASDec_TS24008IE_TBCDString, &text, 0xFFFFFFFFu), RTX_E_END_OF_DATA);
   EXPECT_EQ(text, nullptr);
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TBCDString, static_cast<const char*>(nullptr)), "");
}

TEST(Digits, ThreeDigitsAtMost) {
   TestContext context;
   TS24008IE_TBCDString3 text = {'?', '?', '?', '?'};
   EXPECT_EQ(decode(context, "21 43", NASDec_TS24008IE_TBCDString3, text, 2u), RTX_E_CONSTRAINT);
   EXPECT_EQ(text[0], '?') << "nothing stored";
   ASSERT_EQ(decode(context, "21 F3", NASDec_TS24008IE_TBCDString3, text, 2u), 0);
   EXPECT_STREQ(text, "123");
   EXPECT_LT(decode(context, "21 F3 FF", NASDec_TS24008IE_TBCDString3, text, 3u), 0);
   EXPECT_EQ(encode(context, NASEnc_TS24008IE_TBCDString3, "260"), "62 f0");
}

} // namespace
