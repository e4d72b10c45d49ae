// Shared pieces of the fuzz targets: a front-to-back reader of the fuzz
// input, values a planning optimiser may hand over, caller buffers fenced by
// guard bytes, and a byte snapshot of the parameter block.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "params/params.h"
#include "tarn/tarn.h"

// An invariant of the C interface; a violation aborts, which libFuzzer
// reports as a crash and saves the input.
#define TARN_FUZZ_CHECK(condition, ...)                                  \
  do {                                                                   \
    if (!(condition)) {                                                  \
      std::fprintf(stderr, "%s:%d: invariant failed: %s\n  ", __FILE__, \
                   __LINE__, #condition);                                \
      std::fprintf(stderr, __VA_ARGS__);                                 \
      std::fprintf(stderr, "\n");                                        \
      std::abort();                                                      \
    }                                                                    \
  } while (0)

namespace tarn::fuzz {

// Reads the fuzz input from the front; an exhausted input reads as zeros,
// so every input is a valid script.
class ByteReader {
 public:
  ByteReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return pos_ >= size_; }
  std::size_t remaining() const { return size_ - pos_; }

  std::uint8_t u8() { return pos_ < size_ ? data_[pos_++] : 0; }

  template <class T>
  T raw() {
    T value{};
    unsigned char bytes[sizeof(T)] = {};
    for (auto& b : bytes) b = u8();
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }

  // A fraction in [0, 1] from two bytes.
  double unit() { return raw<std::uint16_t>() / 65535.0; }

  // An index biased towards the neighbourhood of 0..count (both sides), with
  // an occasional arbitrary int.
  int index(int count) {
    const std::uint8_t selector = u8();
    if (selector < 224) return static_cast<int>(selector % (count + 8)) - 4;
    return raw<std::int32_t>();
  }

  // A value of the kind an optimiser wandering outside physical ranges
  // passes: within [low, high], at its ends, the missing value and its
  // neighbours, NaN, infinities, signed zeros, huge and tiny magnitudes, or
  // any bit pattern.
  double value(double low, double high) {
    static const double kSpecial[] = {
        0.0, -0.0, 1.0, -1.0, 0.5, 1e30, -1e30, 2e30, 1e29,
        std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN(),
        std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(),
        std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
        1e300, -1e300, 1e-300, 100.0, 0.101, 0.1, 13.0, 14.0, 25.0, 26.0,
        2147483647.5, -2147483648.5, 4294967296.0};
    constexpr std::uint8_t kSpecialCount = sizeof kSpecial / sizeof kSpecial[0];
    const std::uint8_t selector = u8();
    if (selector < 128) return low + (high - low) * unit();
    if (selector < 128 + kSpecialCount) return kSpecial[selector - 128];
    if (selector < 200) return selector % 2 == 0 ? low : high;
    return raw<double>();
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

// A caller array of `count` elements with guard elements on both sides. The
// whole allocation starts filled with a marker pattern; the guards must keep
// it, and parts of the array a call must not touch can be checked too.
template <class T>
class Fenced {
 public:
  static constexpr std::size_t kGuard = 16;

  explicit Fenced(std::size_t count) : count_(count), storage_(count + 2 * kGuard) {
    std::memset(static_cast<void*>(storage_.data()), kMarker, storage_.size() * sizeof(T));
  }

  T* data() { return storage_.data() + kGuard; }
  std::size_t size() const { return count_; }
  T& operator[](std::size_t i) { return data()[i]; }

  bool guardsIntact() const {
    return untouched(0, kGuard) && untouched(kGuard + count_, storage_.size());
  }
  // True when elements [from, to) of the array still hold the marker.
  bool arrayUntouched(std::size_t from, std::size_t to) const {
    return untouched(kGuard + from, kGuard + to);
  }
  bool isMarker(std::size_t i) const { return arrayUntouched(i, i + 1); }

 private:
  static constexpr unsigned char kMarker = 0xA7;  // as a double: a large negative number

  bool untouched(std::size_t from, std::size_t to) const {
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(storage_.data());
    for (std::size_t i = from * sizeof(T); i < to * sizeof(T); ++i) {
      if (bytes[i] != kMarker) return false;
    }
    return true;
  }

  std::size_t count_;
  std::vector<T> storage_;
};

// The parameter block as bytes, to prove a call left it alone (or touched
// only one field).
class ParameterSnapshot {
 public:
  ParameterSnapshot() { std::memcpy(bytes_, &params(), sizeof bytes_); }

  // Offset of the first byte that differs from the block now, ignoring the
  // bytes of [field, field + fieldSize); -1 when none does.
  long firstDifference(const void* field = nullptr, std::size_t fieldSize = 0) const {
    const unsigned char* now = reinterpret_cast<const unsigned char*>(&params());
    const std::size_t skipFrom =
        field != nullptr ? static_cast<std::size_t>(static_cast<const unsigned char*>(field) - now)
                         : sizeof bytes_;
    const std::size_t skipTo = field != nullptr ? skipFrom + fieldSize : sizeof bytes_;
    if (std::memcmp(bytes_, now, skipFrom) == 0 &&
        std::memcmp(bytes_ + skipTo, now + skipTo, sizeof bytes_ - skipTo) == 0) {
      return -1;
    }
    for (std::size_t i = 0; i < sizeof bytes_; ++i) {
      if ((i < skipFrom || i >= skipTo) && bytes_[i] != now[i]) return static_cast<long>(i);
    }
    return -1;
  }
  bool unchanged() const { return firstDifference() < 0; }

 private:
  unsigned char bytes_[sizeof(ParameterBlock)];
};

// Every fuzz input starts from a freshly started library.
inline void startFresh() {
  TARNReset();
  TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == 0, "start-up failed");
}

inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace tarn::fuzz
