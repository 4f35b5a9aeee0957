// The bit trace as an HTML page. The page keeps its form to the letter: it names another coding in its title
// and leaves elements open (thead, code, td), which readers of such pages rely on.
#include <cstdio>
#include <cstdlib>

#include "quorva/rtxCharStr.h"
#include "quorva/rtxFile.h"
#include "quorva/rtxStatus.h"
#include "quorva/rtxUTF8.h"
#include "runtime/core/rtxDiagBitLine.h"
#include "runtime/core/rtxInline.h"

namespace {

using quorva::BitSource;

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
   char bits[36];
   char hex[9];
   char chars[5];
};

// The lines of one field. A line that can't be allocated is left out.
class PageLines {
public:
   PageLines() { rtxSListInitEx(nullptr, &list_); }
   ~PageLines() { rtxSListFreeAll(&list_); }
   PageLines(const PageLines&) = delete;
   PageLines& operator=(const PageLines&) = delete;

   void operator()(const char* bits, const char* hex, const char* chars) {
      auto* line = static_cast<PageLine*>(malloc(sizeof(PageLine)));
      if (!line) return;
      rtxStrcpy(line->bits, sizeof(line->bits), bits);
      rtxStrcpy(line->hex, sizeof(line->hex), hex);
      rtxStrcpy(line->chars, sizeof(line->chars), chars);
      if (!rtxSListAppend(&list_, line)) free(line);
   }

   // Writes one column, its lines parted by line breaks. Characters are not escaped.
   template <typename Column>
   void write(FILE* file, Column column) const {
      for (const RtxSListNode* node = list_.head; node; node = node->next) {
         fprintf(file, "%s\n", column(*static_cast<const PageLine*>(node->data)));
         if (node->next) fprintf(file, "<br/>\n");
      }
   }

   bool empty() const { return !list_.head; }

private:
   RtxSList list_;
};

void writeField(FILE* file, const BitSource& source, const RtxDiagBitField& field, const char* prefix,
                size_t nextOffset, RtxDiagBitLine& line) {
   char title[400];
   quorva::bitFieldTitle(title, sizeof(title), prefix, field);
   fprintf(file, "<tr>\n<td colspan=\"3\" class=\"xml\">\n<code>\n%s<br/>\n", title);
   fprintf(file, "bit offset: %zd bit count: %zd next bit offset: %zd", static_cast<ssize_t>(field.bitOffset),
           static_cast<ssize_t>(field.bitCount), static_cast<ssize_t>(nextOffset));
   fprintf(file, "</td>\n</tr>\n\n");

   PageLines lines;
   quorva::BitLineWriter writer(line, lines);
   writer.putField(source, field, nextOffset);
   fprintf(file, "<tr>\n<td align=\"left\" width=\"60%%\"><code>\n");
   lines.write(file, [](const PageLine& l) { return l.bits; });
   fprintf(file, "</code></td>\n<td align=\"left\" width=\"25%%\"><code>\n");
   lines.write(file, [](const PageLine& l) { return l.hex; });
   if (lines.empty()) fprintf(file, "&nbsp;\n");
   fprintf(file, "<td align=\"left\" width=\"15%%\"><code>\n");
   lines.write(file, [](const PageLine& l) { return l.chars; });
   fprintf(file, "</code></td>\n</tr>\n\n");
}

void writePage(FILE* file, const RtxDiagBitFieldList* list, const BitSource& source, const char* prefix) {
   fputs(pageHead, file);
   fputs(bodyHead, file);
   // A line of its own: the page neither depends on what was printed before nor disturbs what will be.
   RtxDiagBitLine line = {};
   line.mask = 128;
   for (const RtxSListNode* node = list->fieldList.head; node; node = node->next) {
      const size_t nextOffset =
            node->next ? static_cast<const RtxDiagBitField*>(node->next->data)->bitOffset : 0;
      writeField(file, source, *static_cast<const RtxDiagBitField*>(node->data), prefix, nextOffset, line);
   }
   fputs(bodyTail, file);
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
