// Row conversions: the differential driver on random arrays (apart, in place,
// overlapping), pinned values, and round trips over every 16-bit value.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "driver.h"
#include "rkpix.h"
#include "toolkit.h"

namespace {

// One array's elements: `bytes` at `first + i * stride` from the pointer passed.
struct ArrShape {
  int bytes, stride, first;
};
constexpr ArrShape kW{2, 2, 0};        // Color15/16, Light, an RGBLight plane
constexpr ArrShape kB{1, 1, 0};        // Trans
constexpr ArrShape kT{3, 3, 0};        // Color24
constexpr ArrShape kQ{4, 4, 0};        // Color32
constexpr ArrShape kT5At1{3, 5, 1};    // Color24 at a 5-byte stride, bytes 5i+1..5i+3
constexpr ArrShape kT5At2{3, 5, 2};    // bytes 5i+2..5i+4
constexpr ArrShape kTransUp{1, 1, 1};  // Trans stored one place up
constexpr ArrShape kLightDown{2, 2, -2};

struct ConvShape {
  const char *name;
  void (*fn)();
  int nd, ns;  // arrays on each side: 1, or 3 planes R, G, B
  ArrShape d, s;
  int dstBAt = -1, srcBAt = -1;  // the B-plane pointer's place in the G array
  bool readsAhead = false;       // an odd count's last element reads source byte count/2 + 5
};

using F11 = void(RKPIX_CALL *)(void *, const void *, uint32_t);
using F31 = void(RKPIX_CALL *)(void *, void *, void *, const void *, uint32_t);
using F13 = void(RKPIX_CALL *)(void *, const void *, const void *, const void *, uint32_t);
using F33 = void(RKPIX_CALL *)(void *, void *, void *, const void *, const void *, const void *,
                               uint32_t);

void Call(const ConvShape &c, uint8_t *const d[3], const uint8_t *const s[3], uint32_t n) {
  if (c.nd == 1 && c.ns == 1) reinterpret_cast<F11>(c.fn)(d[0], s[0], n);
  if (c.nd == 3 && c.ns == 1) reinterpret_cast<F31>(c.fn)(d[0], d[1], d[2], s[0], n);
  if (c.nd == 1 && c.ns == 3) reinterpret_cast<F13>(c.fn)(d[0], s[0], s[1], s[2], n);
  if (c.nd == 3 && c.ns == 3) reinterpret_cast<F33>(c.fn)(d[0], d[1], d[2], s[0], s[1], s[2], n);
}

// Bytes [lo, hi) relative to an array's pointer that `count` elements occupy.
std::pair<int64_t, int64_t> Extent(const ArrShape &a, uint32_t count) {
  if (count == 0) return {0, 0};
  return {a.first, a.first + int64_t{a.stride} * (count - 1) + a.bytes};
}

// All a call may touch around one array (B-plane pointer, Light's read-ahead byte).
std::pair<int64_t, int64_t> Footprint(const ConvShape &c, bool dst, int k, uint32_t n) {
  auto [lo, hi] = Extent(dst ? c.d : c.s, n);
  lo = std::min<int64_t>(lo, 0);
  hi = std::max<int64_t>(hi, 1);
  if (k == 1 && dst && c.dstBAt >= 0) hi = std::max<int64_t>(hi, c.dstBAt + 8);
  if (k == 1 && !dst && c.srcBAt >= 0) hi = std::max<int64_t>(hi, c.srcBAt + 8);
  if (!dst && c.readsAhead) hi = std::max<int64_t>(hi, n / 2 + 6);
  return {lo, hi};
}

void Plant(uint8_t *at, const void *p) { std::memcpy(at, &p, sizeof p); }

// A count (0 to 300, often tiny), then the arrays in their own buffers (layout 0), or
// a source and a destination plane in one buffer (1 to 4, below), or every array
// scattered over one shared buffer (3).
std::string RunCase(const ConvShape &c, rkt::Rng &rng) {
  uint32_t n = static_cast<uint32_t>(rng.Chance(0.3) ? rng.Range(0, 6) : rng.Range(0, 300));
  rkt::World w;
  struct Where {
    int buf;
    int64_t at;
  };
  Where dw[3] = {}, sw[3] = {};
  const int mode = static_cast<int>(rng.Range(0, 4));
  auto own = [&](bool dst, int k) {
    auto [lo, hi] = Footprint(c, dst, k, n);
    bool flush = w.guard != rkt::Bytes::kNone;
    int64_t before = (flush ? 0 : rng.Range(0, 24)) - lo, after = flush ? 0 : rng.Range(0, 24);
    return Where{w.AddBuffer(rng, static_cast<size_t>(before + hi + after)), before};
  };
  for (int k = 0; k < c.nd; ++k) dw[k] = own(true, k);
  for (int k = 0; k < c.ns; ++k) sw[k] = own(false, k);
  if (mode == 3) {  // one buffer holding every array at random places
    int64_t room = 64;
    for (int k = 0; k < c.nd; ++k) room += Footprint(c, true, k, n).second + 16;
    for (int k = 0; k < c.ns; ++k) room += Footprint(c, false, k, n).second + 16;
    room /= 2;
    int buf = w.AddBuffer(rng, static_cast<size_t>(room + 64));
    auto place = [&](bool dst, int k, Where &at) {
      auto [lo, hi] = Footprint(c, dst, k, n);
      if (hi - lo <= room) at = Where{buf, 32 + rng.Range(0, room - (hi - lo)) - lo};
    };
    for (int k = 0; k < c.nd; ++k) place(true, k, dw[k]);
    for (int k = 0; k < c.ns; ++k) place(false, k, sw[k]);
  } else if (mode != 0) {
    // A source array and a destination plane share a buffer: at the same place (1),
    // a few bytes apart (2), or just touching at either end (4).
    int dk = static_cast<int>(rng.Range(0, c.nd - 1)),
        sj = static_cast<int>(rng.Range(0, c.ns - 1));
    for (int k = 0; k < std::min(c.nd, c.ns); ++k) {
      if (c.nd == c.ns) dk = sj = k;
      auto [dlo, dhi] = Extent(c.d, n);
      auto [slo, shi] = Extent(c.s, n);
      int64_t shift = mode == 1   ? 0
                      : mode == 2 ? rng.Range(-8, 8)
                                  : (rng.Chance(0.5) ? dhi - slo : dlo - shi) + rng.Range(-2, 2);
      auto [fdlo, fdhi] = Footprint(c, true, dk, n);
      auto [fslo, fshi] = Footprint(c, false, sj, n);
      int64_t lo = std::min(fdlo, shift + fslo), hi = std::max(fdhi, shift + fshi);
      int64_t before = rng.Range(0, 24) - lo;
      int buf = w.AddBuffer(rng, static_cast<size_t>(before + hi + rng.Range(0, 24)));
      dw[dk] = Where{buf, before};
      sw[sj] = Where{buf, before + shift};
    }
  }
  uint8_t *d[3] = {}, *s[3] = {};
  for (int k = 0; k < c.nd; ++k) {
    d[k] = w.Data(dw[k].buf) + dw[k].at;
    auto [lo, hi] = Extent(c.d, n);
    if (hi > lo) w.Allow(dw[k].buf, dw[k].at + lo, dw[k].at + hi);
  }
  for (int k = 0; k < c.ns; ++k) s[k] = w.Data(sw[k].buf) + sw[k].at;
  // 16-bit elements now and then take values on the formats' edges, which random words
  // almost never hit (a read-back turns at 1023, say).
  static constexpr uint16_t kEdges[] = {0,    31,   32,     255,    256,   1022,
                                        1023, 1024, 0x7FFF, 0x8000, 0xFFFF};
  if (c.s.stride == 2 && rng.Chance(0.5)) {
    for (int k = 0; k < c.ns; ++k) {
      for (uint32_t i = 0; i < n; ++i) {
        if (rng.Chance(0.3)) std::memcpy(s[k] + 2 * i, &kEdges[rng.Range(0, 10)], 2);
      }
    }
  }
  // Members that take their B plane from the G array get a decoy argument.
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

template <const ConvShape &C>
std::string Case(rkt::Rng &rng) {
  return RunCase(C, rng);
}

std::map<std::string, const ConvShape *> &Shapes() {
  static std::map<std::string, const ConvShape *> m;
  return m;
}
bool Add(const ConvShape &c) { return Shapes().emplace(c.name, &c).second; }

constexpr int kCases = 300;

}  // namespace

// One line a member: the arrays' shapes, registered with the differential driver.
#define RKT_CONVERT(name, ...)                                                                    \
  namespace {                                                                                     \
  const ConvShape k##name{#name, reinterpret_cast<void (*)()>(&RkBitConvert##name), __VA_ARGS__}; \
  const bool k##name##Added = Add(k##name);                                                       \
  }                                                                                               \
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
RKT_CONVERT(Color16ToRGBLight16, 3, 1, kW, kW);
RKT_CONVERT(Color16ToRGBLight32, 3, 1, kW, kW);
RKT_CONVERT(Color15ToRGBLight16, 3, 1, kW, kW);
RKT_CONVERT(Color15ToRGBLight32, 3, 1, kW, kW);
RKT_CONVERT(Color24ToRGBLight16, 3, 1, kW, kT, 16);
RKT_CONVERT(Color24ToRGBLight32, 3, 1, kW, kT, 16);
RKT_CONVERT(Color32ToRGBLight16, 3, 1, kW, kQ);
RKT_CONVERT(Color32ToRGBLight32, 3, 1, kW, kQ);
RKT_CONVERT(TransToRGBLight16, 3, 1, kW, kB);
RKT_CONVERT(TransToRGBLight32, 3, 1, kW, kB);
RKT_CONVERT(LightToRGBLight16, 3, 1, kW, kW, -1, -1, true);
RKT_CONVERT(LightToRGBLight32, 3, 1, kW, kW, -1, -1, true);
RKT_CONVERT(RGBLight16ToColor16, 1, 3, kW, kW);
RKT_CONVERT(RGBLight16ToColor15, 1, 3, kW, kW);
RKT_CONVERT(RGBLight16ToColor24, 1, 3, kT, kW, -1, 20);
RKT_CONVERT(RGBLight16ToColor32, 1, 3, kQ, kW, -1, 20);
RKT_CONVERT(RGBLight32ToColor16, 1, 3, kW, kW);
RKT_CONVERT(RGBLight32ToColor15, 1, 3, kW, kW);
RKT_CONVERT(RGBLight32ToColor24, 1, 3, kT, kW, -1, 20);
RKT_CONVERT(RGBLight32ToColor32, 1, 3, kQ, kW, -1, 20);
RKT_CONVERT(RGBLight16ToTrans, 1, 3, kTransUp, kW);
RKT_CONVERT(RGBLight16ToLight, 1, 3, kLightDown, kW);
RKT_CONVERT(RGBLight32ToTrans, 1, 3, kTransUp, kW);
RKT_CONVERT(RGBLight32ToLight, 1, 3, kLightDown, kW);
RKT_CONVERT(RGBLight16ToRGBLight32, 3, 3, kW, kW);
RKT_CONVERT(RGBLight32ToRGBLight16, 3, 3, kW, kW);

namespace {

constexpr size_t kPad = 65;  // an odd place, so every pointer is unaligned

// Element i of an array whose pointer sits at byte kPad of `v`.
uint32_t Get(const std::vector<uint8_t> &v, const ArrShape &a, uint32_t i) {
  uint32_t x = 0;
  for (int b = 0; b < a.bytes; ++b) x |= uint32_t{v[kPad + a.first + a.stride * i + b]} << 8 * b;
  return x;
}
void Set(std::vector<uint8_t> &v, const ArrShape &a, uint32_t i, uint32_t x) {
  for (int b = 0; b < a.bytes; ++b) v[kPad + a.first + a.stride * i + b] = uint8_t(x >> 8 * b);
}

// A call's arrays, each in its own buffer (destinations filled with `fill`); the members
// that take their B plane from the G array find it there (the argument is null).
struct Arrays {
  std::vector<uint8_t> d[3], s[3];
  Arrays(uint32_t n, uint8_t fill) {
    for (auto &v : d) v.assign(kPad * 2 + 8 * size_t{n} + 32, fill);
    for (auto &v : s) v.assign(kPad * 2 + 8 * size_t{n} + 32, 0x55);
  }
  void Run(const ConvShape &c, uint32_t n) {
    uint8_t *dp[3] = {d[0].data() + kPad, d[1].data() + kPad, d[2].data() + kPad};
    const uint8_t *sp[3] = {s[0].data() + kPad, s[1].data() + kPad, s[2].data() + kPad};
    if (c.dstBAt >= 0) Plant(dp[1] + c.dstBAt, dp[2]), dp[2] = nullptr;
    if (c.srcBAt >= 0) Plant(s[1].data() + kPad + c.srcBAt, sp[2]), sp[2] = nullptr;
    Call(c, dp, sp, n);
  }
};

const ConvShape &ShapeOf(const std::string &name) { return *Shapes().at(name); }

// Hand-worked values: member, source and destination elements per array (at their
// documented places), source bytes under the elements. Other destination bytes stay.
struct Pinned {
  const char *name;
  std::vector<std::vector<uint32_t>> in, out;
  std::vector<uint8_t> bytes = {};
};

TEST(Convert, PinnedValues) {
  // clang-format off
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
      {"Color32ToColor15", {{0x00FFFFFF, 0x99800000, 0x00008000, 0x000000FF}}, {{0x7FFF, 0x4000, 0x0400, 0x001F}}},
      {"Color32ToColor16", {{0xFF00FF00, 0x12F80000}}, {{0x07E0, 0xF800}}},
      {"Color24ToColor32", {{0x123456}}, {{0x00123456}}},
      {"Color32ToColor24", {{0x99123456}}, {{0x123456}}},
      // Grey levels: the low field takes R's weight, the high field B's; Color15ToLight
      // reads G from bits 10..5.
      {"Color16ToTrans", {{0xFFFF, 0x001F, 0xF800}}, {{250, 74, 28}}},
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
      {"LightToColor16", {{256, 256, 256}}, {{0xFFFF, 0x0000, 0xFFFF}}},
      {"LightToColor16", {{0x1FF, 0x17F}}, {{0xFFFF, 0x7BEF}}},
      {"LightToColor15", {{256, 256, 300}}, {{0x7FFF, 0x7FFF, 0x7FFF}}},
      {"LightToColor24", {{300}}, {{0xFFFFFF}}},
      {"LightToColor32", {{300, 254}}, {{0x00FFFFFF, 0x00FEFEFE}}},
      {"TransToLight", {{0xFF, 0x00}}, {{0x00FF, 0x0000}}},
      {"LightToTrans", {{300, 7, 255}}, {{255, 7, 255}}},
      // Into planes: Color15/16's low field to R, the high field to B.
      {"Color16ToRGBLight16", {{0xFFFF, 0x001F, 0xF800, 0x07E0}}, {{31, 31, 0, 0}, {31, 0, 0, 31}, {31, 0, 31, 0}}},
      {"Color16ToRGBLight32", {{0xFFFF, 0x001F}}, {{0xF8, 0xF8}, {0xFC, 0}, {0xF8, 0}}},
      {"Color15ToRGBLight16", {{0x7C00, 0x83E0}}, {{0, 0}, {0, 31}, {31, 0}}},
      {"Color15ToRGBLight32", {{0x7C00, 0xFFFF}}, {{0, 0xF8}, {0, 0xF8}, {0xF8, 0xF8}}},
      // The B plane of the Color24 members is the one whose address dstG holds.
      {"Color24ToRGBLight16", {{0xFF1008, 0x0000FF}}, {{31, 0}, {2, 0}, {1, 31}}},
      {"Color24ToRGBLight32", {{0xFF1008}}, {{0xFF}, {0x10}, {0x08}}},
      {"Color32ToRGBLight16", {{0x99FF1008}}, {{31}, {2}, {1}}},
      {"Color32ToRGBLight32", {{0x99FF1008}}, {{0xFF}, {0x10}, {0x08}}},
      // TransToRGBLight16: pairs t >> 3, a lone last element (t << 3) & 0xFF.
      {"TransToRGBLight16", {{0x21, 0x21, 0x21}}, {{4, 4, 8}, {4, 4, 8}, {4, 4, 8}}},
      {"TransToRGBLight32", {{0xFF, 0x21}}, {{0xFF, 0x21}, {0xFF, 0x21}, {0xFF, 0x21}}},
      // LightToRGBLight16 pairs: the lower element's bits 15..13 spill upwards. An odd
      // count's last element takes its high byte from source byte count / 2 + 5; B
      // receives only the high byte of the result.
      {"LightToRGBLight16", {{0xE000, 0x0001}}, {{0, 15}, {0, 15}, {0, 15}}},
      {"LightToRGBLight16", {{0x1234}}, {{0x0AC6}, {0x0AC6}, {0x0AAA}}, {0, 0, 0, 0, 0, 0x56}},
      {"LightToRGBLight16", {{0x1111, 0x2222, 0x3344}}, {{0x0888, 0x1110, 0x0EE8}, {0x0888, 0x1110, 0x0EE8}, {0x0888, 0x1110, 0x0EAA}}, {0, 0, 0, 0, 0, 0, 0x77}},
      {"LightToRGBLight32", {{0x1234, 0xFFFF}}, {{0x1234, 0xFFFF}, {0x1234, 0xFFFF}, {0x1234, 0xFFFF}}},
      {"LightToRGBLight32", {{0, 0, 0, 0xAB00, 0x00CD}}, {{0, 0, 0, 0xAB00, 0xABCD}, {0, 0, 0, 0xAB00, 0xABCD}, {0, 0, 0, 0xAB00, 0xABAA}}},
      // RGBLight16 read-back: 1023 and more give 31, 32..1022 wrap.
      {"RGBLight16ToColor16", {{40, 1023, 5000}, {31, 0, 32}, {1023, 31, 1022}}, {{0x47DF, 0xF81F, 0xF81E}}},
      {"RGBLight16ToColor15", {{40, 1023, 5000}, {31, 0, 32}, {1023, 31, 1022}}, {{0x23FF, 0x7C1F, 0x7C1E}}},
      // RGBLight16ToColor24: f(p) for a lone last element, sat31(p) << 3 for pairs.
      {"RGBLight16ToColor24", {{0}, {31}, {1023}}, {{0x80837F}}},
      {"RGBLight16ToColor24", {{0, 40}, {31, 5000}, {1023, 1}}, {{0x00F8F8, 0x40F808}}},
      {"RGBLight16ToColor32", {{0, 40}, {31, 5000}, {1023, 1}}, {{0x0080837F, 0x00857F80}}},
      {"RGBLight32ToColor16", {{255, 256}, {255, 0}, {255, 0}}, {{0xFFFF, 0xF800}}},
      {"RGBLight32ToColor15", {{255, 0}, {255, 300}, {255, 7}}, {{0x7FFF, 0x03E0}}},
      {"RGBLight32ToColor24", {{300}, {0}, {0}}, {{0xFF0000}}},
      {"RGBLight32ToColor32", {{300, 1}, {256, 2}, {7, 3}}, {{0x00FFFF07, 0x00010203}}},
      // Into Trans and Light: R adds nothing, B weighs one more, no read-back
      // saturation; read back at dst[i + 1] and dst[i - 1].
      {"RGBLight16ToTrans", {{1000, 0, 0}, {0, 31, 60}, {0, 31, 0}}, {{0, 173, 255}}},
      {"RGBLight32ToTrans", {{5, 0, 0}, {255, 300, 400}, {255, 300, 400}}, {{179, 210, 255}}},
      {"RGBLight16ToLight", {{9, 0}, {1000, 0}, {1000, 31}}, {{5625, 29}}},
      {"RGBLight32ToLight", {{0, 0}, {255, 65535}, {255, 65535}}, {{179, 46079}}},
      {"RGBLight16ToRGBLight32", {{31, 0x2001}, {0x3FF, 0x400}, {0x2001, 1}}, {{0xF8, 0x0008}, {0x1FF8, 0}, {0x0008, 8}}},
      // RGBLight32ToRGBLight16: a lone last G element is shifted left instead.
      {"RGBLight32ToRGBLight16", {{0xF8}, {0x21}, {0xFF}}, {{0x1F}, {0x108}, {0x1F}}},
      {"RGBLight32ToRGBLight16", {{0xF8, 0}, {0x21, 0x21}, {0xFF, 0}}, {{0x1F, 0}, {4, 4}, {0x1F, 0}}},
  };
  // clang-format on
  for (const Pinned &p : rows) {
    const ConvShape &c = ShapeOf(p.name);
    const auto n = static_cast<uint32_t>(p.in[0].size());
    Arrays a(n, 0xAA);
    std::copy(p.bytes.begin(), p.bytes.end(), a.s[0].begin() + kPad);
    for (int k = 0; k < c.ns; ++k)
      for (uint32_t i = 0; i < n; ++i) Set(a.s[k], c.s, i, p.in[k][i]);
    a.Run(c, n);
    for (int k = 0; k < c.nd; ++k) {
      std::vector<uint32_t> got;
      for (uint32_t i = 0; i < n; ++i) got.push_back(Get(a.d[k], c.d, i));
      EXPECT_EQ(got, p.out[k]) << p.name << " array " << k;
      // Every other destination byte keeps its 0xAA (but dstG's B-plane pointer).
      for (uint32_t i = 0; i < n; ++i) Set(a.d[k], c.d, i, 0xAAAAAAAA);
      if (k == 1 && c.dstBAt >= 0) std::fill_n(a.d[1].begin() + kPad + c.dstBAt, 8, 0xAA);
      EXPECT_EQ(std::count(a.d[k].begin(), a.d[k].end(), 0xAA), std::ssize(a.d[k])) << p.name;
    }
  }
}

// Walking from the last element to the first makes widening in place exact and
// narrowing in place overwrite the source of earlier pixels; count 0 touches nothing.
TEST(Convert, InPlaceFollowsTheWalk) {
  rkt::Rng rng(7);
  for (const char *name : {"Color16ToColor32", "Color15ToColor32", "Color24ToColor32"}) {
    const ConvShape &c = ShapeOf(name);
    for (uint32_t n : {1u, 2u, 3u, 64u, 257u}) {
      std::vector<uint8_t> src(size_t{n} * c.s.stride), apart(size_t{n} * c.d.stride);
      rng.Fill(src.data(), src.size());
      std::vector<uint8_t> inPlace(src);
      inPlace.resize(apart.size());
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
  uint8_t *none[3] = {};
  const uint8_t *cnone[3] = {};
  for (auto &[name, shape] : Shapes()) Call(*shape, none, cnone, 0);
}

// Runs `chain` on n elements (each member's destinations the next one's sources) and
// checks element i of every final array k against want(input element i, k). The input
// planes hold the 16-bit words from, from + 1, ...
struct Trip {
  std::vector<const char *> chain;
  uint32_t (*want)(uint32_t v, int k);
  uint32_t n = 65535;  // odd: pairs and a lone last element
  uint32_t from = 0;   // the first input word
};
void CheckTrip(const Trip &t) {
  Arrays a(t.n, 0);
  for (uint32_t j = 0; j < 8 * t.n; ++j)
    a.s[0][kPad + j] = uint8_t((j / 2 + t.from) >> 8 * (j & 1));
  const std::vector<uint8_t> in = a.s[0];
  a.s[1] = a.s[2] = in;
  for (const char *name : t.chain) {
    a.Run(ShapeOf(name), t.n);
    for (int k = 0; k < 3; ++k) std::swap(a.s[k], a.d[k]);
  }
  const ConvShape &first = ShapeOf(t.chain.front()), &last = ShapeOf(t.chain.back());
  for (int k = 0; k < last.nd; ++k)
    for (uint32_t i = 0; i < t.n; ++i) {
      ASSERT_EQ(Get(a.s[k], last.d, i), t.want(Get(in, first.s, i), k))
          << t.chain.front() << " .. " << t.chain.back() << " array " << k << " element " << i;
    }
}

// Round trips through the other formats give the pixel back less the bits a format
// drops; colour -> planes -> colour swaps the low and high fields.
uint32_t Same(uint32_t v, int) { return v; }
uint32_t Bits15(uint32_t v, int) { return v & 0x7FFF; }
uint32_t From15(uint32_t v, int) { return (v << 1 & 0xFFC0) | (v & 0x1F); }

TEST(Convert, RoundTrips) {
  const Trip trips[] = {
      {{"Color16ToColor32", "Color32ToColor16"}, Same},
      {{"Color15ToColor16", "Color16ToColor15"}, Bits15},
      {{"Color15ToColor32", "Color32ToColor16"}, From15},
      {{"Color15ToColor24", "Color24ToColor16"}, From15},
      // Back to Color15 with the Color16 masks: R loses its lowest bit, G moves up one.
      {{"Color15ToColor24", "Color24ToColor15"},
       [](uint32_t v, int) { return (From15(v, 0) & 0x07FF) | (From15(v, 0) >> 1 & 0x7800); }},
      {{"Color16ToRGBLight16", "RGBLight16ToColor16"},
       [](uint32_t v, int) { return (v & 31) << 11 | (v & 0x07C0) | v >> 11; }},
      {{"Color16ToRGBLight16", "RGBLight16ToColor16", "Color16ToRGBLight16", "RGBLight16ToColor16"},
       [](uint32_t v, int) { return v & 0xFFDF; }},
      {{"Color15ToRGBLight16", "RGBLight16ToColor15", "Color15ToRGBLight16", "RGBLight16ToColor15"},
       Bits15},
      {{"Color16ToRGBLight32", "RGBLight32ToColor16", "Color16ToRGBLight32", "RGBLight32ToColor16"},
       Same},
      {{"Color15ToRGBLight32", "RGBLight32ToColor15", "Color15ToRGBLight32", "RGBLight32ToColor15"},
       Bits15},
      // Long runs through the members that find their B plane in dstG: the pointer is
      // read before the elements overwrite it.
      {{"Color16ToColor32", "Color32ToColor24", "Color24ToRGBLight32", "RGBLight32ToColor16"},
       Same},
      {{"Color16ToColor32", "Color32ToColor24", "Color24ToRGBLight16", "RGBLight16ToColor16"},
       [](uint32_t v, int) { return v & 0xFFDF; }},
      // 13 bits of R and B and 10 of G survive (an even count: no lone element).
      {{"RGBLight16ToRGBLight32", "RGBLight32ToRGBLight16"},
       [](uint32_t v, int k) { return v & (k == 1 ? 0x3FF : 0x1FFF); },
       65536},
      // Grey colours of every level read back as the same level.
      {{"TransToColor32", "Color32ToTrans"}, Same},
      {{"TransToColor24", "Color24ToTrans"}, Same},
      {{"TransToLight", "LightToTrans"}, Same},
  };
  for (const Trip &t : trips) CheckTrip(t);
}

// Grey levels of every 16-bit pixel, as either element of a pair: bits 15..8 of 616 x
// low + 232 x high + 600 x g6 (Color16), + 1200 x g5 (Color15 to Trans), or + 1200 x g6
// from bits 10..5 (Color15 to Light; a pair's carry never reaches bit 8).
uint32_t Grey16(uint32_t v, int) {
  return (616 * (v & 31) + 232 * (v >> 11) + 600 * (v >> 5 & 63)) >> 8 & 0xFF;
}
uint32_t Grey15(uint32_t v, int) {
  return (616 * (v & 31) + 232 * (v >> 10 & 31) + 1200 * (v >> 5 & 31)) >> 8 & 0xFF;
}
uint32_t Grey15G6(uint32_t v, int) {
  return (616 * (v & 31) + 232 * (v >> 10 & 31) + 1200 * (v >> 5 & 63)) >> 8 & 0xFF;
}
TEST(Convert, GreyOfEveryPixel) {
  using Want = uint32_t (*)(uint32_t, int);
  const std::pair<const char *, Want> members[] = {{"Color16ToTrans", Grey16},
                                                   {"Color16ToLight", Grey16},
                                                   {"Color15ToTrans", Grey15},
                                                   {"Color15ToLight", Grey15G6}};
  for (uint32_t from : {0u, 1u})
    for (auto [name, want] : members) CheckTrip({{name}, want, 65535, from});
}

// Every 24-bit colour's grey level against (77 R + 150 G + 29 B) >> 8; the fourth byte
// of Color32 plays no part.
TEST(Convert, GreyOfEveryColour) {
  const uint32_t chunk = 1 << 16;
  std::vector<uint32_t> px(chunk);
  std::vector<uint8_t> trans(chunk);
  for (uint32_t base = 0; base < (1u << 24); base += chunk) {
    for (uint32_t i = 0; i < chunk; ++i) px[i] = (base + i) | (i * 37) << 24;
    RkBitConvertColor32ToTrans(trans.data(), px.data(), chunk);
    for (uint32_t i = 0; i < chunk; ++i) {
      uint32_t c = base + i;
      ASSERT_EQ(trans[i], (77 * (c >> 16) + 150 * (c >> 8 & 0xFF) + 29 * (c & 0xFF)) >> 8) << c;
    }
  }
}

// Every member on four threads at once, each converting one shared source into its
// own arrays, gives what the same calls give on one thread.
TEST(Convert, ConcurrentCallsMatchOneThread) {
  for (const auto &[name, shape] : Shapes()) {
    const ConvShape &c = *shape;
    rkt::Rng rng(rkt::BaseSeed() ^ 0xC0);
    Arrays one(301, 0);
    for (auto &v : one.s) rng.Fill(v.data(), v.size());
    for (auto &v : one.d) rng.Fill(v.data(), v.size());
    const uint8_t *s[3] = {one.s[0].data() + kPad, one.s[1].data() + kPad, one.s[2].data() + kPad};
    if (c.srcBAt >= 0) Plant(one.s[1].data() + kPad + c.srcBAt, s[2]);
    auto run = [&](Arrays &a) {
      uint8_t *d[3] = {a.d[0].data() + kPad, a.d[1].data() + kPad, a.d[2].data() + kPad};
      for (uint32_t n = 301; n > 0; n /= 3) {
        if (c.dstBAt >= 0) Plant(d[1] + c.dstBAt, d[2]);  // until the call overwrites it
        Call(c, d, s, n);
      }
      if (c.dstBAt >= 0) std::memset(d[1] + c.dstBAt, 0, 8);  // each copy's own address
    };
    std::vector<Arrays> want(4, one), got(4, one);
    for (auto &a : want) run(a);
    std::vector<std::thread> threads;
    for (auto &a : got) threads.emplace_back([&] { run(a); });
    for (auto &t : threads) t.join();
    for (int t = 0; t < 4; ++t)
      for (int k = 0; k < 3; ++k) EXPECT_EQ(got[t].d[k], want[t].d[k]) << name << " thread " << t;
  }
}

}  // namespace
