// Octets of a file, a pipe or a terminal, with a look ahead.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorva::tool {

class Source {
public:
   // Reads from a descriptor, which stays the caller's.
   explicit Source(int file) : file_(file), buffer_(size_t{1} << 16) {}

   // What was read and not yet taken. It stands until the next fill.
   std::string_view held() const { return {buffer_.data() + begin_, end_ - begin_}; }
   void take(size_t count) { begin_ += count; }

   // Reads on behind what is held; false at the end, and where reading fails. Standard output is flushed
   // where that means to wait.
   bool fill();

   // Takes up to `count` octets, and at least one unless the end is there.
   size_t read(char* target, size_t count);

   bool failed() const { return error_ != 0; }
   int error() const { return error_; }
   bool readAny() const { return any_; }

private:
   int file_;
   std::vector<char> buffer_;
   size_t begin_ = 0, end_ = 0; // of what is held
   bool any_ = false;
   int error_ = 0;
};

// Reads a file by its name; "-" is standard input. False, with the reason in errno, if there is no octet that
// can be read: a directory opens, and fails at its first one.
bool readFrom(const std::string& name, const std::function<void(Source&)>& read);

// The source as a file of the C library; whoever closes it must do so while the source lives. Null if there
// is no memory.
std::FILE* fileOver(Source& source);

} // namespace quorva::tool
