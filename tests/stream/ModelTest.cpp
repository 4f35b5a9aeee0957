// Random sequences of reads, skips, marks, resets and octets put back, against a plain vector.
#include "quorva/rtxBits.h"
#include "tests/stream/transports.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace quorva::test;

struct ModelRow {
   const char* name;
   int (*attach)(RtxContext* pctxt, Ground& ground);
   bool marks, prepends, positions;
};

const ModelRow kModels[] = {
      {"memory", [](RtxContext* c, Ground& g) { return rows::readMemory(c, g, Octets(g.octets)); }, true,
       false, true},
      {"file", [](RtxContext* c, Ground& g) { return rows::readFile(c, g, g.octets); }, true, false, true},
      {"file of hex text",
       [](RtxContext* c, Ground& g) {
          return rows::above(rows::readFile(c, g, hexText(g.octets)), c, rtxStreamHexTextAttach);
       },
       true, false, false},
      {"buffered",
       [](RtxContext* c, Ground& g) { return rows::above(rows::readDribble(c, g), c, rows::buffered); }, true,
       true, false},
      {"buffered, with a context buffer",
       [](RtxContext* c, Ground& g) {
          const int status = rows::above(rows::readDribble(c, g), c, rows::buffered);
          return status < 0 ? status : rtxStreamInitCtxtBuf(c);
       },
       true, true, false},
      {"buffered file",
       [](RtxContext* c, Ground& g) {
          return rows::above(rows::readFile(c, g, g.octets), c, rows::buffered);
       },
       true, true, false},
      {"context buffer",
       [](RtxContext* c, Ground& g) {
          return rows::above(rows::readDribble(c, g), c, rtxStreamCtxtBufCreate);
       },
       false, false, false},
      {"direct buffer",
       [](RtxContext* c, Ground& g) {
          return rows::above(rows::readDribble(c, g), c, rtxStreamDirectBufCreate);
       },
       true, false, false},
      {"direct buffer of a file",
       [](RtxContext* c, Ground& g) {
          return rows::above(rows::readFile(c, g, g.octets), c, rtxStreamDirectBufCreate);
       },
       true, false, true},
};

class StreamModel : public testing::TestWithParam<ModelRow> {};

TEST_P(StreamModel, RandomSteps) {
   const ModelRow& row = GetParam();
   size_t steps = 0, seed = 0;
   constexpr size_t kSteps = 115000; // a million over all rows
   while (steps < kSteps && !HasFailure()) {
      std::mt19937 random(static_cast<unsigned>(++seed));
      const auto upTo = [&](size_t most) { return std::uniform_int_distribution<size_t>(0, most)(random); };
      Ground ground;
      Octets model(upTo(9000) + 1);
      for (uint8_t& octet : model) octet = static_cast<uint8_t>(random());
      ground.octets = model;
      ground.chunk = upTo(2) == 0 ? 1 : upTo(700) + 1;
      TestContext context;
      ASSERT_EQ(row.attach(context, ground), 0);
      size_t pos = 0, mark = SIZE_MAX, limit = 0, farthest = 0;
      bool reread = false;
      for (size_t end = steps + 300; steps < end; ++steps) {
         SCOPED_TRACE(std::string(row.name) + ", seed " + std::to_string(seed) + ", step " +
                      std::to_string(steps));
         const size_t left = model.size() - pos;
         const size_t want = std::min(upTo(9) == 0 ? upTo(2500) : upTo(30), left);
         switch (upTo(9)) {
         case 0:
         case 1: { // octets
            Octets target(want + 1, 0xEE);
            ASSERT_EQ(rtxReadBytes(context, target.data(), want), 0);
            ASSERT_TRUE(
                  std::equal(target.begin(), target.end() - 1, model.begin() + static_cast<ptrdiff_t>(pos)));
            pos += want;
            break;
         }
         case 2: { // at least, at most
            Octets target(want + 20, 0xEE);
            const size_t most = std::min(want + 20, left);
            const ptrdiff_t got = rtxStreamRead2(context, target.data(), want, most);
            if (most == 0) break;
            ASSERT_GE(got, static_cast<ptrdiff_t>(want));
            ASSERT_LE(got, static_cast<ptrdiff_t>(most));
            ASSERT_TRUE(std::equal(target.begin(), target.begin() + got,
                                   model.begin() + static_cast<ptrdiff_t>(pos)));
            pos += static_cast<size_t>(got);
            break;
         }
         case 3: // passed over
            ASSERT_EQ(rtxSkipBytes(context, want), 0);
            pos += want;
            break;
         case 4: { // dropped
            if (want == 0) break;
            ASSERT_EQ(rtxStreamRead(context, nullptr, want), static_cast<ptrdiff_t>(want));
            pos += want;
            break;
         }
         case 5: { // bits of octets
            if (left < 5 || context->stream->kind == RTX_STREAM_KIND_BUFFERED) break;
            uint32_t value = 0;
            ASSERT_EQ(rtxDecBits(context, &value, 24), 0);
            const size_t at = pos;
            ASSERT_EQ(value, (uint32_t{model[at]} << 16 | uint32_t{model[at + 1]} << 8 | model[at + 2]));
            pos += 3;
            break;
         }
         case 6: // mark
            if (!row.marks) {
               ASSERT_EQ(context.cleared(rtxStreamMark(context, 100)), RTX_E_NO_MARK);
               break;
            }
            limit = 4000;
            ASSERT_EQ(rtxStreamMark(context, limit), 0);
            mark = pos;
            farthest = pos;
            reread = false;
            break;
         case 7: // back, if the mark is sure to stand
            if (mark == SIZE_MAX || farthest < mark || farthest - mark > limit || reread) break;
            ASSERT_EQ(rtxStreamReset(context), 0);
            pos = mark;
            reread = true; // some kinds let go of a mark with that
            break;
         case 8: { // put back
            if (!row.prepends) break;
            Octets more(upTo(40));
            for (uint8_t& octet : more) octet = static_cast<uint8_t>(random());
            ASSERT_EQ(rtxStreamBufferedPrependReadBuf(context, more.data(), more.size()), 0);
            model.insert(model.begin() + static_cast<ptrdiff_t>(pos), more.begin(), more.end());
            if (mark != SIZE_MAX && mark >= pos) mark = SIZE_MAX; // in front of the mark, or behind
            break;
         }
         default: { // positions
            if (!row.positions) break;
            size_t at = 0;
            ASSERT_EQ(rtxStreamGetPos(context, &at), 0);
            ASSERT_EQ(at, pos);
            pos = upTo(model.size());
            ASSERT_EQ(rtxStreamSetPos(context, pos), 0);
            mark = SIZE_MAX;
            break;
         }
         }
         farthest = std::max(farthest, pos);
         ASSERT_EQ(rtxErrGetErrorCnt(context), 0u);
      }
      EXPECT_EQ(rtxStreamClose(context), 0);
   }
}

INSTANTIATE_TEST_SUITE_P(Kinds, StreamModel, testing::ValuesIn(kModels),
                         [](const auto& info) { return std::to_string(info.index); });

} // namespace
