// The bit trace as a text.
#include "quorva/rtxMemBuf.h"
#include "quorva/rtxPrintToStream.h"
#include "quorva/rtxStream.h"
#include "runtime/core/rtxDiagBitLine.h"
#include "runtime/core/rtxInline.h"
#include "runtime/text/textWriter.h"

namespace {

using quorva::BitSource;

// Messages don't nest deeper; a longer chain is no trace of a message.
constexpr unsigned maxDepth = 64;

bool isAdjustment(const RtxDiagBitField& field) {
   return !field.elemName && field.bitCount == 0;
}

const RtxDiagBitField& fieldOf(const RtxSListNode* node) {
   return *static_cast<const RtxDiagBitField*>(node->data);
}

// Writes the listing to the end of the print stream, or calls it for each line.
class Listing {
public:
   explicit Listing(RtxContext* pctxt) : pctxt_(pctxt), out_(pctxt) {}

   void field(const BitSource& source, const RtxDiagBitField& field, const char* prefix, size_t nextOffset,
              RtxDiagBitLine& line) {
      title(quorva::BitFieldTitle<800>(prefix, field).text());
      numbers(static_cast<int>(field.bitOffset), static_cast<int>(field.bitCount),
              static_cast<int>(nextOffset));
      quorva::BitLineWriter writer(line, *this);
      writer.putField(source, field, nextOffset);
      if (out_.direct())
         out_.endLine();
      else
         rtxPrintToStream(pctxt_, "\n");
   }

   // A line of bits.
   void operator()(std::string_view bits, std::string_view hex, std::string_view chars) {
      if (!out_.direct()) {
         rtxPrintToStream(pctxt_, "%-35.35s    %-8.8s    %-4.4s\n", bits.data(), hex.data(), chars.data());
         return;
      }
      column(bits, 35);
      out_.put("    ");
      column(hex, 8);
      out_.put("    ");
      column(chars, 4);
      out_.endLine();
   }

   void commit() { out_.commit(); }
   void resume() { out_.resume(); }

private:
   void title(std::string_view text) {
      if (!out_.direct()) {
         rtxPrintToStream(pctxt_, "%s\n", text.data());
         return;
      }
      out_.put(text);
      out_.endLine();
   }

   void numbers(int bitOffset, int bitCount, int nextOffset) {
      if (!out_.direct()) {
         rtxPrintToStream(pctxt_, "bit offset: %d\tbit count: %d\tnext bit offset: %d\n", bitOffset, bitCount,
                          nextOffset);
         return;
      }
      out_.put("bit offset: ");
      out_.putNumber(bitOffset);
      out_.put("\tbit count: ");
      out_.putNumber(bitCount);
      out_.put("\tnext bit offset: ");
      out_.putNumber(nextOffset);
      out_.endLine();
   }

   void column(std::string_view text, size_t width) {
      out_.put(text);
      out_.putBlanks(width - text.size());
   }

   RtxContext* pctxt_;
   quorva::TextWriter out_;
};

// Lists the fields behind the last one listed.
void dumpFields(RtxDiagBitFieldList* list, const char* prefix, unsigned depth, const BitSource& source) {
   RtxContext* pctxt = list->fieldList.pctxt;
   RtxSListNode* node = list->lastField ? list->lastField->next : list->fieldList.head;
   if (!node) return;
   Listing listing(pctxt);
   size_t adjustment = 0;
   if (isAdjustment(fieldOf(node))) {
      adjustment = fieldOf(node).bitOffset;
      rtxPrintToStream(pctxt, "bit adjustment set to %d\n", static_cast<int>(adjustment));
      listing.resume();
      node = node->next;
   }
   for (; node; node = node->next) {
      auto& field = *static_cast<RtxDiagBitField*>(node->data);
      const size_t nextOffset = node->next ? fieldOf(node->next).bitOffset + adjustment : 0;
      field.bitOffset += adjustment;
      listing.field(source, field, prefix, nextOffset, list->lineState);
      if (field.openTypeFields && depth < maxDepth) {
         listing.commit();
         rtxPrintToStream(pctxt, "*** Open Type Data ***\n");
         dumpFields(field.openTypeFields, prefix, depth + 1, source.from(field.bitOffset / 8));
         rtxPrintToStream(pctxt, "***\n");
         listing.resume();
      }
      list->lastField = node;
   }
}

} // namespace

namespace quorva {

bool capturedBits(RtxContext* pctxt, BitSource* pSource) {
   RtxMemBuf* capture = rtxStreamGetCapture(pctxt);
   if (!capture) return false;
   size_t numocts = 0;
   pSource->data = static_cast<const uint8_t*>(rtxMemBufGetDataExt(capture, &numocts));
   pSource->nbits = pSource->data ? numocts * 8 : 0;
   return true;
}

BitSource bufferBits(const RtxContext* pctxt) {
   if (!pctxt->bufData) return {};
   return {pctxt->bufData, pctxt->bufSize * 8};
}

} // namespace quorva

void rtxDiagBitTracePrint(RtxDiagBitFieldList* pBFList, const char* varname) {
   if (!pBFList || !pBFList->fieldList.pctxt) return;
   RtxContext* pctxt = pBFList->fieldList.pctxt;
   BitSource source = quorva::bufferBits(pctxt);
   if (quorva::hot::streamActive(pctxt) && pctxt->stream->kind != RTX_STREAM_KIND_MEMORY &&
       !quorva::capturedBits(pctxt, &source)) {
      rtxDiagStream(pctxt, "~E ERROR: capture buffer was not assigned to stream\n");
      return;
   }
   dumpFields(pBFList, varname, 0, source);
}
