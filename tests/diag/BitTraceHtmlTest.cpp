#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "diag/TracedMessage.h"
#include "quorva/rtxStream.h"

namespace {

using quorva_test::TracedMessage;

const std::string head =
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
      "</head>\n"
      "<body>\n"
      "\n"
      "<h1><a name=\"title\" id=\"title\"></a>EXI 1.0 Encoding</h1>\n"
      "<table border=\"1\" width=\"800\"><thead>\n";

const std::string tail = "</table>\n"
                         "</body>\n"
                         "</html>\n";

// Elements stay open: code in the title, the cell of the digits, and thead above.
std::string row(const std::string& title, const std::string& offsets, const std::string& bits,
                const std::string& hex, const std::string& chars) {
   return "<tr>\n<td colspan=\"3\" class=\"xml\">\n<code>\n" + title + "<br/>\n" + offsets +
          "</td>\n</tr>\n\n<tr>\n<td align=\"left\" width=\"60%\"><code>\n" + bits +
          "</code></td>\n<td align=\"left\" width=\"25%\"><code>\n" + hex +
          "<td align=\"left\" width=\"15%\"><code>\n" + chars + "</code></td>\n</tr>\n\n";
}

std::string pageOnStdout(const char* name, RtxDiagBitFieldList* list, const char* prefix) {
   testing::internal::CaptureStdout();
   rtxDiagBitTracePrintHTML(name, list, prefix);
   return testing::internal::GetCapturedStdout();
}

TEST(BitTraceHtml, IsThePageToTheLetter) {
   TracedMessage message({0x3C, 0x3C, 0x26, 0x33, 0x80});
   message.read("a", "INTEGER", 4);
   rtxSkipBits(&message.ctxt, 2);
   message.read("b", "OCTET STRING", 33);
   message.read(nullptr, "NULL", 0);
   // The skipped bits don't count: 30, not 3c. Characters are not escaped.
   const std::string page =
         head +
         row("m.a INTEGER", "bit offset: 0 bit count: 4 next bit offset: 6",
             "0011xx-- -------- -------- --------\n", "--------\n", "----\n") +
         row("m.b OCTET STRING", "bit offset: 6 bit count: 33 next bit offset: 39",
             "------00 00111100 00100110 00110011\n<br/>\n1000000- -------- -------- --------\n",
             "303c2633\n<br/>\n--------\n", "0<&3\n<br/>\n----\n") +
         row("m NULL", "bit offset: 39 bit count: 0 next bit offset: 0",
             "-------- -------- -------- --------\n", "--------\n", "----\n") +
         tail;
   const std::string name = testing::TempDir() + "quorva_trace.html";
   rtxDiagBitTracePrintHTML(name.c_str(), message.list, "m");
   std::ifstream file(name);
   EXPECT_EQ(page, std::string(std::istreambuf_iterator<char>(file), {}));
   remove(name.c_str());

   // The page and the text listing don't disturb one another.
   EXPECT_EQ(0u, message.listing("m").find("m.a INTEGER\nbit offset: 0\t"));
   EXPECT_EQ(page, pageOnStdout("stdout", message.list, "m"));
}

TEST(BitTraceHtml, FieldWithoutLinesAndEmptyList) {
   TracedMessage message;
   for (const char* name : {"", "stdout"}) EXPECT_EQ(head + tail, pageOnStdout(name, message.list, "m"));
   EXPECT_NE(-1, fileno(stdout)); // it stays open
   message.read("a", "NULL", 0);
   EXPECT_EQ(head + row("a NULL", "bit offset: 0 bit count: 0 next bit offset: 0", "", "&nbsp;\n", "") + tail,
             pageOnStdout(nullptr, message.list, nullptr));
}

TEST(BitTraceHtml, TellsWhatIsMissing) {
   TracedMessage message;
   EXPECT_EQ("could not open /nonexistent/x for write access\n",
             pageOnStdout("/nonexistent/x", message.list, nullptr));
   RtxStream stream = {};
   stream.kind = RTX_STREAM_KIND_FILE;
   message.ctxt.stream = &stream;
   EXPECT_EQ(head + tail, pageOnStdout("", message.list, nullptr));
   message.ctxt.flags &= ~RTX_CTXT_BUFFER_MODE;
   EXPECT_EQ("ERROR: capture buffer was not assigned to stream\n", pageOnStdout("", message.list, nullptr));
   message.ctxt.stream = nullptr;
}

} // namespace
