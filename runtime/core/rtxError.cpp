// Error records of a context, their parameters and texts.
#include "quorva/rtxError.h"

#include "quorva/rtxCharStr.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxInline.h"
#include "runtime/core/rtxMemHeapInline.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using namespace quorva;

RtxErrInfo* infoOf(const RtxDListNode* node) {
   return static_cast<RtxErrInfo*>(node->data);
}

/** Oldest and newest record; null if there are none, or they went with a reset of the heap. */
const RtxDListNode* firstNode(const RtxContext* pctxt) {
   return haveEnded(pctxt) ? nullptr : pctxt->errList.head;
}
RtxErrInfo* lastInfo(const RtxContext* pctxt) {
   return pctxt->errList.tail != nullptr && !haveEnded(pctxt) ? infoOf(pctxt->errList.tail) : nullptr;
}

/** What the records up to a place in the list amount to. */
struct Summary {
   unsigned fatal; // 2 for more
   int status;     // of the first fatal one

   void add(const RtxErrInfo* info) {
      if (!info->fatal || fatal == 2) return;
      if (fatal++ == 0) status = info->status;
   }
   int overall() const { return fatal == 0 ? 0 : fatal == 1 ? status : RTX_E_MULTIPLE; }
};

/** What is summed up already, and the first record that is not. */
RtxDListNode* summed(const RtxContext* pctxt, Summary& sum) {
   if (pctxt->errSummed == nullptr) return pctxt->errList.head;
   sum = {pctxt->errSummedFatal, pctxt->errSummedStatus};
   return pctxt->errSummed->next;
}

/** All but the newest record, which alone changes, are kept summed up: their number may be great. */
int sumUp(RtxContext* pctxt) {
   const RtxDListNode* tail = pctxt->errList.tail;
   if (tail == nullptr) return 0;
   Summary sum{};
   if (tail->prev == nullptr) {
      sum.add(infoOf(tail));
      return sum.overall();
   }
   RtxDListNode* node = summed(pctxt, sum);
   for (; node != nullptr && node->next != nullptr; node = node->next) {
      sum.add(infoOf(node));
      pctxt->errSummed = node;
   }
   pctxt->errSummedFatal = static_cast<uint8_t>(sum.fatal);
   pctxt->errSummedStatus = static_cast<int16_t>(sum.status);
   if (node != nullptr) sum.add(infoOf(node));
   return sum.overall();
}

/** The address of an empty text stands for a parameter that is no heap memory. */
constexpr char emptyText[1] = "";

/** Adds a text that the record owns from here on; frees it if there is no room. */
int addParm(RtxContext* pctxt, char* text) {
   RtxErrInfo& fixed = pctxt->errFixed;
   if (text == nullptr) return 0;
   if (fixed.parmCount >= RTX_ERR_MAX_PARMS) {
      if (text != emptyText) rtxMemHeapFreePtr(pctxt, text);
      return 0;
   }
   fixed.parms[fixed.parmCount++] = text;
   return 1;
}

/** Has errFixed no room for another parameter? */
bool parmsFull(RtxContext* pctxt) {
   dropEnded(pctxt);
   return pctxt->errFixed.parmCount >= RTX_ERR_MAX_PARMS;
}

void freeElemName(RtxContext* pctxt, RtxErrInfo* info) {
   if (info->elemName != nullptr) rtxMemHeapFreePtr(pctxt, info->elemName);
   info->elemName = nullptr;
}

/** Frees parameters and element name. */
void freeTexts(RtxContext* pctxt, RtxErrInfo* info) {
   freeElemName(pctxt, info);
   rtxErrFreeNodeParms(pctxt, info);
}

/** Takes `errFixed` off the list. Its node is no heap memory, so it never goes the way of the others. */
void unlinkFixed(RtxContext* pctxt) {
   if (pctxt->errFixedNode.data == nullptr) return;
   pctxt->errSummed = nullptr;
   rtxDListRemove(&pctxt->errList, &pctxt->errFixedNode);
   pctxt->errFixedNode = RtxDListNode{};
}

/** A record and its node on the list, in one allocation. */
struct Record {
   RtxErrInfo info;
   RtxDListNode node;
};

void freeInfoNode(RtxContext* pctxt, RtxDListNode* node) {
   RtxErrInfo* info = infoOf(node);
   pctxt->errSummed = nullptr;
   rtxDListRemove(&pctxt->errList, node);
   if (node != &reinterpret_cast<Record*>(info)->node) rtxMemHeapFreePtr(pctxt, node); // by somebody else
   rtxMemHeapFreePtr(pctxt, info);
}

/** Copies the texts of a record into an empty one of another context. */
bool copyTexts(RtxContext* dest, RtxErrInfo* to, const RtxErrInfo* from) {
   if (from->elemName != nullptr) {
      to->elemName = rtxUTF8Strdup(dest, from->elemName);
      if (to->elemName == nullptr) return false;
   }
   for (int i = 0; i < from->parmCount; ++i) {
      to->parms[i] = rtxUTF8Strdup(dest, from->parms[i]);
      if (to->parms[i] == nullptr) return false;
      to->parmCount = static_cast<uint8_t>(i + 1);
   }
   return true;
}

} // namespace

namespace quorva {

void dropErrors(RtxContext* pctxt) {
   pctxt->errList = RtxDList{};
   pctxt->errFixedNode = RtxDListNode{};
   pctxt->errFixed = RtxErrInfo{};
   pctxt->errSummed = nullptr;
}

void forgetEnded(RtxContext* pctxt) {
   dropErrors(pctxt);
   pctxt->nasSec = nullptr;
   pctxt->heapEpoch = pctxt->memHeap->epoch;
}

[[gnu::noinline]] static int recordAnother(RtxContext* pctxt, int status) {
   const int overall = rtxErrSetData(pctxt, status, nullptr, 0);
   return overall < 0 ? overall : status;
}

int recordFailure(RtxContext* pctxt, int status) {
   if (hot::isOnRecord(pctxt, status)) return status;
   if (pctxt->errList.head != nullptr || status == RTX_E_OVERFLOW) return recordAnother(pctxt, status);
   const int overall = rtxErrSetNewData(pctxt, status, nullptr, 0); // the first one needs no look at others
   return overall < 0 ? overall : status;
}

int recordNewFailure(RtxContext* pctxt, int status) {
   const int overall = rtxErrSetNewData(pctxt, status, nullptr, 0);
   return overall < 0 ? overall : status;
}

} // namespace quorva

int rtxErrSetData(RtxContext* pctxt, int status, const char* file, int line) {
   dropEnded(pctxt);
   if (status == RTX_E_OVERFLOW) rtxErrAddElemNameParm(pctxt);
   RtxErrInfo* info = lastInfo(pctxt);
   if (info == nullptr) return rtxErrSetNewData(pctxt, status, file, line);
   if (info->status != 0) {
      // The status of every frame that a failure passes through is recorded once.
      if (info->status == static_cast<int16_t>(status)) return sumUp(pctxt);
      info = rtxErrNewNode(pctxt);
      if (info == nullptr) return RTX_E_NOMEM;
   }
   info->status = static_cast<int16_t>(status);
   return sumUp(pctxt);
}

int rtxErrSetNewData(RtxContext* pctxt, int status, const char* file, int line) {
   RtxErrInfo& fixed = pctxt->errFixed;
   if (RtxErrInfo* info = rtxErrNewNode(pctxt)) {
      fixed.status = 0;
      if (status != RTX_E_OVERFLOW) {
         info->status = static_cast<int16_t>(status);
         return sumUp(pctxt);
      }
   } else if (fixed.status == 0 && status == RTX_E_NOMEM) {
      // This status needs no memory. The record is not fatal: callers see 0.
      unlinkFixed(pctxt);
      pctxt->errFixedNode.data = &fixed;
      rtxDListAppendNode(&pctxt->errList, &pctxt->errFixedNode);
   } else {
      return RTX_E_NOMEM;
   }
   return rtxErrSetData(pctxt, status, file, line);
}

int rtxErrGetStatus(const RtxContext* pctxt) {
   if (haveEnded(pctxt)) return 0;
   Summary sum{};
   for (const RtxDListNode* node = summed(pctxt, sum); node != nullptr && sum.fatal < 2; node = node->next)
      sum.add(infoOf(node));
   return sum.overall();
}

int rtxErrCheckNonFatal(const RtxContext* pctxt) {
   int status = 0;
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next) {
      if (status == 0)
         status = infoOf(node)->status;
      else if (infoOf(node)->status != status)
         return RTX_E_MULTIPLE;
   }
   return status;
}

void rtxErrSetNonFatal(RtxContext* pctxt) {
   if (RtxErrInfo* info = lastInfo(pctxt)) info->fatal = 0;
}

int rtxErrGetFirstError(const RtxContext* pctxt) {
   const RtxDListNode* node = firstNode(pctxt);
   return node != nullptr ? infoOf(node)->status : 0;
}

int rtxErrGetLastError(const RtxContext* pctxt) {
   const RtxErrInfo* info = lastInfo(pctxt);
   return info != nullptr ? info->status : 0;
}

size_t rtxErrGetErrorCnt(const RtxContext* pctxt) {
   return firstNode(pctxt) != nullptr ? pctxt->errList.count : 0;
}

[[gnu::noinline]] static void resetAll(RtxContext* pctxt) {
   RtxDList& names = pctxt->elemNames;
   if (pctxt->memHeap == nullptr) names = RtxDList{}; // the nodes went with it
   if (names.head != nullptr) {                       // all to the spare ones
      names.tail->next = pctxt->memHeap->spareNames;
      pctxt->memHeap->spareNames = names.head;
      names = RtxDList{};
   }
   rtxErrResetErrInfo(pctxt);
   rtxCtxtPopAllContainers(pctxt);
}

int rtxErrReset(RtxContext* pctxt) {
   if (!hot::nothingOpen(pctxt)) [[unlikely]]
      resetAll(pctxt);
   return RTX_OK;
}

int rtxErrResetErrInfo(RtxContext* pctxt) {
   if (hot::nothingRecorded(pctxt)) return RTX_OK;
   if (pctxt->memHeap == nullptr) return dropErrors(pctxt), RTX_OK; // they went with it
   dropEnded(pctxt);
   unlinkFixed(pctxt);
   freeTexts(pctxt, &pctxt->errFixed);
   while (RtxDListNode* node = pctxt->errList.head) {
      RtxErrInfo* info = infoOf(node);
      if (info->parmCount != 0 || info->elemName != nullptr) freeTexts(pctxt, info);
      freeInfoNode(pctxt, node);
   }
   return RTX_OK;
}

int rtxErrResetLastErrors(RtxContext* pctxt, size_t count) {
   dropEnded(pctxt);
   while (count-- != 0 && pctxt->errList.tail != nullptr) {
      RtxDListNode* node = pctxt->errList.tail;
      freeTexts(pctxt, infoOf(node));
      if (node == &pctxt->errFixedNode)
         unlinkFixed(pctxt);
      else
         freeInfoNode(pctxt, node);
   }
   return RTX_OK;
}

void rtxErrFreeParms(RtxContext* pctxt) {
   dropEnded(pctxt);
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next)
      freeTexts(pctxt, infoOf(node));
   freeTexts(pctxt, &pctxt->errFixed);
}

void rtxErrFreeNodeParms(RtxContext* pctxt, RtxErrInfo* info) {
   if (info == nullptr) return;
   pctxt->errSummed = nullptr; // the record may be one of those
   for (int i = 0; i < info->parmCount && i < RTX_ERR_MAX_PARMS; ++i) {
      if (info->parms[i] != nullptr && info->parms[i] != emptyText) rtxMemHeapFreePtr(pctxt, info->parms[i]);
      info->parms[i] = nullptr;
   }
   info->parmCount = 0;
   info->status = 0;
}

RtxErrInfo* rtxErrNewNode(RtxContext* pctxt) {
   dropEnded(pctxt);
   auto* record = static_cast<Record*>(hot::alloc(pctxt, sizeof(Record)));
   if (record == nullptr) return nullptr;
   record->info = RtxErrInfo{};
   record->info.fatal = 1;
   record->node.data = &record->info;
   rtxDListAppendNode(&pctxt->errList, &record->node);
   return &record->info;
}

int rtxErrCopy(RtxContext* dest, const RtxContext* source) {
   if (dest == source) return RTX_OK;
   rtxErrReset(dest);
   if (haveEnded(source)) return RTX_OK;
   dest->errFixed.fatal = source->errFixed.fatal;
   // The status stays 0: what stands on the list of the source becomes a record of its own.
   int status = copyTexts(dest, &dest->errFixed, &source->errFixed) ? RTX_OK : RTX_E_NOMEM;
   if (status == RTX_OK) status = rtxErrAppend(dest, source);
   if (status < 0) rtxErrReset(dest);
   return status;
}

int rtxErrAppend(RtxContext* dest, const RtxContext* source) {
   const RtxDListNode* node = firstNode(source);
   for (size_t n = rtxErrGetErrorCnt(source); n != 0; --n, node = node->next) { // dest may be the source
      const RtxErrInfo* from = infoOf(node);
      RtxErrInfo* to = rtxErrNewNode(dest);
      if (to == nullptr) return RTX_E_NOMEM;
      if (!copyTexts(dest, to, from)) {
         rtxErrResetLastErrors(dest, 1);
         return RTX_E_NOMEM;
      }
      to->status = from->status;
      to->fatal = from->fatal;
   }
   return RTX_OK;
}

int rtxErrInvUIntOpt(RtxContext* pctxt, uint32_t value) {
   rtxErrAddUIntParm(pctxt, value);
   return RTX_E_BAD_CHOICE;
}

int rtxErrAddStrParm(RtxContext* pctxt, const char* text) {
   if (parmsFull(pctxt)) return 0;
   return addParm(pctxt, rtxUTF8Strdup(pctxt, text != nullptr ? text : "(null)"));
}

int rtxErrAddStrnParm(RtxContext* pctxt, const char* text, size_t nchars) {
   if (text == nullptr) return rtxErrAddStrParm(pctxt, text);
   if (parmsFull(pctxt)) return 0;
   return addParm(pctxt, rtxUTF8Strndup(pctxt, text, nchars));
}

int rtxErrAddIntParm(RtxContext* pctxt, int32_t value) {
   char text[16];
   rtxIntToCharStr(value, text, sizeof text, 0);
   return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddUIntParm(RtxContext* pctxt, uint32_t value) {
   char text[16];
   rtxUIntToCharStr(value, text, sizeof text, 0);
   return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddInt64Parm(RtxContext* pctxt, int64_t value) {
   char text[24];
   rtxInt64ToCharStr(value, text, sizeof text, 0);
   return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddUInt64Parm(RtxContext* pctxt, uint64_t value) {
   char text[24];
   rtxUInt64ToCharStr(value, text, sizeof text, 0);
   return rtxErrAddStrParm(pctxt, text);
}

int rtxErrAddSizeParm(RtxContext* pctxt, size_t value) {
   return rtxErrAddUInt64Parm(pctxt, value);
}

int rtxErrAddDoubleParm(RtxContext* pctxt, double) {
   return rtxErrAddStrParm(pctxt, "?"); // whatever the value
}

int rtxErrAddUniStrParm(RtxContext* pctxt, const uint16_t* text) {
   if (parmsFull(pctxt)) return 0;
   if (text == nullptr) return addParm(pctxt, const_cast<char*>(emptyText));
   return addParm(pctxt, const_cast<char*>(rtxUCSToCStr(pctxt, text)));
}

int rtxErrAddCtxtBufParm(RtxContext* pctxt) {
   const size_t index = pctxt->bufByteIndex;
   if (pctxt->bufData == nullptr || index >= pctxt->bufSize) return rtxErrAddStrnParm(pctxt, "", 0);
   return rtxErrAddStrnParm(pctxt, reinterpret_cast<const char*>(pctxt->bufData + index),
                            pctxt->bufSize - index);
}

int rtxErrAddElemNameParm(RtxContext* pctxt) {
   if (parmsFull(pctxt)) return 0;
   if (pctxt->elemNames.head == nullptr) return rtxErrAddStrParm(pctxt, "?");
   char* path = nullptr;
   rtxDListToUTF8Str(pctxt, &pctxt->elemNames, &path, '.');
   return addParm(pctxt, path);
}

char* rtxErrFmtMsg(const RtxErrInfo* info, char* buf, size_t bufsiz) {
   // There is no table of status texts: what the caller put there, an empty text, is the message.
   return info != nullptr && buf != nullptr && bufsiz != 0 ? buf : nullptr;
}

char* rtxErrGetTextBuf(RtxContext* pctxt, char* buf, size_t bufsiz) {
   if (buf == nullptr || bufsiz == 0) return nullptr;
   size_t used = 0;
   buf[0] = '\0';
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next) {
      char number[16];
      char message[1] = "";
      rtxIntToCharStr(infoOf(node)->status, number, sizeof number, 0);
      rtxErrFmtMsg(infoOf(node), message, sizeof message);
      const char* const pieces[] = {"ERROR: Status ", number, "\n", message, "\n"};
      for (const char* piece : pieces) {
         const size_t length = std::strlen(piece);
         if (used + length >= bufsiz) return buf;
         std::memcpy(buf + used, piece, length + 1);
         used += length;
      }
   }
   return buf;
}

char* rtxErrGetText(RtxContext* pctxt, char* buf, size_t* psize) {
   if (buf != nullptr && psize != nullptr) return rtxErrGetTextBuf(pctxt, buf, *psize);
   size_t size = 200;
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next) {
      const RtxErrInfo* info = infoOf(node);
      size += (info->locationCount + size_t{2}) * 100;
      if (info->elemName != nullptr) size += rtxUTF8LenBytes(info->elemName) + 20;
   }
   auto* text = static_cast<char*>(rtxMemHeapAlloc(pctxt, size));
   if (text == nullptr) return nullptr;
   if (psize != nullptr) *psize = size;
   return rtxErrGetTextBuf(pctxt, text, size);
}

char* rtxErrGetMsgText(RtxContext* pctxt) {
   size_t size = 1;
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next)
      size += 1 + (infoOf(node)->elemName != nullptr ? rtxUTF8LenBytes(infoOf(node)->elemName) + 10 : 0);
   auto* text = static_cast<char*>(rtxMemHeapAlloc(pctxt, size));
   if (text == nullptr) return nullptr;
   text[0] = '\0';
   char* end = text;
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next) {
      const char* elemName = infoOf(node)->elemName;
      const char* const lineEnd = node->next != nullptr ? "\n" : nullptr;
      const size_t room = size - static_cast<size_t>(end - text);
      if (elemName != nullptr)
         rtxStrJoin(end, room, "Element: ", elemName, "\n", lineEnd, nullptr);
      else
         rtxStrJoin(end, room, lineEnd, nullptr, nullptr, nullptr, nullptr);
      end += std::strlen(end);
   }
   return text;
}

char* rtxErrGetMsgTextBuf(RtxContext* pctxt, char* buf, size_t bufsiz) {
   if (buf == nullptr || bufsiz == 0) return nullptr;
   size_t used = 0;
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr && used + 1 < bufsiz; node = node->next)
      buf[used++] = '\n';
   buf[used] = '\0';
   return buf;
}

void rtxErrPrintElement(const RtxErrInfo* info) {
   if (info == nullptr) return;
   char message[1] = "";
   rtxErrFmtMsg(info, message, sizeof message);
   std::printf("ERROR: Status %d\n%s\n", info->status, message);
}

void rtxErrPrint(const RtxContext* pctxt) {
   for (const RtxDListNode* node = firstNode(pctxt); node != nullptr; node = node->next)
      rtxErrPrintElement(infoOf(node));
}

void rtxErrLogUsingCB(RtxContext* pctxt, RtxErrLogCallback callback, void* userArg) {
   const char* text = rtxErrGetText(pctxt, nullptr, nullptr);
   callback(text != nullptr ? text : "ERROR : no memory available", userArg);
   rtxErrFreeParms(pctxt);
}

void rtxErrAssertionFailed(const char* condition, int line, const char* file) {
   std::printf("Run-time assertion '%s' failed.  Line %d, File %s\n", condition, line, file);
   std::exit(-1);
}

void rtxErrInit() {}

void rtErrASN1Init() {}

int rtxErrAddErrorTableEntry(const char* const*, int, int) {
   return RTX_OK;
}
