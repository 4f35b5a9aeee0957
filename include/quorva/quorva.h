/**
 * @file quorva.h
 * All of the library: the run time and every module.
 */
#ifndef QUORVA_QUORVA_H
#define QUORVA_QUORVA_H

#include "quorva/registry.h"
#include "quorva/rt3gppNasSec.h"
#include "quorva/rt3GPPTS32297.h"
#include "quorva/rtBCD.h"
#include "quorva/rtOID.h"
#include "quorva/rtPLMNidentity.h"
#include "quorva/rtPrint.h"
#include "quorva/rtPrintToStream.h"
#include "quorva/rtPrintToString.h"
#include "quorva/rtTime.h"
#include "quorva/rtx3GPP.h"
#include "quorva/rtxArrayList.h"
#include "quorva/rtxBits.h"
#include "quorva/rtxCharStr.h"
#include "quorva/rtxCommon.h"
#include "quorva/rtxContext.h"
#include "quorva/rtxDateTime.h"
#include "quorva/rtxDiag.h"
#include "quorva/rtxDList.h"
#include "quorva/rtxDynBitSet.h"
#include "quorva/rtxEnum.h"
#include "quorva/rtxError.h"
#include "quorva/rtxFile.h"
#include "quorva/rtxHashMap.h"
#include "quorva/rtxHexDump.h"
#include "quorva/rtxIntStack.h"
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxMemHeap.h"
#include "quorva/rtxMemHeapLayout.h"
#include "quorva/rtxPcapFile.h"
#include "quorva/rtxPrint.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxRand.h"
#include "quorva/rtxScalarDList.h"
#include "quorva/rtxSList.h"
#include "quorva/rtxStack.h"
#include "quorva/rtxStatus.h"
#include "quorva/rtxStream.h"
#include "quorva/rtxTBCD.h"
#include "quorva/rtxTypes.h"
#include "quorva/rtxUTF8.h"
#include "quorva/rtxUTF8Convert.h"
#include "quorva/rtxUTF8Value.h"

#include "quorva/modules.h"

#endif
