// No heap allocation on the evaluation path: every built-in correlation,
// with and without derivatives, by index, through the router and in a
// batch, and the blends of up to 64 components. Every global operator new
// (and, outside AddressSanitizer builds on glibc, malloc, calloc and
// realloc) counts while a window is open.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

#include "support/catalogue_calls.h"
#include "tarn/blending.h"
#include "tarn/bml.h"
#include "tarn/distill.h"
#include "tarn/tarn.h"

namespace {

bool counting = false;
long allocations = 0;

void* counted(std::size_t size) {
  if (counting) ++allocations;
  return std::malloc(size == 0 ? 1 : size);
}

// Counts what fn allocates.
template <class Fn>
long allocationsOf(Fn&& fn) {
  allocations = 0;
  counting = true;
  fn();
  counting = false;
  return allocations;
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* p = counted(size)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return counted(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return counted(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

#if defined(__SANITIZE_ADDRESS__)
#define TARN_COUNT_MALLOC 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TARN_COUNT_MALLOC 0
#endif
#endif
#if !defined(TARN_COUNT_MALLOC) && defined(__GLIBC__)
#define TARN_COUNT_MALLOC 1
#endif

#if TARN_COUNT_MALLOC
// glibc's own allocator under its internal names; free stays glibc's.
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);
extern "C" void* malloc(std::size_t size) {
  if (counting) ++allocations;
  return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size) {
  if (counting) ++allocations;
  return __libc_calloc(count, size);
}
extern "C" void* realloc(void* p, std::size_t size) {
  if (counting) ++allocations;
  return __libc_realloc(p, size);
}
#endif

namespace {

struct Input {
  int index;
  std::vector<double> x;
};

class AllocationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, nullptr), 0);
    ASSERT_TRUE(tarn::testing::configureEvaporativeTemperatures());
  }
  void TearDown() override { gfx_bmlFree(); }
};

TEST_F(AllocationTest, EveryCorrelationEvaluatesWithoutTheHeap) {
  std::vector<Input> rows;
  tarn::testing::visitCatalogueCalls(
      [&](int index, std::vector<double> x, auto) { rows.push_back({index, std::move(x)}); });
  ASSERT_EQ(rows.size(), 57u);
  // Room for the largest row (25 inputs, 25 outputs), two rows for the batch.
  std::vector<double> x(25), out(2 * 25), d(2 * 25 * 25), batch(2 * 25);
  std::vector<int> statuses(2);
  for (const Input& row : rows) {
    const std::size_t n = row.x.size();
    for (std::size_t k = 0; k < n; ++k) batch[k] = batch[n + k] = row.x[k];
    for (const int flag : {0, 1}) {
      const long count = allocationsOf([&] {
        std::copy(row.x.begin(), row.x.end(), x.begin());
        gfx_tarnGenCalc(row.index, flag, 0, x.data(), out.data(), d.data());
        std::copy(row.x.begin(), row.x.end(), x.begin());
        gfx_bmlGenCalc(row.index, flag, 0, 0.0, x.data(), out.data(), d.data());
        gfx_tarnGenCalcBatch(row.index, flag, 2, batch.data(), out.data(), d.data(),
                             statuses.data());
      });
      EXPECT_EQ(count, 0) << "correlation " << row.index << " derivFlag " << flag;
    }
  }
}

TEST_F(AllocationTest, BlendsUpToSixtyFourComponentsStayOffTheHeap) {
  const auto blend = [](int n) {
    std::vector<double> fractions(n, 1.0 / n), curves(7 * n), out(7), d(56 * n), ron(n), mon(n),
        ole(n), aro(n), interactions(n * n, 0.1);
    const double base[7] = {92, 128, 165, 212, 258, 327, 398};
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < 7; ++k) curves[7 * i + k] = base[k] + 0.5 * i;
      ron[i] = 90 + 0.1 * i;
      mon[i] = 82 + 0.1 * i;
      ole[i] = 10;
      aro[i] = 25;
    }
    return allocationsOf([&] {
      gfx_D86(n, fractions.data(), curves.data(), out.data(), d.data(), 0, 1, 'F');
      gfx_FindPoints(n, curves.data(), fractions.data(), out.data());
      gfx_Healy(1, fractions.data(), n, ron.data(), mon.data(), ole.data(), aro.data(),
                out.data(), d.data());
      gfx_Interactive(1, fractions.data(), n, interactions.data(), ron.data(), d.data());
      gfx_Freeze(1, 'F', fractions.data(), n, ron.data(), d.data());
      gfx_LinearByMass(fractions.data(), n, mon.data(), ron.data());
    });
  };
  for (const int n : {1, 3, 64}) EXPECT_EQ(blend(n), 0) << n << " components";
  // Beyond that the scratch moves to the heap: the counter sees it.
  EXPECT_GT(blend(65), 0);
}

}  // namespace
