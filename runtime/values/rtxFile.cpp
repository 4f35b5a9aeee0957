#include "quorva/rtxFile.h"

#include "quorva/rtxStatus.h"

int rtxFileOpen(FILE** pFile, const char* name, const char* mode) {
   if (!pFile) return RTX_E_BAD_ARGUMENT;
   *pFile = nullptr;
   if (!name || !mode) return RTX_E_BAD_ARGUMENT;
   *pFile = fopen(name, mode);
   return *pFile ? RTX_OK : RTX_E_CANNOT_DO;
}
