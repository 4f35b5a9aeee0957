// quorva decode --json, --get, --annotate; quorva encode and diff.

#include "tool/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <vector>

using namespace quorva_test;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

static const std::string kReject = "0744035f0104a3";

TEST(Record, DecodesToAnObjectALine) {
   const Folder folder;
   const std::string file = folder.write("in \"x\".txt", "# none\n7E005B01\n0744\n");
   const Result result = run("decode --json '" + file + "'");
   EXPECT_EQ(result.code, 1);
   const std::string input = "{\"input\":{\"name\":\"" + file.substr(0, file.find('"'));
   EXPECT_EQ(
         result.text,
         input +
               R"(\"x\".txt","line":2},"octets":"7e005b01","direction":"downlink","type":"TS24501Msg_PDU",)"
               R"("name":"IdentityRequest5G","status":"RTX_OK","meanings":{"msgType":"Identity Request"},"record":)"
               R"({"protoDiscr":"mobMgmt5G","hdrData":)"
               R"({"mm":{"spare1":0,"secHdrType":"noSec"}},"msgType":91,"data":{"obj_IdentityRequest5G":)"
               R"({"spare":0,"identity":{"spare":false,"typeOfIdent":"suci"}}},"eom":null}})"
               "\n" +
               input +
               R"(\"x\".txt","line":3},"octets":"0744","direction":"downlink","type":"TS24301Msg_PDU",)"
               R"("name":"AttachReject","status":"RTX_E_END_OF_DATA","error":{"number":-2,)"
               R"("path":"PDU.data.u.obj_AttachReject.emmCause","octet":2}})"
               "\n");
   EXPECT_THAT(
         run("decode --json --uplink --default-mode 074403200101").text,
         AllOf(HasSubstr("RTX_E_BAD_IEI"), HasSubstr(R"("direction":"uplink")"), HasSubstr(R"("record":)")));
   EXPECT_THAT(run("decode --json --type TS24301IE_EMMCause 0300").text,
               HasSubstr(R"("status":"RTX_OK","leftOver":1)"));
}

// What was decoded with keys is the same octets again when encoded with them, its codes included.
TEST(Record, EncodesWhatWasDecoded) {
   const std::string examples = QUORVA_TEST_DATA "/../examples/attach";
   const std::string keys = " --keys " + examples + ".keys ";
   const Result json = run("decode --json" + keys + examples + ".pcapng");
   EXPECT_EQ(json.code, 0);
   const Folder folder;
   const Result back = run("encode" + keys + folder.write("attach.json", json.text));
   EXPECT_EQ(back.code, 0);
   std::string octets;
   const std::string before = "\"octets\":\"";
   for (size_t at = 0; (at = json.text.find(before, at)) != std::string::npos;) {
      at += before.size();
      octets += json.text.substr(at, json.text.find('"', at) - at) + "\n";
   }
   EXPECT_EQ(back.text, octets);
   EXPECT_THAT(json.text,
               AllOf(HasSubstr(R"("frame":8,"time":"2026-01-01T00:00:09.031000Z")"),
                     HasSubstr(R"("carrier":"S1AP")"), HasSubstr(R"("security":"MAC right, COUNT 2)"),
                     HasSubstr(R"("clear":"27913e17b602)")));
   // Without keys there is nothing to protect with.
   EXPECT_THAT(run("encode " + folder.file("attach.json")).text, HasSubstr("RTX_E_NO_SECURITY (-71)"));
}

TEST(Record, EncodesJsonAsItComes) {
   const struct {
      std::string options, json, out;
      int code;
   } cases[] = {
         {"--type TS24301IE_EMMCause", "\"illegalUE\" 5\n6", "03\n05\n06\n", 0},
         {"--eps", "{\"protoDiscr\":\"epsMobMgmt\",\n\"data\":{\"obj_AttachReject\":\n{\"emmCause\":3}}}",
          "074403\n", 0},
         {"--eps",
          "{\"data\":{\"obj_AttachReject\":{\"emmCause\":3}},\n\"l3HdrOpts\":{\"secHdr\":0}}\n\n"
          "{\"l3HdrOpts\":{\"secHdr\":0},\"data\":{\"obj_AttachReject\":{\"emmCause\":5}}}",
          "074403\n074405\n", 0},
         {"--type TS24301IE_EMMCause", "3 \"none\"",
          "03\nquorva: standard input:1: column 3: no such name, RTX_E_BAD_ENUM (-4)\n", 1},
         {"--type TS24301IE_EMMCause", "3\n\n{\"a\":\n]",
          "03\nquorva: standard input:3: column 1: a value of another kind, RTX_E_VALUE_TYPE (-74)\n", 1},
         {"", "{}", "quorva: standard input:1: no type is given: --type NAME\n", 1},
         {"--type NoType", "{}", "quorva: standard input:1: 'NoType' is no type that can be encoded\n", 1},
         {"--eps", "{\"a\\nb\\u001b\":1}",
          "quorva: standard input:1: column 2: a\\nb\\x1b: no such field, RTX_E_UNKNOWN_NAME (-41)\n", 1},
         {"", "", "quorva: no value\n", 1},
         {"--type TS24301IE_EMMCause", "4294967295",
          "quorva: standard input:1: RTX_E_BAD_ENUM (-4) at EMMCause\n", 1},
   };
   const Folder folder;
   for (const auto& c : cases) {
      SCOPED_TRACE(c.json);
      const Result result = run("encode " + c.options + " < " + folder.write("in.json", c.json));
      EXPECT_EQ(result.code, c.code);
      if (!c.out.empty()) {
         EXPECT_EQ(result.text, c.out);
      }
   }
   EXPECT_EQ(
         run("encode --binary --type TS24301IE_TrackingAreaCode < " + folder.write("tac.json", "\"4142\""))
               .text,
         "AB");
}

TEST(Record, ShowsFieldsAsColumns) {
   const struct {
      const char *paths, *line;
   } cases[] = {
         {"--get data.obj_AttachReject.emmCause --get msgType", "illegalUE\t68\n"},
         {"--get data.obj_AttachAccept.result --get protoDiscr", "\tepsMobMgmt\n"},
         {"--get '**.timerValue' --get '**.t3346Value.value'", "4\t{\"unit\":0,\"timerValue\":4}\n"},
         {"--get '**.spare'", "false\n"},
   };
   for (const auto& c : cases) EXPECT_EQ(run("decode " + kReject + " " + c.paths).text, c.line);
   const Result result = run("decode --get msgType 0744 " + kReject);
   EXPECT_EQ(result.text, "\nquorva: message 1: RTX_E_END_OF_DATA (-2)\n68\n");
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(run("decode --type TS24008IE_AccessPointName --get '' 050441095c0a").text, "A\\t\\\\\\n\n");
}

TEST(Record, DiffersByField) {
   EXPECT_EQ(run("diff " + kReject + " " + kReject).text, "");
   EXPECT_EQ(run("diff " + kReject + " " + kReject).code, 0);
   const Result result = run("diff " + kReject + " 0744021601e3");
   EXPECT_EQ(result.code, 1);
   EXPECT_EQ(result.text, R"(- data.obj_AttachReject.emmCause = illegalUE
+ data.obj_AttachReject.emmCause = imsiUnkInHSS
- data.obj_AttachReject.t3346Value.length = 1
- data.obj_AttachReject.t3346Value.value.unit = 0
- data.obj_AttachReject.t3346Value.value.timerValue = 4
- data.obj_AttachReject.extEMMCause.spare = false
- data.obj_AttachReject.extEMMCause.nbiotAllowed = false
- data.obj_AttachReject.extEMMCause.epsOptInfo = true
- data.obj_AttachReject.extEMMCause.e_UTRAN_NotAllowed = true
+ data.obj_AttachReject.t3402Value.length = 1
+ data.obj_AttachReject.t3402Value.value.unit = 7
+ data.obj_AttachReject.t3402Value.value.timerValue = 3
)");
   EXPECT_EQ(run("diff " + kReject + " 0744").code, 2);
   EXPECT_EQ(run("diff " + kReject + " nothing").code, 2);
}

TEST(Record, DrawsOctetsBesideTheirMeaning) {
   const Result result =
         run("decode --annotate 075206905ada1e7da557ada1e72650e21ee5e3104bfb73f6b4558000b1903ab88a27237fff");
   EXPECT_EQ(result.code, 0);
   EXPECT_EQ(
         result.text,
         R"(     0  07  0000....              l3HdrOpts.skipInd = 0  -- Half octet ahead of the protocol discriminator, TS 24.007, 11.2.3.1
            ....0111              protoDiscr = epsMobMgmt  -- Protocol discriminator, TS 24.007, 11.2.3.1.1
     1  52  01010010              msgType = 82 (Authentication Request)  -- EPS NAS message: mobility or session management, plain or protected, TS 24.301, 9.1
     2  06  0000....              data.obj_AuthRequest.spare = 0  -- Authentication request, TS 24.301, 8.2.7
            ....0...              data.obj_AuthRequest.nasKeySetIdent.tsc = false  -- NAS key set identifier, TS 24.301, 9.9.3.21
            .....110              data.obj_AuthRequest.nasKeySetIdent.ident = 6
     3  90 5a da 1e 7d a5 57 ad   data.obj_AuthRequest.authParamRAND = 905ada1e7da557ada1e72650e21ee5e3  -- Authentication parameter RAND, TS 24.008, 10.5.3.1
    11  a1 e7 26 50 e2 1e e5 e3
    19  10  00010000              data.obj_AuthRequest.authParamAUTN.length = 16  -- Authentication parameter AUTN, TS 24.008, 10.5.3.1.1
    20  4b fb 73 f6 b4 55 80 00   data.obj_AuthRequest.authParamAUTN.autn = 4bfb73f6b4558000b1903ab88a27237f
    28  b1 90 3a b8 8a 27 23 7f
    36  ff  11111111              data.obj_AuthRequest IEI = 0xff  -- Authentication request, TS 24.301, 8.2.7
)");
}

// Each bit of the page belongs to one of its fields, and each field to bits.
TEST(Record, PageJoinsBitsAndFields) {
   const Folder folder;
   const std::string file = folder.file("page.html");
   EXPECT_EQ(run("decode --annotate-html " + file + " " + kReject + " 074405").code, 0);
   EXPECT_THAT(Folder::read(folder.file("page-2.html")), StartsWith("<!DOCTYPE html>"));
   const std::string page = Folder::read(file);
   EXPECT_THAT(page, AllOf(HasSubstr("<title>TS24301Msg_PDU, message 1</title>"), EndsWith("</html>\n"),
                           HasSubstr("(ENUMERATED) = illegalUE</p>"), Not(HasSubstr("http"))));
   const auto countOf = [&](const std::string& text) {
      size_t count = 0;
      for (size_t at = page.find(text); at != std::string::npos; at = page.find(text, at + 1)) ++count;
      return count;
   };
   size_t notes = 0, bits = 0;
   for (;; ++notes) {
      const std::string number = " data-n=\"" + std::to_string(notes) + "\"";
      if (countOf(number) == 0) break;
      EXPECT_EQ(countOf("<p" + number), 1u);
      EXPECT_EQ(countOf("<span" + number), 1u);
   }
   EXPECT_EQ(notes, 13u);
   for (size_t at = page.find("<span"); at != std::string::npos; at = page.find("<span", at + 1))
      bits += page.find('<', at + 1) - page.find('>', at) - 1;
   EXPECT_EQ(bits, kReject.size() * 4);
   // What may mean something else in a page stands for itself.
   EXPECT_EQ(run("decode --type TS24008IE_AccessPointName --annotate-html " + file + " 05043c62263e").code,
             0);
   EXPECT_THAT(Folder::read(file), HasSubstr("&lt;b&amp;&gt;"));
}

// In a browser a number behind the page's name lights up its field and its bits, and nothing else.
TEST(Record, PageWorksInABrowser) {
   const std::string browser = QUORVA_BROWSER;
   if (browser.empty()) GTEST_SKIP() << "chromium is not installed";
   const Folder folder;
   const std::string file = folder.file("page.html");
   ASSERT_EQ(run("decode --annotate-html " + file + " " + kReject).code, 0);
   const Result shown =
         run("--version > /dev/null; " + browser + " --headless --no-sandbox --disable-gpu --user-data-dir=" +
             folder.file("profile") + " --dump-dom 'file://" + file + "#3' 2>/dev/null");
   const std::regex lit("<(p|span) data-n=\"(\\d+)\"[^>]*class=\"(on kept|kept on)\"[^>]*>([^<]*)<");
   std::vector<std::string> found;
   for (std::sregex_iterator at(shown.text.begin(), shown.text.end(), lit), end; at != end; ++at)
      found.push_back((*at)[1].str() + " " + (*at)[2].str() + " " + (*at)[4].str());
   EXPECT_THAT(found, testing::ElementsAre("span 3 00000011",
                                           "p 3 data.obj_AttachReject.emmCause (ENUMERATED) = illegalUE"));
   const std::regex on("class=\"[^\"]*\\bon\\b");
   EXPECT_EQ(std::distance(std::sregex_iterator(shown.text.begin(), shown.text.end(), on),
                           std::sregex_iterator()),
             2);
}

// The examples find the same names, each in its way.
TEST(Record, ProbesFindAccessPointNames) {
   const std::string examples = QUORVA_TEST_DATA "/../examples/";
   const std::string expected = "internet\tdata.obj_AttachAccept.esmMessageContainer.pduSm.data.obj_"
                                "ActvDfltEPSBearerCtxtReq.accessPointName\n";
   EXPECT_EQ(run("decode --json --keys " + examples + "attach.keys " + examples + "attach.pcapng | python3 " +
                 examples + "probe/probe.py")
                   .text,
             expected);
   // In the clear; the program's output is left alone.
   EXPECT_EQ(run("--version >/dev/null; grep -A1 "
                 "attach-accept-activate-default-eps-bearer-contex-7 " QUORVA_TEST_DATA
                 "/vectors/eps.txt | tail -1 | " QUORVA_PROBE)
                   .text,
             expected);
}
