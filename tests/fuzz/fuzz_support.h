// Shared pieces of the fuzz targets: a front-to-back reader of the fuzz
// input, values a planning optimiser may hand over, caller buffers fenced by
// guard bytes, and a byte snapshot of the parameter block.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

#include "params/params.h"
#include "tarn/tarn.h"

// An invariant of the C interface; a violation aborts, which libFuzzer
// reports as a crash and saves the input.
#define TARN_FUZZ_CHECK(condition, ...)                                                      \
  do {                                                                                       \
    if (!(condition)) {                                                                      \
      std::fprintf(stderr, "%s:%d: invariant failed: %s\n  ", __FILE__, __LINE__, #condition); \
      std::fprintf(stderr, __VA_ARGS__);                                                     \
      std::fprintf(stderr, "\n");                                                            \
      std::abort();                                                                          \
    }                                                                                        \
  } while (0)

namespace tarn::fuzz {

// Reads the fuzz input from the front; an exhausted input reads as zeros,
// so every input is a valid script.
class ByteReader {
 public:
  ByteReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool empty() const { return pos_ >= size_; }
  std::uint8_t u8() { return pos_ < size_ ? data_[pos_++] : 0; }

  template <class T>
  T raw() {
    unsigned char bytes[sizeof(T)] = {};
    for (auto& b : bytes) b = u8();
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
  }

  // An index biased towards the neighbourhood of 0..count (both sides), with
  // an occasional arbitrary int.
  int index(int count) {
    const std::uint8_t selector = u8();
    return selector < 224 ? static_cast<int>(selector % (count + 8)) - 4 : raw<std::int32_t>();
  }

  // A value of the kind an optimiser wandering outside physical ranges
  // passes: within [low, high], at its ends, the missing value and its
  // neighbours, NaN, infinities, signed zeros, huge and tiny magnitudes, or
  // any bit pattern.
  double value(double low, double high) {
    using L = std::numeric_limits<double>;
    static const double kSpecial[] = {
        0.0, -0.0, 1.0, -1.0, 0.5, 1e30, -1e30, 2e30, 1e29, L::quiet_NaN(), -L::quiet_NaN(),
        L::infinity(), -L::infinity(), L::max(), -L::max(), L::min(), L::denorm_min(), 1e300, -1e300,
        1e-300, 100.0, 0.101, 0.1, 13.0, 14.0, 25.0, 26.0, 2147483647.5, -2147483648.5, 4294967296.0};
    constexpr std::uint8_t kSpecialCount = sizeof kSpecial / sizeof kSpecial[0];
    const std::uint8_t selector = u8();
    if (selector < 128) return low + (high - low) * (raw<std::uint16_t>() / 65535.0);
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
// whole allocation starts filled with a marker pattern (as a double, a large
// negative number); the guards must keep it, and parts of the array a call
// must not touch can be checked too.
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
  bool guardsIntact() const { return untouched(0, kGuard) && untouched(kGuard + count_, storage_.size()); }
  // True when elements [from, to) of the array still hold the marker.
  bool arrayUntouched(std::size_t from, std::size_t to) const { return untouched(kGuard + from, kGuard + to); }
  bool isMarker(std::size_t i) const { return arrayUntouched(i, i + 1); }

 private:
  static constexpr unsigned char kMarker = 0xA7;
  bool untouched(std::size_t from, std::size_t to) const {
    const auto* bytes = reinterpret_cast<const unsigned char*>(storage_.data());
    return std::all_of(bytes + from * sizeof(T), bytes + to * sizeof(T), [](unsigned char b) { return b == kMarker; });
  }
  std::size_t count_;
  std::vector<T> storage_;
};

// A text written into a fenced buffer of the documented size: terminated
// within it, printable ASCII, and nothing beyond.
inline bool textWithin(Fenced<char>& buffer) {
  const std::size_t length = strnlen(buffer.data(), buffer.size());
  return buffer.guardsIntact() && length < buffer.size() &&
         std::all_of(buffer.data(), buffer.data() + length, [](char c) { return c >= 0x20 && c <= 0x7e; });
}

// The parameter block as bytes, to prove a call left it alone (or touched
// only one field).
class ParameterSnapshot {
 public:
  ParameterSnapshot() { std::memcpy(bytes_, &params(), sizeof bytes_); }
  bool unchanged() const { return std::memcmp(bytes_, &params(), sizeof bytes_) == 0; }
  // Offset of the first byte that differs outside [skip, skip + skipSize);
  // -1 when none does.
  long firstDifference(const void* skip = nullptr, std::size_t skipSize = 0) const {
    const auto* now = reinterpret_cast<const unsigned char*>(&params());
    const auto* from = static_cast<const unsigned char*>(skip);
    for (std::size_t i = 0; i < sizeof bytes_; ++i) {
      const bool skipped = from != nullptr && now + i >= from && now + i < from + skipSize;
      if (!skipped && bytes_[i] != now[i]) return static_cast<long>(i);
    }
    return -1;
  }

 private:
  unsigned char bytes_[sizeof(ParameterBlock)];
};

inline bool isOneOf(int status, std::initializer_list<int> allowed) {
  return std::find(allowed.begin(), allowed.end(), status) != allowed.end();
}

// The count a query writes, or `otherwise` when it fails.
inline int countOf(int (*query)(int, int*), int index, int otherwise) {
  int count = 0;
  return query(index, &count) == TARN_STATUS_OK ? count : otherwise;
}

// Every fuzz input starts from a freshly started library.
inline void startFresh() {
  TARNReset();
  TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == 0, "start-up failed");
}

inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace tarn::fuzz
