#include "tools/quorva/source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace quorva::tool {

bool Source::fill() {
   if (begin_ > 0) {
      std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
      end_ -= begin_;
      begin_ = 0;
   }
   if (end_ == buffer_.size()) buffer_.resize(2 * buffer_.size());
   pollfd waiting{file_, POLLIN, 0};
   // Before a wait all that is decoded shows.
   if (poll(&waiting, 1, 0) == 0) std::fflush(stdout);
   ssize_t count = 0;
   do count = ::read(file_, buffer_.data() + end_, buffer_.size() - end_);
   while (count < 0 && errno == EINTR);
   if (count < 0) error_ = errno;
   if (count <= 0) return false;
   any_ = true;
   end_ += static_cast<size_t>(count);
   return true;
}

size_t Source::read(char* target, size_t count) {
   if (held().empty() && !fill()) return 0;
   const size_t taken = std::min(count, held().size());
   std::memcpy(target, held().data(), taken);
   take(taken);
   return taken;
}

bool readFrom(const std::string& name, const std::function<void(Source&)>& read) {
   const bool standardInput = name == "-";
   const int file = standardInput ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC);
   if (file < 0) return false;
   Source source(file);
   read(source);
   if (!standardInput) close(file);
   errno = source.error();
   return !source.failed() || source.readAny();
}

static ssize_t readCookie(void* cookie, char* target, size_t count) {
   auto& source = *static_cast<Source*>(cookie);
   const size_t taken = source.read(target, count);
   return taken == 0 && source.failed() ? -1 : static_cast<ssize_t>(taken);
}

std::FILE* fileOver(Source& source) {
   return fopencookie(&source, "r", {readCookie, nullptr, nullptr, nullptr});
}

} // namespace quorva::tool
