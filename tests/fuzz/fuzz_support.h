// Shared pieces of the fuzz targets: a front-to-back reader of the fuzz
// input, values a planning optimiser may hand over, caller buffers fenced by
// guard bytes, a byte snapshot of the parameter block, and the session that
// carries the library's state from input to input.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "params/params.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

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
  // any bit pattern. Any but the first two kinds make the reader unusual()
  // until the next takeUsual().
  double value(double low, double high) {
    using L = std::numeric_limits<double>;
    static const double kSpecial[] = {
        0.0, -0.0, 1.0, -1.0, 0.5, 1e30, -1e30, 2e30, 1e29, L::quiet_NaN(), -L::quiet_NaN(),
        L::infinity(), -L::infinity(), L::max(), -L::max(), L::min(), L::denorm_min(), 1e300, -1e300,
        1e-300, 100.0, 0.101, 0.1, 13.0, 14.0, 25.0, 26.0, 2147483647.5, -2147483648.5, 4294967296.0};
    constexpr std::uint8_t kSpecialCount = sizeof kSpecial / sizeof kSpecial[0];
    const std::uint8_t selector = u8();
    if (selector < 128) return low + (high - low) * (raw<std::uint16_t>() / 65535.0);
    if (usualOnly_ || (selector >= 128 + kSpecialCount && selector < 200)) return selector % 2 == 0 ? low : high;
    unusual_ = true;
    return selector < 200 ? kSpecial[selector - 128] : raw<double>();
  }
  // Fills n values within [low, high] (or unusual ones).
  void values(double* out, int n, double low, double high) {
    for (int i = 0; i < n; ++i) out[i] = value(low, high);
  }
  // True when every value since the last call came from its range.
  bool takeUsual() { return !std::exchange(unusual_, false); }
  // Reads a byte that decides whether the values of the next operation all
  // come from their ranges (three times in four), so that the checks on
  // usual values meet large calls too.
  void chooseUsualOnly() {
    usualOnly_ = u8() % 4 != 0;
    unusual_ = false;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
  bool unusual_ = false, usualOnly_ = false;
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
  const T* data() const { return storage_.data() + kGuard; }
  std::size_t size() const { return count_; }
  T& operator[](std::size_t i) { return data()[i]; }
  const T& operator[](std::size_t i) const { return data()[i]; }
  // The array as it is now, and whether it still holds exactly that.
  std::vector<T> copy() const { return {data(), data() + count_}; }
  bool same(const std::vector<T>& before) const {
    return count_ == 0 || std::memcmp(data(), before.data(), count_ * sizeof(T)) == 0;
  }
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

// A text (UTF-8 allowed) terminated within its fenced buffer, nothing beyond.
inline bool terminatedWithin(const Fenced<char>& buffer) {
  return buffer.guardsIntact() && strnlen(buffer.data(), buffer.size()) < buffer.size();
}

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

template <class... Arrays>
bool guardsIntact(const Arrays&... arrays) {
  return (arrays.guardsIntact() && ...);
}

inline bool isOneOf(int status, std::initializer_list<int> allowed) {
  return std::find(allowed.begin(), allowed.end(), status) != allowed.end();
}

// The count a query writes, or `otherwise` when it fails.
inline int countOf(int (*query)(int, int*), int index, int otherwise) {
  int count = 0;
  return query(index, &count) == TARN_STATUS_OK ? count : otherwise;
}

// A result of a correlation whose inputs were all usual: a number, or the
// missing value 1e30 where the correlation cannot compute one.
inline bool numberOrMissing(double x) { return std::isfinite(x) || x == 1e30; }

// The state of the library carries over from input to input; every
// kResetPeriod inputs, and before the first, it is reset (parameter block,
// coefficients, diagnostic stream). The inputs since the last reset are
// kept in a file mapped into memory, TARN_FUZZ_HISTORY, which survives a
// crash; TARN_FUZZ_REPLAY=<such a file> runs them again in order at start-up,
// so the input that crashed meets the same state.
class Session {
 public:
  static constexpr int kResetPeriod = 32;

  static Session& get() {
    static Session session;
    return session;
  }
  // Called first for every input; true when the library was just reset.
  bool begin(const std::uint8_t* data, std::size_t size) {
    const bool reset = inputs_++ % kResetPeriod == 0;
    if (reset) {
      TARNReset();
      TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == 0, "start-up failed");
      gfx_tarnSetDiagnosticStream(nullptr);
      if (!haveDefaults_) std::memcpy(&defaults_, &tarn::params(), sizeof defaults_);
      haveDefaults_ = defaultConstants_ = true;
      used_ = sizeof(std::uint32_t);
    }
    record(data, size, reset);
    return reset;
  }
  // The parameter block as start-up leaves it.
  const tarn::ParameterBlock& defaults() const { return defaults_; }
  // Whether the correlations' constants are still the defaults: the checks
  // that results are numbers hold for those (a constant of 0 or 1e300 set
  // by keyword may make any correlation's result undefined).
  bool constantsAtDefaults() const { return defaultConstants_; }
  void constantsChanged() { defaultConstants_ = false; }
  void constantsRestored() { defaultConstants_ = true; }
  // Replays a history file when TARN_FUZZ_REPLAY names one.
  static void replayIfAsked() {
    const char* path = std::getenv("TARN_FUZZ_REPLAY");
    if (path == nullptr) return;
    std::ifstream file(path, std::ios::binary);
    const std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::uint32_t count = 0, length = 0;
    std::size_t at = sizeof count;
    if (bytes.size() >= at) std::memcpy(&count, bytes.data(), sizeof count);
    for (std::uint32_t i = 0; i < count && at + sizeof length <= bytes.size(); ++i, at += length) {
      std::memcpy(&length, bytes.data() + at, sizeof length);
      at += sizeof length;
      std::fprintf(stderr, "replaying input %u of %u (%u bytes)\n", i + 1, count, length);
      LLVMFuzzerTestOneInput(bytes.data() + at, std::min<std::size_t>(length, bytes.size() - at));
    }
  }

 private:
  static constexpr std::size_t kHistoryBytes = std::size_t{1} << 22;
  Session() {
    const char* path = std::getenv("TARN_FUZZ_HISTORY");
    if (path == nullptr || std::getenv("TARN_FUZZ_REPLAY") != nullptr) return;
    const int file = open(path, O_RDWR | O_CREAT | O_TRUNC, 0644);
    if (file < 0 || ftruncate(file, kHistoryBytes) != 0) return;
    void* map = mmap(nullptr, kHistoryBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    history_ = map == MAP_FAILED ? nullptr : static_cast<unsigned char*>(map);
  }
  // Appends an input: a count of inputs, then each as its length and bytes.
  void record(const std::uint8_t* data, std::size_t size, bool restart) {
    if (history_ == nullptr) return;
    std::uint32_t count = 0, length = static_cast<std::uint32_t>(size);
    if (!restart) std::memcpy(&count, history_, sizeof count);
    if (used_ + sizeof length + size > kHistoryBytes) return;  // too long to keep: replay stops short
    std::memcpy(history_ + used_, &length, sizeof length);
    std::memcpy(history_ + used_ + sizeof length, data, size);
    used_ += sizeof length + size;
    ++count;
    std::memcpy(history_, &count, sizeof count);
  }
  unsigned long inputs_ = 0;
  tarn::ParameterBlock defaults_;
  bool haveDefaults_ = false, defaultConstants_ = true;
  unsigned char* history_ = nullptr;
  std::size_t used_ = sizeof(std::uint32_t);
};

// Sets one parameter by keyword, picked through the library's own list of
// its keywords (either group keyword; any text for the one that takes any),
// to a value from the input.
inline void changeSetting(ByteReader& in) {
  int count = 0;
  gfx_getCorParmsCount(&count);
  char group[TARN_KEYWORD_SIZE], alias[TARN_KEYWORD_SIZE], parameter[TARN_KEYWORD_SIZE];
  const int k = in.u8() % count;
  TARN_FUZZ_CHECK(gfx_getCorParmsKeywords(k, group, alias, parameter) == 0, "keyword %d of %d", k, count);
  const std::uint8_t choice = in.u8();
  const double value = choice % 2 == 0 ? in.value(-5.0, 30.0) : in.value(0.0, 500.0);
  const int status = gfx_setCorParms(choice % 4 == 1 && alias[0] != '\0' ? alias : group,
                                     parameter[0] == '*' ? "ANY" : parameter, value);
  TARN_FUZZ_CHECK(status == 0 || status == 1, "set %s %s: %d", group, parameter, status);
  Session::get().constantsChanged();
}

// Whether the checks on usual inputs apply to the operation just read: every
// value from its range, and the constants at their defaults.
inline bool usualInputs(ByteReader& in) { return in.takeUsual() && Session::get().constantsAtDefaults(); }

template <class T>
bool allNumbers(const Fenced<T>& a) {
  return std::all_of(a.data(), a.data() + a.size(), numberOrMissing);
}
template <class T>
bool allFinite(const Fenced<T>& a) {
  return std::all_of(a.data(), a.data() + a.size(), [](double x) { return std::isfinite(x); });
}

// A temperature unit byte: mostly 'F' or 'C', sometimes any byte (read as F).
inline char unitByte(ByteReader& in) {
  const std::uint8_t b = in.u8();
  return b < 112 ? 'F' : b < 224 ? 'C' : static_cast<char>(in.u8());
}

// The arrays of a failing call, for its report.
template <class... Arrays>
std::string describe(const Arrays&... arrays) {
  std::string text;
  const auto add = [&text](const auto& a) {
    for (std::size_t i = 0; i < a.size(); ++i) text += std::to_string(a[i]) + (i + 1 < a.size() ? " " : " | ");
  };
  (add(arrays), ...);
  return text;
}

// One input of a target made of operations: the session begins, then up to
// `most` operations, each choosing whether its values all come from their
// ranges and handing its selector byte to `operation`.
template <class Operation>
int runOperations(const std::uint8_t* data, std::size_t size, int most, Operation operation) {
  Session::get().begin(data, size);
  ByteReader in(data, size);
  for (int count = 0; !in.empty() && count < most; ++count) {
    in.chooseUsualOnly();
    operation(in, in.u8());
  }
  return 0;
}

// A setting of the kind every target may change between its calls: the
// ChangeData switch, or any keyword.
inline void changeSomeSetting(ByteReader& in) {
  if (in.u8() % 2 == 0) {
    changeSetting(in);
  } else {
    gfx_setCorParms("TARN", "ChangeData", in.u8() % 2 ? 1.0 : -1.0);
  }
}

inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace tarn::fuzz

// Every target replays a history at start-up when asked; one with more to
// prepare defines TARN_FUZZ_OWN_INITIALIZE and calls replayIfAsked itself.
#ifndef TARN_FUZZ_OWN_INITIALIZE
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tarn::fuzz::Session::replayIfAsked();
  return 0;
}
#endif
