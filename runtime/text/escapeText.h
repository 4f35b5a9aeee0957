/**
 * @file escapeText.h
 * Texts from messages, written so that they can't pass for anything else.
 */
#ifndef QUORVA_RUNTIME_TEXT_ESCAPETEXT_H
#define QUORVA_RUNTIME_TEXT_ESCAPETEXT_H

#include <string_view>

#include "quorva/rtxContext.h"

namespace quorva {

/** Do texts go out escaped? */
inline bool escapes(const RtxContext* pctxt) {
   return pctxt != nullptr && (pctxt->flags & RTX_CTXT_ESCAPES) != 0;
}

/** What takes the place of a sequence of octets, and how many it is. */
struct Escape {
   char text[8];
   size_t length; /**< Of the text; 0: the octets go out as they are. */
   size_t octets;
};

/** That of the sequence at the start of a text that is not empty. */
Escape escapeAt(std::string_view text, char quote);

/** Can an octet go out by itself, whatever stands around it? */
inline bool isHarmless(char octet, char quote) {
   const auto value = static_cast<unsigned char>(octet);
   return value >= 0x20 && value < 0x7F && octet != '\\' && octet != quote;
}

/** Hands on the pieces of an escaped text; `put` takes a string_view. */
template <class Put>
void escapeText(std::string_view text, char quote, Put put) {
   size_t begin = 0, at = 0;
   while (at < text.size()) {
      if (isHarmless(text[at], quote)) {
         ++at;
         continue;
      }
      const Escape escape = escapeAt(text.substr(at), quote);
      if (escape.length != 0) {
         if (at > begin) put(text.substr(begin, at - begin));
         put(std::string_view(escape.text, escape.length));
         begin = at + escape.octets;
      }
      at += escape.octets;
   }
   if (at > begin) put(text.substr(begin));
}

} // namespace quorva

#endif
