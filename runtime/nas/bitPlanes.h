/**
 * @file bitPlanes.h
 * Substitution boxes as circuits over bit planes: plane k holds bit k of each octet, as many octets side by
 * side as a plane has room for. No table and no branch depends on the data.
 */
#ifndef QUORVA_RUNTIME_NAS_BITPLANES_H
#define QUORVA_RUNTIME_NAS_BITPLANES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace quorva {

/** The S-box of AES on eight bit planes, least significant first: the circuit of Boyar and Peralta, 113
 * gates. */
template <class Plane>
constexpr void aesSubBytes(Plane* q) {
   const Plane x0 = q[7], x1 = q[6], x2 = q[5], x3 = q[4], x4 = q[3], x5 = q[2], x6 = q[1], x7 = q[0];

   // Into the tower field.
   const Plane y14 = x3 ^ x5, y13 = x0 ^ x6, y9 = x0 ^ x3, y8 = x0 ^ x5, t0 = x1 ^ x2, y1 = t0 ^ x7,
               y4 = y1 ^ x3, y12 = y13 ^ y14, y2 = y1 ^ x0, y5 = y1 ^ x6, y3 = y5 ^ y8, t1 = x4 ^ y12,
               y15 = t1 ^ x5, y20 = t1 ^ x1, y6 = y15 ^ x7, y10 = y15 ^ t0, y11 = y20 ^ y9, y7 = x7 ^ y11,
               y17 = y10 ^ y11, y19 = y10 ^ y8, y16 = t0 ^ y11, y21 = y13 ^ y16, y18 = x0 ^ y16;

   // Inversion.
   const Plane t2 = y12 & y15, t3 = y3 & y6, t4 = t3 ^ t2, t5 = y4 & x7, t6 = t5 ^ t2, t7 = y13 & y16,
               t8 = y5 & y1, t9 = t8 ^ t7, t10 = y2 & y7, t11 = t10 ^ t7, t12 = y9 & y11, t13 = y14 & y17,
               t14 = t13 ^ t12, t15 = y8 & y10, t16 = t15 ^ t12, t17 = t4 ^ t14, t18 = t6 ^ t16,
               t19 = t9 ^ t14, t20 = t11 ^ t16, t21 = t17 ^ y20, t22 = t18 ^ y19, t23 = t19 ^ y21,
               t24 = t20 ^ y18;
   const Plane t25 = t21 ^ t22, t26 = t21 & t23, t27 = t24 ^ t26, t28 = t25 & t27, t29 = t28 ^ t22,
               t30 = t23 ^ t24, t31 = t22 ^ t26, t32 = t31 & t30, t33 = t32 ^ t24, t34 = t23 ^ t33,
               t35 = t27 ^ t33, t36 = t24 & t35, t37 = t36 ^ t34, t38 = t27 ^ t36, t39 = t29 & t38,
               t40 = t25 ^ t39, t41 = t40 ^ t37, t42 = t29 ^ t33, t43 = t29 ^ t40, t44 = t33 ^ t37,
               t45 = t42 ^ t41;
   const Plane z0 = t44 & y15, z1 = t37 & y6, z2 = t33 & x7, z3 = t43 & y16, z4 = t40 & y1, z5 = t29 & y7,
               z6 = t42 & y11, z7 = t45 & y17, z8 = t41 & y10, z9 = t44 & y12, z10 = t37 & y3, z11 = t33 & y4,
               z12 = t43 & y13, z13 = t40 & y5, z14 = t29 & y2, z15 = t42 & y9, z16 = t45 & y14,
               z17 = t41 & y8;

   // Back, and the affine map.
   const Plane t46 = z15 ^ z16, t47 = z10 ^ z11, t48 = z5 ^ z13, t49 = z9 ^ z10, t50 = z2 ^ z12,
               t51 = z2 ^ z5, t52 = z7 ^ z8, t53 = z0 ^ z3, t54 = z6 ^ z7, t55 = z16 ^ z17, t56 = z12 ^ t48,
               t57 = t50 ^ t53, t58 = z4 ^ t46, t59 = z3 ^ t54, t60 = t46 ^ t57, t61 = z14 ^ t57,
               t62 = t52 ^ t58, t63 = t49 ^ t58, t64 = z4 ^ t59, t65 = t61 ^ t62, t66 = z1 ^ t63,
               t67 = t64 ^ t65;
   const Plane s3 = t53 ^ t66;
   q[7] = t59 ^ t63;
   q[6] = t64 ^ ~s3;
   q[5] = t55 ^ ~t67;
   q[4] = s3;
   q[3] = t51 ^ t66;
   q[2] = t47 ^ t65;
   q[1] = t56 ^ ~t62;
   q[0] = t48 ^ ~t60;
}

/** A linear map of octets: what each of their bits becomes. */
using BitMap = std::array<uint8_t, 8>;

template <const BitMap& Map, size_t Row, class Plane, size_t... Bit>
constexpr Plane mapRow(const Plane* in, std::index_sequence<Bit...>) {
   return (Plane{} ^ ... ^ ((Map[Bit] >> Row & 1) != 0 ? in[Bit] : Plane{}));
}
template <const BitMap& Map, class Plane, size_t... Row>
constexpr void mapPlanes(const Plane* in, Plane* out, std::index_sequence<Row...>) {
   ((out[Row] = mapRow<Map, Row>(in, std::make_index_sequence<8>())), ...);
}
/** `in` and `out` are different planes. */
template <const BitMap& Map, class Plane>
constexpr void mapPlanes(const Plane* in, Plane* out) {
   mapPlanes<Map>(in, out, std::make_index_sequence<8>());
}

/** A box of 4 bits. */
using NibbleBox = std::array<uint8_t, 16>;

/** What the products of its bits add up to: an entry for each set of bits, whose product it goes with. */
constexpr NibbleBox polynomialOf(NibbleBox box) {
   for (unsigned bit = 1; bit < 16; bit <<= 1)
      for (unsigned i = 0; i < 16; ++i)
         if ((i & bit) != 0) box[i] = static_cast<uint8_t>(box[i] ^ box[i ^ bit]);
   return box;
}
template <const NibbleBox& Polynomial, size_t Row, class Plane, size_t... Product>
constexpr Plane boxRow(const Plane* products, std::index_sequence<Product...>) {
   return (Plane{} ^ ... ^ ((Polynomial[Product] >> Row & 1) != 0 ? products[Product] : Plane{}));
}
/** XORs what the box makes of four planes to four others. */
template <const NibbleBox& Polynomial, class Plane>
constexpr void addBox(const Plane* in, Plane* to) {
   Plane products[16] = {static_cast<Plane>(~Plane{})};
   for (unsigned bit = 0; bit < 4; ++bit)
      for (unsigned i = 0; i < 1u << bit; ++i) products[1u << bit | i] = products[i] & in[bit];
   constexpr auto all = std::make_index_sequence<16>();
   to[0] ^= boxRow<Polynomial, 0>(products, all);
   to[1] ^= boxRow<Polynomial, 1>(products, all);
   to[2] ^= boxRow<Polynomial, 2>(products, all);
   to[3] ^= boxRow<Polynomial, 3>(products, all);
}

/** The planes of a word whose octets stand 8 bits apart: what is between them is of no account. */
template <class Plane>
constexpr void spread(Plane word, Plane* planes) {
   for (int k = 0; k < 8; ++k) planes[k] = word >> k;
}
/** And back; `octets` has the lowest bit of each octet that is wanted. */
template <class Plane>
constexpr Plane gather(const Plane* planes, Plane octets) {
   Plane word{};
   for (int k = 0; k < 8; ++k) word |= (planes[k] & octets) << k;
   return word;
}

} // namespace quorva

#endif
