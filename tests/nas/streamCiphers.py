#!/usr/bin/env python3
"""A plain model of SNOW 3G (TS 35.216) and ZUC (TS 35.222) and of the algorithms of NAS security over them, bit by
bit and table by table. Running it writes streamCiphers.txt, which the tests compare the library with; so does
streamCiphersPeer.c, by somebody else's library.
"""

MASK = 0xFFFFFFFF


def rotate(word, by):
    return (word << by | word >> (32 - by)) & MASK


# SNOW 3G


def mulx(value, c):
    return (value << 1 ^ c) & 0xFF if value & 0x80 else value << 1


def mulx_pow(value, times, c):
    for _ in range(times):
        value = mulx(value, c)
    return value


def multiply(a, b, c):
    """In GF(2^8), c standing for what x^8 is."""
    result = 0
    for i in range(8):
        if b >> i & 1:
            result ^= mulx_pow(a, i, c)
    return result


def power(value, exponent, c):
    result = 1
    for _ in range(exponent):
        result = multiply(result, value, c)
    return result


def rijndael(value):
    inverse = power(value, 254, 0x1B)
    result = 0x63
    for by in range(5):
        result ^= (inverse << by | inverse >> (8 - by)) & 0xFF
    return result


def dickson(value):
    result = 0x25
    for exponent in (1, 9, 13, 15, 33, 41, 45, 47, 49):
        result ^= power(value, exponent, 0x69)
    return result


SR = [rijndael(x) for x in range(256)]
SQ = [dickson(x) for x in range(256)]


def snow_box(word, box, c):
    w = [box[word >> shift & 0xFF] for shift in (24, 16, 8, 0)]
    r0 = mulx(w[0], c) ^ w[1] ^ w[2] ^ mulx(w[3], c) ^ w[3]
    r1 = mulx(w[0], c) ^ w[0] ^ mulx(w[1], c) ^ w[2] ^ w[3]
    r2 = w[0] ^ mulx(w[1], c) ^ w[1] ^ mulx(w[2], c) ^ w[3]
    r3 = w[0] ^ w[1] ^ mulx(w[2], c) ^ w[2] ^ mulx(w[3], c)
    return r0 << 24 | r1 << 16 | r2 << 8 | r3


def four(octet, exponents):
    result = 0
    for exponent in exponents:
        result = result << 8 | mulx_pow(octet, exponent, 0xA9)
    return result


MUL_ALPHA = [four(c, (23, 245, 48, 239)) for c in range(256)]
DIV_ALPHA = [four(c, (16, 39, 6, 64)) for c in range(256)]


class Snow3g:
    def __init__(self, key, iv):
        """Four words each: k0 to k3, IV0 to IV3."""
        k, ones = key, MASK
        self.s = [k[0] ^ ones, k[1] ^ ones, k[2] ^ ones, k[3] ^ ones, k[0], k[1], k[2], k[3],
                  k[0] ^ ones, k[1] ^ ones ^ iv[3], k[2] ^ ones ^ iv[2], k[3] ^ ones,
                  k[0] ^ iv[1], k[1], k[2], k[3] ^ iv[0]]
        self.r = [0, 0, 0]
        for _ in range(32):
            self.clock_register(self.clock_machine())
        self.clock_machine()
        self.clock_register(0)

    def clock_machine(self):
        r1, r2, r3 = self.r
        f = ((self.s[15] + r1) & MASK) ^ r2
        self.r = [(r2 + (r3 ^ self.s[5])) & MASK, snow_box(r1, SR, 0x1B), snow_box(r2, SQ, 0x69)]
        return f

    def clock_register(self, f):
        s = self.s
        v = (s[0] << 8 & MASK) ^ MUL_ALPHA[s[0] >> 24] ^ s[2] ^ s[11] >> 8 ^ DIV_ALPHA[s[11] & 0xFF] ^ f
        self.s = s[1:] + [v]

    def words(self, count):
        result = []
        for _ in range(count):
            f = self.clock_machine()
            result.append(f ^ self.s[0])
            self.clock_register(0)
        return result


def snow_key(key):
    words = [int.from_bytes(key[i:i + 4], "big") for i in range(0, 16, 4)]
    return words[::-1]


def uea2(key, count, bearer, direction, data, bits):
    iv2 = bearer << 27 | direction << 26
    return stream(Snow3g(snow_key(key), [iv2, count, iv2, count]), data, bits)


def multiply64(v, p):
    result = 0
    for i in range(64):
        if p >> i & 1:
            result ^= v
        v = (v << 1 ^ 0x1B) & (1 << 64) - 1 if v >> 63 else v << 1
    return result


def uia2(key, count, fresh, direction, data, bits):
    iv = [fresh ^ direction << 15, count ^ direction << 31, fresh, count]
    z = Snow3g(snow_key(key), iv).words(5)
    p, q = z[0] << 32 | z[1], z[2] << 32 | z[3]
    message = bit_text(data, bits)
    value = 0
    for at in range(0, bits, 64):
        value = multiply64(value ^ int(message[at:at + 64].ljust(64, "0"), 2), p)
    return multiply64(value ^ bits, q) >> 32 ^ z[4]


# ZUC

S0 = bytes.fromhex(
    "3e725b47cae0003304d1549809b96dcb 7b1bf932af9d6aa5b82dfc1d08530390 4d4e8499e4ced991ddb685488b296eac"
    "cdc1f81e734369c6b5bdfd396320d438 767db2a7cfed57c5f32cbb142106559b e3ef5e314f7f5aa40d8251495fba581c"
    "4a16d517a892241f8cffd8ae2e01d3ad 3b4bda46ebc9de9a8f87d73a806f2fc8 b1b437f70a2213287ccc3c89c7c39656"
    "07bf7ef00b2b975235417961a64c10fe bc2695888ab0a3fbc01894f2e1e5e95d d0dc1166645cec59427512f5749caa23"
    "0e86abbe2a02e767e644a26cc2939ff1 f6fa36d250689e6271153dd640c4e20f 8e83776b25053f0c30ea70b7a1e8a965"
    "8d271adb81b3a0f4457a19dfee783460")
S1 = bytes.fromhex(
    "55c263713bc847869f3cda5b29aafd77 8cc5940ca61a1300e3a8167240f9f842 4426689681d9453e1076c6a78b3943e1"
    "3ab5562ac06db3052266bfdc0bfa6248 dd20110636c9c1cff62752bb69f5d487 7f844cd29c57a4bc4f9adffed68d7aeb"
    "2b53d85ca11417fb23d57d3067730809 eeb7703f61b2198e4ee54b938f5ddba9 adf1ae2ecb0dfcf42d466e1d97e8d1e9"
    "4d37a5755e839eab829db91ce0cd4989 01b6bd5824a25f387899159050b895e4 d091c7ceed0fb46fa0ccf0024a79c3de"
    "a3efea51e66b18ec1b2c80f774e7ff21 5a6a541e41319235c433070aba7e0e34 88b1987cf33d606c7bcad31f32650428"
    "64be859b2f598ad7b025acaf1203e2f2")
D = (0x44D7, 0x26BC, 0x626B, 0x135E, 0x5789, 0x35E2, 0x7135, 0x09AF,
     0x4D78, 0x2F13, 0x6BC4, 0x1AF1, 0x5E26, 0x3C4D, 0x789A, 0x47AC)


class Zuc:
    def __init__(self, key, iv):
        self.s = [key[i] << 23 | D[i] << 8 | iv[i] for i in range(16)]
        self.r = [0, 0]
        for _ in range(32):
            self.clock_register(self.clock_machine()[0] >> 1)
        self.clock_machine()
        self.clock_register(0)

    def clock_register(self, u):
        s = self.s
        value = ((s[15] << 15) + (s[13] << 17) + (s[10] << 21) + (s[4] << 20) + (s[0] << 8) + s[0] + u) % 0x7FFFFFFF
        self.s = s[1:] + [value or 0x7FFFFFFF]

    def clock_machine(self):
        def join(high, low):
            return (high >> 15) << 16 | low & 0xFFFF

        def box(word):
            return (S0[word >> 24] << 24 | S1[word >> 16 & 0xFF] << 16 | S0[word >> 8 & 0xFF] << 8 | S1[word & 0xFF])

        s, (r1, r2) = self.s, self.r
        x = [join(s[15], s[14]), (s[11] & 0xFFFF) << 16 | s[9] >> 15,
             (s[7] & 0xFFFF) << 16 | s[5] >> 15, (s[2] & 0xFFFF) << 16 | s[0] >> 15]
        w = ((x[0] ^ r1) + r2) & MASK
        w1, w2 = (r1 + x[1]) & MASK, r2 ^ x[2]
        u, v = (w1 << 16 | w2 >> 16) & MASK, (w2 << 16 | w1 >> 16) & MASK
        self.r = [box(u ^ rotate(u, 2) ^ rotate(u, 10) ^ rotate(u, 18) ^ rotate(u, 24)),
                  box(v ^ rotate(v, 8) ^ rotate(v, 14) ^ rotate(v, 22) ^ rotate(v, 30))]
        return w, x[3]

    def words(self, count):
        result = []
        for _ in range(count):
            w, x3 = self.clock_machine()
            result.append(w ^ x3)
            self.clock_register(0)
        return result


def eea3(key, count, bearer, direction, data, bits):
    half = count.to_bytes(4, "big") + bytes([bearer << 3 | direction << 2, 0, 0, 0])
    return stream(Zuc(key, half + half), data, bits)


def eia3(key, count, bearer, direction, data, bits):
    iv = bytearray(count.to_bytes(4, "big") + bytes([bearer << 3, 0, 0, 0])) * 2
    iv[8] ^= direction << 7
    iv[14] ^= direction << 7
    z = "".join(format(word, "032b") for word in Zuc(key, iv).words((bits + 31) // 32 + 2))
    tag = 0
    for i, bit in enumerate(bit_text(data, bits)):
        if bit == "1":
            tag ^= int(z[i:i + 32], 2)
    return tag ^ int(z[bits:bits + 32], 2) ^ int(z[-32:], 2)


# What both need


def bit_text(data, bits):
    return "".join(format(octet, "08b") for octet in data)[:bits]


def stream(generator, data, bits):
    """Bits behind the last one stay as they are."""
    z = b"".join(word.to_bytes(4, "big") for word in generator.words((bits + 31) // 32))
    result = bytearray(data)
    for i in range(bits):
        result[i // 8] ^= z[i // 8] & 0x80 >> i % 8
    return bytes(result)


def octets(text):
    return bytes.fromhex(text.replace(" ", ""))


class Draw:
    """Inputs that the test draws in the same way."""

    def __init__(self, seed):
        self.state = seed

    def octets(self, count):
        result = bytearray()
        for _ in range(count):
            self.state = (self.state * 6364136223846793005 + 1442695040888963407) % (1 << 64)
            result.append(self.state >> 56)
        return bytes(result)


if __name__ == "__main__":
    print("# By streamCiphers.py and streamCiphersPeer.c: bits; then by 128-EEA1, 128-EIA1, 128-EEA3, 128-EIA3.")
    for bits in range(301):
        draw = Draw(bits)
        key, count = draw.octets(16), int.from_bytes(draw.octets(4), "big")
        bearer, direction = draw.octets(1)[0] & 31, draw.octets(1)[0] & 1
        data = draw.octets((bits + 7) // 8)
        print(bits, uea2(key, count, bearer, direction, data, bits).hex() or "-",
              "%08x" % uia2(key, count, bearer << 27, direction, data, bits),
              eea3(key, count, bearer, direction, data, bits).hex() or "-",
              "%08x" % eia3(key, count, bearer, direction, data, bits))
