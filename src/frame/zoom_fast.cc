// Nearest scaling of calls whose destination and source bytes do not meet. A
// destination row that samples the same source row as the row above is a copy of
// it. Members that only read their source scale a row with plain loops the
// compiler vectorises for the common steps (1:1, 2x up, 2x down) and with the
// 16.16 stepper otherwise; RkZoom24 does the same with its samples first and the
// stamps into its source after them. Halving into a large destination stores it with
// streaming stores from the first aligned lane of each row.
#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "frame/zoom.h"
#include "module/fast.h"
#include "module/registers.h"

RK_NS_BEGIN
namespace {

#if defined(__SSE2__)
// The even pixels of 2 * kLane source bytes, stored as kLane destination bytes at an
// address aligned to kLane with a streaming store (past the caches: a large
// destination is not read again soon, and it need not be fetched before the write).
#if defined(__AVX512BW__)
constexpr size_t kLane = 64;
template <class T>
constexpr auto kEvenIndex = [] {
  struct {
    alignas(64) T i[64 / sizeof(T)];
  } r{};
  for (size_t k = 0; k < 64 / sizeof(T); ++k) r.i[k] = static_cast<T>(2 * k);
  return r;
}();
template <class T>
void StreamEven(uint8_t *d, const uint8_t *s) {
  const __m512i a = _mm512_loadu_si512(s), b = _mm512_loadu_si512(s + 64);
  const __m512i at = _mm512_load_si512(kEvenIndex<T>.i);
  __m512i v;
  if constexpr (sizeof(T) == 4) {
    v = _mm512_permutex2var_epi32(a, at, b);
  } else {
    v = _mm512_permutex2var_epi16(a, at, b);
  }
  _mm512_stream_si512(reinterpret_cast<__m512i *>(d), v);
}
#elif defined(__AVX2__)
constexpr size_t kLane = 32;
template <class T>
void StreamEven(uint8_t *d, const uint8_t *s) {
  const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s));
  const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + 32));
  __m256i v;  // the even pixels of a and b, per 128-bit lane: a0 b0 | a1 b1
  if constexpr (sizeof(T) == 4) {
    v = _mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
  } else {
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    v = _mm256_packus_epi32(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
  }
  _mm256_stream_si256(reinterpret_cast<__m256i *>(d), _mm256_permute4x64_epi64(v, 0xD8));
}
#else
constexpr size_t kLane = 16;
template <class T>
void StreamEven(uint8_t *d, const uint8_t *s) {
  const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
  const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + 16));
  __m128i v;
  if constexpr (sizeof(T) == 4) {
    v = _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), 0x88));
  } else {  // sign-extended low halves pack back unchanged
    v = _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16),
                        _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
  }
  _mm_stream_si128(reinterpret_cast<__m128i *>(d), v);
}
#endif
constexpr bool kCanStream = true;
#else
constexpr size_t kLane = 16;
template <class T>
void StreamEven(uint8_t *, const uint8_t *) {}
constexpr bool kCanStream = false;
#endif

// RkZoom24 streams from its byte-shuffle blocks, which the AVX2 levels have.
#if defined(__AVX2__)
constexpr bool kStream24 = true;
#else
constexpr bool kStream24 = false;
#endif

// Every other pixel of a source row. The row reads twice the bytes it writes, so
// memory is what limits it: the source row sampled next (`next`, or null) is
// fetched into the cache a stretch at a time, one row ahead of the reads. With
// `stream` (and d aligned to the pixel size) the pixels before the first aligned
// destination lane are stored plainly, then whole lanes by streaming stores. A lane
// reads the odd pixel after its last sample, which for the lane that ends the row lies
// past the last sample (and may lie past the source): that lane's source pixels are
// copied out first, with a 0 in that place. (Storing that lane plainly instead would
// mix plain and streaming stores in one line, which costs dearly.)
template <class T>
void HalveRow(uint8_t *d, const uint8_t *s, const uint8_t *next, size_t n, bool stream) {
  constexpr size_t kStretch = 256 / sizeof(T);  // destination pixels: 8 source lines
  constexpr size_t kLanePixels = kLane / sizeof(T);
  auto plain = [d, s](size_t from, size_t to) {
    for (size_t j = from; j < to; ++j) {
      T v;
      std::memcpy(&v, s + 2 * j * sizeof(T), sizeof(T));
      std::memcpy(d + j * sizeof(T), &v, sizeof(T));
    }
  };
  size_t i = 0;
  stream = stream && reinterpret_cast<uintptr_t>(d) % sizeof(T) == 0;
  if (stream) {
    i = std::min(n, (-reinterpret_cast<uintptr_t>(d) & (kLane - 1)) / sizeof(T));
    plain(0, i);
  }
  for (; i < n; i += kStretch) {
    const size_t m = n - i < kStretch ? n - i : kStretch;
    if (next) {
      for (size_t b = 0; b < 2 * m * sizeof(T); b += 64) {
        __builtin_prefetch(next + 2 * i * sizeof(T) + b);
      }
    }
    size_t j = i;
    if (stream) {
      for (; j + kLanePixels <= i + m; j += kLanePixels) {
        const uint8_t *from = s + 2 * j * sizeof(T);
        alignas(64) uint8_t last[2 * kLane];
        if (j + kLanePixels == n) {
          std::memcpy(last, from, 2 * kLane - sizeof(T));
          std::memset(last + 2 * kLane - sizeof(T), 0, sizeof(T));
          from = last;
        }
        StreamEven<T>(d + j * sizeof(T), from);
      }
    }
    plain(j, i + m);
  }
}

template <class T>
void ScaleRow(uint8_t *d, const uint8_t *s, const uint8_t *next, size_t n, uint32_t stepX,
              bool stream) {
  auto ld = [s](size_t i) {
    T v;
    std::memcpy(&v, s + i * sizeof(T), sizeof(T));
    return v;
  };
  auto st = [d](size_t i, T v) { std::memcpy(d + i * sizeof(T), &v, sizeof(T)); };
  switch (stepX) {
    case 0x10000:
      std::memcpy(d, s, n * sizeof(T));
      return;
    case 0x8000:  // every source pixel twice
      for (size_t i = 0; i < n / 2; ++i) {
        T v = ld(i);
        st(2 * i, v);
        st(2 * i + 1, v);
      }
      if (n & 1) st(n - 1, ld(n / 2));
      return;
    case 0x20000:
      HalveRow<T>(d, s, next, n, stream);
      return;
    default: {
      Step16 fx;
      size_t col = 0;
      for (size_t i = 0; i < n; ++i) {
        st(i, ld(col));
        col += fx.Next(stepX);
      }
    }
  }
}

#if defined(__AVX2__)
// A 96-byte output block as six 16-byte lanes: output byte o of a block is input
// byte F::At(o) of it, and a block advances the input by F::kIn bytes. Each lane
// gathers its bytes with byte shuffles from one or two 16-byte loads.
struct LanePlan {
  alignas(32) uint8_t pick[3][2][32];  // vector, load: shuffle masks of its two lanes
  int at[6][2];                        // lane, load: input offset
  bool two[3];                         // the vector needs its second loads
  int in;                              // input bytes a block advances
  int reach;                           // input bytes a block reads from its start
};

template <class F>
constexpr LanePlan MakePlan() {
  LanePlan p{};
  p.in = F::kIn;
  for (int l = 0; l < 6; ++l) {
    int lo = F::At(16 * l), hi = lo;
    for (int k = 0; k < 16; ++k) {
      lo = F::At(16 * l + k) < lo ? F::At(16 * l + k) : lo;
      hi = F::At(16 * l + k) > hi ? F::At(16 * l + k) : hi;
    }
    const bool two = hi - lo >= 16;
    const int a0 = two ? lo : (hi - 15 > 0 ? hi - 15 : 0), a1 = two ? hi - 15 : a0;
    p.at[l][0] = a0;
    p.at[l][1] = a1;
    p.two[l / 2] = p.two[l / 2] || two;
    p.reach = a1 + 16 > p.reach ? a1 + 16 : p.reach;
    for (int k = 0; k < 16; ++k) {
      const int i = F::At(16 * l + k);
      const bool first = i - a0 < 16;
      p.pick[l / 2][0][16 * (l % 2) + k] = static_cast<uint8_t>(first ? i - a0 : 0x80);
      p.pick[l / 2][1][16 * (l % 2) + k] = static_cast<uint8_t>(first ? 0x80 : i - a1);
    }
  }
  return p;
}

// Byte maps of the sampling steps.
struct Doubled {  // destination pixels 2i and 2i + 1 from source pixel i
  static constexpr int kIn = 48;
  static constexpr int At(int o) { return 3 * (o / 6) + (o % 3 == 1); }
};
struct Halved {  // destination pixel i from source pixel 2i
  static constexpr int kIn = 192;
  static constexpr int At(int o) { return 6 * (o / 3) + (o % 3 == 1); }
};
template <class F>
constexpr LanePlan kPlan = MakePlan<F>();

inline __m256i LoadLanes(const uint8_t *in, const int (&lo)[2], const int (&hi)[2], int k) {
  return _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in + lo[k]))),
      _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + hi[k])), 1);
}

// Whole blocks of output while the block's output lies inside outBytes and its reads
// inside inBytes. `next` (or null) is the input row sampled next, fetched into the
// cache one row ahead of the reads. Returns the blocks done.
template <class F, bool Stream = false>
size_t GatherBlocks(uint8_t *out, const uint8_t *in, const uint8_t *next, size_t outBytes,
                    size_t inBytes) {
  constexpr const LanePlan &p = kPlan<F>;
  size_t b = 0;
  for (; 96 * (b + 1) <= outBytes && p.in * b + p.reach <= inBytes; ++b) {
    const uint8_t *i = in + p.in * b;
    if (next) {
      for (int c = 0; c < p.in; c += 64) __builtin_prefetch(next + p.in * b + c);
    }
    __m256i v[3];
    for (int j = 0; j < 3; ++j) {
      const __m256i m0 = _mm256_load_si256(reinterpret_cast<const __m256i *>(p.pick[j][0]));
      v[j] = _mm256_shuffle_epi8(LoadLanes(i, p.at[2 * j], p.at[2 * j + 1], 0), m0);
      if (p.two[j]) {
        const __m256i m1 = _mm256_load_si256(reinterpret_cast<const __m256i *>(p.pick[j][1]));
        v[j] = _mm256_or_si256(
            v[j], _mm256_shuffle_epi8(LoadLanes(i, p.at[2 * j], p.at[2 * j + 1], 1), m1));
      }
      auto *at = reinterpret_cast<__m256i *>(out + 96 * b + 32 * j);
      if constexpr (Stream) {
        _mm256_stream_si256(at, v[j]);
      } else {
        _mm256_storeu_si256(at, v[j]);
      }
    }
  }
  return b;
}

// The stamps of every (P / 3)-th pixel over whole 96-byte blocks of `in`: byte 2 of
// such a pixel takes its byte 0, every other byte stays; `out` gets the result and
// `also` (or null) the same. `out` may be `in`: the byte 0 two places back comes from
// the loads already in registers, so no load reads bytes just stored. Returns the
// blocks done.
template <int P>
constexpr auto kStampMask = [] {
  struct {
    alignas(32) uint8_t m[3][32];
  } r{};
  for (int o = 0; o < 96; ++o) r.m[o / 32][o % 32] = o % P == 2 ? 0x80 : 0;
  return r;
}();

template <int P>
size_t StampBlocks(uint8_t *out, uint8_t *also, const uint8_t *in, size_t bytes) {
  __m256i prev = _mm256_setzero_si256();
  size_t b = 0;
  for (; 96 * (b + 1) <= bytes; ++b) {
    for (int j = 0; j < 3; ++j) {
      const size_t at = 96 * b + 32 * j;
      const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(in + at));
      const __m256i back = _mm256_alignr_epi8(v, _mm256_permute2x128_si256(prev, v, 0x21), 14);
      const __m256i m = _mm256_load_si256(reinterpret_cast<const __m256i *>(kStampMask<P>.m[j]));
      const __m256i r = _mm256_blendv_epi8(v, back, m);
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + at), r);
      if (also) _mm256_storeu_si256(reinterpret_cast<__m256i *>(also + at), r);
      prev = v;
    }
  }
  return b;
}
#endif

#if RK_NEON
// The same blocks with NEON's structure moves: a structure load parts 16 pixels (48
// bytes) into registers of their first, second and third bytes, and a structure store
// writes such registers back as pixels. Each returns the pixels it did.

// Destination pixels [0, n) of a doubling row, 32 a step from 16 source pixels.
size_t DoubledPixels(uint8_t *d, const uint8_t *s, size_t n) {
  size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const uint8x16x3_t p = vld3q_u8(s + 3 * (i / 2));
    const uint8x16_t b0 = vzip1q_u8(p.val[0], p.val[0]), b1 = vzip2q_u8(p.val[0], p.val[0]);
    const uint8x16_t g0 = vzip1q_u8(p.val[1], p.val[1]), g1 = vzip2q_u8(p.val[1], p.val[1]);
    vst3q_u8(d + 3 * i, uint8x16x3_t{{b0, g0, b0}});
    vst3q_u8(d + 3 * i + 48, uint8x16x3_t{{b1, g1, b1}});
  }
  return i;
}

// Destination pixels of a halving row, 16 a step from the even pixels of 32, while
// the reads stay within the source row's first `reach` bytes; `next` (or null) is
// fetched into the cache one row ahead of the reads.
size_t HalvedPixels(uint8_t *d, const uint8_t *s, const uint8_t *next, size_t n, size_t reach) {
  size_t i = 0;
  for (; i + 16 <= n && 6 * i + 96 <= reach; i += 16) {
    if (next) {
      __builtin_prefetch(next + 6 * i);
      __builtin_prefetch(next + 6 * i + 64);
    }
    const uint8x16x3_t a = vld3q_u8(s + 6 * i), b = vld3q_u8(s + 6 * i + 48);
    const uint8x16_t bl = vuzp1q_u8(a.val[0], b.val[0]), gr = vuzp1q_u8(a.val[1], b.val[1]);
    vst3q_u8(d + 3 * i, uint8x16x3_t{{bl, gr, bl}});
  }
  return i;
}

// The stamps of source pixels 0, Stride, 2 * Stride, ... (the first `count` of them),
// 16 source pixels a step while they lie within the row's first `reach` bytes: byte 2
// of such a pixel takes its byte 0, every other byte is written back as it was. `out`
// gets the result and `also` (or null) the same; `out` may be `in`. Returns the stamps
// done.
template <int Stride>
size_t StampPixels(uint8_t *out, uint8_t *also, const uint8_t *in, size_t count, size_t reach) {
  // Lanes of the stamped pixels: all of them, or the even ones.
  const uint8x16_t stamped =
      Stride == 1 ? vdupq_n_u8(0xFF) : vreinterpretq_u8_u16(vdupq_n_u16(0xFF));
  size_t px = 0;
  for (; px + 16 <= Stride * count && 3 * px + 48 <= reach; px += 16) {
    uint8x16x3_t p = vld3q_u8(in + 3 * px);
    p.val[2] = vbslq_u8(stamped, p.val[0], p.val[2]);
    vst3q_u8(out + 3 * px, p);
    if (also) vst3q_u8(also + 3 * px, p);
  }
  return px / Stride;
}
#endif

// A 24-bit row: destination pixel i gets bytes (b0, b1, b0) of the source pixel it
// samples, whose byte 2 then becomes its byte 0. The destination never meets the
// source here and no sample reads a byte 2, so all samples may come first and the
// stamps after them; the common steps run as byte shuffles over whole blocks where
// the level has them, and as plain loops over bytes for the rest of the row.
void StampRow24(uint8_t *__restrict d, uint8_t *__restrict s, [[maybe_unused]] const uint8_t *next,
                size_t n, uint32_t stepX, [[maybe_unused]] bool stream) {
  auto samples = [&](size_t from, auto col, size_t to) {
    for (size_t i = from; i < to; ++i) {
      const size_t c = col(i);
      d[3 * i] = s[3 * c];
      d[3 * i + 1] = s[3 * c + 1];
      d[3 * i + 2] = s[3 * c];
    }
  };
  auto stamps = [&](size_t from, size_t count, size_t stride) {
    for (size_t j = from; j < count; ++j) s[3 * stride * j + 2] = s[3 * stride * j];
  };
  [[maybe_unused]] size_t done = 0, stamped = 0;  // pixels the blocks finished
  switch (stepX) {
    case 0x10000:  // the destination and the stamped source hold the same bytes
#if defined(__AVX2__)
      done = stamped = 32 * StampBlocks<3>(d, s, s, 3 * n);
#elif RK_NEON
      done = stamped = StampPixels<1>(d, s, s, n, 3 * n);
#endif
      samples(
          done, [](size_t i) { return i; }, n);
      stamps(stamped, n, 1);
      return;
    case 0x8000: {  // every source pixel twice
      const size_t m = (n + 1) / 2;
#if defined(__AVX2__)
      done = 32 * GatherBlocks<Doubled>(d, s, nullptr, 3 * n, 3 * m);
      stamped = 32 * StampBlocks<3>(s, nullptr, s, 3 * m);
#elif RK_NEON
      done = DoubledPixels(d, s, n);
      stamped = StampPixels<1>(s, nullptr, s, m, 3 * m);
#endif
      samples(
          done, [](size_t i) { return i / 2; }, n);
      stamps(stamped, m, 1);
      return;
    }
    case 0x20000: {
      [[maybe_unused]] const size_t reach = 6 * n - 3;  // the last sample's byte 2 ends the row
      auto col = [](size_t i) { return 2 * i; };
#if defined(__AVX2__)
      if (stream) {
        // The first pixel whose destination is 32-byte aligned (3 * 11 = 1 mod 32).
        done = std::min(n, (-reinterpret_cast<uintptr_t>(d) & 31) * 11 % 32);
        samples(0, col, done);
        done += 32 * GatherBlocks<Halved, true>(d + 3 * done, s + 6 * done,
                                                next ? next + 6 * done : nullptr, 3 * (n - done),
                                                reach - 6 * done);
      } else {
        done = 32 * GatherBlocks<Halved>(d, s, next, 3 * n, reach);
      }
      stamped = 16 * StampBlocks<6>(s, nullptr, s, reach);
#elif RK_NEON
      done = HalvedPixels(d, s, next, n, reach);
      stamped = StampPixels<2>(s, nullptr, s, n, reach);
#endif
      samples(done, col, n);
      stamps(stamped, n, 2);
      return;
    }
    default: {
      Step16 fx;
      for (size_t i = 0; i < n; ++i) {
        uint8_t *sample = s;
        s = AddrAdd(s, Units(fx.Next(stepX), 3));
        Zoom24::Sample(RawMem{}, RawMem{}, d + 3 * i, sample);
      }
    }
  }
}

template <class K>
void ZoomFast(const ZoomArgs &a) {
  const size_t n = static_cast<size_t>(a.w), rowBytes = n * K::kBpp;
  const uint32_t stepX = a.stepX, stepY = a.stepY;
  const intptr_t dPitch = a.dPitch, sPitch = a.sPitch;
  const bool rowsApart = static_cast<size_t>(dPitch < 0 ? -dPitch : dPitch) >= rowBytes;
  uint8_t *d = a.d, *s = a.s, *prevD = nullptr, *prevS = nullptr;
  // Halving rows of a large destination use streaming stores; one fence after the
  // last row orders them before the call returns. Not where rows repeat: the copies
  // would read back rows just streamed out.
  const bool stream =
      kCanStream && (!K::kWritesSrc || kStream24) && stepX == 0x20000 && stepY >= 0x10000 &&
      static_cast<uint64_t>(rowBytes) * static_cast<uint64_t>(a.h) >= kZoomStreamBytes;
  Step16 fy;
  uint8_t *next = s;
  for (int64_t y = 0; y < a.h; ++y) {
    s = next;
    next = AddrAdd(s, Units(fy.Next(stepY), sPitch));
    if (prevD && s == prevS && rowsApart) {
      std::memcpy(d, prevD, rowBytes);
    } else if constexpr (K::kWritesSrc) {
      StampRow24(d, s, y + 1 < a.h ? next : nullptr, n, stepX, stream);
    } else {
      // Only a hint: the address is never read unless it is the next row's.
      ScaleRow<typename K::Word>(d, s, y + 1 < a.h ? next : nullptr, n, stepX, stream);
    }
    prevD = d;
    prevS = s;
    d = AddrAdd(d, dPitch);
  }
#if defined(__SSE2__)
  if (stream) _mm_sfence();
#endif
}

}  // namespace
RK_NS_END

RK_FAST_FAMILY(zoom) {
  t.Set(KernelId::RkZoom16, &ZoomFast<Zoom16>);
  t.Set(KernelId::RkZoom24, &ZoomFast<Zoom24>);
  t.Set(KernelId::RkZoom32, &ZoomFast<Zoom32>);
}
