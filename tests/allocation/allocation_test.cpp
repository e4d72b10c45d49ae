// No heap allocation evaluating any correlation or blending up to 64 components
// (operator new counted, and malloc/calloc/realloc on glibc without ASan).
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

#include "support/catalogue_rows.h"
#include "tarn/blending.h"
#include "tarn/bml.h"
#include "tarn/distill.h"

namespace {
bool counting = false;
long allocations = 0;

void* counted(std::size_t size) {
  allocations += counting ? 1 : 0;
  return std::malloc(size == 0 ? 1 : size);
}

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
#define TARN_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TARN_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__GLIBC__) && !defined(TARN_ADDRESS_SANITIZER)
// glibc's allocator under its own names; free stays glibc's.
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_calloc(std::size_t, std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);
extern "C" void* malloc(std::size_t size) {
  allocations += counting ? 1 : 0;
  return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t n, std::size_t size) {
  allocations += counting ? 1 : 0;
  return __libc_calloc(n, size);
}
extern "C" void* realloc(void* p, std::size_t size) {
  allocations += counting ? 1 : 0;
  return __libc_realloc(p, size);
}
#endif

namespace {

TEST(AllocationTest, EvaluationStaysOffTheHeapUpToSixtyFourComponents) {
  ASSERT_EQ(gfx_bmlInitializeAllocate(nullptr, nullptr), 0);
  const auto& rows = tarn::testing::realisticRows();  // read before counting
  ASSERT_EQ(rows.size(), 57u);
  for (const auto& row : rows) ASSERT_TRUE(tarn::testing::applySettings(row));
  // Room for the largest row (25 inputs, 25 outputs), twice for the batch.
  std::vector<double> x(50), out(50), d(2 * 25 * 25);
  std::vector<int> statuses(2);
  for (const auto& row : rows) {
    const int index = row.index;
    const std::vector<double>& given = row.inputs;
    const std::size_t n = given.size();
    for (const int flag : {0, 1}) {
      const long count = allocationsOf([&] {
        std::copy(given.begin(), given.end(), x.begin());
        gfx_tarnGenCalc(index, flag, 0, x.data(), out.data(), d.data());
        std::copy(given.begin(), given.end(), x.begin());
        gfx_bmlGenCalc(index, flag, 0, 0.0, x.data(), out.data(), d.data());
        std::copy(given.begin(), given.end(), x.begin() + n);
        gfx_tarnGenCalcBatch(index, flag, 2, x.data(), out.data(), d.data(), statuses.data());
      });
      EXPECT_EQ(count, 0) << "correlation " << index << " derivFlag " << flag;
    }
  }

  const auto blendOf = [](int n) {
    std::vector<double> v(n, 1.0 / n), curves(7 * n), blend(7), slopes(56 * n), ron(n, 92), mon(n, 83), ole(n, 10),
        aro(n, 25), interactions(n * n, 0.1);
    for (int i = 0; i < 7 * n; ++i) curves[i] = 92 + 40 * (i % 7) + 0.5 * (i / 7);
    return allocationsOf([&] {
      gfx_D86(n, v.data(), curves.data(), blend.data(), slopes.data(), 0, 1, 'F');
      gfx_FindPoints(n, curves.data(), v.data(), blend.data());
      gfx_Healy(1, v.data(), n, ron.data(), mon.data(), ole.data(), aro.data(), blend.data(), slopes.data());
      gfx_Interactive(1, v.data(), n, interactions.data(), ron.data(), slopes.data());
      gfx_Freeze(1, 'F', v.data(), n, ron.data(), slopes.data());
    });
  };
  for (const int n : {1, 3, 64}) EXPECT_EQ(blendOf(n), 0) << n << " components";
  EXPECT_GT(blendOf(65), 0);  // beyond that the scratch moves to the heap, and is counted
  gfx_bmlFree();
}

}  // namespace
