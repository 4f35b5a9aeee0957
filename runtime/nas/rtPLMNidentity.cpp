// PLMN identities of three octets from and to the texts of MCC and MNC.
#include "quorva/rtPLMNidentity.h"

#include "quorva/rtxStatus.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

constexpr uint8_t filler = 15;

bool areDigits(const char* text) {
   for (; *text != 0; ++text)
      if (*text < '0' || *text > '9') return false;
   return true;
}

uint8_t packDigits(char high, char low) {
   return static_cast<uint8_t>((high - '0') << 4 | (low - '0'));
}

/** `standardForm` chooses the layout without "PGW" in the public names. */
int stringToPLMNidInternal(const char* mcc, const char* mnc, uint8_t* plmn, bool standardForm) {
   const size_t mncLength = std::strlen(mnc);
   if (std::strlen(mcc) != 3 || mncLength < 2 || mncLength > 3 || !areDigits(mcc) || !areDigits(mnc))
      return RTX_E_BAD_ARGUMENT;
   plmn[0] = packDigits(mcc[1], mcc[0]);
   if (mncLength == 2) {
      plmn[1] = static_cast<uint8_t>(filler << 4 | (mcc[2] - '0'));
      plmn[2] = packDigits(mnc[1], mnc[0]);
   } else if (standardForm) {
      plmn[1] = packDigits(mnc[0], mcc[2]);
      plmn[2] = packDigits(mnc[2], mnc[1]);
   } else {
      plmn[1] = packDigits(mnc[2], mcc[2]);
      plmn[2] = packDigits(mnc[1], mnc[0]);
   }
   return RTX_OK;
}

int packChecked(const char* mcc, const char* mnc, uint8_t* plmn, size_t size, bool standardForm) {
   if (mcc == nullptr || mnc == nullptr || plmn == nullptr || size < 3) return RTX_E_BAD_ARGUMENT;
   return stringToPLMNidInternal(mcc, mnc, plmn, standardForm);
}

unsigned low(uint8_t octet) {
   return octet & 15u;
}
unsigned high(uint8_t octet) {
   return octet >> 4 & 15u;
}

/** A new text of the digits, checked before anything is allocated. */
char* newDigits(std::initializer_list<unsigned> digits) {
   for (const unsigned digit : digits)
      if (digit > 9) return nullptr;
   auto* text = static_cast<char*>(std::malloc(digits.size() + 1));
   if (text == nullptr) return nullptr;
   char* next = text;
   for (const unsigned digit : digits) *next++ = static_cast<char>('0' + digit);
   *next = 0;
   return text;
}

} // namespace

int rtStringToPLMNidentity(const char* mcc, const char* mnc, uint8_t* plmn, size_t size) {
   return packChecked(mcc, mnc, plmn, size, true);
}

int rtStringToPGWPLMNidentity(const char* mcc, const char* mnc, uint8_t* plmn, size_t size) {
   return packChecked(mcc, mnc, plmn, size, false);
}

char* rtGetMCCFromPLMNidentity(const uint8_t* plmn) {
   if (plmn == nullptr) return nullptr;
   return newDigits({low(plmn[0]), high(plmn[0]), low(plmn[1])});
}

char* rtGetMNCFromPLMNidentity(const uint8_t* plmn) {
   if (plmn == nullptr) return nullptr;
   if (high(plmn[1]) == filler) return newDigits({low(plmn[2]), high(plmn[2])});
   return newDigits({high(plmn[1]), low(plmn[2]), high(plmn[2])});
}

char* rtGetMNCFromPGWPLMNidentity(const uint8_t* plmn) {
   if (plmn == nullptr) return nullptr;
   if (high(plmn[1]) == filler) return newDigits({low(plmn[2]), high(plmn[2])});
   return newDigits({low(plmn[2]), high(plmn[2]), high(plmn[1])});
}
