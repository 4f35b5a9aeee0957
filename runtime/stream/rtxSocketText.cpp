// Socket addresses as text.
#include "quorva/rtxCharStr.h"
#include "quorva/rtxSocket.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t maxPart = 256; // callers see it as 0
constexpr size_t minTextSize = 8; // "1.2.3.4" and its NUL, whatever the address

} // namespace

int rtxSocketStrToAddr(const char* text, uint32_t* paddr) {
   if (text == nullptr || paddr == nullptr) return RTX_E_BAD_ARGUMENT;
   uint32_t addr = 0;
   uint32_t part = 0;
   int dots = 0;
   for (; *text != '\0'; ++text) {
      if (*text == '.') {
         if (++dots > 3) return RTX_E_BAD_ARGUMENT;
         addr = addr << 8 | (part & 0xFF);
         part = 0;
      } else if (*text >= '0' && *text <= '9') {
         part = part * 10 + static_cast<uint32_t>(*text - '0');
         if (part > maxPart) return RTX_E_BAD_ARGUMENT;
      } else if (*text != ' ') {
         return RTX_E_BAD_ARGUMENT;
      }
   }
   if (dots != 3) return RTX_E_BAD_ARGUMENT;
   *paddr = addr << 8 | (part & 0xFF);
   return RTX_OK;
}

int rtxSocketAddrToStr(uint32_t addr, char* target, size_t size) {
   if (target == nullptr) return RTX_E_BAD_ARGUMENT;
   if (size < minTextSize) return RTX_E_BUFFER_FULL;
   char text[16];
   size_t length = 0;
   for (int shift = 24; shift >= 0; shift -= 8) {
      if (length != 0) text[length++] = '.';
      const int status = rtxUIntToCharStr(addr >> shift & 0xFF, text + length, sizeof text - length, 0);
      if (status < 0) return status;
      length += std::strlen(text + length);
   }
   if (length > size) return RTX_E_TOO_SMALL;
   std::memcpy(target, text, std::min(length + 1, size)); // the NUL where it fits
   return RTX_OK;
}

int rtxSocketParseURL(char* url, char** pprotocol, char** paddress, int* pport) {
   if (url == nullptr || pprotocol == nullptr || paddress == nullptr || pport == nullptr)
      return RTX_E_BAD_ARGUMENT;
   *pprotocol = nullptr;
   *paddress = url;
   if (char* end = std::strstr(url, "://")) {
      *end = '\0';
      *pprotocol = url;
      *paddress = end + 3;
   }
   if (char* end = std::strchr(*paddress, ':')) {
      *end = '\0';
      *pport = static_cast<int>(std::clamp<long>(std::strtol(end + 1, nullptr, 10), INT_MIN, INT_MAX));
   } else {
      *pport = *pprotocol != nullptr && std::strcmp(*pprotocol, "http") == 0 ? 80 : 0;
   }
   return RTX_OK;
}
