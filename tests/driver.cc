#include "driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

namespace rkt {
namespace {

struct DiffEntry {
  std::string name;
  CaseFn fn;
  int cases;
};

std::vector<BlitEntry> &MutableBlits() {
  static std::vector<BlitEntry> v;
  return v;
}
std::vector<DiffEntry> &Diffs() {
  static std::vector<DiffEntry> v;
  return v;
}

uint64_t Hash(const std::string &s) {
  uint64_t h = 1469598103934665603ull;
  for (char c : s) h = (h ^ static_cast<uint8_t>(c)) * 1099511628211ull;
  return h;
}

const int32_t kExtremes[] = {INT_MIN, INT_MIN + 1, -(1 << 30),  -65536,
                             65536,   1 << 30,     INT_MAX - 1, INT_MAX};

int32_t Coord(Rng &rng, int32_t lo, int32_t hi) {
  if (rng.Chance(0.04)) return kExtremes[rng.Range(0, 7)];
  return static_cast<int32_t>(rng.Range(lo, hi));
}

}  // namespace

// Levels, opacities: the values where the formulas change, and anything else.
uint32_t Param(Rng &rng) {
  static const uint32_t kEdges[] = {0,   1,    7,    8,    15,    16,    127,   128,   200,
                                    248, 255,  256,  263,  264,   271,   300,   511,   512,
                                    519, 1024, 2048, 8191, 32767, 32768, 65535, 65536, 0xFFFFFFFFu};
  const int64_t kind = rng.Range(0, 3);
  if (kind == 0) return kEdges[rng.Range(0, std::size(kEdges) - 1)];
  if (kind == 3) return rng.U32();
  return static_cast<uint32_t>(rng.Range(0, kind == 1 ? 300 : 65535));
}

struct BlitCase {
  RkSurface dst{}, src{}, chan{};
  int32_t dstX = 0, dstY = 0, srcX = 0, srcY = 0, width = 0, height = 0;
  int32_t chX = 0, chY = 0;
  uint32_t a = 0, b = 0;
  std::string layout;
};

std::string Describe(const BlitCase &c) {
  std::ostringstream o;
  o << c.layout << ": dst, src, chan {w h pitch}; dstX dstY srcX srcY width height chX chY a b:";
  for (int64_t v : {c.dst.width, c.dst.height, c.dst.pitch, c.src.width, c.src.height, c.src.pitch,
                    c.chan.width, c.chan.height, c.chan.pitch, c.dstX, c.dstY, c.srcX, c.srcY,
                    c.width, c.height, c.chX, c.chY})
    o << " " << v;
  o << " " << c.a << " 0x" << std::hex << c.b;
  return o.str();
}

void CallBlit(const BlitEntry &e, const BlitCall &c) { CallBlit(e.fn, e.shape.args, c); }

// Picks a key from the source's own pixels and plants it in about a quarter of them.
uint32_t PlantKey(Rng &rng, const RkSurface &src, int bpp) {
  uint32_t high = rng.Chance(0.5) ? 0 : rng.U32() & (bpp == 2 ? 0xFFFF0000u : 0xFF000000u);
  if (src.width <= 0 || src.height <= 0 || rng.Chance(0.1)) return rng.U32();
  auto at = [&](int32_t x, int32_t y) {
    return static_cast<uint8_t *>(src.pixels) + int64_t{y} * src.pitch + int64_t{x} * bpp;
  };
  uint32_t key = 0;
  std::memcpy(&key,
              at(static_cast<int32_t>(rng.Range(0, src.width - 1)),
                 static_cast<int32_t>(rng.Range(0, src.height - 1))),
              static_cast<size_t>(bpp == 4 ? 3 : bpp));
  int planted = static_cast<int>(int64_t{src.width} * src.height / 4);
  for (int i = 0; i < planted; ++i) {
    std::memcpy(at(static_cast<int32_t>(rng.Range(0, src.width - 1)),
                   static_cast<int32_t>(rng.Range(0, src.height - 1))),
                &key, static_cast<size_t>(bpp == 4 ? 3 : bpp));
  }
  return key | high;
}

namespace {

std::string RunBlitCase(const BlitEntry &e, Rng &rng) {
  const BlitShape &sh = e.shape;
  World w;
  BlitCase c;
  bool big = rng.Chance(0.2);
  int32_t maxW = big ? 150 : 24, maxH = big ? 12 : 6;
  SurfaceShape ds = RandomShape(rng, sh.bpp, maxW, maxH);
  // Now and then separate surfaces of tight rows, the same size, drawn whole: the
  // layout where the row walk may join a member's rows into one long row.
  const bool joined = rng.Chance(0.08);
  if (joined) {
    ds.width = static_cast<int32_t>(rng.Range(1, maxW));
    ds.height = static_cast<int32_t>(rng.Range(2, maxH + 2));
    ds.pitch = ds.width * sh.bpp;
  }
  int layout = joined ? 0 : static_cast<int>(rng.Range(0, 19));
  int dbuf = -1;
  if (layout < 11) {
    c.layout = joined ? "joined rows" : "separate";
    c.dst = NewSurface(w, rng, ds, sh.bpp, true, &dbuf);
    c.src = NewSurface(w, rng, joined ? ds : RandomShape(rng, sh.bpp, maxW, maxH), sh.bpp,
                       sh.writesSrc);
  } else if (layout < 16) {
    c.layout = "same surface";
    c.dst = NewSurface(w, rng, ds, sh.bpp, true, &dbuf);
    c.src = c.dst;
  } else {
    c.layout = "shared buffer";
    SurfaceShape ss = RandomShape(rng, sh.bpp, maxW, maxH);
    auto [dlo, dhi] = Owned(ds, sh.bpp);
    auto [slo, shi] = Owned(ss, sh.bpp);
    int64_t span = std::max(dhi - dlo, shi - slo) + rng.Range(0, 24);
    dbuf = w.AddBuffer(rng, static_cast<size_t>(span + 128));
    c.dst = Place(w, dbuf, ds, sh.bpp, 64 + rng.Range(0, span - (dhi - dlo)), true);
    c.src = Place(w, dbuf, ss, sh.bpp, 64 + rng.Range(0, span - (shi - slo)), sh.writesSrc);
  }
  int32_t room = std::max(1, std::min(std::max(c.dst.width, 1), std::max(c.src.width, 1)));
  int32_t roomY = std::max(1, std::min(std::max(c.dst.height, 1), std::max(c.src.height, 1)));
  c.width = Coord(rng, -2, room + 3);
  c.height = Coord(rng, -2, roomY + 2);
  c.dstX = Coord(rng, -4, std::max(c.dst.width, 0) + 2);
  c.dstY = Coord(rng, -3, std::max(c.dst.height, 0) + 2);
  if (c.layout == "separate" || rng.Chance(0.3)) {
    c.srcX = Coord(rng, -4, std::max(c.src.width, 0) + 2);
    c.srcY = Coord(rng, -3, std::max(c.src.height, 0) + 2);
  } else {  // near the destination, so that rows overlap
    c.srcX = static_cast<int32_t>(c.dstX + rng.Range(-3, 3));
    c.srcY = static_cast<int32_t>(c.dstY + rng.Range(-2, 2));
  }
  // Now and then a start that wraps around in the clipping arithmetic and still
  // draws: the rectangle then lies far outside one surface and only the guard runs.
  if (rng.Chance(0.04)) {
    bool dstWraps = rng.Chance(0.5);
    int32_t &big = dstWraps ? c.dstX : c.srcX, &neg = dstWraps ? c.srcX : c.dstX;
    big = INT_MAX - static_cast<int32_t>(rng.Range(0, 3));
    neg = -65536 - static_cast<int32_t>(rng.Range(0, 3));
    c.width = INT_MAX;
  }
  if (joined) {
    c.dstX = c.dstY = c.srcX = c.srcY = 0;
    c.width = ds.width + static_cast<int32_t>(rng.Chance(0.2) ? rng.Range(1, 3) : 0);
    c.height = ds.height;
  }
  c.a = Param(rng);
  if (Keyed(sh.args)) c.b = PlantKey(rng, c.src, sh.bpp);
  if (sh.args == Args::kChannel || sh.args == Args::kChannelKey) {
    SurfaceShape cs = RandomShape(rng, sh.chanElem, maxW + 4, maxH + 3);
    if (joined) cs = {ds.width, ds.height, ds.width * sh.chanElem};
    if (!joined && rng.Chance(0.1) && dbuf >= 0) {  // the plane shares the destination's memory
      auto [lo, hi] = Owned(cs, sh.chanElem);
      int64_t size = static_cast<int64_t>(w.bufs[static_cast<size_t>(dbuf)].bytes.size());
      if (hi - lo <= size) {
        c.chan = Place(w, dbuf, cs, sh.chanElem, rng.Range(0, size - (hi - lo)), false);
        c.layout += ", channel in dst memory";
      } else {
        c.chan = NewSurface(w, rng, cs, sh.chanElem, false);
      }
    } else {
      c.chan = NewSurface(w, rng, cs, sh.chanElem, false);
    }
    c.chX = joined ? 0 : Coord(rng, -3, 4);
    c.chY = joined ? 0 : Coord(rng, -2, 3);
  }
  BlitCall call{&c.dst,   c.dstX,  c.dstY, &c.src, c.srcX, c.srcY, c.width,
                c.height, &c.chan, c.chX,  c.chY,  c.a,    c.b};
  std::string why = CompareLevels(w, [&] { CallBlit(e, call); });
  return why.empty() ? why : why + "\n  case: " + Describe(c);
}

class DiffTest : public ::testing::Test {
 public:
  explicit DiffTest(std::function<std::string(Rng &)> run, std::string name, int cases)
      : run_(std::move(run)), name_(std::move(name)), cases_(cases) {}
  void TestBody() override {
    uint64_t seed = BaseSeed() ^ Hash(name_);
    int n = CaseCount(cases_);
    if (std::getenv("RKPIX_TEST_VERBOSE")) std::printf("%s: %d cases\n", name_.c_str(), n);
    for (int i = 0; i < n; ++i) {
      Rng rng(seed + static_cast<uint64_t>(i));
      // Every other case puts each buffer against an inaccessible page, after its
      // last byte or before its first, so that a stray access faults at once.
      static const Bytes::Guard kGuards[] = {Bytes::kNone, Bytes::kGuardAfter, Bytes::kNone,
                                             Bytes::kGuardBefore};
      World::DefaultGuard() = kGuards[i % 4];
      std::string why = run_(rng);
      World::DefaultGuard() = Bytes::kNone;
      if (!why.empty()) {
        FAIL() << name_ << " case " << i << " (RKPIX_TEST_SEED=" << BaseSeed() << "): " << why;
      }
    }
  }

 private:
  std::function<std::string(Rng &)> run_;
  std::string name_;
  int cases_;
};

}  // namespace

bool RegisterBlit(const char *name, AnyExport fn, BlitShape shape) {
  MutableBlits().push_back({name, fn, shape});
  return true;
}

bool RegisterDiff(const char *name, CaseFn fn, int cases) {
  Diffs().push_back({name, fn, cases});
  return true;
}

const std::vector<BlitEntry> &BlitEntries() { return MutableBlits(); }

std::vector<NamedCase> AllCases() {
  std::vector<NamedCase> out;
  for (const BlitEntry &e : MutableBlits()) {
    out.push_back({e.name, [e](Rng &rng) { return RunBlitCase(e, rng); }, 2000});
  }
  for (const DiffEntry &e : Diffs()) out.push_back({e.name, e.fn, e.cases});
  std::sort(out.begin(), out.end(), [](auto &a, auto &b) { return a.name < b.name; });
  return out;
}

namespace {
std::vector<uint8_t> Pack(const std::vector<uint32_t> &v, int n) {
  std::vector<uint8_t> b;
  for (uint32_t x : v)
    for (int j = 0; j < n; ++j) b.push_back(static_cast<uint8_t>(x >> 8 * j));
  return b;
}
std::vector<uint32_t> Unpack(const uint8_t *b, size_t count, int n) {
  std::vector<uint32_t> v(count);
  for (size_t i = 0; i < count * n; ++i) v[i / n] |= uint32_t{b[i]} << 8 * (i % n);
  return v;
}
}  // namespace

void CheckPins(const std::vector<Pin> &pins) {
  for (const Pin &p : pins) {
    auto e = std::find_if(BlitEntries().begin(), BlitEntries().end(),
                          [&](const BlitEntry &x) { return x.fn == p.fn.fn; });
    ASSERT_NE(e, BlitEntries().end()) << p.what;
    const int bpp = e->shape.bpp, ce = std::max(e->shape.chanElem, 1);
    const auto n = p.src.size() / static_cast<size_t>(p.rows);
    const auto cols = static_cast<int32_t>(n) - (p.shift ? 1 : 0);
    const auto ccols = static_cast<int32_t>(p.chan.size()) / p.rows;
    for (rk::Level level : rk::AvailableLevels()) {
      std::vector<uint8_t> s = Pack(p.src, bpp), d = p.same ? s : Pack(p.dst, bpp);
      std::vector<uint8_t> c = Pack(p.chan, ce);
      const int32_t pitch = static_cast<int32_t>(n) * bpp;
      RkSurface ds{0, cols, p.rows, pitch, 0, d.data() + std::max(0, -p.shift)};
      RkSurface ss{0, cols, p.rows, pitch, 0, s.data()},
          cs{0, ccols, p.rows, ccols * ce, 0, c.data()};
      if (p.same) ss = RkSurface{0, cols, p.rows, pitch, 0, d.data() + std::max(0, p.shift)};
      BlitCall call{&ds,
                    p.at.dx,
                    p.at.dy,
                    &ss,
                    p.at.sx,
                    p.at.sy,
                    p.at.w < 0 ? cols : p.at.w,
                    p.at.h < 0 ? p.rows : p.at.h,
                    &cs,
                    p.chX,
                    0,
                    p.a,
                    p.b};
      rk::Level saved = rk::UseLevel(level);
      CallBlit(*e, call);
      rk::UseLevel(saved);
      EXPECT_EQ(Unpack(d.data(), p.want.size(), bpp), p.want)
          << p.what << " (level " << rk::LevelName(level) << ")";
      if (!p.same) {
        EXPECT_EQ(Unpack(s.data(), p.src.size(), bpp), p.wantSrc.empty() ? p.src : p.wantSrc)
            << p.what << ": source (level " << rk::LevelName(level) << ")";
      }
    }
  }
}

void RegisterDiffTests() {
  for (const NamedCase &c : AllCases()) {
    ::testing::RegisterTest(
        "Diff", c.name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
        [c]() -> ::testing::Test * { return new DiffTest(c.run, c.name, c.cases); });
  }
}

}  // namespace rkt
