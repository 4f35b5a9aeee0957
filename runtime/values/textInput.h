/**
 * @file textInput.h
 * Characters of text at the cursor of a context.
 */
#ifndef QUORVA_RUNTIME_VALUES_TEXTINPUT_H
#define QUORVA_RUNTIME_VALUES_TEXTINPUT_H

#include <algorithm>
#include <cstring>
#include <string_view>

#include "quorva/rtxError.h"
#include "quorva/rtxMemBuf.h"
#include "runtime/core/ascii.h"
#include "runtime/core/rtxInline.h"

namespace quorva {

/** Looks at the next character: 1, 0 at the end of the input, or a status that is on record. */
int peekChar(RtxContext* pctxt, char* pchar);

/** Looks at up to two characters; gives their number, or a status that is on record. */
int peekTwoChars(RtxContext* pctxt, char* chars);

/** Reads the character that peekChar has found. */
int dropChar(RtxContext* pctxt);

/** Reads a character. 0, or a status on record: RTX_E_END_OF_DATA at the end. */
int takeChar(RtxContext* pctxt, char* pchar);

/** Passes over white space, and adds its octets to `*pcount`. */
int skipSpace(RtxContext* pctxt, size_t* pcount);

/**
 * Appends octets that are not the buffer's own. The buffer doubles, so that the time for a long text grows
 * with its length; in a static heap, which is small, it grows by no more than its step.
 */
inline int appendOctets(RtxMemBuf* buf, const void* octets, size_t numocts) {
   if (numocts > buf->capacity - buf->usedCount) {
      const RtxMemHeap* heap = buf->pctxt->memHeap;
      const bool doubles = heap == nullptr || (heap->flags & RTX_MH_STATIC) == 0;
      const int status = rtxMemBufPreAllocate(buf, doubles ? std::max(numocts, buf->capacity) : numocts);
      if (status < 0) return status;
   }
   if (numocts != 0) std::memcpy(buf->bufferData + buf->usedCount, octets, numocts);
   buf->usedCount += numocts;
   return RTX_OK;
}

/** Reads characters into a buffer as long as `keep` holds; the end of the input is no failure. */
template <class Keep>
int takeWhile(RtxContext* pctxt, RtxMemBuf* buf, Keep keep) {
   for (;;) {
      char c = 0;
      int status = peekChar(pctxt, &c);
      if (status <= 0) return status;
      if (!keep(c)) return RTX_OK;
      status = dropChar(pctxt);
      if (status == RTX_OK) status = appendOctets(buf, &c, 1);
      if (status < 0) return status;
   }
}

/** Records that a character can't stand where it was read. */
int badChar(RtxContext* pctxt, char c);

/** Writes characters. */
int putText(RtxContext* pctxt, std::string_view text);

/** Buffer for characters that are read, freed at the end. */
class TextBuffer : public RtxMemBuf {
public:
   TextBuffer(RtxContext* pctxt, size_t segSize) { rtxMemBufInit(pctxt, this, segSize); }
   ~TextBuffer() { rtxMemBufFree(this); }
   TextBuffer(const TextBuffer&) = delete;
   TextBuffer& operator=(const TextBuffer&) = delete;

   int append(std::string_view text) { return appendOctets(this, text.data(), text.size()); }
   int append(char c) { return append(std::string_view(&c, 1)); }

   std::string_view text() const { return {reinterpret_cast<const char*>(bufferData), usedCount}; }

   /** Gives a copy in new heap memory with a NUL behind it, unless `ptext` is null. RTX_E_NOMEM, on record.
    */
   int give(const char** ptext) const;
};

} // namespace quorva

#endif
