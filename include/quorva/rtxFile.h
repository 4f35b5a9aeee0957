/**
 * @file rtxFile.h
 * Opening files.
 */
#ifndef QUORVA_RTXFILE_H
#define QUORVA_RTXFILE_H

#include "quorva/rtxCommon.h"

#include <stdio.h>

QUORVA_BEGIN_DECLS

/**
 * Opens a file as fopen does; the caller closes it.
 * @param pFile  Receives the open file, or null.
 * @return 0, RTX_E_CANNOT_DO if the file can't be opened, RTX_E_BAD_ARGUMENT for a null argument.
 */
QUORVA_API int rtxFileOpen(FILE** pFile, const char* name, const char* mode);

QUORVA_END_DECLS

#endif
