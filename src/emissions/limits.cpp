// gfx_getCorLimits: the valid input ranges of the EPA, CARB and CARB Phase 3
// models, for an optimiser that must keep fuel properties where the
// regressions hold.
#include <algorithm>
#include <cstring>

#include "emissions/model_limits.h"
#include "tarn/emissions.h"

namespace tarn::emissions {
namespace {

// Length of an answer buffer, in characters.
constexpr int kAnswerLength = 5;

// Asks the caller's answer function one option question. The buffer starts
// blank-filled, so a function that writes only its letter answers properly.
struct Answer {
  char text[kAnswerLength];
};

Answer ask(tarn_LimitsAnswer answer, int question) {
  Answer a;
  std::memset(a.text, ' ', sizeof a.text);
  answer(a.text, kAnswerLength, &question);
  return a;
}

// True when the answer equals the one-letter text once both are padded with
// blanks to the same length. A NUL ends the answer, as in a C string, and
// what follows it counts as blank.
bool answerIs(const Answer& a, char letter) {
  if (a.text[0] != letter) return false;
  for (int i = 1; i < kAnswerLength; ++i) {
    if (a.text[i] == '\0') return true;
    if (a.text[i] != ' ') return false;
  }
  return true;
}

enum class Model { Unknown, Epa, Carb, Carb3 };

// The model named, compared on an upper-case copy of the whole name.
Model modelNamed(const char* name) {
  if (name == nullptr) return Model::Unknown;
  char copy[6];
  int n = 0;
  for (; name[n] != '\0'; ++n) {
    if (n == 5) return Model::Unknown;  // longer than any model name
    const char c = name[n];
    copy[n] = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
  }
  copy[n] = '\0';
  if (std::strcmp(copy, "EPA") == 0) return Model::Epa;
  if (std::strcmp(copy, "CARB") == 0) return Model::Carb;
  if (std::strcmp(copy, "CARB3") == 0) return Model::Carb3;
  return Model::Unknown;
}

// Option questions of the EPA and CARB Phase 3 ranges; their meaning is the
// caller's.
constexpr int kCarb3RvpQuestion = 1;
constexpr int kEpaSeasonQuestion = 3;
constexpr int kEpaFuelTypeQuestion = 4;
constexpr int kEpaExtendedQuestion = 5;

}  // namespace
}  // namespace tarn::emissions

using namespace tarn::emissions;

extern "C" TARN_API int TARN_CALL gfx_getCorLimits(const char* model, tarn_LimitsAnswer answer, double* lower,
                                                   double* upper, int n) {
  const Model which = modelNamed(model);
  if (which == Model::Unknown || lower == nullptr || upper == nullptr) return -1;

  switch (which) {
    case Model::Carb:
      if (n < kCarbInputCount) return -1;
      std::copy(kCarbLower, kCarbLower + kCarbInputCount, lower);
      std::copy(kCarbUpper, kCarbUpper + kCarbInputCount, upper);
      return 0;

    case Model::Carb3: {
      if (n < kCarb3InputCount || answer == nullptr) return -1;
      // The answer would choose an RVP ceiling of 7.2 or 30 psi, but the
      // table's own 7.2 psi is what is reported, as intended; the question is
      // still asked.
      ask(answer, kCarb3RvpQuestion);
      std::copy(kCarb3Lower, kCarb3Lower + kCarb3InputCount, lower);
      std::copy(kCarb3Upper, kCarb3Upper + kCarb3InputCount, upper);
      return 0;
    }

    case Model::Epa: {
      if (n < kEpaInputCount || answer == nullptr) return -1;
      EpaRangeTable table = EpaRangeTable::Extended;
      if (!answerIs(ask(answer, kEpaExtendedQuestion), 'S')) {
        table = answerIs(ask(answer, kEpaFuelTypeQuestion), 'R') ? EpaRangeTable::Reformulated
                                                                 : EpaRangeTable::Conventional;
      }
      const bool winter = answerIs(ask(answer, kEpaSeasonQuestion), 'W');
      const EpaRange range = epaRangeInForce(table, winter);
      std::copy(range.lower, range.lower + kEpaInputCount, lower);
      std::copy(range.upper, range.upper + kEpaInputCount, upper);
      return 0;
    }

    case Model::Unknown:
      break;
  }
  return -1;
}
