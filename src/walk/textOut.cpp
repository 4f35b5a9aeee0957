#include "src/walk/textOut.h"

#include "quorva/rtxMemHeap.h"
#include "quorva/rtxStatus.h"

#include <algorithm>

namespace quorva::walk {

void BufferOut::putSlowly(std::string_view text) {
   const size_t room = static_cast<size_t>(end_ - at_);
   if (room > 0) std::memcpy(at_, text.data(), room);
   at_ = end_;
   lost_ += text.size() - room;
   status_ = RTX_E_TOO_SMALL;
}

void CallbackOut::flush() {
   if (status_ == 0 && at_ != start_) status_ = put_(user_, start_, static_cast<size_t>(at_ - start_));
   at_ = start_;
}

void CallbackOut::putSlowly(std::string_view text) {
   flush();
   if (text.size() <= sizeof memory_) {
      std::memcpy(at_, text.data(), text.size());
      at_ += text.size();
   } else if (status_ == 0) {
      status_ = put_(user_, text.data(), text.size());
   }
}

HeapOut::~HeapOut() {
   if (start_ != nullptr) rtxMemHeapFreePtr(ctxt_, start_);
}

char* HeapOut::release() {
   char* all = text();
   if (all != nullptr) start_ = at_ = end_ = nullptr;
   return all;
}

void HeapOut::putSlowly(std::string_view text) {
   if (status_ < 0) return;
   const size_t used = size(), wanted = std::max<size_t>(2 * used, used + text.size() + 64);
   auto* more = static_cast<char*>(rtxMemHeapRealloc(ctxt_, start_, wanted));
   if (more == nullptr) {
      status_ = RTX_E_NOMEM;
      return;
   }
   start_ = more;
   at_ = start_ + used;
   end_ = start_ + wanted;
   put(text);
}

} // namespace quorva::walk
