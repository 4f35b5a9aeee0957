// Object identifiers from value notation.
#include "quorva/rtAvn.h"
#include "quorva/rtOID.h"
#include "quorva/rtxTxt.h"
#include "runtime/values/textInput.h"

using namespace quorva;

namespace {

// Reads {...} without the braces.
int readBraces(RtxContext* pctxt, TextBuffer& text) {
   int status = rtxTxtMatchChar(pctxt, '{', 1);
   if (status == RTX_OK) status = takeWhile(pctxt, &text, [](char c) { return c != '}'; });
   char c = 0;
   return status < 0 ? status : takeChar(pctxt, &c);
}

int readArcs(RtxContext* pctxt, RtxOID* pvalue, int (*parse)(const char*, size_t, RtxOID*)) {
   if (!pvalue) return recordNewFailure(pctxt, RTX_E_BAD_ARGUMENT);
   TextBuffer buf(pctxt, 80);
   int status = readBraces(pctxt, buf);
   if (status < 0) return status;
   status = parse(buf.text().data() ? buf.text().data() : "", buf.text().size(), pvalue);
   return status < 0 ? recordNewFailure(pctxt, status) : status;
}

int readDotted(RtxContext* pctxt, const char** ptext, bool relative) {
   TextBuffer buf(pctxt, 80);
   int status = readBraces(pctxt, buf);
   if (status < 0) return status;
   char* dotted = nullptr;
   status = rtOIDAsn2Xml(pctxt, buf.text().data() ? buf.text().data() : "", buf.text().size(), relative,
                         &dotted);
   // A text that is no value is not on record yet.
   if (status == RTX_E_BAD_VALUE) return recordNewFailure(pctxt, status);
   if (status < 0) return status;
   if (ptext) *ptext = dotted;
   return RTX_OK;
}

} // namespace

int rtAvnReadObjId(RtxContext* pctxt, RtxOID* pvalue) {
   return readArcs(pctxt, pvalue, rtOIDParseCompList);
}

int rtAvnReadRelOID(RtxContext* pctxt, RtxOID* pvalue) {
   return readArcs(pctxt, pvalue, rtRelOIDParseCompList);
}

int rtAvnReadObjIdStr(RtxContext* pctxt, const char** ptext) {
   return readDotted(pctxt, ptext, false);
}

int rtAvnReadRelOIDStr(RtxContext* pctxt, const char** ptext) {
   return readDotted(pctxt, ptext, true);
}
