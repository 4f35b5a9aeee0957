/* Collects the access point names of messages: one message a line on standard input, in hexadecimal digits.
   It knows neither which messages have one nor where: it looks at everything that a message holds. */
#include <quorva/reflect.h>
#include <quorva/rtxError.h>
#include <quorva/rtxMemHeap.h>

#include <stdio.h>
#include <string.h>

static int showName(void* user, const QuorvaItem* item) {
   (void)user;
   if (item->type != NULL && strcmp(item->type->name, "TS24008IE_AccessPointName") == 0)
      printf("%s\t%s\n", item->text, item->path);
   return 0;
}

static size_t octetsOf(const char* line, uint8_t* octets, size_t room) {
   size_t count = 0;
   unsigned octet;
   while (count < room && sscanf(line + 2 * count, "%2x", &octet) == 1) octets[count++] = (uint8_t)octet;
   return count;
}

int main(void) {
   static char line[8192];
   static uint8_t octets[4096];
   const QuorvaVisitor visitor = {NULL, showName, NULL, NULL};
   RtxContext ctxt;
   if (rtInitContext(&ctxt) < 0) return 1;
   while (fgets(line, sizeof line, stdin) != NULL) {
      const size_t count = octetsOf(line, octets, sizeof octets);
      const QuorvaType* type = quorvaTypeOf(octets, count, QUORVA_DOWNLINK);
      void* message = type == NULL ? NULL : quorvaNew(&ctxt, type);
      if (message == NULL) continue;
      rtxCtxtSetBufPtr(&ctxt, octets, count);
      if (type->decode(&ctxt, message) == 0) quorvaVisit(&ctxt, type, message, &visitor);
      rtxMemReset(&ctxt);
   }
   rtFreeContext(&ctxt);
   return 0;
}
