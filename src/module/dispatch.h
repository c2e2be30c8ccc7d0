// The kernel table: one fast entry point per export and level, chosen once per
// process from the CPU's features.
#pragma once

#include <cstdint>
#include <vector>

#include "module/isa.h"
#include "module/kernel_ids.h"

namespace rk {

// Fast entry points of different shapes share one slot type; each family casts
// its slot back to the shape it registered (blit rows, conversions, zoom rows).
using AnyFn = void (*)();

struct KernelTable {
  Level level = Level::kRef;
  AnyFn fast[kKernelCount] = {};

  template <class Fn>
  void Set(KernelId id, Fn fn) {
    fast[static_cast<int>(id)] = reinterpret_cast<AnyFn>(fn);
  }
  template <class Fn>
  Fn Get(KernelId id) const {
    return reinterpret_cast<Fn>(fast[static_cast<int>(id)]);
  }
};

// The table calls use: the best level the CPU supports, unless a test chose one.
const KernelTable &ActiveTable();

// Internal hooks for tests and benchmarks (not exported from the shared library).
// Levels built into this binary that the CPU can run, kRef first.
std::vector<Level> AvailableLevels();
// Makes every later call use `level` (which must be available); returns the old one.
Level UseLevel(Level level);
// The level chosen from the CPU's features.
Level BestLevel();

}  // namespace rk
