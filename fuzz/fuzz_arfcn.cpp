// Lists of channel numbers from any octets, and any lists into octets. A list without faults comes back as
// the same set from each format that takes it.
#include "fuzz/fuzz.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"
#include "quorva/TS44018Misc.h"

#include <algorithm>
#include <bitset>
#include <vector>

using namespace quorva::fuzz;

namespace {

using List = std::vector<uint16_t>;
using Set = std::bitset<1024>;

Set setOf(const List& list) {
   Set set;
   for (const uint16_t arfcn : list) set.set(arfcn & 1023);
   return set;
}

/** From and to blocks of their own size, for the sanitizers. */
bool decode(RtxContext* ctx, unsigned format, const uint8_t* octets, size_t bits, List& list) {
   const auto own = blockOf(octets, (bits + 7) / 8);
   uint16_t *arfcns = nullptr, count = 0;
   const int status = rtx3GPPDecARFCN(ctx, format, own.get(), static_cast<uint16_t>(bits), &arfcns, &count);
   need(status == 0 || status == RTX_E_BAD_VALUE);
   list.assign(arfcns, arfcns + count);
   need(std::all_of(list.begin(), list.end(), [](unsigned arfcn) { return arfcn < 1024; }));
   return status == 0;
}

int encode(RtxContext* ctx, unsigned format, const List& list, unsigned range, unsigned orig,
           uint8_t** buffer, size_t capacity, uint32_t& bits) {
   return rtx3GPPEncARFCN(ctx, list.data(), static_cast<uint16_t>(list.size()), format,
                          static_cast<uint16_t>(range), static_cast<uint16_t>(orig), buffer, capacity, &bits);
}

void comesBack(RtxContext* ctx, unsigned format, const List& list) {
   const Set set = setOf(list);
   uint16_t orig = 0, range = 0;
   need(rtx3GPPGetARFCNRange(list.data(), static_cast<uint16_t>(list.size()), &orig, &range) == 0);
   uint8_t* buffer[2] = {};
   uint32_t bits = 124;
   const int status = encode(ctx, format, list, range, orig, buffer, 0, bits);
   const bool faultless = set.count() == list.size() && !list.empty() &&
                          std::all_of(list.begin(), list.end(), [](unsigned arfcn) { return arfcn < 1024; });
   const size_t nodes = list.size() - (format == 1 ? set[0] : 1);
   if (!faultless || ((format == 1 || format == 2) && nodes > 256)) return; // more than a decoder reads
   need(status == 0 || (status == RTX_E_BAD_VALUE && format < 5) || (status == RTX_E_INDEX && nodes == 0));
   List back;
   if (status != 0) return;
   need(decode(ctx, format, buffer[0], bits, back));
   need(back.size() == list.size() && setOf(back) == set);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 7 || size > 8200) return 0;
   Context ctx;
   rtxMemHeapSetFlags(&ctx, RTX_MH_RAW_ONLY); // each list in a block that the sanitizer knows
   const unsigned format = data[0] % 6, other = data[0] / 6 % 6;
   const size_t capacity = data[2], bits = std::min<size_t>((size - 7) * 8, UINT16_MAX) / (data[2] % 8 + 1);
   List list;
   if (decode(&ctx, format, data + 7, format == 0 && bits > 124 ? 124 : bits, list) && list.size() <= 1024)
      comesBack(&ctx, other, list);
   rtxErrReset(&ctx);

   // The octets as a list, into a buffer of any size.
   const bool faulty = data[1] & 1;
   list.clear();
   for (size_t i = 7; i + 1 < size; i += 2)
      list.push_back(static_cast<uint16_t>((data[i] << 8 | data[i + 1]) & (faulty ? 0xFFFF : 1023)));
   const std::unique_ptr<uint8_t[]> own(new uint8_t[capacity]());
   uint8_t second, *buffer[2] = {own.get(), data[1] & 2 ? &second : nullptr};
   uint32_t written = 0;
   const auto upTo2047 = [data](size_t at) { return data[at] * 8u + data[at + 1] / 32u; };
   if (encode(&ctx, format, list, upTo2047(3), upTo2047(5), buffer, capacity, written) == 0)
      need((written + 7) / 8 <= capacity);
   rtxErrReset(&ctx);
   if (list.size() <= 1024) comesBack(&ctx, other, list);
   return 0;
}
