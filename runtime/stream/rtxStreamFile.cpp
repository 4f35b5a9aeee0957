// Streams over files, pipes and whatever else a FILE stands for.
#include "quorva/rtxContext.h"
#include "quorva/rtxError.h"
#include "quorva/rtxFile.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStream.h"
#include "runtime/stream/streamCore.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>

using namespace quorva;
using namespace quorva::stream;

static_assert(sizeof(off_t) == 8, "positions beyond 4 GiB");

namespace {

struct FileStream {
   RtxContext* pctxt;
   FILE* file;
   bool attached; // closing the stream leaves the file open
   bool half;     // the last octet of the text was a digit alone
   off_t saved;   // -1: no mark
};

FileStream* fileOf(const RtxStream* stream) {
   return recordOf<FileStream>(stream);
}

bool isReader(const RtxStream* stream) {
   return isOf(stream, RTX_STREAM_KIND_FILE, RTX_STREAM_READ);
}
bool isWriter(const RtxStream* stream) {
   return isOf(stream, RTX_STREAM_KIND_FILE, RTX_STREAM_WRITE);
}

/** A signal may interrupt a read of a pipe: nothing has been read then. */
bool interrupted(FILE* file) {
   if (!ferror(file) || errno != EINTR) return false;
   clearerr(file);
   return true;
}

ptrdiff_t readFileText(FileStream* record, uint8_t* target, size_t maxocts) {
   FILE* file = record->file;
   int last[2] = {endOfText, endOfText};
   return readHexText(
         target, maxocts, record->half,
         [&]() -> int {
            int ch;
            do ch = fgetc(file);
            while (ch == EOF && interrupted(file));
            last[0] = last[1];
            last[1] = ch;
            return ch == EOF ? endOfText : ch;
         },
         [&](size_t n) {
            // A pipe takes the bad character back, and loses the digit before it.
            if (n > 1 && fseeko(file, -static_cast<off_t>(n), SEEK_CUR) == 0) return;
            if (last[1] != endOfText) ungetc(last[1], file);
         });
}

ptrdiff_t fileRead(RtxStream* stream, uint8_t* target, size_t maxocts) {
   if (!isReader(stream) || maxocts == 0) return RTX_E_BAD_ARGUMENT;
   FileStream* record = fileOf(stream);
   FILE* file = record->file;
   errno = 0;
   ptrdiff_t got;
   if (stream->flags & RTX_STREAM_HEX_TEXT) {
      got = readFileText(record, target, maxocts);
   } else {
      do got = static_cast<ptrdiff_t>(fread(target, 1, maxocts, file));
      while (got == 0 && interrupted(file));
   }
   // What came before the error is handed over; the next read meets it again.
   if (got == 0 && ferror(file)) return RTX_E_FILE_READ;
   if (got > 0 && !hasContextBuffer(stream)) stream->bufBase += static_cast<size_t>(got);
   return got;
}

int fileWrite(RtxStream* stream, const uint8_t* octets, size_t numocts) {
   if (!isWriter(stream)) return RTX_E_BAD_ARGUMENT;
   FILE* file = fileOf(stream)->file;
   if ((stream->flags & RTX_STREAM_HEX_TEXT) == 0)
      return fwrite(octets, 1, numocts, file) == numocts ? RTX_OK : RTX_E_FILE_WRITE;
   for (size_t i = 0; i < numocts; ++i) {
      char digits[3];
      rtxByteToHexChar(octets[i], digits, sizeof digits);
      if (fputs(digits, file) < 0) return RTX_E_FILE_WRITE;
   }
   return RTX_OK;
}

int fileFlush(RtxStream* stream) {
   if (!isWriter(stream)) return RTX_E_BAD_ARGUMENT;
   return fflush(fileOf(stream)->file) == 0 ? RTX_OK : RTX_E_FILE_WRITE;
}

/** The last octet is read, so that the end of the file shows. */
int fileSkip(RtxStream* stream, size_t numocts) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   if (numocts == 0) return RTX_OK;
   if (numocts > static_cast<size_t>(INT64_MAX)) return RTX_E_OVERFLOW;
   FILE* file = fileOf(stream)->file;
   uint8_t octet;
   if (stream->flags & RTX_STREAM_HEX_TEXT) { // how many characters that is only the text tells
      for (; numocts != 0; --numocts) {
         const ptrdiff_t got = fileRead(stream, &octet, 1);
         if (got <= 0) return got < 0 ? static_cast<int>(got) : RTX_E_END_OF_STREAM;
      }
      return RTX_OK;
   }
   if (fseeko(file, static_cast<off_t>(numocts - 1), SEEK_CUR) != 0) return RTX_E_FILE_READ;
   if (fread(&octet, 1, 1, file) == 1) return RTX_OK;
   return ferror(file) ? RTX_E_FILE_READ : RTX_E_END_OF_STREAM;
}

/** Position in the file of what is read next: less what the context buffer holds unread. -1 if there is none.
 */
off_t position(const RtxStream* stream) {
   FileStream* record = fileOf(stream);
   const off_t pos = ftello(record->file);
   if (pos < 0 || !hasContextBuffer(stream)) return pos;
   const size_t unread = octetsAtHand(record->pctxt);
   if (unread == 0) return pos;
   if ((stream->flags & RTX_STREAM_HEX_TEXT) == 0)
      return pos - static_cast<off_t>(std::min(unread, static_cast<size_t>(pos)));
   const size_t start = hexTextBefore(static_cast<size_t>(pos), unread, record->half, [&](size_t at) {
      return fseeko(record->file, static_cast<off_t>(at), SEEK_SET) == 0 ? fgetc(record->file) : EOF;
   });
   return fseeko(record->file, pos, SEEK_SET) == 0 ? static_cast<off_t>(start) : -1;
}

int fileMark(RtxStream* stream, size_t limit) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   const off_t pos = position(stream);
   if (pos < 0) return RTX_E_FILE_READ;
   FileStream* record = fileOf(stream);
   record->saved = pos;
   stream->markLimit = limit;
   // Where the cursor is, which a reset puts at the start of the buffer.
   stream->bufMarkBase = stream->bufBase + (hasContextBuffer(stream) ? record->pctxt->bufByteIndex : 0);
   return RTX_OK;
}

int fileReset(RtxStream* stream) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   FileStream* record = fileOf(stream);
   if (record->saved < 0) return RTX_E_BAD_ARGUMENT;
   if (fseeko(record->file, record->saved, SEEK_SET) != 0) return RTX_E_FILE_READ;
   stream->bufBase = stream->bufMarkBase;
   stream->markLimit = noMarkLimit;
   setFlags(stream, RTX_STREAM_MARK_SET);
   return RTX_OK;
}

int fileGetPos(RtxStream* stream, size_t* ppos) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   const off_t pos = position(stream);
   if (pos < 0) return RTX_E_FILE_READ;
   *ppos = static_cast<size_t>(pos);
   return RTX_OK;
}

int fileSetPos(RtxStream* stream, size_t pos) {
   if (!isReader(stream)) return RTX_E_BAD_ARGUMENT;
   if (pos > static_cast<size_t>(INT64_MAX)) return RTX_E_OVERFLOW;
   FileStream* record = fileOf(stream);
   if (fseeko(record->file, static_cast<off_t>(pos), SEEK_SET) != 0) return RTX_E_FILE_READ;
   stream->bufBase = pos;
   if (hasContextBuffer(stream)) {
      record->pctxt->bufByteIndex = record->pctxt->bufSize = 0;
      record->pctxt->bufMark = allOnes;
   }
   return RTX_OK;
}

int fileClose(RtxStream* stream) {
   FileStream* record = fileOf(stream);
   if (record == nullptr) return RTX_OK;
   // What the system could not write shows with the close at last.
   const bool failed = !record->attached && fclose(record->file) != 0;
   rtxMemHeapSysFreePtr(record->pctxt, record);
   stream->extra = nullptr;
   return failed && writable(stream) ? RTX_E_FILE_WRITE : RTX_OK;
}

int attach(RtxContext* pctxt, FILE* file, uint16_t flags, bool owned) {
   if (file == nullptr || !oneDirection(flags)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   int status = makeRoomForStream(pctxt);
   if (status < 0) return status;
   dropBuffer(pctxt); // octets that are in it are not those of the file
   RtxStream* stream = pctxt->stream;
   auto* record = static_cast<FileStream*>(newRecord(pctxt, sizeof(FileStream)));
   if (record == nullptr) {
      rtxStreamRelease(pctxt);
      return RTX_E_NOMEM;
   }
   *record = {pctxt, file, true, false, -1};
   stream->kind = RTX_STREAM_KIND_FILE;
   stream->extra = record;
   stream->close = fileClose;
   stream->inputLimit = allOnes;
   stream->flags = flags;
   setFlags(stream, RTX_STREAM_MARK_SET);
   if (flags & RTX_STREAM_WRITE) {
      stream->write = fileWrite;
      stream->flush = fileFlush;
   } else {
      stream->read = fileRead;
      stream->skip = fileSkip;
      stream->mark = fileMark;
      stream->reset = fileReset;
      stream->getPos = fileGetPos;
      stream->setPos = fileSetPos;
   }
   status = rtxStreamInitCtxtBuf(pctxt);
   if (status < 0) {
      rtxStreamRelease(pctxt);
      return status;
   }
   record->attached = !owned;
   return RTX_OK;
}

} // namespace

int rtxStreamFileAttach(RtxContext* pctxt, FILE* file, uint16_t flags) {
   return attach(pctxt, file, flags, false);
}

int rtxStreamFileOpen(RtxContext* pctxt, const char* name, uint16_t flags) {
   if (name == nullptr || !oneDirection(flags)) return recordFailure(pctxt, RTX_E_BAD_ARGUMENT);
   const bool output = (flags & RTX_STREAM_WRITE) != 0;
   if (!output) {
      pctxt->bufByteIndex = 0;
      pctxt->bufBitsLeft = 8;
   }
   FILE* file;
   int status = rtxFileOpen(&file, name, output ? "wb" : "rb");
   if (status < 0) return recordFailure(pctxt, status);
   status = attach(pctxt, file, flags, true);
   if (status < 0) fclose(file);
   return status;
}

int rtxStreamFileCreateReader(RtxContext* pctxt, const char* name) {
   return rtxStreamFileOpen(pctxt, name, RTX_STREAM_READ);
}

int rtxStreamFileCreateWriter(RtxContext* pctxt, const char* name) {
   return rtxStreamFileOpen(pctxt, name, RTX_STREAM_WRITE);
}
