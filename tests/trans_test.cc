// The translucent blits: the differential driver on every member, the blend
// formulas against the exact rule, and pinned rows for the irregular results.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "driver.h"
#include "rkpix.h"
#include "toolkit.h"
#include "trans/blend.h"

RKT_BLIT(RkTrans16, 2, rkt::Args::kA);
RKT_BLIT(RkTrans15, 2, rkt::Args::kA);
RKT_BLIT(RkTrans24, 3, rkt::Args::kA);
RKT_BLIT(RkTrans32, 4, rkt::Args::kA);
RKT_BLIT(RkMaskTrans16, 2, rkt::Args::kAKey);
RKT_BLIT(RkMaskTrans15, 2, rkt::Args::kAKey);
RKT_BLIT(RkMaskTrans24, 3, rkt::Args::kAKey);
RKT_BLIT(RkMaskTrans32, 4, rkt::Args::kAKey);
RKT_BLIT(RkTransWithChannel16, 2, rkt::Args::kChannel, 1);
RKT_BLIT(RkTransWithChannel15, 2, rkt::Args::kChannel, 1);
RKT_BLIT(RkTransWithChannel24, 3, rkt::Args::kChannel, 1);
RKT_BLIT(RkTransWithChannel32, 4, rkt::Args::kChannel, 1);
RKT_BLIT(RkMaskTransWithChannel16, 2, rkt::Args::kChannelKey, 1);
RKT_BLIT(RkMaskTransWithChannel15, 2, rkt::Args::kChannelKey, 1);
RKT_BLIT(RkMaskTransWithChannel24, 3, rkt::Args::kChannelKey, 1);
RKT_BLIT(RkMaskTransWithChannel32, 4, rkt::Args::kChannelKey, 1);

namespace {

namespace tr = rk::trans;

// d + floor((s - d) * w / den), floor towards minus infinity.
int32_t Exact(int32_t s, int32_t d, int32_t w, int32_t den) {
  int32_t p = (s - d) * w;
  return d + (p >= 0 ? p / den : -((-p + den - 1) / den));
}

template <class F>
uint32_t ExactPixel(uint32_t s, uint32_t d, int32_t w) {
  auto f = [&](uint32_t mask, int shift) {
    return static_cast<uint32_t>(Exact(static_cast<int32_t>((s & mask) >> shift),
                                       static_cast<int32_t>((d & mask) >> shift), w, 32))
           << shift;
  };
  return f(F::kR, F::kRShift) | f(F::kG, F::kGShift) | f(F::kB, 0);
}

// For weights 0..31 both 16-bit forms give the exact rule (bit 15 clear at 5-5-5);
// the unmasked blue lanes add their stray bits exactly when blue goes down.
template <class F>
void CheckForms(rkt::Rng &rng) {
  for (int i = 0; i < 20000; ++i) {
    uint32_t s = rng.U32() & 0xFFFF, d = rng.U32() & 0xFFFF;
    if (tr::kIs15<F>) s &= 0x7FFF, d &= 0x7FFF;
    auto w = static_cast<uint16_t>(rng.Range(0, 31));
    uint32_t want = ExactPixel<F>(s, d, w);
    bool down = (s & 0x1F) < (d & 0x1F) && w > 0;
    auto ls = static_cast<uint16_t>(s), ld = static_cast<uint16_t>(d);
    ASSERT_EQ(tr::SingleBlend<F>(s, d, w), want) << std::hex << s << " " << d << " w " << w;
    ASSERT_EQ(tr::LaneBlend<F>(ls, ld, w), want) << std::hex << s << " " << d << " w " << w;
    ASSERT_EQ((tr::LaneBlend<F, tr::Blue::kAdd16>(ls, ld, w)), want | (down ? 0x0800u : 0u));
    ASSERT_EQ((tr::LaneBlend<F, tr::Blue::kAddBytes>(ls, ld, w)), want | (down ? 0x0700u : 0u));
  }
}

TEST(TransForms, SixteenBitFormsFollowTheExactRule) {
  rkt::Rng rng(rkt::BaseSeed());
  CheckForms<rk::Color16>(rng);
  CheckForms<rk::Color15>(rng);
}

// The byte rule is the exact rule for weights 0..256 (256 copies); the two-byte
// lane form is the byte rule on each byte, for every weight the fast rows may meet.
TEST(TransForms, ByteRuleAndItsTwoByteLane) {
  for (int32_t w = 0; w <= 256; ++w)
    for (int32_t s = 0; s < 256; s += 3)
      for (int32_t d = 0; d < 256; d += 5) {
        int32_t want = w == 256 ? s : Exact(s, d, w, 256);
        ASSERT_EQ(tr::ByteBlend(static_cast<uint8_t>(s), static_cast<uint8_t>(d),
                                static_cast<uint16_t>(w)),
                  want)
            << s << " " << d << " w " << w;
      }
  rkt::Rng rng(rkt::BaseSeed());
  for (int i = 0; i < 100000; ++i) {
    auto s = static_cast<uint16_t>(rng.U32()), d = static_cast<uint16_t>(rng.U32()),
         w = static_cast<uint16_t>(rng.U32() >> (rng.U32() & 15));
    auto byte = [&](int k) { return tr::ByteBlend(uint8_t(s >> 8 * k), uint8_t(d >> 8 * k), w); };
    ASSERT_EQ(tr::HalfBlend(s, d, w), byte(0) | byte(1) << 8) << s << " " << d << " w " << w;
  }
}

// Pinned rows: one-row surfaces, the call at (0, 0) with the row's width, at every
// level. Pixels are given as values (16 bits, or bytes B, G, R[, fourth] as a word).
using Op = std::function<void(const RkSurface *, const RkSurface *, const RkSurface *, int32_t)>;

template <class Fn, class... X>
Op Call(Fn fn, X... extra) {  // (..., opacity[, keyColour])
  return [=](const RkSurface *d, const RkSurface *s, const RkSurface *, int32_t w) {
    fn(d, 0, 0, s, 0, 0, w, 1, extra...);
  };
}
template <class Fn, class... X>
Op CallChan(Fn fn, X... extra) {  // (..., channel, 0, 0[, keyColour])
  return [=](const RkSurface *d, const RkSurface *s, const RkSurface *c, int32_t w) {
    fn(d, 0, 0, s, 0, 0, w, 1, c, 0, 0, extra...);
  };
}

struct Pin {
  const char *what;
  int bpp;
  Op op;
  std::vector<uint32_t> src, dst, want, chan = {};
};

std::vector<uint8_t> Pack(const std::vector<uint32_t> &px, int bpp) {
  std::vector<uint8_t> b(px.size() * static_cast<size_t>(bpp));
  for (size_t i = 0; i < px.size(); ++i)
    for (int k = 0; k < bpp; ++k) b[i * bpp + k] = static_cast<uint8_t>(px[i] >> 8 * k);
  return b;
}

void RunPins(const std::vector<Pin> &pins) {
  for (const Pin &p : pins) {
    auto w = static_cast<int32_t>(p.dst.size());
    std::vector<uint8_t> src = Pack(p.src, p.bpp), want = Pack(p.want, p.bpp);
    std::vector<uint8_t> chan(p.chan.begin(), p.chan.end());
    auto cw = static_cast<int32_t>(chan.size());
    for (rk::Level level : rk::AvailableLevels()) {
      std::vector<uint8_t> dst = Pack(p.dst, p.bpp);
      RkSurface d{0, w, 1, w * p.bpp, 0, dst.data()}, s{0, w, 1, w * p.bpp, 0, src.data()};
      RkSurface c{0, cw, 1, cw, 0, chan.data()};
      rk::Level saved = rk::UseLevel(level);
      p.op(&d, &s, &c, w);
      rk::UseLevel(saved);
      EXPECT_EQ(dst, want) << p.what << " (level " << rk::LevelName(level) << ")";
    }
  }
}

const uint32_t K = 0x1234;  // a key colour

// clang-format off
TEST(TransPins, Uniform) {
  RunPins({
    {"255 of 32 is not opaque: lone pixel", 2, Call(RkTrans16, 255), {0xFFFF}, {0}, {0xF7BE}},
    {"255 of 32 is not opaque: group", 2, Call(RkTrans16, 255),
     {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, {0, 0, 0, 0}, {0xF7BE, 0xF7BE, 0xF7BE, 0xF7BE}},
    {"opacity below 8 returns", 2, Call(RkTrans16, 7), {0xFFFF, 0xFFFF}, {1, 2}, {1, 2}},
    {"opacity below 8 returns at 5-5-5", 2, Call(RkTrans15, 7), {0xFFFF}, {0x8001}, {0x8001}},
    // A bit 15 that differs adds (ts - td) * weight to red in pairs and groups; the
    // lone pixel ignores it. Written pixels lose bit 15.
    {"15: pair, red bit-15 effect", 2, Call(RkTrans15, 128), {0x8000, 0x8000}, {0, 0}, {0x4000, 0x4000}},
    {"15: group, both sides", 2, Call(RkTrans15, 255),
     {0x8000, 0, 0x8000, 0}, {0, 0x8000, 0x8000, 0}, {0x7C00, 0x0400, 0, 0}},
    {"15: lone pixel ignores bit 15", 2, Call(RkTrans15, 128), {0x8000}, {0x8000}, {0}},
    {"15: width 3, pair and lone pixel differ", 2, Call(RkTrans15, 128),
     {0x8000, 0x8000, 0x8000}, {0, 0, 0}, {0x4000, 0x4000, 0}},
    {"24: floor of 127.5 both ways", 3, Call(RkTrans24, 128), {0x00FF00}, {0xFF00FF}, {0x7F7F7F}},
    {"24: opacity 256 copies", 3, Call(RkTrans24, 256), {0x123456}, {0xABCDEF}, {0x123456}},
    // Pairs blend the fourth byte; the lone last pixel gets 0 there.
    {"32: width 3", 4, Call(RkTrans32, 128), {0x80FF00FF, 0x80FF00FF, 0x80FF00FF},
     {0x0000FF00, 0x0000FF00, 0x0000FF00}, {0x407F7F7F, 0x407F7F7F, 0x007F7F7F}},
    {"32: opacity 256 copies, lone fourth byte 0", 4, Call(RkTrans32, 256),
     {0x11223344, 0x55667788, 0x99AABBCC}, {0, 0, 0}, {0x11223344, 0x55667788, 0x00AABBCC}},
    {"32: opacity 0 returns", 4, Call(RkTrans32, 0), {0x11223344}, {0xAB000000}, {0xAB000000}},
  });
}

TEST(TransPins, Keyed) {
  RunPins({
    // The 16-bit pair step reads the destination in place of the source.
    {"16: width 2 keeps its destination", 2, Call(RkMaskTrans16, 255, K), {0xFFFF, 0xFFFF}, {0, 0}, {0, 0}},
    {"16: width 3 blends the lone pixel only", 2, Call(RkMaskTrans16, 255, K),
     {0xFFFF, 0xFFFF, 0xFFFF}, {0, 0, 0}, {0, 0, 0xF7BE}},
    {"16: width 6 keeps the pair after the group", 2, Call(RkMaskTrans16, 255, K),
     {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, {0, 0, 0, 0, 0, 0},
     {0xF7BE, 0xF7BE, 0xF7BE, 0xF7BE, 0, 0}},
    {"16: key pixel inside a group", 2, Call(RkMaskTrans16, 255, K),
     {0xFFFF, K, 0xFFFF, 0xFFFF}, {0, 0x8001, 0, 0}, {0xF7BE, 0x8001, 0xF7BE, 0xF7BE}},
    {"16: opacity below 8 returns", 2, Call(RkMaskTrans16, 7, K), {0xFFFF}, {0}, {0}},
    // At 5-5-5 a key pixel written back with weight 0 loses bit 15; one not written keeps it.
    {"15: mixed group", 2, Call(RkMaskTrans15, 128, K), {K, 0, K, K},
     {0x8001, 0x8000, 0x8002, 0x8003}, {0x0001, 0x4000, 0x0002, 0x0003}},
    {"15: group of keys not written", 2, Call(RkMaskTrans15, 128, K), {K, K, K, K},
     {0x8001, 0x8002, 0x8003, 0x8004}, {0x8001, 0x8002, 0x8003, 0x8004}},
    {"15: lone key pixel skipped", 2, Call(RkMaskTrans15, 128, K), {K}, {0x8001}, {0x8001}},
    {"15: the pair reads the source", 2, Call(RkMaskTrans15, 255, K), {K, 0x7FFF}, {0x8005, 0}, {0x0005, 0x7BDE}},
    {"15: the key includes bit 15", 2, Call(RkMaskTrans15, 255, 0x9234), {0x1234}, {0}, {0x0E13}},
    {"24: key bits above 24 ignored", 3, Call(RkMaskTrans24, 128, 0xFF123456),
     {0x123456, 0xFFFFFF, 0x123456}, {0, 0, 0}, {0, 0x7F7F7F, 0}},
    // At 32 bits a pixel blended alone gets 0 in its fourth byte; the key ignores it.
    {"32: partner is the key", 4, Call(RkMaskTrans32, 128, 0x00FF00FF),
     {0x80FFFFFF, 0x12FF00FF}, {0x40000000, 0x55667788}, {0x007F7F7F, 0x55667788}},
    {"32: a pair blends its fourth bytes", 4, Call(RkMaskTrans32, 128, 0x00FF00FF),
     {0x80FFFFFF, 0x80FFFFFF}, {0, 0}, {0x407F7F7F, 0x407F7F7F}},
    {"32: opacity 0 returns", 4, Call(RkMaskTrans32, 0, 0), {0x80FFFFFF}, {0x40000000}, {0x40000000}},
  });
}

TEST(TransPins, Channel) {
  const uint32_t S = 0x8123;
  RunPins({
    // Unmasked blue lanes: a borrow leaves bit 11 set in pairs, bits 8..10 in groups.
    {"16: pair, stray bit 11", 2, CallChan(RkTransWithChannel16), {0, 0}, {0x1F, 0x1F}, {0x0800, 0x0800}, {255, 255}},
    {"16: group, stray bits 8..10", 2, CallChan(RkTransWithChannel16), {0, 0, 0, 0},
     {0x1F, 0x1F, 0x1F, 0x1F}, {0x0700, 0x0700, 0x0700, 0x0700}, {255, 255, 255, 255}},
    {"16: lone pixel exact", 2, CallChan(RkTransWithChannel16), {0}, {0x1F}, {0}, {255}},
    {"15: group, pair, lone pixel", 2, CallChan(RkTransWithChannel15), {0, 0, 0, 0, 0, 0, 0},
     {0x1F, 0x1F, 0x1F, 0x1F, 0x1F, 0x1F, 0x1F}, {0x0700, 0x0700, 0x0700, 0x0700, 0x0800, 0x0800, 0},
     {255, 255, 255, 255, 255, 255, 255}},
    {"16: weight c >> 3 of 32, per pixel", 2, CallChan(RkTransWithChannel16),
     {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, {0, 0, 0, 0}, {0, 0x0020, 0x7BEF, 0xF7BE}, {7, 8, 128, 255}},
    // Weight 0 rewrites a 5-5-5 pixel without bit 15, in every unit.
    {"15: channel below 8 clears bit 15", 2, CallChan(RkTransWithChannel15),
     {S, S, S, S, S, S, S}, {S, S, S, S, S, S, S},
     {0x0123, 0x0123, 0x0123, 0x0123, 0x0123, 0x0123, 0x0123}, {0, 7, 0, 7, 0, 7, 0}},
    {"15: red bit-15 effect in the pair only", 2, CallChan(RkTransWithChannel15),
     {0x8000, 0x8000, 0x8000}, {0, 0, 0}, {0x4000, 0x4000, 0}, {128, 128, 128}},
    {"24: weight c of 256, per pixel", 3, CallChan(RkTransWithChannel24),
     {0xFFFFFF, 0xFFFFFF, 0xFFFFFF}, {0, 0, 0}, {0x7F7F7F, 0xFEFEFE, 0}, {128, 255, 1}},
    {"32: channel 0 still clears the lone fourth byte", 4, CallChan(RkTransWithChannel32),
     {0x11223344, 0x11223344, 0x11223344}, {0xAB112233, 0xAB112233, 0xAB112233},
     {0xAB112233, 0xAB112233, 0x00112233}, {0, 0, 0}},
    {"32: pairs blend the fourth byte with their own c", 4, CallChan(RkTransWithChannel32),
     {0xFF000000, 0xFF000000}, {0, 0}, {0x7F000000, 0xFE000000}, {128, 255}},
  });
}

TEST(TransPins, ChannelKeyed) {
  const uint32_t M = 0xF81F;
  RunPins({
    // The masked members mask their blue lanes: no stray bits.
    {"16: pair, no stray bit, key pixel kept", 2, CallChan(RkMaskTransWithChannel16, M),
     {0, M}, {0x1F, 0x1234}, {0, 0x1234}, {255, 255}},
    {"16: group, no stray bits", 2, CallChan(RkMaskTransWithChannel16, M), {0, 0, 0, 0},
     {0x1F, 0x1F, 0x1F, 0x1F}, {0, 0, 0, 0}, {255, 255, 255, 255}},
    {"16: group of keys not written", 2, CallChan(RkMaskTransWithChannel16, M), {M, M, M, M},
     {1, 2, 3, 4}, {1, 2, 3, 4}, {255, 255, 255, 255}},
    {"15: key in a mixed pair loses bit 15; lone key kept", 2, CallChan(RkMaskTransWithChannel15, K),
     {K, 0x8000, K}, {0x8001, 0, 0x8002}, {0x0001, 0x4000, 0x8002}, {255, 128, 255}},
    {"15: group of keys keeps bit 15", 2, CallChan(RkMaskTransWithChannel15, K), {K, K, K, K},
     {0x8001, 0x8002, 0x8003, 0x8004}, {0x8001, 0x8002, 0x8003, 0x8004}, {255, 255, 255, 255}},
    {"24: key bits above 24 ignored, own channel byte", 3, CallChan(RkMaskTransWithChannel24, 0xFF123456),
     {0x123456, 0xFFFFFF, 0xFFFFFF}, {0xABCDEF, 0, 0}, {0xABCDEF, 0xFEFEFE, 0x7F7F7F}, {255, 255, 128}},
    {"32: lone pixel at channel 0 gets fourth byte 0", 4, CallChan(RkMaskTransWithChannel32, 0),
     {0x11223344}, {0xAB112233}, {0x00112233}, {0}},
    {"32: pair with one key: the other alone", 4, CallChan(RkMaskTransWithChannel32, 0x00FF00FF),
     {0x12FF00FF, 0x80FFFFFF}, {0x55667788, 0x40000000}, {0x55667788, 0x00FEFEFE}, {255, 255}},
    {"32: pair of non-keys blends fourth bytes", 4, CallChan(RkMaskTransWithChannel32, 0x00FF00FF),
     {0x80FFFFFF, 0x80FFFFFF}, {0, 0}, {0x407F7F7F, 0x7FFEFEFE}, {128, 255}},
  });
}
// clang-format on

// The channel plane holds the whole clipped rectangle or nothing is drawn; its
// position moves with the left clip; a position left of the plane reads through the
// guard (0 where the plane owns no memory).
TEST(TransPins, ChannelRule) {
  struct Row {
    int32_t chanW, dstX, chanX;
    std::vector<uint32_t> want;
  };
  const Row rows[] = {
      {4, 0, 0, {0x7F7F7F, 0xFEFEFE, 0x3F3F3F, 0x1F1F1F}},
      {3, 0, 0, {0, 0, 0, 0}},                        // one column short: nothing
      {4, 0, 1, {0, 0, 0, 0}},                        // moved one column too far
      {4, -1, 0, {0xFEFEFE, 0x3F3F3F, 0x1F1F1F, 0}},  // left clip moves the plane too
      {4, 0, -1, {0, 0x7F7F7F, 0xFEFEFE, 0x3F3F3F}},  // column -1 is outside the plane: weight 0
  };
  for (const Row &r : rows) {
    for (rk::Level level : rk::AvailableLevels()) {
      std::vector<uint8_t> src(12, 0xFF), dst(12, 0), chan = {128, 255, 64, 32};
      RkSurface d{0, 4, 1, 12, 0, dst.data()}, s{0, 4, 1, 12, 0, src.data()};
      RkSurface c{0, r.chanW, 1, 4, 0, chan.data()};
      rk::Level saved = rk::UseLevel(level);
      RkTransWithChannel24(&d, r.dstX, 0, &s, 0, 0, 4, 1, &c, r.chanX, 0);
      rk::UseLevel(saved);
      EXPECT_EQ(dst, Pack(r.want, 3)) << r.chanW << " " << r.dstX << " " << r.chanX;
    }
  }
}

// A row of 16-bit pixels blended onto itself one pixel to the right: the units run
// right to left and each reads its pixels before writing them, so whether a unit
// sees its left neighbour's result shows the order.
std::vector<uint16_t> ShiftRight16(decltype(&RkTrans16) fn, uint32_t a, std::vector<uint16_t> row,
                                   int32_t w) {
  auto n = static_cast<int32_t>(row.size());
  RkSurface s{0, n, 1, n * 2, 0, row.data()};
  fn(&s, 1, 0, &s, 0, 0, w, 1, a);
  return row;
}

TEST(TransPins, UnitsRunRightToLeft) {
  using V = std::vector<uint16_t>;
  const uint16_t F = 0xFFFF, H = 0xF7BE;  // H: 0xFFFF over 0 at 31 of 32
  for (rk::Level level : rk::AvailableLevels()) {
    rk::Level saved = rk::UseLevel(level);
    // Two groups: the right group reads column 4 before the left group rewrites it.
    EXPECT_EQ(ShiftRight16(RkTrans16, 255, V{F, F, F, F, 0, 0, 0, 0, 0}, 8),
              (V{F, F, F, F, H, 0, 0, 0, 0}));
    // Width 7: the lone pixel first, then the pair, then the group.
    EXPECT_EQ(ShiftRight16(RkTrans16, 255, V{F, F, F, F, F, F, 0, 0}, 7),
              (V{F, F, F, F, F, F, H, 0}));
    rk::UseLevel(saved);
  }
}

// Two records over one buffer, the source one byte right of the destination, at
// opacity 256 (a copy): a unit reads the byte its right neighbour already wrote, so
// the result shows the units. RkTrans24 walks bytes (the last (3w) mod 4, then 4,
// then 8 at a time); the other 24/32-bit members walk the lone pixel, then pairs.
TEST(TransPins, UnitsSeenThroughOverlap) {
  using Fn = std::function<void(const RkSurface *, const RkSurface *)>;
  struct Row {
    const char *what;
    int bpp;
    int32_t w;
    Fn fn;
    std::vector<uint8_t> want;  // bytes 0..15, each byte i starting as 0xB0 + i
  };
  const Row rows[] = {
      {"Trans24 width 5: 3 trailing, 4, 8",
       3,
       5,
       [](auto d, auto s) { RkTrans24(d, 0, 0, s, 0, 0, 5, 1, 256); },
       {0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB9, 0xB9, 0xBA, 0xBB, 0xBD, 0xBD, 0xBE, 0xBF,
        0xBF}},
      {"MaskTrans24 width 5: lone pixel, pairs",
       3,
       5,
       [](auto d, auto s) { RkMaskTrans24(d, 0, 0, s, 0, 0, 5, 1, 256, 0); },
       {0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB7, 0xB7, 0xB8, 0xB9, 0xBA, 0xBB, 0xBD, 0xBD, 0xBE, 0xBF,
        0xBF}},
      {"Trans32 width 3: lone pixel (fourth byte 0), pair",
       4,
       3,
       [](auto d, auto s) { RkTrans32(d, 0, 0, s, 0, 0, 3, 1, 256); },
       {0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB9, 0xB9, 0xBA, 0xBB, 0x00, 0xBC, 0xBD, 0xBE,
        0xBF}},
  };
  for (const Row &r : rows) {
    for (rk::Level level : rk::AvailableLevels()) {
      std::vector<uint8_t> buf(17);
      for (size_t i = 0; i < buf.size(); ++i) buf[i] = static_cast<uint8_t>(0xB0 + i);
      RkSurface d{0, r.w, 1, r.w * r.bpp, 0, buf.data()}, s = d;
      s.pixels = buf.data() + 1;
      rk::Level saved = rk::UseLevel(level);
      r.fn(&d, &s);
      rk::UseLevel(saved);
      buf.pop_back();
      EXPECT_EQ(buf, r.want) << r.what << " (level " << rk::LevelName(level) << ")";
    }
  }
}

}  // namespace
