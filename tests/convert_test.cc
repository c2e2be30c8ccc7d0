// Row conversions: every member against the reference walk on random arrays
// (apart, in place, overlapping), pinned values for the irregular members, and
// exhaustive round trips through the 16-bit colour formats.
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

// A random case: a count (0 to 300, often tiny), then the arrays in their own
// buffers (layout 0), or one source sharing a buffer with one destination plane at
// the same place (1), a few bytes off (2) or just touching either end (4), or every
// array scattered over one shared buffer (3).
std::string RunCase(const ConvSpec &c, rkt::Rng &rng) {
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
    // Against a guard page an array gets no margin: a byte past what it may touch faults.
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
  // The B-plane pointer's bytes in dstG; the B argument of those members points at
  // a decoy that must stay as it is.
  std::vector<bool> planted(room, false);
  std::vector<uint8_t> decoy(room, 0x33);
  if (c.dstBAt >= 0) {
    Plant(d[1] + c.dstBAt, d[2]);
    d[2] = decoy.data();
    for (int b = 0; b < 8; ++b) planted[static_cast<size_t>(kPad + c.dstBAt + b)] = true;
  }
  if (c.srcBAt >= 0) {
    Plant(s[1] + c.srcBAt, s[2]);
    s[2] = decoy.data();
  }
  const uint8_t *cs[3] = {s[0], s[1], s[2]};
  Call(c, d, cs, n);
  Result r;
  r.untouchedElsewhere =
      std::all_of(decoy.begin(), decoy.end(), [](uint8_t b) { return b == 0x33; });
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
      // Into planes: Color15/16's low field to R, the high field to B.
      {"Color16ToRGBLight16",
       {{0xFFFF, 0x001F, 0xF800, 0x07E0}},
       {{31, 31, 0, 0}, {31, 0, 0, 31}, {31, 0, 31, 0}}},
      {"Color16ToRGBLight32", {{0xFFFF, 0x001F}}, {{0xF8, 0xF8}, {0xFC, 0}, {0xF8, 0}}},
      {"Color15ToRGBLight16", {{0x7C00, 0x83E0}}, {{0, 0}, {0, 31}, {31, 0}}},
      {"Color15ToRGBLight32", {{0x7C00, 0xFFFF}}, {{0, 0xF8}, {0, 0xF8}, {0xF8, 0xF8}}},
      // The B plane of the Color24 members is the one whose address dstG holds.
      {"Color24ToRGBLight16", {{0xFF1008, 0x0000FF}}, {{31, 0}, {2, 0}, {1, 31}}},
      {"Color24ToRGBLight32", {{0xFF1008}}, {{0xFF}, {0x10}, {0x08}}},
      {"Color32ToRGBLight16", {{0x99FF1008}}, {{31}, {2}, {1}}},
      {"Color32ToRGBLight32", {{0x99FF1008}}, {{0xFF}, {0x10}, {0x08}}},
      // TransToRGBLight16: pairs t >> 3, a lone last element (t << 3) & 0xFF.
      {"TransToRGBLight16", {{0x21}}, {{0x08}, {0x08}, {0x08}}},
      {"TransToRGBLight16", {{0x21, 0x21}}, {{4, 4}, {4, 4}, {4, 4}}},
      {"TransToRGBLight16", {{0x21, 0x21, 0x21}}, {{4, 4, 8}, {4, 4, 8}, {4, 4, 8}}},
      {"TransToRGBLight32", {{0xFF, 0x21}}, {{0xFF, 0x21}, {0xFF, 0x21}, {0xFF, 0x21}}},
      // LightToRGBLight16 pairs: the lower element's bits 15..13 spill upwards.
      {"LightToRGBLight16", {{0xE000, 0x0001}}, {{0, 15}, {0, 15}, {0, 15}}},
      {"LightToRGBLight32",
       {{0x1234, 0xFFFF}},
       {{0x1234, 0xFFFF}, {0x1234, 0xFFFF}, {0x1234, 0xFFFF}}},
      // RGBLight16 read-back: 1023 and more give 31, 32..1022 wrap.
      {"RGBLight16ToColor16",
       {{40, 1023, 5000}, {31, 0, 32}, {1023, 31, 1022}},
       {{0x47DF, 0xF81F, 0xF81E}}},
      {"RGBLight16ToColor15",
       {{40, 1023, 5000}, {31, 0, 32}, {1023, 31, 1022}},
       {{0x23FF, 0x7C1F, 0x7C1E}}},
      // RGBLight16ToColor24: f(p) for a lone last element, sat31(p) << 3 for pairs.
      {"RGBLight16ToColor24", {{0}, {31}, {1023}}, {{0x80837F}}},
      {"RGBLight16ToColor24", {{0, 40}, {31, 5000}, {1023, 1}}, {{0x00F8F8, 0x40F808}}},
      {"RGBLight16ToColor32", {{0, 40}, {31, 5000}, {1023, 1}}, {{0x0080837F, 0x00857F80}}},
      {"RGBLight32ToColor16", {{255, 256}, {255, 0}, {255, 0}}, {{0xFFFF, 0xF800}}},
      {"RGBLight32ToColor15", {{255, 0}, {255, 300}, {255, 7}}, {{0x7FFF, 0x03E0}}},
      {"RGBLight32ToColor24", {{300}, {0}, {0}}, {{0xFF0000}}},
      {"RGBLight32ToColor32", {{300, 1}, {256, 2}, {7, 3}}, {{0x00FFFF07, 0x00010203}}},
      // Into Trans and Light: R adds nothing, B weighs one more, no read-back
      // saturation; read back here at dst[i + 1] and dst[i - 1].
      {"RGBLight16ToTrans", {{1000, 0, 0}, {0, 31, 60}, {0, 31, 0}}, {{0, 173, 255}}},
      {"RGBLight32ToTrans", {{5, 0, 0}, {255, 300, 400}, {255, 300, 400}}, {{179, 210, 255}}},
      {"RGBLight16ToLight", {{9, 0}, {1000, 0}, {1000, 31}}, {{5625, 29}}},
      {"RGBLight32ToLight", {{0, 0}, {255, 65535}, {255, 65535}}, {{179, 46079}}},
      {"RGBLight16ToRGBLight32",
       {{31, 0x2001}, {0x3FF, 0x400}, {0x2001, 1}},
       {{0xF8, 0x0008}, {0x1FF8, 0}, {0x0008, 8}}},
      // RGBLight32ToRGBLight16: a lone last G element is shifted left instead.
      {"RGBLight32ToRGBLight16", {{0xF8}, {0x21}, {0xFF}}, {{0x1F}, {0x108}, {0x1F}}},
      {"RGBLight32ToRGBLight16",
       {{0xF8, 0}, {0x21, 0x21}, {0xFF, 0}},
       {{0x1F, 0}, {4, 4}, {0x1F, 0}}},
  };
  for (const Pinned &p : rows) {
    Result r = Convert(p.name, p.in);
    for (size_t k = 0; k < p.out.size(); ++k) {
      EXPECT_EQ(r.out[k], p.out[k]) << p.name << " array " << k;
    }
    EXPECT_TRUE(r.untouchedElsewhere) << p.name;
  }
}

// An odd count's last Light element takes its high byte from source byte
// count / 2 + 5; B receives only the high byte of the result.
TEST(Convert, LightIntoPlanesLoneElement) {
  struct Row {
    const char *name;
    std::vector<uint32_t> in;
    std::vector<uint8_t> bytes;  // source bytes under the elements
    uint32_t lone[3];            // the last element of R, G, B
  };
  const Row rows[] = {
      {"LightToRGBLight16", {0x1234}, {0, 0, 0, 0, 0, 0x56}, {0x0AC6, 0x0AC6, 0x0AAA}},
      {"LightToRGBLight32", {0x1234}, {0, 0, 0, 0, 0, 0x56}, {0x5634, 0x5634, 0x56AA}},
      {"LightToRGBLight16",
       {0x1111, 0x2222, 0x3344},
       {0, 0, 0, 0, 0, 0, 0x77},
       {0x0EE8, 0x0EE8, 0x0EAA}},
      // count 5 reads byte 7: the high byte of element 3.
      {"LightToRGBLight32", {0, 0, 0, 0xAB00, 0x00CD}, {}, {0xABCD, 0xABCD, 0xABAA}},
  };
  for (const Row &row : rows) {
    Result r = Convert(row.name, {row.in}, row.bytes);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(r.out[k].back(), row.lone[k]) << row.name << " " << k;
    EXPECT_TRUE(r.untouchedElsewhere) << row.name;
  }
  // The pairs before it are plain.
  Result r = Convert("LightToRGBLight16", {{0x1111, 0x2222, 0x3344}});
  EXPECT_EQ(r.out[0], (std::vector<uint32_t>{0x0888, 0x1110, (0x44 | 0x55 << 8) >> 3}));
}

// The six members that find their B plane through the G array read the pointer
// once, before anything is written: long runs overwrite dstG's bytes 16.. with
// elements and still fill the whole B plane. Each agrees with its sibling that
// takes its planes from the arguments.
TEST(Convert, BPlaneFromTheGArray) {
  rkt::Rng rng(11);
  for (uint32_t n : {1u, 8u, 9u, 12u, 31u, 100u}) {
    std::vector<uint32_t> px(n), words[3];
    for (auto &v : px) v = rng.U32();
    for (auto &w : words) {
      w.resize(n);
      for (auto &v : w) v = rng.U32() & 0x7FF;
    }
    std::vector<uint32_t> px24(px);
    for (auto &v : px24) v &= 0xFFFFFF;
    for (const char *bits : {"16", "32"}) {
      std::string into = std::string("RGBLight") + bits;
      Result got = Convert("Color24To" + into, {px24}), want = Convert("Color32To" + into, {px});
      for (int k = 0; k < 3; ++k) EXPECT_EQ(got.out[k], want.out[k]) << into << " count " << n;
      EXPECT_TRUE(got.untouchedElsewhere);
    }
    Result c24 = Convert("RGBLight32ToColor24", {words[0], words[1], words[2]}),
           c32 = Convert("RGBLight32ToColor32", {words[0], words[1], words[2]});
    EXPECT_EQ(c24.out[0], c32.out[0]) << n;
    Result f24 = Convert("RGBLight16ToColor24", {words[0], words[1], words[2]}),
           f32 = Convert("RGBLight16ToColor32", {words[0], words[1], words[2]});
    // The lone last element of an odd count takes the same bytes in both.
    if (n & 1) {
      EXPECT_EQ(f24.out[0].back(), f32.out[0].back() & 0xFFFFFF) << n;
    }
    EXPECT_TRUE(c24.untouchedElsewhere && c32.untouchedElsewhere && f24.untouchedElsewhere);
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

// Colour -> planes -> colour swaps the low and high fields; twice gives the pixel
// back (less the bits a format drops). 65535 pixels: pairs and a lone last one.
TEST(Convert, RoundTripsThroughPlanes) {
  const uint32_t n = 65535;
  std::vector<uint8_t> in = AllWords(n), once(2 * size_t{n}), twice(2 * size_t{n});
  std::vector<uint8_t> planes[3];
  for (auto &p : planes) p.resize(2 * size_t{n});
  using Into = void(RKPIX_CALL *)(void *, void *, void *, const void *, uint32_t);
  using Out = void(RKPIX_CALL *)(void *, const void *, const void *, const void *, uint32_t);
  struct Trip {
    Into into;
    Out out;
    uint32_t keep;  // the bits that survive two trips
  };
  const Trip trips[] = {
      {RkBitConvertColor16ToRGBLight16, RkBitConvertRGBLight16ToColor16, 0xFFDF},
      {RkBitConvertColor15ToRGBLight16, RkBitConvertRGBLight16ToColor15, 0x7FFF},
      {RkBitConvertColor16ToRGBLight32, RkBitConvertRGBLight32ToColor16, 0xFFFF},
      {RkBitConvertColor15ToRGBLight32, RkBitConvertRGBLight32ToColor15, 0x7FFF},
  };
  for (const Trip &t : trips) {
    t.into(planes[0].data(), planes[1].data(), planes[2].data(), in.data(), n);
    t.out(once.data(), planes[0].data(), planes[1].data(), planes[2].data(), n);
    t.into(planes[0].data(), planes[1].data(), planes[2].data(), once.data(), n);
    t.out(twice.data(), planes[0].data(), planes[1].data(), planes[2].data(), n);
    for (uint32_t i = 0; i < n; ++i) {
      ASSERT_EQ(Word(twice, i), i & t.keep) << i;
      uint32_t v = Word(once, i);
      ASSERT_EQ(v & 0x1F, i >> (t.keep == 0x7FFF ? 10 : 11) & 0x1F) << i;  // high field, now low
    }
  }
  // RGBLight16 -> RGBLight32 -> RGBLight16 keeps 13 bits of R and B and 10 of G (an
  // even count: no lone element).
  std::vector<uint8_t> wide[3], back[3];
  for (int k = 0; k < 3; ++k) {
    wide[k].resize(2 * size_t{n} + 2);
    back[k].resize(2 * size_t{n} + 2);
  }
  std::vector<uint8_t> all = AllWords(n + 1);
  RkBitConvertRGBLight16ToRGBLight32(wide[0].data(), wide[1].data(), wide[2].data(), all.data(),
                                     all.data(), all.data(), n + 1);
  RkBitConvertRGBLight32ToRGBLight16(back[0].data(), back[1].data(), back[2].data(), wide[0].data(),
                                     wide[1].data(), wide[2].data(), n + 1);
  for (uint32_t i = 0; i <= n; ++i) {
    ASSERT_EQ(Word(back[0], i), i & 0x1FFF) << i;
    ASSERT_EQ(Word(back[1], i), i & 0x3FF) << i;
    ASSERT_EQ(Word(back[2], i), i & 0x1FFF) << i;
  }
}

// Grey levels of every 16-bit pixel against the sums as the library documents
// them: bits 15..8 of 616 x low + 232 x high + 600 x g6 (Color16) or + 1200 x g5
// (Color15 to Trans), and for Color15 to Light six G bits (10..5) with the upper
// element of a pair adding the carry out of its partner's 16-bit sum.
TEST(Convert, GreyOfEveryPixel) {
  auto sum16 = [](uint32_t v) { return 616 * (v & 31) + 232 * (v >> 11) + 600 * (v >> 5 & 63); };
  auto sum15 = [](uint32_t v) {
    return 616 * (v & 31) + 232 * (v >> 10 & 31) + 1200 * (v >> 5 & 31);
  };
  auto sum15Wide = [](uint32_t v) {
    return 616 * (v & 31) + 232 * (v >> 10 & 31) + 1200 * (v >> 5 & 63);
  };
  const uint32_t n = 65536;
  std::vector<uint8_t> in = AllWords(n), trans(n), light(2 * size_t{n});
  RkBitConvertColor16ToTrans(trans.data(), in.data(), n);
  RkBitConvertColor16ToLight(light.data(), in.data(), n);
  for (uint32_t v = 0; v < n; ++v) {
    ASSERT_EQ(trans[v], sum16(v) >> 8 & 0xFF) << v;
    ASSERT_EQ(Word(light, v), sum16(v) >> 8 & 0xFF) << v;
  }
  RkBitConvertColor15ToTrans(trans.data(), in.data(), n);
  for (uint32_t v = 0; v < n; ++v) ASSERT_EQ(trans[v], sum15(v) >> 8 & 0xFF) << v;
  // Color15ToLight: every pixel as the lower element of a pair, and as the upper one
  // next to a partner whose sum does (0x7FFF) or does not (0) pass 65535.
  for (uint32_t partner : {0x0000u, 0x7FFFu}) {
    std::vector<uint8_t> pairs(4 * size_t{n}), out(4 * size_t{n});
    for (uint32_t v = 0; v < n; ++v) {
      for (uint32_t k = 0; k < 2; ++k) {
        uint32_t e = k == 0 ? v : partner;
        pairs[4 * v + 2 * k] = uint8_t(e);
        pairs[4 * v + 2 * k + 1] = uint8_t(e >> 8);
      }
    }
    RkBitConvertColor15ToLight(out.data(), pairs.data(), 2 * n);
    for (uint32_t v = 0; v < n; ++v) {
      ASSERT_EQ(Word(out, 2 * v), sum15Wide(v) >> 8 & 0xFF) << v;
      ASSERT_EQ(Word(out, 2 * v + 1), (sum15Wide(partner) + (sum15Wide(v) >> 16)) >> 8 & 0xFF);
    }
    for (uint32_t v = 0; v < n; ++v) {
      pairs[4 * v] = uint8_t(partner);
      pairs[4 * v + 1] = uint8_t(partner >> 8);
      pairs[4 * v + 2] = uint8_t(v);
      pairs[4 * v + 3] = uint8_t(v >> 8);
    }
    RkBitConvertColor15ToLight(out.data(), pairs.data(), 2 * n);
    for (uint32_t v = 0; v < n; ++v) {
      ASSERT_EQ(Word(out, 2 * v + 1), (sum15Wide(v) + (sum15Wide(partner) >> 16)) >> 8 & 0xFF) << v;
    }
  }
  // An element converted alone has no partner.
  for (uint32_t v = 0; v < n; v += 7) {
    uint8_t one[2] = {uint8_t(v), uint8_t(v >> 8)}, got[2];
    RkBitConvertColor15ToLight(got, one, 1);
    ASSERT_EQ(got[0] | got[1] << 8, sum15Wide(v) >> 8 & 0xFF) << v;
  }
}

// Every 24-bit colour's grey level against (77 R + 150 G + 29 B) >> 8; the fourth
// byte of Color32 plays no part.
TEST(Convert, GreyOfEveryColour) {
  const uint32_t chunk = 1 << 16;
  std::vector<uint8_t> px(4 * size_t{chunk}), trans(chunk);
  for (uint32_t base = 0; base < (1u << 24); base += chunk) {
    for (uint32_t i = 0; i < chunk; ++i) {
      uint32_t c = base + i;
      px[4 * i] = uint8_t(c);
      px[4 * i + 1] = uint8_t(c >> 8);
      px[4 * i + 2] = uint8_t(c >> 16);
      px[4 * i + 3] = uint8_t(i * 37);
    }
    RkBitConvertColor32ToTrans(trans.data(), px.data(), chunk);
    for (uint32_t i = 0; i < chunk; ++i) {
      uint32_t c = base + i;
      ASSERT_EQ(trans[i], (77 * (c >> 16) + 150 * (c >> 8 & 0xFF) + 29 * (c & 0xFF)) >> 8) << c;
    }
  }
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

// Concurrent conversions: every member on four threads at once, each converting one
// shared source into its own arrays, must give what the same calls give on one thread.
TEST(Convert, ConcurrentCallsMatchOneThread) {
  constexpr int kThreads = 4;
  constexpr uint32_t kN = 301;
  for (const auto &[name, spec] : Specs()) {
    const ConvSpec &c = *spec;
    rkt::Rng rng(rkt::BaseSeed() ^ 0xC0);
    auto sized = [&](bool dst, int k) {
      auto [lo, hi] = Footprint(c, dst, k, kN);
      std::vector<uint8_t> v(static_cast<size_t>(hi - lo + 8));
      rng.Fill(v.data(), v.size());
      return std::make_pair(v, -lo);
    };
    std::vector<std::pair<std::vector<uint8_t>, int64_t>> src;
    for (int k = 0; k < c.ns; ++k) src.push_back(sized(false, k));
    const uint8_t *s[3] = {};
    for (int k = 0; k < c.ns; ++k) s[k] = src[k].first.data() + src[k].second;
    if (c.srcBAt >= 0) Plant(src[1].first.data() + src[1].second + c.srcBAt, s[2]);
    using Arrays = std::vector<std::pair<std::vector<uint8_t>, int64_t>>;
    std::vector<Arrays> first(kThreads);
    for (auto &arrays : first)
      for (int k = 0; k < c.nd; ++k) arrays.push_back(sized(true, k));
    auto run = [&](Arrays &arrays) {
      uint8_t *d[3] = {};
      for (int k = 0; k < c.nd; ++k) d[k] = arrays[k].first.data() + arrays[k].second;
      for (uint32_t n = kN; n > 0; n /= 3) {
        // The G array carries the B plane's address until the call overwrites it.
        if (c.dstBAt >= 0) Plant(d[1] + c.dstBAt, d[2]);
        Call(c, d, s, n);
      }
    };
    std::vector<Arrays> want = first, got = first;
    for (auto &arrays : want) run(arrays);
    std::vector<std::thread> threads;
    for (auto &arrays : got) threads.emplace_back([&] { run(arrays); });
    for (auto &t : threads) t.join();
    for (int t = 0; t < kThreads; ++t) {
      for (Arrays *a : {&got[t], &want[t]}) {  // each copy holds its own B plane's address
        if (c.dstBAt >= 0) std::memset((*a)[1].first.data() + (*a)[1].second + c.dstBAt, 0, 8);
      }
      EXPECT_EQ(got[t], want[t]) << name << " thread " << t;
    }
  }
}

}  // namespace
