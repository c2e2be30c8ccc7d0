#include "module/dispatch.h"

#include <atomic>

#include "rk_fast_families.h"

namespace rk {
namespace {

bool CpuRuns(Level level) {
  switch (level) {
    case Level::kRef:
    case Level::kBase:
    case Level::kNeon:
      return true;
#if (defined(__GNUC__) || defined(__clang__)) && (defined(__x86_64__) || defined(__i386__))
    case Level::kSse2:
      return __builtin_cpu_supports("sse2");
    case Level::kAvx2:
      return __builtin_cpu_supports("avx2");
    case Level::kAvx512:
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
             __builtin_cpu_supports("avx512vl");
#endif
    default:
      return false;
  }
}

struct Tables {
  KernelTable table[static_cast<int>(Level::kCount)];
  bool built[static_cast<int>(Level::kCount)] = {};
  Level best = Level::kRef;
  std::atomic<const KernelTable *> active{nullptr};

  Tables() {
#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
    __builtin_cpu_init();
#endif
    Add(Level::kRef);
#define RK_BUILD_LEVEL(token, level)     \
  if (CpuRuns(Level::level)) {           \
    KernelTable &t = Add(Level::level);  \
    RK_CAT(RK_REGISTER_FAST_, token)(t); \
    best = Level::level;                 \
  }
    RK_FAST_LEVELS(RK_BUILD_LEVEL)
#undef RK_BUILD_LEVEL
    active.store(&table[static_cast<int>(best)], std::memory_order_relaxed);
  }

  KernelTable &Add(Level level) {
    int i = static_cast<int>(level);
    built[i] = true;
    table[i].level = level;
    return table[i];
  }
};

Tables &GetTables() {
  static Tables tables;
  return tables;
}

}  // namespace

const KernelTable &ActiveTable() { return *GetTables().active.load(std::memory_order_relaxed); }

std::vector<Level> AvailableLevels() {
  Tables &t = GetTables();
  std::vector<Level> out;
  for (int i = 0; i < static_cast<int>(Level::kCount); ++i) {
    if (t.built[i]) out.push_back(static_cast<Level>(i));
  }
  return out;
}

Level UseLevel(Level level) {
  Tables &t = GetTables();
  const KernelTable *old =
      t.active.exchange(&t.table[static_cast<int>(level)], std::memory_order_relaxed);
  return old->level;
}

Level BestLevel() { return GetTables().best; }

const char *LevelName(Level level) {
  switch (level) {
    case Level::kRef:
      return "ref";
    case Level::kBase:
      return "base";
    case Level::kSse2:
      return "sse2";
    case Level::kAvx2:
      return "avx2";
    case Level::kAvx512:
      return "avx512";
    case Level::kNeon:
      return "neon";
    default:
      return "?";
  }
}

const char *KernelName(KernelId id) {
  static const char *const kNames[] = {
#define RK_KERNEL_NAME(name) #name,
      RK_ALL_KERNELS(RK_KERNEL_NAME)
#undef RK_KERNEL_NAME
  };
  return kNames[static_cast<int>(id)];
}

}  // namespace rk
