// The bit trace as an HTML page. The page keeps its form to the letter: it names another coding in its title
// and leaves elements open (thead, code, td), which readers of such pages rely on.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "quorva/rtxFile.h"
#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxDiagBitLine.h"
#include "runtime/core/rtxInline.h"
#include "runtime/text/escapeText.h"
#include "runtime/text/textWriter.h"

namespace {

using quorva::BitSource;
using quorva::TextWriter;

constexpr char pageHead[] =
      "<!DOCTYPE html PUBLIC \"-//W3C//DTD HTML 4.01 Transitional//EN\">\n"
      "<html lang=\"en-US\">\n"
      "<head>\n"
      "<META http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">\n"
      "<title>EXI 1.0 Encoding</title>\n"
      "<style type=\"text/css\">\n"
      "code { font-family: monospace; }\n"
      "div.exampleInner pre { margin-left: 1em; margin-top: 0em; margin-bottom: 0em}\n"
      "div.exampleOuter {border: 4px double gray; margin: 0em; padding: 0em}\n"
      "div.exampleInner { background-color: #d5dee3; border-top-width: 4px; border-top-style: double; "
      "border-top-color: #d3d3d3; border-bottom-width: 4px; border-bottom-style: double; "
      "border-bottom-color: #d3d3d3; padding: 4px; margin: 0em }\n"
      "div.exampleWrapper { margin: 4px }\n"
      "div.exampleHeader { font-weight: bold; margin: 4px}\n"
      "tr.silver td { color: silver }\n"
      "tr.bold td { font-weight: bold }\n"
      "td.xml { background-color: gray; color: white; font-weight: bold; font-size: 100% }\n"
      "</style>\n"
      "</head>\n";

constexpr char bodyHead[] = "<body>\n"
                            "\n"
                            "<h1><a name=\"title\" id=\"title\"></a>EXI 1.0 Encoding</h1>\n"
                            "<table border=\"1\" width=\"800\"><thead>\n";

constexpr char bodyTail[] = "</table>\n"
                            "</body>\n"
                            "</html>\n";

// One line of a field.
struct PageLine {
   char bits[35];
   char hex[8];
   char chars[4];
   uint8_t numBits, numHex, numChars;
};

// The lines of one field at a time. A line for which there is no memory is left out.
class PageLines {
public:
   PageLines() = default;
   ~PageLines() {
      if (lines_ != few_) free(lines_);
   }
   PageLines(const PageLines&) = delete;
   PageLines& operator=(const PageLines&) = delete;

   void clear() { count_ = 0; }
   bool empty() const { return count_ == 0; }

   void operator()(std::string_view bits, std::string_view hex, std::string_view chars) {
      if (count_ == size_ && !grow()) return;
      PageLine& line = lines_[count_++];
      line.numBits = static_cast<uint8_t>(bits.copy(line.bits, sizeof(line.bits)));
      line.numHex = static_cast<uint8_t>(hex.copy(line.hex, sizeof(line.hex)));
      line.numChars = static_cast<uint8_t>(chars.copy(line.chars, sizeof(line.chars)));
   }

   // Writes one column, its lines parted by line breaks. Characters are escaped if asked for alone.
   template <typename Column>
   void write(TextWriter& out, Column column, bool escaped = false) const {
      for (size_t i = 0; i < count_; ++i) {
         if (i > 0) out.put("<br/>\n");
         escaped ? putEscaped(out, column(lines_[i])) : out.put(column(lines_[i]));
         out.put('\n');
      }
   }

private:
   static void putEscaped(TextWriter& out, std::string_view chars) {
      for (const char each : chars) {
         switch (each) {
         case '<': out.put("&lt;"); break;
         case '>': out.put("&gt;"); break;
         case '&': out.put("&amp;"); break;
         default: out.put(each);
         }
      }
   }

   bool grow() {
      auto* more = static_cast<PageLine*>(malloc(2 * size_ * sizeof(PageLine)));
      if (!more) return false;
      memcpy(more, lines_, count_ * sizeof(PageLine));
      if (lines_ != few_) free(lines_);
      lines_ = more;
      size_ *= 2;
      return true;
   }

   PageLine few_[16];
   PageLine* lines_ = few_;
   size_t size_ = sizeof(few_) / sizeof(few_[0]);
   size_t count_ = 0;
};

void writeField(TextWriter& out, PageLines& lines, const BitSource& source, const RtxDiagBitField& field,
                const char* prefix, size_t nextOffset, RtxDiagBitLine& line, bool escaped) {
   out.put("<tr>\n<td colspan=\"3\" class=\"xml\">\n<code>\n");
   out.put(quorva::BitFieldTitle<400>(prefix, field).text());
   out.put("<br/>\nbit offset: ");
   out.putNumber(static_cast<ssize_t>(field.bitOffset));
   out.put(" bit count: ");
   out.putNumber(static_cast<ssize_t>(field.bitCount));
   out.put(" next bit offset: ");
   out.putNumber(static_cast<ssize_t>(nextOffset));
   out.put("</td>\n</tr>\n\n");

   lines.clear();
   quorva::BitLineWriter writer(line, lines);
   writer.putField(source, field, nextOffset);
   out.put("<tr>\n<td align=\"left\" width=\"60%\"><code>\n");
   lines.write(out, [](const PageLine& l) { return std::string_view(l.bits, l.numBits); });
   out.put("</code></td>\n<td align=\"left\" width=\"25%\"><code>\n");
   lines.write(out, [](const PageLine& l) { return std::string_view(l.hex, l.numHex); });
   if (lines.empty()) out.put("&nbsp;\n");
   out.put("<td align=\"left\" width=\"15%\"><code>\n");
   lines.write(
         out, [](const PageLine& l) { return std::string_view(l.chars, l.numChars); }, escaped);
   out.put("</code></td>\n</tr>\n\n");
}

void writePage(FILE* file, const RtxDiagBitFieldList* list, const BitSource& source, const char* prefix) {
   TextWriter out(file);
   PageLines lines;
   out.put(pageHead);
   out.put(bodyHead);
   // A line of its own: the page neither depends on what was printed before nor disturbs what will be.
   RtxDiagBitLine line = {};
   line.mask = 128;
   for (const RtxSListNode* node = list->fieldList.head; node; node = node->next) {
      const size_t nextOffset =
            node->next ? static_cast<const RtxDiagBitField*>(node->next->data)->bitOffset : 0;
      writeField(out, lines, source, *static_cast<const RtxDiagBitField*>(node->data), prefix, nextOffset,
                 line, quorva::escapes(list->fieldList.pctxt));
   }
   out.put(bodyTail);
}

} // namespace

void rtxDiagBitTracePrintHTML(const char* fileName, RtxDiagBitFieldList* pBFList, const char* varname) {
   if (!pBFList || !pBFList->fieldList.pctxt) return;
   RtxContext* pctxt = pBFList->fieldList.pctxt;
   const bool toStdout = !fileName || !*fileName || rtxUTF8StrEqual(fileName, "stdout");
   FILE* file = stdout;
   if (!toStdout && rtxFileOpen(&file, fileName, "w") != RTX_OK) {
      printf("could not open %s for write access\n", fileName);
      return;
   }
   BitSource source = quorva::bufferBits(pctxt);
   if (!quorva::hot::streamActive(pctxt) || quorva::capturedBits(pctxt, &source))
      writePage(file, pBFList, source, varname);
   else
      puts("ERROR: capture buffer was not assigned to stream");
   if (!toStdout) fclose(file);
}
