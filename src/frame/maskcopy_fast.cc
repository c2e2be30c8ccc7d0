// Colour-keyed copies of rows that do not overlap (or are the same bytes). Each
// pixel is chosen between source and destination by a compare, so a key pixel's
// destination bytes are written back as they were. The 32-bit loop vectorises as
// it stands; the 24-bit one is written with vector intrinsics where the machine
// has byte shuffles, because the compiler's own code for 3-byte pixels was slower
// than the speed goal.
#include <cstring>

#include "frame/maskcopy.h"
#include "module/fast.h"
#include "module/registers.h"

RK_NS_BEGIN
namespace {

void MaskRow32(const RowArgs &r) {
  const uint32_t key = MaskKey(r.a);
  const uint8_t *s = r.s;
  uint8_t *d = r.d;
  const size_t n = static_cast<size_t>(r.w);
  for (size_t i = 0; i < n; ++i) {
    uint32_t sv, dv;
    std::memcpy(&sv, s + 4 * i, 4);
    std::memcpy(&dv, d + 4 * i, 4);
    uint32_t out = IsKeyPixel(sv, key) ? dv : sv;
    std::memcpy(d + 4 * i, &out, 4);
  }
}

// Pixels [from, to) of a row, a byte at a time: all ones in `keep` for a key pixel.
[[maybe_unused]] void MaskBytes24(uint8_t *d, const uint8_t *s, size_t from, size_t to,
                                  uint32_t key) {
  const uint8_t k0 = static_cast<uint8_t>(key), k1 = static_cast<uint8_t>(key >> 8),
                k2 = static_cast<uint8_t>(key >> 16);
  for (size_t i = from; i < to; ++i) {
    uint8_t s0 = s[3 * i], s1 = s[3 * i + 1], s2 = s[3 * i + 2];
    uint8_t keep = static_cast<uint8_t>(-((s0 == k0) & (s1 == k1) & (s2 == k2)));
    d[3 * i] = static_cast<uint8_t>((d[3 * i] & keep) | (s0 & ~keep));
    d[3 * i + 1] = static_cast<uint8_t>((d[3 * i + 1] & keep) | (s1 & ~keep));
    d[3 * i + 2] = static_cast<uint8_t>((d[3 * i + 2] & keep) | (s2 & ~keep));
  }
}

#if defined(__AVX512BW__) && defined(__AVX512DQ__)
// GCC 12's AVX-512 headers trip its own uninitialised-value warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
// Sixteen pixels (48 bytes) a step: the pixels are widened to 32-bit lanes to be
// compared with the key, the compare is narrowed back over their bytes and chooses
// source or destination. The row's last step loads and stores through byte masks,
// so no step touches a byte outside the row.
void MaskRow24(const RowArgs &r) {
  const uint32_t key = MaskKey(r.a);
  const uint8_t *s = r.s;
  uint8_t *d = r.d;
  const size_t n = static_cast<size_t>(r.w);
  // Lane L of a widened vector holds dwords 3L..3L+2, pixels 4L..4L+3.
  const __m512i toLanes = _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11);
  const __m512i fromLanes =
      _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15);
  const __m512i widen = _mm512_set4_epi32(-1 << 24 | 0x0B0A09, -1 << 24 | 0x080706,
                                          -1 << 24 | 0x050403, -1 << 24 | 0x020100);
  const __m512i narrow = _mm512_set4_epi32(-1, 0x0C0C0C08, 0x08080404, 0x04000000);
  const __m512i keys = _mm512_set1_epi32(static_cast<int>(key));
  auto load48 = [](const uint8_t *p) {
    return _mm512_inserti64x4(
        _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(p))),
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 32))), 1);
  };
  for (size_t i = 0; i < n; i += 16) {
    const size_t count = n - i < 16 ? n - i : 16;
    const __mmask64 bytes = _bzhi_u64(~0ull, static_cast<unsigned>(3 * count));
    const uint8_t *sp = s + 3 * i;
    uint8_t *dp = d + 3 * i;
    __m512i sv = count == 16 ? load48(sp) : _mm512_maskz_loadu_epi8(bytes, sp);
    __m512i dv = count == 16 ? load48(dp) : _mm512_maskz_loadu_epi8(bytes, dp);
    __m512i px = _mm512_shuffle_epi8(_mm512_maskz_permutexvar_epi32(0xFFFF, toLanes, sv), widen);
    __m512i isKey = _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(px, keys));
    __m512i keep =
        _mm512_maskz_permutexvar_epi32(0xFFFF, fromLanes, _mm512_shuffle_epi8(isKey, narrow));
    __m512i out = _mm512_ternarylogic_epi32(keep, dv, sv, 0xCA);  // keep ? dv : sv
    if (count == 16) {
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(dp), _mm512_castsi512_si256(out));
      _mm_storeu_si128(reinterpret_cast<__m128i *>(dp + 32), _mm512_extracti32x4_epi32(out, 2));
    } else {
      _mm512_mask_storeu_epi8(dp, bytes, out);
    }
  }
}
#pragma GCC diagnostic pop
#elif defined(__AVX2__)
// Thirty-two pixels (96 bytes, three whole vectors) a step: every byte is compared
// with the key byte of its place in its pixel, and the three compare masks, as 96
// bits, are reduced to the pixels whose three bytes all match and spread back over
// their bytes. Returns how many pixels it did.
size_t MaskSteps24(uint8_t *d, const uint8_t *s, size_t n, uint32_t key) {
  // Pixels 0..20 lie in bits 0..62 of the first two masks, pixels 21..31 in bits
  // 31..63 of the last two; each pixel's lowest bit.
  constexpr uint64_t kFirst = 0x1249249249249249, kLast = 0x2492492480000000;
  using R = reg::R256;
  __m256i keyAt[3];  // register k starts at byte 32 k, byte (32 k) % 3 of a pixel
  for (int k = 0; k < 3; ++k) keyAt[k] = reg::KeyPattern24<R>(key, 32 * k % 3);
  size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const uint8_t *sp = s + 3 * i;
    uint8_t *dp = d + 3 * i;
    __m256i sv[3];
    uint32_t eq[3];
    for (int k = 0; k < 3; ++k) {
      sv[k] = R::Load(sp + 32 * k);
      eq[k] = static_cast<uint32_t>(R::Bits(R::Eq8(sv[k], keyAt[k])));
    }
    uint64_t a = eq[0] | uint64_t{eq[1]} << 32, b = eq[1] | uint64_t{eq[2]} << 32;
    a = (a & a >> 1 & a >> 2 & kFirst) * 7;
    b = (b & b >> 1 & b >> 2 & kLast) * 7;
    const uint32_t keep[3] = {
        static_cast<uint32_t>(a),
        static_cast<uint32_t>(a >> 32) | (static_cast<uint32_t>(b) & 0x80000000u),
        static_cast<uint32_t>(b >> 32)};
    for (int k = 0; k < 3; ++k) {
      R::Store(dp + 32 * k, R::Select(R::BytesOf(keep[k]), R::Load(dp + 32 * k), sv[k]));
    }
  }
  return i;
}

// Eight pixels (24 bytes) a step, held as two overlapping 16-byte halves: bytes
// 0..15 and bytes 8..23, so no byte outside the 24 is loaded or stored. Each half's
// four pixels are widened to 32-bit lanes to be compared with the key; the compare
// spreads back over their bytes to choose source or destination.
void MaskRow24(const RowArgs &r) {
  const uint32_t key = MaskKey(r.a);
  const uint8_t *s = r.s;
  uint8_t *d = r.d;
  const size_t n = static_cast<size_t>(r.w), done = MaskSteps24(d, s, n, key),
               groups = (n - done) / 8;
  const __m256i widen = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                         4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
  const __m256i spread = _mm256_setr_epi8(0, 0, 0, 4, 4, 4, 8, 8, 8, 12, 12, 12, -1, -1, -1, -1,  //
                                          -1, -1, -1, -1, 0, 0, 0, 4, 4, 4, 8, 8, 8, 12, 12, 12);
  const __m256i keys = _mm256_set1_epi32(static_cast<int>(key));
  auto halves = [](const uint8_t *p) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i *>(p + 8),
                               reinterpret_cast<const __m128i *>(p));
  };
  for (size_t g = 0; g < groups; ++g) {
    const uint8_t *sp = s + 3 * done + 24 * g;
    uint8_t *dp = d + 3 * done + 24 * g;
    __m256i sv = halves(sp), dv = halves(dp);
    __m256i isKey = _mm256_cmpeq_epi32(_mm256_shuffle_epi8(sv, widen), keys);
    __m256i out = _mm256_blendv_epi8(sv, dv, _mm256_shuffle_epi8(isKey, spread));
    __m128i lo = _mm256_castsi256_si128(out), hi = _mm256_extracti128_si256(out, 1);
    // Bytes 0..11 from the first half, 12..15 from the second.
    lo = _mm_blend_epi32(lo, _mm_slli_si128(hi, 8), 0x8);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(dp), lo);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(dp + 16), _mm_unpackhi_epi64(hi, hi));
  }
  MaskBytes24(d, s, done + groups * 8, n, key);
}
#elif defined(__SSE2__)
// Sixteen pixels (48 bytes, three vectors) a step: every byte is compared with the
// key byte of its place in its pixel; the 48 compare bits are reduced to the pixels
// whose three bytes all match and spread back over their bytes.
void MaskRow24(const RowArgs &r) {
  const uint32_t key = MaskKey(r.a);
  const uint8_t *s = r.s;
  uint8_t *d = r.d;
  const size_t n = static_cast<size_t>(r.w);
  using R = reg::R128;
  __m128i keyAt[3];  // register k starts at byte 16 k, byte (16 k) % 3 of a pixel
  for (int k = 0; k < 3; ++k) keyAt[k] = reg::KeyPattern24<R>(key, 16 * k % 3);
  constexpr uint64_t kLowest = 0x249249249249;  // each pixel's lowest bit of 48
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const uint8_t *sp = s + 3 * i;
    uint8_t *dp = d + 3 * i;
    __m128i sv[3];
    uint64_t eq = 0;
    for (int k = 0; k < 3; ++k) {
      sv[k] = R::Load(sp + 16 * k);
      eq |= R::Bits(R::Eq8(sv[k], keyAt[k])) << (16 * k);
    }
    const uint64_t keep = (eq & eq >> 1 & eq >> 2 & kLowest) * 7;
    for (int k = 0; k < 3; ++k) {
      // Source bytes, destination bytes where the pixel is a key pixel.
      R::Store(dp + 16 * k, R::Select(R::BytesOf(keep >> (16 * k)), R::Load(dp + 16 * k), sv[k]));
    }
  }
  MaskBytes24(d, s, i, n, key);
}
#else
void MaskRow24(const RowArgs &r) {
  MaskBytes24(r.d, r.s, 0, static_cast<size_t>(r.w), MaskKey(r.a));
}
#endif

}  // namespace
RK_NS_END

RK_FAST_FAMILY(maskcopy) {
  t.Set(KernelId::RkMaskBitBlt24, &MaskRow24);
  t.Set(KernelId::RkMaskBitBlt32, &MaskRow32);
}
