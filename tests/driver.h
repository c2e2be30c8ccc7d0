// The differential driver: every registered export runs on random cases at every
// available level, each compared byte for byte with the reference walk.
//
// A family registers its blits with one line each:
//   RKT_BLIT(RkTrans16, 2, rkt::Args::kA);                 // bytes a pixel, argument shape
//   RKT_BLIT(RkTransWithChannel16, 2, rkt::Args::kChannel, 1);  // channel element size
//   RKT_BLIT(RkLight24, 3, rkt::Args::kA, 0, true);        // writes into its source
// or all four depths of a member at once: RKT_BLIT_DEPTHS(RkTrans, rkt::Args::kA).
// Other shapes (conversions, zoom) register a case function with RKT_DIFF.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "blit_call.h"
#include "toolkit.h"

namespace rkt {

struct BlitShape {
  int bpp;
  Args args;
  int chanElem = 0;
  bool writesSrc = false;
};

bool RegisterBlit(const char *name, AnyExport fn, BlitShape shape);

// A generic differential case: builds a world from `rng`, then calls
// CompareLevels; returns "" or a report.
using CaseFn = std::string (*)(Rng &rng);
bool RegisterDiff(const char *name, CaseFn fn, int cases);

// Every registered export as one random-case runner, sorted by name: the gtest
// driver, the fuzzer and the thread test all walk this list.
struct NamedCase {
  std::string name;
  std::function<std::string(Rng &)> run;
  int cases;
};
std::vector<NamedCase> AllCases();

// Registered blits, and a call of one on explicit arguments.
struct BlitEntry {
  std::string name;
  AnyExport fn;
  BlitShape shape;
};
const std::vector<BlitEntry> &BlitEntries();
void CallBlit(const BlitEntry &e, const BlitCall &c);
uint32_t Param(Rng &rng);
uint32_t PlantKey(Rng &rng, const RkSurface &src, int bpp);

// Registers one gtest per entry (called from main).
void RegisterDiffTests();

// A pinned call of a registered blit, checked at every level. Surfaces of `rows` rows
// of src.size() / rows pixels, given as values (bytes 0.. from the lowest); the channel
// plane's rows hold chan.size() / rows elements. `same`: the source is the destination
// surface (holding `src`); `shift` (with `same`): the source record starts `shift`
// bytes after the destination's (before, if negative), both one pixel narrower.
struct Export {
  AnyExport fn;
  template <class F>
  Export(F *f) : fn(reinterpret_cast<AnyExport>(f)) {}  // NOLINT: implicit by design
};
struct At {
  int32_t dx = 0, dy = 0, sx = 0, sy = 0, w = -1, h = -1;  // -1: the surface's size
};
struct Pin {
  const char *what;
  Export fn;
  uint32_t a, b;                                                  // level or opacity; keyColour
  std::vector<uint32_t> src, dst, want, chan = {}, wantSrc = {};  // wantSrc {}: unchanged
  int32_t rows = 1;
  At at = {};
  int32_t chX = 0;
  bool same = false;
  int shift = 0;
};
void CheckPins(const std::vector<Pin> &pins);

}  // namespace rkt

#define RKT_CAT_(a, b) a##b
#define RKT_CAT(a, b) RKT_CAT_(a, b)
#define RKT_BLIT(fn, ...)                                         \
  static const bool RKT_CAT(rkt_blit_, fn) = ::rkt::RegisterBlit( \
      #fn, reinterpret_cast<::rkt::AnyExport>(&fn), ::rkt::BlitShape{__VA_ARGS__})
#define RKT_BLIT_DEPTHS(fn, ...)    \
  RKT_BLIT(fn##16, 2, __VA_ARGS__); \
  RKT_BLIT(fn##15, 2, __VA_ARGS__); \
  RKT_BLIT(fn##24, 3, __VA_ARGS__); \
  RKT_BLIT(fn##32, 4, __VA_ARGS__)
#define RKT_DIFF(name, fn, cases) \
  static const bool RKT_CAT(rkt_diff_, name) = ::rkt::RegisterDiff(#name, fn, cases)
