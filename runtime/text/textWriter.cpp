#include "runtime/text/textWriter.h"

#include "quorva/rtxContext.h"

namespace quorva {

TextWriter::TextWriter(const RtxContext* pctxt) {
   const RtxPrintStream* stream =
         pctxt != nullptr && pctxt->printStream != nullptr ? pctxt->printStream : &g_PrintStream;
   if (stream->pfn == nullptr) {
      file_ = stdout;
      flushing_ = true;
   } else if (stream->pfn == rtxPrintStreamToStringCB) {
      string_ = static_cast<RtxPrintToStringBuffer*>(stream->pUserData);
   } else if (stream->pfn == rtxPrintStreamToFileCB) {
      file_ = static_cast<FILE*>(stream->pUserData);
   } else if (stream->pfn == rtxPrintStreamToStdoutCB) {
      file_ = stdout;
   }
   resume();
}

void TextWriter::resume() {
   cut_ = false;
   if (string_ == nullptr) {
      at_ = memory_;
      end_ = memory_ + sizeof memory_;
      return;
   }
   start_ = at_ = end_ = string_->buffer;
   if (string_->size <= string_->used) return;
   start_ = at_ = string_->buffer + string_->used;
   // The last octet is for the NUL.
   end_ = string_->buffer + string_->size - 1;
}

void TextWriter::commit() {
   if (string_ != nullptr) {
      if (string_->size <= string_->used || (at_ == start_ && !cut_)) return;
      *at_ = '\0';
      string_->used += static_cast<size_t>(at_ - start_);
      start_ = at_;
   } else if (at_ != memory_) {
      fwrite(memory_, 1, static_cast<size_t>(at_ - memory_), file_);
      at_ = memory_;
   }
}

void TextWriter::putSlowly(std::string_view text) {
   while (text.size() > static_cast<size_t>(end_ - at_)) {
      const size_t room = static_cast<size_t>(end_ - at_);
      if (room > 0) memcpy(at_, text.data(), room);
      at_ += room;
      text.remove_prefix(room);
      if (string_ != nullptr) {
         cut_ = true;
         return;
      }
      commit();
   }
   put(text);
}

void TextWriter::flushLine() {
   commit();
   fflush(file_);
}

} // namespace quorva
