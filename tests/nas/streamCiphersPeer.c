// What libipsec-mb says to the inputs of streamCiphers.py: writes all of streamCiphers.txt but the line of 0
// bits, which that library takes for a mistake. The file was compared with its version 1.3. cc -o peer
// streamCiphersPeer.c -lIPSec_MB
#include <intel-ipsec-mb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static uint64_t state;
static void draw(uint8_t* octets, size_t count) {
   while (count-- != 0) {
      state = state * 6364136223846793005u + 1442695040888963407u;
      *octets++ = (uint8_t)(state >> 56);
   }
}

static void show(const uint8_t* octets, size_t count) {
   putchar(' ');
   while (count-- != 0) printf("%02x", *octets++);
}
/** Ciphered, with the bits behind the last one as they were. */
static void showCiphered(uint8_t* out, const uint8_t* in, unsigned bits) {
   const uint8_t kept = (uint8_t)(0xFF >> bits % 8);
   if (bits % 8 != 0) out[bits / 8] = (uint8_t)((out[bits / 8] & ~kept) | (in[bits / 8] & kept));
   show(out, (bits + 7) / 8);
}

int main(void) {
   IMB_MGR* mgr = alloc_mb_mgr(0);
   if (mgr == NULL) return 1;
   init_mb_mgr_auto(mgr, NULL);
   snow3g_key_schedule_t* schedule = malloc(IMB_SNOW3G_KEY_SCHED_SIZE(mgr));
   printf("# By streamCiphers.py and streamCiphersPeer.c: bits; then by 128-EEA1, 128-EIA1, 128-EEA3, "
          "128-EIA3.\n");
   for (unsigned bits = 1; bits <= 300; ++bits) {
      uint8_t key[16], count4[4], bearer, direction, iv[16], data[64] = {0}, out[64] = {0}, tag[4];
      state = bits;
      draw(key, 16), draw(count4, 4), draw(&bearer, 1), draw(&direction, 1), draw(data, (bits + 7) / 8);
      bearer &= 31, direction &= 1;
      const uint32_t count =
            (uint32_t)count4[0] << 24 | (uint32_t)count4[1] << 16 | (uint32_t)count4[2] << 8 | count4[3];
      IMB_SNOW3G_INIT_KEY_SCHED(mgr, key, schedule);
      printf("%u", bits);
      snow3g_f8_iv_gen(count, bearer, direction, iv);
      IMB_SNOW3G_F8_1_BUFFER_BIT(mgr, schedule, iv, data, out, bits, 0);
      showCiphered(out, data, bits);
      snow3g_f9_iv_gen(count, (uint32_t)bearer << 27, direction, iv);
      IMB_SNOW3G_F9_1_BUFFER(mgr, schedule, iv, data, bits, tag);
      show(tag, 4);
      zuc_eea3_iv_gen(count, bearer, direction, iv);
      IMB_ZUC_EEA3_1_BUFFER(mgr, key, iv, data, out, (bits + 7) / 8);
      showCiphered(out, data, bits);
      zuc_eia3_iv_gen(count, bearer, direction, iv);
      uint32_t word;
      IMB_ZUC_EIA3_1_BUFFER(mgr, key, iv, data, bits, &word);
      memcpy(tag, &word, 4);
      show(tag, 4);
      putchar('\n');
   }
   free(schedule);
   free_mb_mgr(mgr);
   return 0;
}
