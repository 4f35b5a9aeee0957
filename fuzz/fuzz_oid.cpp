// Object identifiers and ASN.1 times from any octets and texts; what was read is written, and read again.
#include "fuzz/fuzz.h"
#include "quorva/rtOID.h"
#include "quorva/rtTime.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxMemHeap.h"

#include <string>
#include <vector>

using namespace quorva::fuzz;

namespace {

void parseTexts(RtxContext* ctxt, const char* text, size_t size) {
   using Parser = int (*)(const char*, size_t, RtxOID*);
   constexpr Parser parsers[] = {rtOIDParseCompList, rtRelOIDParseCompList, rtOIDParseString,
                                 rtRelOIDParseString, rtOIDParseDottedNumberString};
   RtxOID oid;
   for (Parser parser : parsers) {
      if (parser(text, size, &oid) != 0) continue;
      need(oid.numids >= 1 && oid.numids <= RTX_MAX_SUBIDS && rtOIDsEqual(&oid, &oid));
   }
   for (const int relative : {0, 1}) {
      char* dotted;
      if (rtOIDAsn2Xml(ctxt, text, size, relative, &dotted) != 0) continue;
      // Dotted text of one form is that of the other.
      RtxOID again;
      const int status = (relative ? rtRelOIDParseCompList : rtOIDParseCompList)(text, size, &oid);
      if (status == 0)
         need(rtRelOIDParseString(dotted, strlen(dotted), &again) == 0 && rtOIDsEqual(&oid, &again));
      RtxDynOctStr contents;
      char* back;
      if (rtOIDGetBerContents(ctxt, dotted, strlen(dotted), relative, &contents) != 0) continue;
      need(rtOIDFromBerContents(ctxt, contents.data, contents.numocts, relative, &back) == 0);
      need(strcmp(dotted, back) == 0);
   }
}

void decode(RtxContext* ctxt, const std::vector<uint8_t>& octets, size_t room) {
   std::vector<uint8_t> copy = octets;
   rtxCtxtSetBufPtr(ctxt, copy.data(), copy.size());
   std::vector<uint32_t> subids(room);
   const int count = rtDecOIDSubIds(ctxt, subids.data(), room, static_cast<int32_t>(copy.size()));
   need(count <= static_cast<int>(room));
   char* text;
   if (rtOIDFromBerContents(ctxt, copy.data(), copy.size(), 0, &text) != 0) {
      need(count <= 0);
      return;
   }
   if (count > 0) {
      std::string arcs;
      for (int i = 0; i < count; ++i)
         arcs += (i > 0 ? "." : "") + std::to_string(subids[static_cast<size_t>(i)]);
      need(arcs == text);
   }
   RtxDynOctStr contents;
   need(rtOIDGetBerContents(ctxt, text, strlen(text), 0, &contents) == 0);
   // Padded groups come back shorter.
   need(contents.numocts <= copy.size());
   char* again;
   need(rtOIDFromBerContents(ctxt, contents.data, contents.numocts, 0, &again) == 0 &&
        strcmp(text, again) == 0);
}

void times(RtxContext* ctxt, const char* text) {
   RtxDateTime value, second;
   char* made;
   if (rtParseGeneralizedTime2(ctxt, text, &value, 1) == 0) {
      need(rtxDateTimeIsValid(&value));
      if (value.year <= 9999) {
         need(rtMakeGeneralizedTime(ctxt, &value, &made, 0) == 0);
         need(rtParseGeneralizedTime(ctxt, made, &second) == 0);
         need(value.min == second.min && value.tzo == second.tzo && value.sec - second.sec < 1);
      }
   }
   if (rtParseUTCTime(ctxt, text, &value) == 0 && rtMakeUTCTime(ctxt, &value, &made, 0) == 0)
      need(rtParseUTCTime(ctxt, made, &second) == 0 && value.sec == second.sec && value.day == second.day);
   RtxTime time;
   if (rtParseTime(ctxt, text, &time, 1) != 0) return;
   need(rtMakeTime(ctxt, &time, &made, 0) == 0);
   RtxTime again;
   need(rtParseTime(ctxt, made, &again, 0) == 0 && time.flags == again.flags);
   char* remade;
   need(rtMakeTime(ctxt, &again, &remade, 0) == 0 && strcmp(made, remade) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
   if (size < 2 || size > 4096) return 0;
   static Context ctxt;
   rtxMemReset(&ctxt);
   rtxCtxtClearFlag(&ctxt, RTX_CTXT_CANON_TIME_1);
   const uint8_t choice = data[0];
   const std::vector<uint8_t> octets(data + 1, data + size);
   const std::string string(octets.begin(), octets.end());
   const std::vector<char> exact(octets.begin(), octets.end());
   switch (choice % 3) {
   case 0: decode(&ctxt, octets, choice / 3); break;
   case 1: parseTexts(&ctxt, exact.data(), exact.size()); break;
   default:
      if (choice & 0x80) rtxCtxtSetFlag(&ctxt, RTX_CTXT_CANON_TIME_1);
      times(&ctxt, string.c_str());
   }
   return 0;
}
