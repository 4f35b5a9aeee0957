/**
 * @file timeText.h
 * Steps that the readers and writers of ASN.1 times share.
 */
#ifndef QUORVA_RUNTIME_VALUES_TIMETEXT_H
#define QUORVA_RUNTIME_VALUES_TIMETEXT_H

#include <cstring>

#include "quorva/rtTime.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxStatus.h"
#include "runtime/core/ascii.h"
#include "runtime/core/rtxInline.h"
#include "runtime/values/heapText.h"
#include "runtime/values/rtxDateTime.h"

namespace quorva {

/** Does the context ask for the canonical rules? */
inline bool canonicalTimes(const RtxContext* pctxt) {
   return pctxt && (pctxt->flags & (RTX_CTXT_CANON_TIME_1 | RTX_CTXT_CANON_TIME_2)) != 0;
}

/** A NUL-terminated text of a time, read from left to right. */
class TimeReader {
public:
   TimeReader(RtxContext* pctxt, const char* text, bool report)
         : pctxt_(pctxt), at_(text), report_(report), canonical_(canonicalTimes(pctxt)) {}

   char peek(size_t ahead = 0) const { return at_[ahead]; }
   bool end() const { return *at_ == '\0'; }
   void step() { ++at_; }

   bool skip(char c) {
      if (*at_ != c) return false;
      ++at_;
      return true;
   }

   /** Digits from the cursor on. */
   size_t numDigits() const {
      size_t count = 0;
      while (isDigit(at_[count])) ++count;
      return count;
   }

   /** Takes a number of exactly that many digits, at most nine; false, with nothing taken, if they aren't
    * there. */
   template <typename Int>
   bool digits(size_t count, Int& value) {
      uint32_t number = 0;
      for (size_t i = 0; i < count; ++i) {
         if (!isDigit(at_[i])) return false;
         number = number * 10 + static_cast<uint32_t>(at_[i] - '0');
      }
      at_ += count;
      value = static_cast<Int>(number);
      return true;
   }

   /** Notes that a canonical rule is broken, if they apply. */
   void violation(const char* rule) {
      if (!canonical_) return;
      violated_ = true;
      if (!report_) return;
      rtxErrAddStrParm(pctxt_, rule);
      rtxErrSetNewData(pctxt_, RTX_E_BAD_TIME, nullptr, 0);
      rtxErrSetNonFatal(pctxt_);
   }

   int failure(int status = RTX_E_BAD_FORMAT) const { return recordFailure(pctxt_, status); }
   int success() const { return violated_ ? RTX_E_BAD_TIME : RTX_OK; }

private:
   RtxContext* pctxt_;
   const char* at_;
   bool report_;
   bool canonical_;
   bool violated_ = false;
};

/** Furthest offset from UTC that is read, in hours; one more is written. */
constexpr uint32_t maxZoneHours = 13;

/** Hands out the text from `text` to `end`; see rtTime.h. */
inline int giveTimeText(RtxContext* pctxt, const char* text, const char* end, char** pText, size_t size) {
   const auto length = static_cast<size_t>(end - text);
   if (size == 0) {
      *pText = allocText(pctxt, length + 1);
      if (!*pText) return recordNoMemory(pctxt);
   } else if (length >= size) {
      return recordFailure(pctxt, RTX_E_TOO_SMALL);
   }
   memcpy(*pText, text, length);
   (*pText)[length] = '\0';
   return RTX_OK;
}

} // namespace quorva

#endif
