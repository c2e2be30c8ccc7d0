// Row conversions: every member against the reference walk on random arrays
// (apart, in place, overlapping), pinned values for the irregular members, and
// exhaustive round trips through the 16-bit colour formats.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "driver.h"
#include "rkpix.h"
#include "toolkit.h"

namespace {

// One array's elements: `bytes` at `first + i * stride` from the pointer passed.
struct ArrSpec {
  int bytes, stride, first;
};
constexpr ArrSpec kW{2, 2, 0};        // Color15/16, Light, an RGBLight plane
constexpr ArrSpec kB{1, 1, 0};        // Trans
constexpr ArrSpec kT{3, 3, 0};        // Color24
constexpr ArrSpec kQ{4, 4, 0};        // Color32
constexpr ArrSpec kT5At1{3, 5, 1};    // Color24 at a 5-byte stride, bytes 5i+1..5i+3
constexpr ArrSpec kT5At2{3, 5, 2};    // bytes 5i+2..5i+4
constexpr ArrSpec kTransUp{1, 1, 1};  // Trans stored one place up
constexpr ArrSpec kLightDown{2, 2, -2};

struct ConvSpec {
  const char *name;
  void (*fn)();
  int nd, ns;  // arrays on each side: 1, or 3 planes R, G, B
  ArrSpec d, s;
  int dstBAt = -1, srcBAt = -1;  // the B-plane pointer's place in the G array
  bool readsAhead = false;       // an odd count's last element reads source byte count/2 + 5
};

using F11 = void(RKPIX_CALL *)(void *, const void *, uint32_t);
using F31 = void(RKPIX_CALL *)(void *, void *, void *, const void *, uint32_t);
using F13 = void(RKPIX_CALL *)(void *, const void *, const void *, const void *, uint32_t);
using F33 = void(RKPIX_CALL *)(void *, void *, void *, const void *, const void *, const void *,
                               uint32_t);

void Call(const ConvSpec &c, uint8_t *const d[3], const uint8_t *const s[3], uint32_t n) {
  if (c.nd == 1 && c.ns == 1) reinterpret_cast<F11>(c.fn)(d[0], s[0], n);
  if (c.nd == 3 && c.ns == 1) reinterpret_cast<F31>(c.fn)(d[0], d[1], d[2], s[0], n);
  if (c.nd == 1 && c.ns == 3) reinterpret_cast<F13>(c.fn)(d[0], s[0], s[1], s[2], n);
  if (c.nd == 3 && c.ns == 3) reinterpret_cast<F33>(c.fn)(d[0], d[1], d[2], s[0], s[1], s[2], n);
}

// Bytes [lo, hi) relative to an array's pointer that `count` elements occupy.
std::pair<int64_t, int64_t> Extent(const ArrSpec &a, uint32_t count) {
  if (count == 0) return {0, 0};
  return {a.first, a.first + int64_t{a.stride} * (count - 1) + a.bytes};
}

// Everything a call may read or write around one array (the B-plane pointer and
// the byte read past a Light source included), for sizing its buffer.
std::pair<int64_t, int64_t> Footprint(const ConvSpec &c, bool dst, int k, uint32_t n) {
  auto [lo, hi] = Extent(dst ? c.d : c.s, n);
  lo = std::min<int64_t>(lo, 0);
  hi = std::max<int64_t>(hi, 1);
  if (k == 1 && dst && c.dstBAt >= 0) hi = std::max<int64_t>(hi, c.dstBAt + 8);
  if (k == 1 && !dst && c.srcBAt >= 0) hi = std::max<int64_t>(hi, c.srcBAt + 8);
  if (!dst && c.readsAhead) hi = std::max<int64_t>(hi, n / 2 + 6);
  return {lo, hi};
}

void Plant(uint8_t *at, const void *p) { std::memcpy(at, &p, sizeof p); }

// A random case: count, then arrays placed apart, in place (dst k = src k), shifted
// by a few bytes, or scattered over one shared buffer.
std::string RunCase(const ConvSpec &c, rkt::Rng &rng) {
  uint32_t n = static_cast<uint32_t>(rng.Chance(0.3) ? rng.Range(0, 6) : rng.Range(0, 300));
  rkt::World w;
  struct Where {
    int buf;
    int64_t at;
  };
  Where dw[3] = {}, sw[3] = {};
  const int mode = static_cast<int>(rng.Range(0, 3));
  auto own = [&](bool dst, int k) {
    auto [lo, hi] = Footprint(c, dst, k, n);
    int64_t before = rng.Range(0, 24) - lo, after = rng.Range(0, 24);
    return Where{w.AddBuffer(rng, static_cast<size_t>(before + hi + after)), before};
  };
  if (mode == 3) {  // one buffer holding every array at random places
    int64_t room = 64;
    for (int k = 0; k < c.nd; ++k) room += Footprint(c, true, k, n).second + 16;
    for (int k = 0; k < c.ns; ++k) room += Footprint(c, false, k, n).second + 16;
    room /= 2;
    int buf = w.AddBuffer(rng, static_cast<size_t>(room + 64));
    auto place = [&](bool dst, int k) {
      auto [lo, hi] = Footprint(c, dst, k, n);
      int64_t span = hi - lo;
      if (span > room) {  // too long to share: give it its own
        return own(dst, k);
      }
      return Where{buf, 32 + rng.Range(0, room - span) - lo};
    };
    for (int k = 0; k < c.nd; ++k) dw[k] = place(true, k);
    for (int k = 0; k < c.ns; ++k) sw[k] = place(false, k);
  } else {
    for (int k = 0; k < c.nd; ++k) dw[k] = own(true, k);
    for (int k = 0; k < c.ns; ++k) {
      if (mode == 0 || k >= c.nd) {
        sw[k] = own(false, k);
        continue;
      }
      // Source k inside destination k's buffer: at the same place, or a few bytes off.
      auto [lo, hi] = Footprint(c, false, k, n);
      int64_t shift = mode == 1 ? 0 : rng.Range(-8, 8);
      int64_t at = dw[k].at + shift;
      auto &bytes = w.bufs[static_cast<size_t>(dw[k].buf)].bytes;
      if (at + lo < 0 || at + hi > static_cast<int64_t>(bytes.size())) {
        sw[k] = own(false, k);
      } else {
        sw[k] = Where{dw[k].buf, at};
      }
    }
  }
  uint8_t *d[3] = {}, *s[3] = {};
  for (int k = 0; k < c.nd; ++k) {
    d[k] = w.Data(dw[k].buf) + dw[k].at;
    auto [lo, hi] = Extent(c.d, n);
    if (hi > lo) w.Allow(dw[k].buf, dw[k].at + lo, dw[k].at + hi);
  }
  for (int k = 0; k < c.ns; ++k) s[k] = w.Data(sw[k].buf) + sw[k].at;
  // The six members that take their B plane from the G array get a decoy argument,
  // which must be neither read for results nor written.
  int decoy = w.AddBuffer(rng, 16);
  if (c.dstBAt >= 0) {
    Plant(d[1] + c.dstBAt, d[2]);
    d[2] = w.Data(decoy);
  }
  if (c.srcBAt >= 0) {
    Plant(s[1] + c.srcBAt, s[2]);
    s[2] = w.Data(decoy);
  }
  const uint8_t *cs[3] = {s[0], s[1], s[2]};
  std::string why = rkt::CompareLevels(w, [&] { Call(c, d, cs, n); });
  if (!why.empty())
    why += " (count " + std::to_string(n) + ", layout " + std::to_string(mode) + ")";
  return why;
}

template <const ConvSpec &C>
std::string Case(rkt::Rng &rng) {
  return RunCase(C, rng);
}

std::map<std::string, const ConvSpec *> &Specs() {
  static std::map<std::string, const ConvSpec *> m;
  return m;
}
bool Add(const ConvSpec &c) { return Specs().emplace(c.name, &c).second; }

constexpr int kCases = 300;

}  // namespace

// One line a member: the arrays' shapes, registered with the differential driver.
#define RKT_CONVERT(name, ...)                                                                   \
  namespace {                                                                                    \
  const ConvSpec k##name{#name, reinterpret_cast<void (*)()>(&RkBitConvert##name), __VA_ARGS__}; \
  const bool k##name##Added = Add(k##name);                                                      \
  }                                                                                              \
  RKT_DIFF(RkBitConvert##name, &Case<k##name>, kCases)

RKT_CONVERT(Color16ToColor15, 1, 1, kW, kW);
RKT_CONVERT(Color16ToColor24, 1, 1, kT5At1, kW);
RKT_CONVERT(Color16ToColor32, 1, 1, kQ, kW);
RKT_CONVERT(Color15ToColor16, 1, 1, kW, kW);
RKT_CONVERT(Color15ToColor24, 1, 1, kT5At2, kW);
RKT_CONVERT(Color15ToColor32, 1, 1, kQ, kW);
RKT_CONVERT(Color24ToColor16, 1, 1, kW, kT5At2);
RKT_CONVERT(Color24ToColor15, 1, 1, kW, kT5At2);
RKT_CONVERT(Color24ToColor32, 1, 1, kQ, kT);
RKT_CONVERT(Color32ToColor16, 1, 1, kW, kQ);
RKT_CONVERT(Color32ToColor15, 1, 1, kW, kQ);
RKT_CONVERT(Color32ToColor24, 1, 1, kT, kQ);
RKT_CONVERT(Color16ToTrans, 1, 1, kB, kW);
RKT_CONVERT(Color16ToLight, 1, 1, kW, kW);
RKT_CONVERT(Color15ToTrans, 1, 1, kB, kW);
RKT_CONVERT(Color15ToLight, 1, 1, kW, kW);
RKT_CONVERT(Color24ToTrans, 1, 1, kB, kT);
RKT_CONVERT(Color24ToLight, 1, 1, kW, kT);
RKT_CONVERT(Color32ToTrans, 1, 1, kB, kQ);
RKT_CONVERT(Color32ToLight, 1, 1, kW, kQ);
RKT_CONVERT(TransToColor16, 1, 1, kW, kB);
RKT_CONVERT(TransToColor15, 1, 1, kW, kB);
RKT_CONVERT(TransToColor24, 1, 1, kT, kB);
RKT_CONVERT(TransToColor32, 1, 1, kQ, kB);
RKT_CONVERT(LightToColor16, 1, 1, kW, kW);
RKT_CONVERT(LightToColor15, 1, 1, kW, kW);
RKT_CONVERT(LightToColor24, 1, 1, kT, kW);
RKT_CONVERT(LightToColor32, 1, 1, kQ, kW);
RKT_CONVERT(TransToLight, 1, 1, kW, kB);
RKT_CONVERT(LightToTrans, 1, 1, kB, kW);

namespace {

// Runs a member on elements given as values; returns the destination elements
// (plane by plane) read back at their documented places. Destination bytes start
// as 0xAA; every destination byte outside the written elements must keep it.
struct Result {
  std::vector<uint32_t> out[3];
  bool untouchedElsewhere = true;
};
Result Convert(const std::string &name, const std::vector<std::vector<uint32_t>> &in,
               const std::vector<uint8_t> &srcBytes = {}) {
  const ConvSpec &c = *Specs().at(name);
  const auto n = static_cast<uint32_t>(in[0].size());
  constexpr int64_t kPad = 65;  // an odd place, so every pointer is unaligned
  const size_t room = static_cast<size_t>(kPad * 2 + 8 * int64_t{n} + 32);
  std::vector<uint8_t> dst[3], src[3];
  uint8_t *d[3] = {}, *s[3] = {};
  for (int k = 0; k < c.nd; ++k) {
    dst[k].assign(room, 0xAA);
    d[k] = dst[k].data() + kPad;
  }
  for (int k = 0; k < c.ns; ++k) {
    src[k].assign(room, 0x55);
    if (k == 0) std::copy(srcBytes.begin(), srcBytes.end(), src[0].begin() + kPad);
    s[k] = src[k].data() + kPad;
    for (uint32_t i = 0; i < n; ++i) {
      uint32_t v = in[static_cast<size_t>(k)][i];
      for (int b = 0; b < c.s.bytes; ++b)
        s[k][c.s.first + c.s.stride * i + b] = uint8_t(v >> 8 * b);
    }
  }
  std::vector<bool> planted(room, false);  // the B-plane pointer's bytes in dstG
  if (c.dstBAt >= 0) {
    Plant(d[1] + c.dstBAt, d[2]);
    d[2] = nullptr;
    for (int b = 0; b < 8; ++b) planted[static_cast<size_t>(kPad + c.dstBAt + b)] = true;
  }
  if (c.srcBAt >= 0) {
    Plant(s[1] + c.srcBAt, s[2]);
    s[2] = nullptr;
  }
  const uint8_t *cs[3] = {s[0], s[1], s[2]};
  Call(c, d, cs, n);
  Result r;
  for (int k = 0; k < c.nd; ++k) {
    uint8_t *p = dst[k].data() + kPad;
    std::vector<bool> element(room, false);
    for (uint32_t i = 0; i < n; ++i) {
      uint32_t v = 0;
      for (int b = 0; b < c.d.bytes; ++b) {
        int64_t at = c.d.first + int64_t{c.d.stride} * i + b;
        v |= uint32_t{p[at]} << 8 * b;
        element[static_cast<size_t>(kPad + at)] = true;
      }
      r.out[k].push_back(v);
    }
    for (size_t j = 0; j < room; ++j) {
      bool pointer = k == 1 && planted[j];
      if (!element[j] && !pointer && dst[k][j] != 0xAA) r.untouchedElsewhere = false;
    }
  }
  return r;
}

// Hand-worked values: member, source elements per array, destination elements per
// array (as read back at their documented places).
struct Pinned {
  const char *name;
  std::vector<std::vector<uint32_t>> in, out;
};

TEST(Convert, PinnedValues) {
  const Pinned rows[] = {
      // No replication of high bits; the fourth byte is written 0.
      {"Color16ToColor32", {{0xFFFF, 0x0000, 0x001F}}, {{0x00F8FCF8, 0x00000000, 0x000000F8}}},
      {"Color15ToColor16", {{0xFFFF, 0x8000, 0x03E0}}, {{0xFFDF, 0x0000, 0x07C0}}},
      {"Color16ToColor15", {{0xFFFF, 0x0020, 0x0800}}, {{0x7FFF, 0x0000, 0x0400}}},
      // Color16ToColor24: R byte = (v >> 8) & 0x7C, pixel i at bytes 5i+1..5i+3.
      {"Color16ToColor24", {{0xF800, 0xFFFF}}, {{0x780000, 0x7CFCF8}}},
      {"Color15ToColor24", {{0x7FFF, 0x8000}}, {{0xF8F8F8, 0x000000}}},
      {"Color15ToColor32", {{0x7C00, 0xFC00}}, {{0x00F80000, 0x00F80000}}},
      {"Color24ToColor16", {{0xFFFFFF, 0x800000, 0x0000FF}}, {{0xFFFF, 0x8000, 0x001F}}},
      // The ToColor15 members pack with the Color16 masks.
      {"Color24ToColor15", {{0xFFFFFF, 0x800000, 0x008000}}, {{0x7FFF, 0x4000, 0x0400}}},
      {"Color32ToColor15",
       {{0x00FFFFFF, 0x99800000, 0x00008000, 0x000000FF}},
       {{0x7FFF, 0x4000, 0x0400, 0x001F}}},
      {"Color32ToColor16", {{0xFF00FF00, 0x12F80000}}, {{0x07E0, 0xF800}}},
      {"Color24ToColor32", {{0x123456}}, {{0x00123456}}},
      {"Color32ToColor24", {{0x99123456}}, {{0x123456}}},
      // Grey levels: the low field takes R's weight, the high field B's.
      {"Color16ToTrans", {{0xFFFF, 0x001F, 0xF800}}, {{250, 74, 28}}},
      {"Color16ToLight", {{0xFFFF, 0x001F, 0xF800}}, {{250, 74, 28}}},
      {"Color15ToTrans", {{0x7FFF, 0xFFFF, 0x0400}}, {{248, 248, 0}}},
      // Color15ToLight reads G from bits 10..5; its sums pass 65535.
      {"Color15ToLight", {{0x7FFF}}, {{142}}},
      {"Color15ToLight", {{0x7FFF, 0xFFFF, 0x0400}}, {{142, 142, 150}}},
      {"Color24ToTrans", {{0xFFFFFF, 0x0000FF}}, {{255, 28}}},
      {"Color24ToLight", {{0xFF0000, 0x00FF00}}, {{76, 149}}},
      {"Color32ToTrans", {{0x63FF0000, 0xFFFFFFFF}}, {{76, 255}}},
      {"Color32ToLight", {{0xFF00FF00}}, {{149}}},
      {"TransToColor16", {{0x80, 0xFF}}, {{0x8410, 0xFFFF}}},
      {"TransToColor15", {{0xFF, 0x80}}, {{0x7FFF, 0x4210}}},
      {"TransToColor24", {{0x40}}, {{0x404040}}},
      {"TransToColor32", {{0xFF}}, {{0x00FFFFFF}}},
      // LightToColor16: upper elements of pairs modulo 256, the others saturated.
      {"LightToColor16", {{256, 256}}, {{0xFFFF, 0x0000}}},
      {"LightToColor16", {{256, 256, 256}}, {{0xFFFF, 0x0000, 0xFFFF}}},
      {"LightToColor16", {{0x1FF, 0x17F}}, {{0xFFFF, 0x7BEF}}},
      {"LightToColor15", {{256, 256, 300}}, {{0x7FFF, 0x7FFF, 0x7FFF}}},
      {"LightToColor24", {{300}}, {{0xFFFFFF}}},
      {"LightToColor32", {{300, 254}}, {{0x00FFFFFF, 0x00FEFEFE}}},
      {"TransToLight", {{0xFF, 0x00}}, {{0x00FF, 0x0000}}},
      {"LightToTrans", {{300, 7, 255}}, {{255, 7, 255}}},
  };
  for (const Pinned &p : rows) {
    Result r = Convert(p.name, p.in);
    for (size_t k = 0; k < p.out.size(); ++k) {
      EXPECT_EQ(r.out[k], p.out[k]) << p.name << " array " << k;
    }
    EXPECT_TRUE(r.untouchedElsewhere) << p.name;
  }
}

// Count 0 returns before touching any pointer.
TEST(Convert, CountZeroTouchesNothing) {
  uint8_t *none[3] = {nullptr, nullptr, nullptr};
  const uint8_t *cnone[3] = {nullptr, nullptr, nullptr};
  for (auto &[name, spec] : Specs()) Call(*spec, none, cnone, 0);
  SUCCEED();
}

// Walking from the last pixel to the first makes widening in place exact, and
// narrowing in place overwrite the source of earlier pixels.
TEST(Convert, InPlaceFollowsTheWalk) {
  rkt::Rng rng(7);
  for (const char *name : {"Color16ToColor32", "Color15ToColor32", "Color24ToColor32"}) {
    const ConvSpec &c = *Specs().at(name);
    for (uint32_t n : {1u, 2u, 3u, 64u, 257u}) {
      std::vector<uint8_t> src(size_t{n} * c.s.stride), apart(size_t{n} * c.d.stride),
          inPlace(apart.size());
      rng.Fill(src.data(), src.size());
      std::copy(src.begin(), src.end(), inPlace.begin());
      reinterpret_cast<F11>(c.fn)(apart.data(), src.data(), n);
      reinterpret_cast<F11>(c.fn)(inPlace.data(), inPlace.data(), n);
      EXPECT_EQ(inPlace, apart) << name << " count " << n;
    }
  }
  // Red then blue, narrowed in place: pixel 1 is stored over pixel 0's R and fourth
  // bytes before pixel 0 is read.
  uint8_t px[8] = {0x00, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0x00, 0x00};
  RkBitConvertColor32ToColor16(px, px, 2);
  EXPECT_EQ(px[0] | px[1] << 8, 0x1800);
  EXPECT_EQ(px[2] | px[3] << 8, 0x001F);
}

// All 65536 16-bit pixels at once (an odd count, so the lone step is covered too).
std::vector<uint8_t> AllWords(uint32_t n) {
  std::vector<uint8_t> v(2 * size_t{n});
  for (uint32_t i = 0; i < n; ++i) {
    v[2 * i] = uint8_t(i);
    v[2 * i + 1] = uint8_t(i >> 8);
  }
  return v;
}
uint32_t Word(const std::vector<uint8_t> &v, uint32_t i) { return v[2 * i] | v[2 * i + 1] << 8; }

TEST(Convert, RoundTripsThroughByteFormats) {
  const uint32_t n = 65535;
  std::vector<uint8_t> in = AllWords(n), wide(5 * size_t{n} + 8), back(2 * size_t{n}),
                       direct(2 * size_t{n}), viaBytes(2 * size_t{n});
  // Color16 -> Color32 -> Color16 loses nothing.
  RkBitConvertColor16ToColor32(wide.data(), in.data(), n);
  RkBitConvertColor32ToColor16(back.data(), wide.data(), n);
  EXPECT_EQ(back, in);
  // Color15 through Color32 or the 5-byte Color24 and back to Color16 equals the
  // direct Color15 -> Color16.
  RkBitConvertColor15ToColor16(direct.data(), in.data(), n);
  RkBitConvertColor15ToColor32(wide.data(), in.data(), n);
  RkBitConvertColor32ToColor16(back.data(), wide.data(), n);
  EXPECT_EQ(back, direct);
  RkBitConvertColor15ToColor24(wide.data(), in.data(), n);
  RkBitConvertColor24ToColor16(back.data(), wide.data(), n);
  EXPECT_EQ(back, direct);
  // Back to Color15 with the Color16 masks: R loses its lowest bit, G moves up one.
  RkBitConvertColor24ToColor15(viaBytes.data(), wide.data(), n);
  for (uint32_t i = 0; i < n; ++i) {
    uint32_t v = Word(direct, i);
    ASSERT_EQ(Word(viaBytes, i), (v & 0x07FF) | (v >> 1 & 0x7800)) << i;
  }
  // Color15 -> Color16 -> Color15 keeps the 15 colour bits.
  RkBitConvertColor16ToColor15(back.data(), direct.data(), n);
  for (uint32_t i = 0; i < n; ++i) ASSERT_EQ(Word(back, i), i & 0x7FFF) << i;
}

// Grey colours of every Trans level read back as the same level.
TEST(Convert, GreyRoundTrips) {
  uint8_t t[256], back[256];
  uint8_t wide[256 * 4];
  for (int i = 0; i < 256; ++i) t[i] = uint8_t(i);
  using F = void(RKPIX_CALL *)(void *, const void *, uint32_t);
  const std::pair<F, F> trips[] = {
      {RkBitConvertTransToColor32, RkBitConvertColor32ToTrans},
      {RkBitConvertTransToColor24, RkBitConvertColor24ToTrans},
      {RkBitConvertTransToLight, RkBitConvertLightToTrans},
  };
  for (auto [there, home] : trips) {
    std::memset(back, 0, sizeof back);
    there(wide, t, 256);
    home(back, wide, 256);
    EXPECT_EQ(std::vector<uint8_t>(back, back + 256), std::vector<uint8_t>(t, t + 256));
  }
}

}  // namespace
