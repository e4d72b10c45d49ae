// Shared pieces of the fuzz targets: input reader, fenced buffers, parameter
// snapshot, the session carrying library state, the direct-call driver.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "params/params.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// A violated invariant aborts: libFuzzer reports a crash and keeps the input.
#define TARN_FUZZ_CHECK(condition, ...)                                                      \
  do {                                                                                       \
    if (condition) break;                                                                    \
    std::fprintf(stderr, "%s:%d: invariant failed: %s\n  ", __FILE__, __LINE__, #condition); \
    std::fprintf(stderr, __VA_ARGS__);                                                       \
    std::fprintf(stderr, "\n");                                                              \
    std::abort();                                                                            \
  } while (0)

namespace tarn::fuzz {

struct Range {
  double low, high;
};

// An exhausted input reads as zeros, so every input is a valid script.
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
    return *static_cast<T*>(std::memcpy(&value, bytes, sizeof(T)));
  }
  // An index near 0..count (both sides), now and then any int.
  int index(int count) {
    const std::uint8_t selector = u8();
    return selector < 224 ? static_cast<int>(selector % (count + 8)) - 4 : raw<std::int32_t>();
  }
  // A value in [low, high] or at its ends, or (marking the input unusual)
  // what a wandering optimiser passes: 1e30, NaN, infinities, any bits.
  double value(double low, double high) {
    using L = std::numeric_limits<double>;
    static const double kSpecial[] = {0.0,
                                      -0.0,
                                      1.0,
                                      -1.0,
                                      0.5,
                                      1e30,
                                      -1e30,
                                      2e30,
                                      1e29,
                                      L::quiet_NaN(),
                                      -L::quiet_NaN(),
                                      L::infinity(),
                                      -L::infinity(),
                                      L::max(),
                                      -L::max(),
                                      L::min(),
                                      L::denorm_min(),
                                      1e300,
                                      -1e300,
                                      1e-300,
                                      100.0,
                                      0.101,
                                      0.1,
                                      13.0,
                                      14.0,
                                      25.0,
                                      26.0,
                                      2147483647.5,
                                      -2147483648.5,
                                      4294967296.0};
    constexpr std::uint8_t kSpecialCount = sizeof kSpecial / sizeof kSpecial[0];
    const std::uint8_t selector = u8();
    if (selector < 128) return low + (high - low) * (raw<std::uint16_t>() / 65535.0);
    if (usualOnly_ || (selector >= 128 + kSpecialCount && selector < 200)) return selector % 2 == 0 ? low : high;
    unusual_ = true;
    return selector < 200 ? kSpecial[selector - 128] : raw<double>();
  }
  double value(Range r) { return value(r.low, r.high); }
  void values(double* out, int n, double low, double high) {
    for (int i = 0; i < n; ++i) out[i] = value(low, high);
  }
  // True when every value since the last call came from its range.
  bool takeUsual() { return !std::exchange(unusual_, false); }
  // Three operations in four take only usual values.
  void chooseUsualOnly() {
    usualOnly_ = u8() % 4 != 0;
    unusual_ = false;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_, pos_ = 0;
  bool unusual_ = false, usualOnly_ = false;
};

// A caller array with guard elements on both sides, all filled with a marker.
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
  std::vector<T> copy() const { return {data(), data() + count_}; }
  bool same(const std::vector<T>& before) const {
    return count_ == 0 || std::memcmp(data(), before.data(), count_ * sizeof(T)) == 0;
  }
  bool guardsIntact() const { return marked(0, kGuard) && marked(kGuard + count_, storage_.size()); }
  // Elements [from, to) still hold the marker.
  bool arrayUntouched(std::size_t from, std::size_t to) const { return marked(kGuard + from, kGuard + to); }
  bool untouched() const { return arrayUntouched(0, count_); }
  bool isMarker(std::size_t i) const { return arrayUntouched(i, i + 1); }

 private:
  static constexpr unsigned char kMarker = 0xA7;
  bool marked(std::size_t from, std::size_t to) const {
    const auto* bytes = reinterpret_cast<const unsigned char*>(storage_.data());
    return std::all_of(bytes + from * sizeof(T), bytes + to * sizeof(T), [](unsigned char b) { return b == kMarker; });
  }
  std::size_t count_;
  std::vector<T> storage_;
};
using Array = Fenced<double>;

template <class... Arrays>
bool guardsIntact(const Arrays&... arrays) {
  return (arrays.guardsIntact() && ...);
}

// A text ending inside its buffer; printable ASCII unless `ascii` is false.
inline bool textWithin(const Fenced<char>& buffer, bool ascii = true) {
  const std::size_t length = strnlen(buffer.data(), buffer.size());
  return buffer.guardsIntact() && length < buffer.size() &&
         (!ascii || std::all_of(buffer.data(), buffer.data() + length, [](char c) { return c >= 0x20 && c <= 0x7e; }));
}

// The parameter block as bytes; firstDifference is -1 when none differs.
class ParameterSnapshot {
 public:
  ParameterSnapshot() { std::memcpy(bytes_, &params(), sizeof bytes_); }
  bool unchanged() const { return std::memcmp(bytes_, &params(), sizeof bytes_) == 0; }
  long firstDifference(const void* skip = nullptr, std::size_t skipSize = 0) const {
    const auto* now = reinterpret_cast<const unsigned char*>(&params());
    const auto* from = static_cast<const unsigned char*>(skip);
    for (std::size_t i = 0; i < sizeof bytes_; ++i) {
      if (bytes_[i] != now[i] && !(from != nullptr && now + i >= from && now + i < from + skipSize)) return long(i);
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
// A number, or 1e30 where none can be computed.
inline bool numberOrMissing(double x) { return std::isfinite(x) || x == 1e30; }
template <class Predicate>
bool all(const Array& a, Predicate p) {
  return std::all_of(a.data(), a.data() + a.size(), p);
}
inline bool isFinite(double x) { return std::isfinite(x); }
inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The library's state carries over, reset every kResetPeriod inputs. The
// inputs since a reset go to the mapped file TARN_FUZZ_HISTORY (it survives a
// crash); TARN_FUZZ_REPLAY=<file> replays them at start-up.
class Session {
 public:
  static constexpr int kResetPeriod = 32;
  static Session& get() {
    static Session session;
    return session;
  }
  // First for every input; true when the library was just reset.
  bool begin(const std::uint8_t* data, std::size_t size) {
    const bool reset = inputs_++ % kResetPeriod == 0;
    if (reset) {
      TARNReset();
      TARN_FUZZ_CHECK(gfx_tarnInitializeAllocate(nullptr) == 0, "start-up failed");
      gfx_tarnSetDiagnosticStream(nullptr);
      if (inputs_ == 1) std::memcpy(&defaults_, &tarn::params(), sizeof defaults_);
      defaultConstants_ = true;
      used_ = sizeof(std::uint32_t);
    }
    record(data, size, reset);
    return reset;
  }
  // The parameter block as start-up leaves it.
  const tarn::ParameterBlock& defaults() const { return defaults_; }
  // Only at default constants must results be numbers.
  bool constantsAtDefaults() const { return defaultConstants_; }
  void constantsChanged(bool changed = true) { defaultConstants_ = !changed; }
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
  // A count of inputs, then each as its length and bytes.
  void record(const std::uint8_t* data, std::size_t size, bool restart) {
    std::uint32_t count = 0, length = static_cast<std::uint32_t>(size);
    if (history_ == nullptr || used_ + sizeof length + size > kHistoryBytes) return;
    if (!restart) std::memcpy(&count, history_, sizeof count);
    std::memcpy(history_ + used_, &length, sizeof length);
    std::memcpy(history_ + used_ + sizeof length, data, size);
    used_ += sizeof length + size;
    ++count;
    std::memcpy(history_, &count, sizeof count);
  }
  unsigned long inputs_ = 0;
  tarn::ParameterBlock defaults_;
  bool defaultConstants_ = true;
  unsigned char* history_ = nullptr;
  std::size_t used_ = sizeof(std::uint32_t);
};

// Every value from its range and the constants at their defaults.
inline bool usualInputs(ByteReader& in) { return in.takeUsual() && Session::get().constantsAtDefaults(); }

// The ChangeData switch, or any listed parameter (by either group keyword) to any value.
inline void changeSetting(ByteReader& in) {
  if (in.u8() % 2 == 0) {
    gfx_setCorParms("TARN", "ChangeData", in.u8() % 2 ? 1.0 : -1.0);
    return;
  }
  int count = 0;
  gfx_getCorParmsCount(&count);
  char group[TARN_KEYWORD_SIZE], alias[TARN_KEYWORD_SIZE], parameter[TARN_KEYWORD_SIZE];
  TARN_FUZZ_CHECK(gfx_getCorParmsKeywords(in.u8() % count, group, alias, parameter) == 0, "keyword list");
  const std::uint8_t choice = in.u8();
  const double value = choice % 2 == 0 ? in.value(-5.0, 30.0) : in.value(0.0, 500.0);
  const int status = gfx_setCorParms(choice % 4 == 1 && alias[0] != '\0' ? alias : group,
                                     parameter[0] == '*' ? "ANY" : parameter, value);
  TARN_FUZZ_CHECK(status == 0 || status == 1, "set %s %s: %d", group, parameter, status);
  Session::get().constantsChanged();
}

// A temperature unit byte: mostly 'F' or 'C', sometimes any byte (read as F).
inline char unitByte(ByteReader& in) {
  const std::uint8_t b = in.u8();
  return b < 112 ? 'F' : b < 224 ? 'C' : static_cast<char>(in.u8());
}

// Up to `most` operations, each handed its selector byte; onReset after a reset.
template <class Operation, class OnReset = void (*)()>
int runOperations(
    const std::uint8_t* data, std::size_t size, int most, Operation operation, OnReset onReset = [] {}) {
  if (Session::get().begin(data, size)) onReset();
  ByteReader in(data, size);
  for (int count = 0; !in.empty() && count < most; ++count) {
    in.chooseUsualOnly();
    operation(in, in.u8());
  }
  return 0;
}

// A direct call: derivative entries written (and whether without the flag),
// the call on inputs x, unit, flag, derivatives, and each input's usual range.
struct DirectCall {
  const char* name;
  int derivatives;
  bool writesWheneverGiven;
  double (*call)(const double* x, char unit, int flag, double* d);
  std::vector<Range> ranges;
};
#define TARN_DIRECT(name, derivatives, always, call, ...)                                                     \
  DirectCall {                                                                                                \
    name, derivatives, always,                                                                                \
        [](const double* x, char u, int f, double* d) { return (void)x, (void)u, (void)f, (void)d, call; }, { \
      __VA_ARGS__                                                                                             \
    }                                                                                                         \
  }

// Calls c on inputs read (or `given`): returns the value and whether usual.
inline std::pair<double, bool> runDirect(ByteReader& in, const DirectCall& c, double* x, const double* given = nullptr,
                                         int unitGiven = -1, bool usualGiven = true) {
  for (std::size_t j = 0; j < c.ranges.size(); ++j) x[j] = given ? given[j] : in.value(c.ranges[j]);
  const std::uint8_t shape = in.u8();
  const int flag = shape % 3 == 0 ? 0 : 1;
  const char unit = unitGiven >= 0 ? static_cast<char>(unitGiven) : unitByte(in);
  const bool usual = usualInputs(in) && usualGiven;
  Array d(8);
  const double value = c.call(x, unit, flag, shape % 8 == 7 ? nullptr : d.data());
  TARN_FUZZ_CHECK(d.guardsIntact() && d.arrayUntouched(c.derivatives, 8), "%s wrote past its derivatives", c.name);
  TARN_FUZZ_CHECK(flag != 0 || c.writesWheneverGiven || d.untouched(), "%s: derivatives without the flag", c.name);
  TARN_FUZZ_CHECK(!usual || numberOrMissing(value), "%s: %.17g from usual inputs", c.name, value);
  return {value, usual};
}

// A reader's refusal: one line naming the file, UTF-8 free of C0, DEL and C1.
inline void checkMessage(const std::string& message, const std::string& prefix) {
  TARN_FUZZ_CHECK(message.rfind(prefix, 0) == 0, "'%s' does not name %s", message.c_str(), prefix.c_str());
  for (std::size_t i = 0, length = 1; i < message.size(); i += length) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(message[i + k]); };
    const unsigned char c = byte(0);
    length = c < 0x80 ? 1 : c >= 0xC2 && c < 0xE0 ? 2 : c >= 0xE0 && c < 0xF0 ? 3 : c >= 0xF0 && c < 0xF5 ? 4 : 0;
    bool valid = length > 0 && i + length <= message.size();
    for (std::size_t k = 1; valid && k < length; ++k) valid = (byte(k) & 0xC0) == 0x80;
    const bool control = c < 0x20 || c == 0x7F || (c == 0xC2 && valid && byte(1) < 0xA0);
    TARN_FUZZ_CHECK(valid && !control, "byte 0x%02X at %zu of '%s'", c, i, message.c_str());
  }
}

}  // namespace tarn::fuzz

// A target with more to prepare defines TARN_FUZZ_OWN_INITIALIZE.
#ifndef TARN_FUZZ_OWN_INITIALIZE
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tarn::fuzz::Session::replayIfAsked();
  return 0;
}
#endif
