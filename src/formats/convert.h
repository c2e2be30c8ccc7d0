// The walk every row conversion shares.
//
// A conversion moves `count` elements from up to three source arrays into up to
// three destination arrays (the R, G, B planes of an RGBLight side, or one array).
// A member is a struct in rk::conv that describes
//   kPairs              whether it walks two elements a step (else one);
//   kSrc[], kDst[]      each array's element: bytes read or written, stride, and the
//                       byte offset of element 0 from the pointer it was given;
//   kDstBAt, kSrcBAt    where a member takes its B-plane pointer from inside the G
//                       array (a byte offset into dstG or srcG), -1 for none;
// and its formula, one of
//   Map(uint32_t) -> uint32_t     one array to one array
//   Map(uint32_t) -> Px           one array into three planes
//   Map(Px) -> uint32_t           three planes into one array
//   Map(Px) -> Px                 planes to planes
//   Convert(Px, Pos, Px partner)  when the element's place in the walk matters
//   Lanes(uint32_t) -> uint32_t   a pair as one word of two 16-bit lanes
// and optionally AloneStep(io, i, count), its own step for an odd count's last
// element.
//
// The reference walk goes from the last element to the first. Members walking in
// pairs convert an odd count's last element alone first, then the pairs
// (2k - 2, 2k - 1) downwards; within a step every source plane is read before any
// destination plane is written, and planes are written R, G, B. So the walk alone
// decides what an in-place or overlapping call gives. Calls whose arrays do not
// overlap take the fast walk, which converts the same elements with the same
// formulas in any order.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "formats/convert_move.h"
#include "formats/pixel.h"
#include "module/dispatch.h"
#include "module/isa.h"

namespace rk {

// A conversion as the fast kernels see it: the destination and source arrays
// (planes in the order R, G, B; unused ones null; the B plane already fetched where
// a member takes it from the G array) and the element count, at least 1.
struct ConvArgs {
  uint8_t *d[3];
  const uint8_t *s[3];
  uint32_t count;
};
using ConvFn = void (*)(const ConvArgs &);

}  // namespace rk

RK_NS_BEGIN
namespace conv {

// An array's element: `bytes` read or written at `first + i * stride`.
struct Arr {
  int bytes, stride, first;
};
// Element values of the arrays of one side, in argument order.
struct Px {
  uint32_t v[3];
};
// Where an element stands in a pair walk: converted alone, or the lower or upper
// element of a pair.
enum class Pos { kAlone, kLow, kHigh };

// Array pointers moved to element 0.
struct Io {
  uint8_t *d[3];
  const uint8_t *s[3];
};

// Little-endian element access.
template <int Bytes>
inline uint32_t LoadLE(const uint8_t *p) {
  if constexpr (Bytes == 1) {
    return p[0];
  } else if constexpr (Bytes == 3 || std::endian::native != std::endian::little) {
    uint32_t v = 0;
    for (int k = 0; k < Bytes; ++k) v |= static_cast<uint32_t>(p[k]) << (8 * k);
    return v;
  } else if constexpr (Bytes == 2) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
  } else {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
  }
}
template <int Bytes>
inline void StoreLE(uint8_t *p, uint32_t v) {
  if constexpr (Bytes == 1) {
    p[0] = static_cast<uint8_t>(v);
  } else if constexpr (Bytes == 3 || std::endian::native != std::endian::little) {
    for (int k = 0; k < Bytes; ++k) p[k] = static_cast<uint8_t>(v >> (8 * k));
  } else if constexpr (Bytes == 2) {
    auto w = static_cast<uint16_t>(v);
    std::memcpy(p, &w, 2);
  } else {
    std::memcpy(p, &v, 4);
  }
}

template <class K>
constexpr int kSrcArrays = static_cast<int>(std::size(K::kSrc));
template <class K>
constexpr int kDstArrays = static_cast<int>(std::size(K::kDst));

template <class K>
inline Px LoadPx(const Io &io, size_t i) {
  Px in{};
  [&]<int... k>(std::integer_sequence<int, k...>) {
    ((in.v[k] = LoadLE<K::kSrc[k].bytes>(io.s[k] + i * K::kSrc[k].stride)), ...);
  }
  (std::make_integer_sequence<int, kSrcArrays<K>>{});
  return in;
}
// Writes the elements at i (and i + 1 for a pair), plane by plane in the order R, G, B.
template <class K, int N>
inline void StorePx(const Io &io, size_t i, const Px (&out)[N]) {
  [&]<int... k>(std::integer_sequence<int, k...>) {
    auto plane = [&](auto kc) {
      constexpr Arr a = K::kDst[decltype(kc)::value];
      for (int e = 0; e < N; ++e) {
        StoreLE<a.bytes>(io.d[decltype(kc)::value] + (i + e) * a.stride,
                         out[e].v[decltype(kc)::value]);
      }
    };
    (plane(std::integral_constant<int, k>{}), ...);
  }
  (std::make_integer_sequence<int, kDstArrays<K>>{});
}

// A member that converts a pair as one 32-bit word of two 16-bit lanes (the even
// element in the low lane), so that what one lane's arithmetic carries out reaches
// the other; an element converted alone is the low lane with the high lane 0.
template <class K>
constexpr bool kLanes = requires(uint32_t w) {
  K::Lanes(w);
};
// A member whose formula takes the element's place in the walk and its partner.
template <class K>
constexpr bool kByPlace = requires(const Px &p) {
  K::Convert(p, Pos::kLow, p);
};
template <class K>
constexpr bool kPositional = kLanes<K> || kByPlace<K>;

template <class K>
inline Px ConvertAt(const Px &in, [[maybe_unused]] Pos pos, [[maybe_unused]] const Px &partner) {
  if constexpr (kByPlace<K>) {
    return K::Convert(in, pos, partner);
  } else if constexpr (kSrcArrays<K> == 1 && kDstArrays<K> == 1) {
    return {{K::Map(in.v[0])}};
  } else if constexpr (kSrcArrays<K> == 1) {
    return K::Map(in.v[0]);
  } else if constexpr (kDstArrays<K> == 1) {
    return {{K::Map(in)}};
  } else {
    return K::Map(in);
  }
}

// One element, read and then written.
template <class K>
inline void OneStep(const Io &io, size_t i) {
  if constexpr (kLanes<K>) {
    StoreLE<2>(io.d[0] + 2 * i, K::Lanes(LoadLE<2>(io.s[0] + 2 * i)));
  } else {
    Px in = LoadPx<K>(io, i);
    Px out[1] = {ConvertAt<K>(in, Pos::kAlone, in)};
    StorePx<K>(io, i, out);
  }
}
// An odd count's last element in a pair walk.
template <class K>
inline void AloneStep(const Io &io, size_t i, size_t count) {
  if constexpr (requires { K::AloneStep(io, i, count); }) {
    K::AloneStep(io, i, count);
  } else {
    OneStep<K>(io, i);
  }
}
// Elements i and i + 1: both read, then both written.
template <class K>
inline void PairStep(const Io &io, size_t i) {
  if constexpr (kLanes<K>) {
    static_assert(K::kSrc[0].stride == 2 && K::kDst[0].stride == 2);
    StoreLE<4>(io.d[0] + 2 * i, K::Lanes(LoadLE<4>(io.s[0] + 2 * i)));
  } else {
    Px lo = LoadPx<K>(io, i), hi = LoadPx<K>(io, i + 1);
    Px out[2] = {ConvertAt<K>(lo, Pos::kLow, hi), ConvertAt<K>(hi, Pos::kHigh, lo)};
    StorePx<K>(io, i, out);
  }
}

template <class K>
inline Io ElementZero(uint8_t *d0, uint8_t *d1, uint8_t *d2, const uint8_t *s0, const uint8_t *s1,
                      const uint8_t *s2) {
  Io io{{d0, d1, d2}, {s0, s1, s2}};
  for (int k = 0; k < kDstArrays<K>; ++k) io.d[k] += K::kDst[k].first;
  for (int k = 0; k < kSrcArrays<K>; ++k) io.s[k] += K::kSrc[k].first;
  return io;
}

// The reference walk: last element to first.
template <class K>
void RefWalk(const ConvArgs &a) {
  const Io io = ElementZero<K>(a.d[0], a.d[1], a.d[2], a.s[0], a.s[1], a.s[2]);
  const size_t n = a.count;
  if constexpr (K::kPairs) {
    if (n & 1) AloneStep<K>(io, n - 1, n);
    for (size_t i = n & ~size_t{1}; i >= 2; i -= 2) PairStep<K>(io, i - 2);
  } else {
    for (size_t i = n; i-- > 0;) OneStep<K>(io, i);
  }
}

// The fast walk, for arrays that do not overlap: the same steps in increasing
// order, with every array known apart so that the loops vectorise.
//
// Elements [0, n) with n even for pair walks; the lone last element is left to the
// caller.
template <class K>
inline void DenseLoop(const Io &io, size_t n) {
  if constexpr (K::kPairs && kPositional<K>) {
    RK_IVDEP
    for (size_t i = 0; i < n; i += 2) PairStep<K>(io, i);
  } else {
    RK_IVDEP
    for (size_t i = 0; i < n; ++i) OneStep<K>(io, i);
  }
}

// A member whose 3-byte colour arrays are replaced by 32-bit words (fourth byte 0).
constexpr Arr Widened(const Arr &a) { return a.bytes == 3 ? Arr{4, 4, 0} : a; }
template <size_t... I>
constexpr std::array<Arr, sizeof...(I)> WidenAll(const Arr *a, std::index_sequence<I...>) {
  return {Widened(a[I])...};
}
template <class K>
struct Widen : K {
  static constexpr auto kSrc = WidenAll(K::kSrc, std::make_index_sequence<kSrcArrays<K>>{});
  static constexpr auto kDst = WidenAll(K::kDst, std::make_index_sequence<kDstArrays<K>>{});
};
// Which array of a side holds 3-byte colours, -1 for none.
template <size_t N>
constexpr int TripleAt(const Arr (&a)[N]) {
  for (size_t k = 0; k < N; ++k) {
    if (a[k].bytes == 3) return static_cast<int>(k);
  }
  return -1;
}
template <class K>
constexpr bool kHasTriples = TripleAt(K::kSrc) >= 0 || TripleAt(K::kDst) >= 0;

template <class K>
inline Io Advance(Io io, size_t at) {
  for (int k = 0; k < kDstArrays<K>; ++k) io.d[k] += at * K::kDst[k].stride;
  for (int k = 0; k < kSrcArrays<K>; ++k) io.s[k] += at * K::kSrc[k].stride;
  return io;
}

// Blocks of elements whose 3-byte colours are moved to or from 32-bit words around
// the member's own loop.
template <class K>
inline void WidenedLoop([[maybe_unused]] const Io &io, [[maybe_unused]] size_t n) {
#if RK_TRIPLE_WORDS
  constexpr int ts = TripleAt(K::kSrc), td = TripleAt(K::kDst);
  static_assert(ts < 0 || td < 0, "one 3-byte side at most");
  constexpr size_t kBlock = 256;
  alignas(64) uint32_t words[kBlock];
  for (size_t at = 0; at < n; at += kBlock) {
    const size_t m = std::min(kBlock, n - at);
    Io block = Advance<K>(io, at);
    uint8_t *out = nullptr;
    if constexpr (ts >= 0) {
      constexpr size_t stride = K::kSrc[ts].stride;
      LoadTriples<stride>(words, block.s[ts], m, stride * (n - at) - (stride - 3));
      block.s[ts] = reinterpret_cast<const uint8_t *>(words);
    } else {
      out = block.d[td];
      block.d[td] = reinterpret_cast<uint8_t *>(words);
    }
    DenseLoop<Widen<K>>(block, m);
    if constexpr (td >= 0) StoreTriples<K::kDst[td].stride>(out, words, m, n - at);
  }
#endif
}

// With NEON the compiler's own loops over 3-byte elements are mostly as fast as the
// moves through words: only the members set here take the moves there (the others
// counted slower with them, tools/neon_count.py).
template <class K>
inline constexpr bool kNeonWords = false;

// How many elements to convert first so that the main loop reads the first source
// array from 64-byte boundaries (a load across two cache lines costs most when the
// memory is cold). Pair members keep whole pairs.
template <class K>
inline size_t AlignedStart(const Io &io, size_t n) {
  constexpr Arr a = K::kSrc[0];
  constexpr size_t unit = a.stride * (K::kPairs && kPositional<K> ? 2 : 1);
  if constexpr (a.bytes == 3) {
    return 0;
  } else {
    size_t ahead = (0 - reinterpret_cast<uintptr_t>(io.s[0])) & 63;
    if (ahead % unit != 0) return 0;
    return std::min(ahead / a.stride, n & ~(unit / a.stride - 1));
  }
}

template <class K>
inline void FastLoop(size_t n, uint8_t *__restrict d0, uint8_t *__restrict d1,
                     uint8_t *__restrict d2, const uint8_t *__restrict s0,
                     const uint8_t *__restrict s1, const uint8_t *__restrict s2) {
  const Io io = ElementZero<K>(d0, d1, d2, s0, s1, s2);
  const size_t body = K::kPairs ? n & ~size_t{1} : n;
  const size_t head = AlignedStart<K>(io, body);
  DenseLoop<K>(io, head);
  if constexpr (kHasTriples<K> && kTripleMoves && (!RK_NEON || kNeonWords<K>)) {
    WidenedLoop<K>(Advance<K>(io, head), body - head);
  } else {
    DenseLoop<K>(Advance<K>(io, head), body - head);
  }
  if (body != n) AloneStep<K>(io, n - 1, n);
}
template <class K>
void FastWalk(const ConvArgs &a) {
  FastLoop<K>(a.count, a.d[0], a.d[1], a.d[2], a.s[0], a.s[1], a.s[2]);
}

// Byte ranges [lo, hi) of one call's arrays, as addresses.
struct Span {
  int64_t lo, hi;
  bool Meets(const Span &o) const { return lo < o.hi && o.lo < hi; }
};
template <class K>
bool ArraysApart(const ConvArgs &a) {
  const int64_t n = a.count;
  auto span = [n](const void *p, const Arr &e) {
    auto at = static_cast<int64_t>(reinterpret_cast<uintptr_t>(p)) + e.first;
    return Span{at, at + (n - 1) * e.stride + e.bytes};
  };
  Span d[3], s[3];
  for (int k = 0; k < kDstArrays<K>; ++k) d[k] = span(a.d[k], K::kDst[k]);
  for (int k = 0; k < kSrcArrays<K>; ++k) s[k] = span(a.s[k], K::kSrc[k]);
  if constexpr (requires { K::AloneSrcByte(a.count); }) {
    if (a.count & 1) {
      auto base = static_cast<int64_t>(reinterpret_cast<uintptr_t>(a.s[0]));
      s[0].hi = std::max(s[0].hi, base + K::AloneSrcByte(a.count) + 1);
    }
  }
  for (int k = 0; k < kDstArrays<K>; ++k) {
    for (int j = 0; j < kSrcArrays<K>; ++j) {
      if (d[k].Meets(s[j])) return false;
    }
    for (int j = 0; j < k; ++j) {
      if (d[k].Meets(d[j])) return false;
    }
  }
  return true;
}

// A pointer-sized value at any alignment.
inline uintptr_t LoadPointer(const uint8_t *p) {
  uintptr_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The whole call: count 0 returns at once; the B-plane pointer is fetched before
// anything is written; the fast walk runs when the arrays do not overlap.
template <class K>
void RunConvert(KernelId id, ConvArgs &a) {
  if (a.count == 0) return;
  if constexpr (K::kDstBAt >= 0) {
    a.d[2] = reinterpret_cast<uint8_t *>(LoadPointer(a.d[1] + K::kDstBAt));
  }
  if constexpr (K::kSrcBAt >= 0) {
    a.s[2] = reinterpret_cast<const uint8_t *>(LoadPointer(a.s[1] + K::kSrcBAt));
  }
  ConvFn fast = ActiveTable().Get<ConvFn>(id);
  if (fast && ArraysApart<K>(a)) {
    fast(a);
  } else {
    RefWalk<K>(a);
  }
}

// Walk kinds members derive from.
struct Single {
  static constexpr bool kPairs = false;
  static constexpr int kDstBAt = -1, kSrcBAt = -1;
};
struct Paired : Single {
  static constexpr bool kPairs = true;
};

}  // namespace conv
RK_NS_END
