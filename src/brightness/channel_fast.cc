// Channel-member rows whose destination does not overlap their source or channel
// (or, for members whose every output depends only on the inputs at its place, whose
// destination is exactly their source). The right-end steps run through the same
// units as the reference walks; the body of the row is a plain loop.
#include <algorithm>

#include "brightness/channel_units.h"
#include "brightness/fast_loops.h"
#include "module/fast.h"

RK_NS_BEGIN
namespace bright {
namespace {

// Destination pixel i = fn(source pixel i, channel element i) for i < count.
template <int E, int CE, class Fn>
inline void MapRowChan(uint8_t *__restrict d, const uint8_t *__restrict s,
                       const uint8_t *__restrict c, int64_t count, Fn fn) {
  using T = typename Elem<E>::T;
  for (int64_t i = 0; i < count; ++i) {
    StoreE<E>(d + i * E, static_cast<T>(fn(LoadE<E>(s + i * E), LoadE<CE>(c + i * CE))));
  }
}

// Destination byte b = fn(source byte b, v[b], b) for b < n.
template <class T, class Fn>
inline void MapBytes(uint8_t *__restrict d, const uint8_t *__restrict s, const T *__restrict v,
                     int64_t n, Fn fn) {
  for (int64_t b = 0; b < n; ++b) d[b] = static_cast<uint8_t>(fn(s[b], v[b], b));
}
// Destination byte b = fn(source byte b, destination byte b, v[b], m[b]) for b < n.
template <class T, class Fn>
inline void MapBytesKeyed(uint8_t *__restrict d, const uint8_t *__restrict s, const T *__restrict v,
                          const uint8_t *__restrict m, int64_t n, Fn fn) {
  for (int64_t b = 0; b < n; ++b) d[b] = static_cast<uint8_t>(fn(s[b], d[b], v[b], m[b]));
}

// Each of n values three times over.
template <class T>
inline void Spread3(T *__restrict out, const T *__restrict in, int64_t n) {
  for (int64_t i = 0; i < n; ++i) {
    out[3 * i] = in[i];
    out[3 * i + 1] = in[i];
    out[3 * i + 2] = in[i];
  }
}

// The pair rule of the keyed members as a per-pixel choice, for loops over pairs: a
// key pixel keeps the destination, a pixel whose partner is the key is drawn alone, a
// pixel of two drawn ones by the pair formula.
enum Mode : uint8_t { kKeep, kAlone, kBoth };
inline std::pair<Mode, Mode> PairModes(bool keyL, bool keyR) {
  auto m = [](bool self, bool other) { return self ? kKeep : other ? kAlone : kBoth; };
  return {m(keyL, keyR), m(keyR, keyL)};
}

// 3-byte pixels in pairs, in chunks from the right end. For each chunk, plan(pair, left
// is key, right is key) gives a value for each of the pair's pixels, spread over the
// pixel's three bytes; then before(first pair, pairs, key flags) runs; then each byte
// b of the chunk becomes fn(source byte, value, b), or with kKeyed fn(source byte,
// destination byte, value, mode) with the pixel's mode by the pair rule. Chunks start
// at even pixels, so a byte's place in its pair has the parity of b.
template <class T, bool kKeyed, class Plan, class Before, class Fn>
inline void Pairs24(const RowArgs &r, Plan plan, Before before, Fn fn) {
  constexpr int64_t kChunk = 64;
  T pv[2 * kChunk], v[6 * kChunk];
  uint8_t key[2 * kChunk] = {}, pm[2 * kChunk], m[6 * kChunk];
  for (int64_t end = Pairs(r); end > 0; end -= kChunk) {
    int64_t q0 = std::max<int64_t>(0, end - kChunk), n = end - q0;
    if constexpr (kKeyed) {
      const uint8_t *s = r.s + 6 * q0;
      for (int64_t i = 0; i < 2 * n; ++i) key[i] = IsKey<3>(Load24(s + 3 * i), r.b);
      for (int64_t q = 0; q < n; ++q) {
        auto [ml, mr] = PairModes(key[2 * q] != 0, key[2 * q + 1] != 0);
        pm[2 * q] = ml;
        pm[2 * q + 1] = mr;
      }
      Spread3(m, pm, 2 * n);
    }
    for (int64_t q = 0; q < n; ++q) {
      auto [left, right] = plan(q0 + q, key[2 * q] != 0, key[2 * q + 1] != 0);
      pv[2 * q] = static_cast<T>(left);
      pv[2 * q + 1] = static_cast<T>(right);
    }
    Spread3(v, pv, 2 * n);
    before(q0, n, key);
    if constexpr (kKeyed) {
      MapBytesKeyed(r.d + 6 * q0, r.s + 6 * q0, v, m, 6 * n, fn);
    } else {
      MapBytes(r.d + 6 * q0, r.s + 6 * q0, v, 6 * n, fn);
    }
  }
}
// The channel elements of pair q, for Pairs24.
template <int CE>
auto PairElements(const RowArgs &r) {
  return [c = r.c](int64_t q, bool = false, bool = false) {
    return std::pair<uint32_t, uint32_t>{LoadE<CE>(c + 2 * q * CE),
                                         LoadE<CE>(c + (2 * q + 1) * CE)};
  };
}
inline void NoStep(int64_t, int64_t, const uint8_t *) {}

// Keyed 16-bit pixels: destination pixel i keeps its value where source pixel i is the
// key and becomes fn(source pixel, element) elsewhere, for i < count.
template <int CE, class Fn>
inline void BlendRowChan(uint8_t *__restrict d, const uint8_t *__restrict s,
                         const uint8_t *__restrict c, int64_t count, uint32_t key, Fn fn) {
  for (int64_t i = 0; i < count; ++i) {
    uint32_t p = LoadE<2>(s + 2 * i), o = LoadE<2>(d + 2 * i), v = fn(p, LoadE<CE>(c + i * CE));
    StoreE<2>(d + 2 * i, static_cast<uint16_t>(IsKey<2>(p, key) ? o : v));
  }
}

// Keyed 32-bit pixels in pairs: each pixel takes per its mode alone(pixel, element) or
// both(pixel, element), the pixel drawn alone with the left element when kAloneLeft.
template <bool kAloneLeft, int CE, class Alone, class Both>
inline void KeyedPairs32(uint8_t *__restrict d, const uint8_t *__restrict s,
                         const uint8_t *__restrict c, int64_t pairs, uint32_t key, Alone alone,
                         Both both) {
  for (int64_t q = 0; q < pairs; ++q) {
    uint32_t p[2], e[2], o[2];
    for (int i = 0; i < 2; ++i) {
      p[i] = LoadE<4>(s + 8 * q + 4 * i);
      e[i] = LoadE<CE>(c + (2 * q + i) * CE);
      o[i] = LoadE<4>(d + 8 * q + 4 * i);
    }
    auto [ml, mr] = PairModes(IsKey<4>(p[0], key), IsKey<4>(p[1], key));
    uint32_t m[2] = {ml, mr};
    for (int i = 0; i < 2; ++i) {
      uint32_t a = alone(p[i], kAloneLeft ? e[0] : e[i]), b = both(p[i], e[i]);
      StoreE<4>(d + 8 * q + 4 * i, m[i] == kKeep ? o[i] : m[i] == kAlone ? a : b);
    }
  }
}

Row<RawMem> Raw(const RowArgs &r) { return {r, {}, {}, {}}; }

// ---------------------------------------------------------------------------------
// LightWithChannel

template <class F>
void FastLightChan1615(const RowArgs &r) {
  // Depth 15's four-pixel step (possibly over the lone pixel) is done first, as the
  // reference does; the groups left of it are one map.
  if constexpr (std::is_same_v<F, Color15>) LightChan15Ends(Raw(r));
  int64_t n = std::is_same_v<F, Color15> ? r.w & ~3 : r.w;
  MapRowChan<2, 2>(r.d, r.s, r.c, n,
                   [](uint32_t p, uint32_t c) { return LightChanPixel<F>(p, c); });
}

template <int Bpp>
void FastLightChanBytes(const RowArgs &r) {
  if (r.w & 1) ChanUnit<1>(Chan<Bpp, 2>(Raw(r)), r.w - 1, LightChanLone);
  if constexpr (Bpp == 3) {
    Pairs24<uint16_t, false>(r, PairElements<2>(r), NoStep, [](uint32_t v, uint32_t c, int64_t) {
      return LightChanByte16(v, c, true);
    });
  } else {
    MapRowChan<4, 2>(r.d, r.s, r.c, Pairs(r) * 2,
                     [](uint32_t px, uint32_t c) { return LightChanPair(px, c); });
  }
}

// ---------------------------------------------------------------------------------
// DarkleWithChannel

template <class F>
void FastDarkleChan1615(const RowArgs &r) {
  MapRowChan<2, 1>(r.d, r.s, r.c, r.w,
                   [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastDarkleChan24(const RowArgs &r) {
  DarkleChan24Lone(Raw(r));
  Pairs24<uint8_t, false>(r, PairElements<1>(r), NoStep, [](uint32_t v, uint32_t c, int64_t b) {
    return DarkleChan24PairByte(v, c, b);
  });
}

void FastDarkleChan32(const RowArgs &r) {
  MapRowChan<4, 1>(r.d, r.s, r.c, r.w, [](uint32_t px, uint32_t c) { return DarkleChan4(px, c); });
}

// ---------------------------------------------------------------------------------
// Keyed members

template <class F>
void FastMaskLightChan1615(const RowArgs &r) {
  MaskLightChan1615Ends<F>(Raw(r));
  BlendRowChan<2>(r.d, r.s, r.c, r.w & ~3, r.b,
                  [](uint32_t p, uint32_t c) { return MaskLightLane<F>(p, ChannelScale16(c)); });
}

template <class F>
void FastMaskDarkleChan1615(const RowArgs &r) {
  int64_t cols = MaskDarkleChan1615Ends<F>(Raw(r));
  BlendRowChan<1>(r.d, r.s, r.c, cols, r.b,
                  [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastMaskLightChan24(const RowArgs &r) {
  if (r.w & 1) KeyedLone<3>(Chan<3, 2>(Raw(r)), r.w - 1, r.b, LightChanLone);
  // A pixel drawn alone takes the left element.
  auto plan = [elements = PairElements<2>(r)](int64_t q, bool keyL, bool) {
    auto [el, er] = elements(q);
    return std::pair<uint32_t, uint32_t>{el, keyL ? el : er};
  };
  Pairs24<uint16_t, true>(r, plan, NoStep, [](uint32_t v, uint32_t o, uint32_t c, uint32_t m) {
    return m == kKeep ? o : LightChanByte16(v, c, m == kBoth);
  });
}

void FastMaskLightChan32(const RowArgs &r) {
  if (r.w & 1) KeyedLone<4>(Chan<4, 2>(Raw(r)), r.w - 1, r.b, LightChanLone);
  KeyedPairs32<true, 2>(
      r.d, r.s, r.c, Pairs(r), r.b, [](uint32_t px, uint32_t c) { return LightChanLone(px, c); },
      [](uint32_t px, uint32_t c) { return LightChanPair(px, c); });
}

// Within a chunk the misplaced pixels of its one-key pairs are written first, from the
// right; the drawn pairs then overwrite those that land on them, as the pairs to the
// left would in the walk from the right. Misplaced pixels never land right of their
// own pair, so chunks to the right are never touched again.
void FastMaskDarkleChan24(const RowArgs &r) {
  auto x = Chan<3, 1>(Raw(r));
  if (r.w & 1) KeyedLone<3>(x, r.w - 1, r.b, DarkleChan3);
  auto plan = PairElements<1>(r);
  auto misplaced = [&x, &r](int64_t q0, int64_t n, const uint8_t *key) {
    for (int64_t q = n - 1; q >= 0; --q) {
      if (key[2 * q] == key[2 * q + 1]) continue;
      PlacedPixel m = MaskDarkleChan24Alone(ReadKeyedPair<3>(x, 2 * (q0 + q), r.b), q0 + q + 1);
      x.PutAt(m.off, m.v);
    }
  };
  Pairs24<uint8_t, true>(r, plan, misplaced, [](uint32_t v, uint32_t o, uint32_t c, uint32_t m) {
    return m == kBoth ? DarkleByte(v, c) : o;
  });
}

void FastMaskDarkleChan32(const RowArgs &r) {
  if (r.w & 1) KeyedLone<4>(Chan<4, 1>(Raw(r)), r.w - 1, r.b, DarkleChan3);
  KeyedPairs32<false, 1>(
      r.d, r.s, r.c, Pairs(r), r.b, [](uint32_t px, uint32_t c) { return DarkleChan3(px, c); },
      [](uint32_t px, uint32_t c) { return DarkleChan4(px, c); });
}

}  // namespace
}  // namespace bright
RK_NS_END

RK_FAST_FAMILY(brightness_channel) {
  using namespace bright;
  t.Set(KernelId::RkLightWithChannel16, &FastLightChan1615<Color16>);
  t.Set(KernelId::RkLightWithChannel15, &FastLightChan1615<Color15>);
  t.Set(KernelId::RkLightWithChannel24, &FastLightChanBytes<3>);
  t.Set(KernelId::RkLightWithChannel32, &FastLightChanBytes<4>);
  t.Set(KernelId::RkDarkleWithChannel16, &FastDarkleChan1615<Color16>);
  t.Set(KernelId::RkDarkleWithChannel15, &FastDarkleChan1615<Color15>);
  t.Set(KernelId::RkDarkleWithChannel24, &FastDarkleChan24);
  t.Set(KernelId::RkDarkleWithChannel32, &FastDarkleChan32);
  t.Set(KernelId::RkMaskLightWithChannel16, &FastMaskLightChan1615<Color16>);
  t.Set(KernelId::RkMaskLightWithChannel15, &FastMaskLightChan1615<Color15>);
  t.Set(KernelId::RkMaskLightWithChannel24, &FastMaskLightChan24);
  t.Set(KernelId::RkMaskLightWithChannel32, &FastMaskLightChan32);
  t.Set(KernelId::RkMaskDarkleWithChannel16, &FastMaskDarkleChan1615<Color16>);
  t.Set(KernelId::RkMaskDarkleWithChannel15, &FastMaskDarkleChan1615<Color15>);
  t.Set(KernelId::RkMaskDarkleWithChannel24, &FastMaskDarkleChan24);
  t.Set(KernelId::RkMaskDarkleWithChannel32, &FastMaskDarkleChan32);
}
