// Elements of TS 44.018 that fill a fixed size, or whose parts hang on counts and indicators.
#include "src/TS44018IESTypes.h"

#include <cstring>

using namespace quorva::frame;

namespace {

int closeLength(Encoder& e, const OpenLength& length, uint8_t& numocts) {
   uint32_t count = 0; // of contents that are far from 255 octets
   L3_TRY(encCloseInFull(e.ctxt(), 8, length, &count, false, true));
   numocts = static_cast<uint8_t>(count);
   return 0;
}
int closeLength(ShortEncoder& e, const ShortEncoder::OpenLength& length, uint8_t& numocts) {
   return e.close<8>(length, numocts, Limits{});
}

} // namespace

// Measurement results, TS 44.018, 10.5.2.20.
namespace {

constexpr size_t kResultsBits = 128;
constexpr uint8_t kNoReports = 7; // as a count: there is no information on neighbours
constexpr Limits kReports{0, sizeof(TS44018IE_Measurement_Results::ncell_Report.elem) /
                                   sizeof(TS44018IE_NCELL_Report_struct)};

template <class Coder>
int servingCell(Coder& coder, TS44018IE_Measurement_Results& r) {
   return coder.fields(integer<1>("ba-used", r.ba_used), integer<1>("dtx-used", r.dtx_used),
                       integer<6>("rxlev-full-serving-cell", r.rxlev_full_serving_cell),
                       integer<1>("a3G-BA-USED", r.a3G_BA_USED), integer<1>("meas-valid", r.meas_valid),
                       integer<6>("rxlev-sub-serving-cell", r.rxlev_sub_serving_cell),
                       integer<1>("si23-ba-used", r.si23_ba_used),
                       integer<3>("rxqual-full-serving-cell", r.rxqual_full_serving_cell),
                       integer<3>("rxqual-sub-serving-cell", r.rxqual_sub_serving_cell),
                       integer<3>("no-ncell-m", r.no_ncell_m));
}

size_t reportsOf(const TS44018IE_Measurement_Results& r) {
   return r.no_ncell_m == kNoReports ? 0 : r.no_ncell_m;
}

// Six reports leave no room even for the bit that tells of the CSG report.
bool hasCsgBit(const TS44018IE_Measurement_Results& r, size_t used) {
   return r.no_ncell_m != kNoReports && used < kResultsBits;
}

int fillZeros(Encoder& e, size_t count) {
   const int status = rtxEncBitsPattern(e.ctxt(), 0, count);
   return status < 0 ? e.failed(status) : 0;
}
int fillZeros(ShortEncoder& e, size_t count) {
   for (; count > 32; count -= 32) L3_TRY(e.zeros(32));
   return count == 0 ? 0 : e.zeros(static_cast<unsigned>(count));
}

} // namespace

template <class Coder>
L3_INLINE static int encode_TS44018IE_Measurement_Results(Coder& e, TS44018IE_Measurement_Results* pvalue) {
   L3_TRY(e.begin("Measurement-Results"));
   const size_t start = e.offset();
   L3_TRY(servingCell(e, *pvalue));
   auto& reports = pvalue->ncell_Report;
   L3_TRY(e.repeatTimes("ncell-Report", reportsOf(*pvalue), reports.n, reports.elem, kReports,
                        [](auto& each, auto& x) {
                           return each.template call<quorva::type::TS44018IE_NCELL_Report_struct>(&x);
                        }));
   const bool csg = pvalue->m.utran_CSG_Measurement_ReportPresent;
   if (hasCsgBit(*pvalue, e.offset() - start)) {
      L3_TRY(e.leadBit("optional bit", csg));
      if (csg)
         L3_TRY(e.template item<quorva::type::TS44060IE_UTRAN_CSG_Measurement_Report_IE>(
               "utran-CSG-Measurement-Report", &pvalue->utran_CSG_Measurement_Report));
   } else if (csg) {
      return e.failed(RTX_E_SIZE_MISMATCH); // better than to lose it
   }
   const size_t used = e.offset() - start;
   if (used > kResultsBits) return e.failed(RTX_E_SIZE_MISMATCH);
   L3_TRY(fillZeros(e, kResultsBits - used));
   return e.done();
}
L3_ENCODER(TS44018IE_Measurement_Results, (TS44018IE_Measurement_Results * pvalue), (pvalue))

template <class Coder>
L3_INLINE static int decode_TS44018IE_Measurement_Results(Coder& d, TS44018IE_Measurement_Results* pvalue) {
   L3_TRY(d.begin("Measurement_Results"));
   pvalue->m = {};
   const size_t start = d.offset();
   L3_TRY(servingCell(d, *pvalue));
   auto& reports = pvalue->ncell_Report;
   L3_TRY(d.repeatTimes("ncell-Report", reportsOf(*pvalue), reports.n, reports.elem, kReports,
                        [](auto& each, auto& x) {
                           return each.template call<quorva::type::TS44018IE_NCELL_Report_struct>(&x);
                        }));
   if (hasCsgBit(*pvalue, d.offset() - start)) {
      uint8_t csg = 0;
      L3_TRY(d.leadBit("optional bit", csg));
      if (csg != 0) {
         L3_TRY(d.template item<quorva::type::TS44060IE_UTRAN_CSG_Measurement_Report_IE>(
               "utran-CSG-Measurement-Report", &pvalue->utran_CSG_Measurement_Report));
         pvalue->m.utran_CSG_Measurement_ReportPresent = 1;
      }
   }
   const size_t used = d.offset() - start;
   if (used > kResultsBits) return d.failed(RTX_E_SIZE_MISMATCH);
   L3_TRY(d.skipBits(static_cast<uint32_t>(kResultsBits - used)));
   return d.done();
}
L3_DECODER(TS44018IE_Measurement_Results, (TS44018IE_Measurement_Results * pvalue), (pvalue))

// Multirate configuration, TS 44.018, 10.5.2.21aa: two spare bits, and the parameters of the AMR modes by
// pairs.
namespace {

constexpr size_t kMaxPairs = sizeof(TS44018IE_Multirate_Configuration::threshold.elem);
constexpr int64_t kPairBits = 10, kSpareBits = 2;

// An entry of one of the two arrays.
template <unsigned Bits, class Coder>
int entry(Coder& coder, const char* name, size_t index, uint8_t& value) {
   L3_TRY(coder.push(name));
   L3_TRY(coder.pushIndex(index));
   if (const int status = coder.fields(integer<Bits>(nullptr, value)); status < 0)
      return coder.failed(status);
   coder.popIndex(index);
   coder.pop();
   return 0;
}

template <class Coder>
int pair(Coder& coder, TS44018IE_Multirate_Configuration& m, size_t index) {
   L3_TRY(entry<6>(coder, "threshold", index, m.threshold.elem[index]));
   return entry<4>(coder, "hysteresis", index, m.hysteresis.elem[index]);
}

} // namespace

template <class Coder>
static int encode_TS44018IE_Multirate_Configuration(Coder& e, TS44018IE_Multirate_Configuration* pvalue) {
   L3_TRY(e.begin("Multirate-Configuration"));
   typename Coder::OpenLength length;
   L3_TRY(e.template open<8>("length", length));
   L3_TRY(e.fields(value<quorva::type::TS44018IE_Multirate_Configuration_multirate_speech_version>(
                         "multirate-speech-version", pvalue->multirate_speech_version),
                   integer<1>("nscb", pvalue->nscb), integer<1>("icmi", pvalue->icmi),
                   integer<1>("spare", pvalue->spare), integer<2>("start-mode", pvalue->start_mode),
                   integer<8>("amr-codec-modes", pvalue->amr_codec_modes)));
   const size_t pairs = pvalue->threshold.n;
   L3_TRY(e.push("threshold"));
   if (pairs > kMaxPairs) return RTX_E_CONSTRAINT;
   e.pop();
   L3_TRY(e.push("hysteresis"));
   if (pvalue->hysteresis.n != pairs) return RTX_E_CONSTRAINT;
   e.pop();
   if (pairs != 0) L3_TRY(e.template constant<kSpareBits>(nullptr, 0));
   for (size_t i = 0; i < pairs; ++i) L3_TRY(pair(e, *pvalue, i));
   L3_TRY(closeLength(e, length, pvalue->length));
   return e.done();
}
L3_ENCODER(TS44018IE_Multirate_Configuration, (TS44018IE_Multirate_Configuration * pvalue), (pvalue))

static int decode_TS44018IE_Multirate_Configuration(Decoder& d, TS44018IE_Multirate_Configuration* pvalue) {
   const RtxContext* pctxt = d.ctxt();
   L3_TRY(d.begin("Multirate_Configuration"));
   Length length;
   L3_TRY(d.open<8>("length", pvalue->length, Limits{}, length));
   L3_TRY(d.fieldsIn(length,
                     value<quorva::type::TS44018IE_Multirate_Configuration_multirate_speech_version>(
                           "multirate-speech-version", pvalue->multirate_speech_version),
                     integer<1>("nscb", pvalue->nscb), integer<1>("icmi", pvalue->icmi),
                     integer<1>("spare", pvalue->spare), integer<2>("start-mode", pvalue->start_mode),
                     integer<8>("amr-codec-modes", pvalue->amr_codec_modes)));
   pvalue->threshold.n = pvalue->hysteresis.n = 0;
   if (rtxCtxtGetContainerRemBits(pctxt) >= kSpareBits + kPairBits) {
      uint8_t spare = 0;
      L3_TRY(d.fields(integer<kSpareBits>(nullptr, spare)));
   }
   for (size_t i = 0; rtxCtxtGetContainerRemBits(pctxt) >= kPairBits; ++i) {
      if (i == kMaxPairs) {
         L3_TRY(d.push("threshold"));
         return RTX_E_CONSTRAINT;
      }
      L3_TRY(pair(d, *pvalue, i));
      pvalue->threshold.n = pvalue->hysteresis.n = static_cast<uint8_t>(i + 1);
   }
   L3_TRY(d.close(length));
   return d.done();
}
L3_DECODER(TS44018IE_Multirate_Configuration, (TS44018IE_Multirate_Configuration * pvalue), (pvalue))

// VGCS ciphering parameters, TS 44.018, 10.5.2.42b.
namespace {

constexpr unsigned kAreaBits = 40, kRandBits = 36;
constexpr unsigned kAreaOctets = kAreaBits / 8, kRandOctets = (kRandBits + 7) / 8;
using VgcsCiphering = TS44018IE_VGCS_Ciphering_Parameters;

template <class Coder>
int indicators(Coder& coder, VgcsCiphering& v) {
   return coder.fields(integer<2>("spare", v.spare), integer<1>("rand-ind", v.rand_ind),
                       integer<1>("lac-ind", v.lac_ind), integer<1>("cell-ind", v.cell_ind),
                       integer<1>("b22-count", v.b22_count),
                       integer<2>("cell-global-count", v.cell_global_count));
}

// Octets of an element with a cell identity of two.
unsigned octetsOf(const VgcsCiphering& v) {
   return 3 + (v.lac_ind != 0 ? kAreaOctets : 0) + (v.rand_ind != 0 ? kRandOctets : 0);
}

} // namespace

int NASEnc_TS44018IE_VGCS_Ciphering_Parameters(RtxContext* pctxt,
                                               TS44018IE_VGCS_Ciphering_Parameters* pvalue) {
   L3_ENCODES(TS44018IE_VGCS_Ciphering_Parameters);
   Encoder e(pctxt);
   L3_TRY(e.begin("VGCS-Ciphering-Parameters"));
   OpenLength length;
   L3_TRY(e.open<8>("length", length));
   L3_TRY(indicators(e, *pvalue));
   if (pvalue->cell_ind != 0) {
      L3_TRY(e.constant<8>(nullptr, 0)); // the high octet, which the record does not hold
      L3_TRY(e.fields(integer<8>("cell-identity", pvalue->cell_identity)));
   }
   if (pvalue->lac_ind != 0)
      L3_TRY(encBitField(pctxt, "location-area-identification", pvalue->location_area_identification,
                         kAreaBits));
   if (pvalue->rand_ind != 0) {
      L3_TRY(encBitField(pctxt, "vstk_rand", pvalue->vstk_rand, kRandBits));
      L3_TRY(e.fields(integer<4>("spare2", pvalue->spare2)));
   }
   uint8_t unused;
   L3_TRY(closeLength(e, length, unused));
   return e.done();
}

int NASDec_TS44018IE_VGCS_Ciphering_Parameters(RtxContext* pctxt,
                                               TS44018IE_VGCS_Ciphering_Parameters* pvalue) {
   L3_FROM_STREAM(NASDec_TS44018IE_VGCS_Ciphering_Parameters(pctxt, pvalue));
   Decoder d(pctxt);
   L3_TRY(d.begin("VGCS_Ciphering_Parameters"));
   // Printed all the same where they are not there.
   pvalue->cell_identity = pvalue->spare2 = 0;
   std::memset(pvalue->location_area_identification, 0, sizeof pvalue->location_area_identification);
   std::memset(pvalue->vstk_rand, 0, sizeof pvalue->vstk_rand);
   uint8_t numocts = 0;
   Length length;
   L3_TRY(d.open<8>("length", numocts, Limits{}, length));
   L3_TRY(indicators(d, *pvalue));
   L3_TRY(d.within(length));
   if (pvalue->cell_ind != 0) {
      // By a length that has no room for it the identity is one of a single octet.
      uint8_t high = 0;
      if (numocts >= octetsOf(*pvalue)) L3_TRY(d.fieldsIn(length, integer<8>(nullptr, high)));
      L3_TRY(d.fieldsIn(length, integer<8>("cell-identity", pvalue->cell_identity)));
   }
   if (pvalue->lac_ind != 0) {
      L3_TRY(decBitField(pctxt, "location-area-identification", pvalue->location_area_identification,
                         kAreaBits));
      L3_TRY(d.within(length));
   }
   if (pvalue->rand_ind != 0) {
      L3_TRY(decBitField(pctxt, "vstk_rand", pvalue->vstk_rand, kRandBits));
      L3_TRY(d.within(length));
      L3_TRY(d.fields(integer<4>("spare2", pvalue->spare2)));
   }
   L3_TRY(d.close(length));
   return d.done();
}
