// gfx_setCorParms / gfx_getCorParms and the parameter listing, over the
// keyword rows of the field table.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "common/missing.h"
#include "params/fields.h"
#include "tarn/corparms.h"

namespace tarn::fields {
namespace {

constexpr std::size_t kMaxCorrelationKeyword = 79;

bool reachable(const Field& field) { return field.access != Access::None; }

bool groupMatches(const Field& field, const char* upperGroup) {
  return std::strcmp(field.group, upperGroup) == 0 ||
         (field.alias != nullptr && std::strcmp(field.alias, upperGroup) == 0);
}

// The position of `parameter` within the row, or -1.
int positionIn(const Field& field, const char* parameter) {
  if (field.access == Access::AnyText) return 0;
  char candidate[16];
  for (int k = 0; k < field.slot.count; ++k) {
    elementName(field, k, candidate, sizeof candidate);
    if (std::strcmp(candidate, parameter) == 0) return k;
  }
  return -1;
}

struct Located {
  const Field* field = nullptr;
  int position = 0;
};

// Finds the field named by the two keywords; field is null when the pair is
// unknown (null or overlong keywords included). A known group with an
// unknown parameter keyword is simply unknown.
Located locate(const char* correlation, const char* parameter) {
  Located found;
  if (correlation == nullptr || parameter == nullptr) return found;
  char upper[kMaxCorrelationKeyword + 1];
  std::size_t length = 0;
  for (; correlation[length] != '\0'; ++length) {
    if (length == kMaxCorrelationKeyword) return found;  // longer than supported: unknown
    const auto letter = static_cast<unsigned char>(correlation[length]);
    upper[length] = static_cast<char>(std::toupper(letter));
  }
  upper[length] = '\0';
  for (std::size_t i = 0; i < tableSize(); ++i) {
    const Field& field = table()[i];
    if (!reachable(field) || !groupMatches(field, upper)) continue;
    const int k = positionIn(field, parameter);
    if (k < 0) continue;
    return {&field, k};
  }
  return found;
}

// The k-th parameter of the listing (one per keyword), or a null field.
Located listed(int k) {
  if (k < 0) return {};
  for (std::size_t i = 0; i < tableSize(); ++i) {
    const Field& field = table()[i];
    if (!reachable(field)) continue;
    if (k < field.slot.count) return {&field, k};
    k -= field.slot.count;
  }
  return {};
}

// A default as gfx_getCorParms reads the field holding it: switches and unit
// letters as their signs.
double defaultAsRead(const Field& field, int k) {
  const double value = defaultOf(field, k);
  if (field.slot.type == Type::Switch || field.slot.type == Type::UnitLetter) {
    return value > 0.0 ? 1.0 : -1.0;
  }
  return value;
}

void copy(char* destination, std::size_t size, const char* text) {
  if (destination != nullptr) std::snprintf(destination, size, "%s", text);
}

}  // namespace
}  // namespace tarn::fields

using namespace tarn::fields;

extern "C" TARN_API int TARN_CALL gfx_setCorParms(const char* correlation, const char* parameter, double value) {
  const Located found = locate(correlation, parameter);
  if (found.field == nullptr) return 1;
  return store(*found.field, found.position, found.field->rules.keyword, value) ? 0 : 1;
}

extern "C" TARN_API double TARN_CALL gfx_getCorParms(const char* correlation, const char* parameter) {
  const Located found = locate(correlation, parameter);
  if (found.field == nullptr) return tarn::kMissing;
  return read(*found.field, found.position);
}

extern "C" TARN_API int TARN_CALL gfx_getCorParmsCount(int* count) {
  int total = 0;
  for (std::size_t i = 0; i < tableSize(); ++i) {
    if (reachable(table()[i])) total += table()[i].slot.count;
  }
  if (count != nullptr) *count = total;
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_getCorParmsKeywords(int k, char* correlation, char* alias, char* parameter) {
  const Located found = listed(k);
  if (found.field == nullptr) return 1;
  copy(correlation, TARN_KEYWORD_SIZE, found.field->group);
  copy(alias, TARN_KEYWORD_SIZE, found.field->alias != nullptr ? found.field->alias : "");
  if (parameter != nullptr) {
    elementName(*found.field, found.position, parameter, TARN_KEYWORD_SIZE);
  }
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_getCorParmsInfo(int k, double* defaultValue, char* unit, char* description) {
  const Located found = listed(k);
  if (found.field == nullptr) return 1;
  if (defaultValue != nullptr) *defaultValue = defaultAsRead(*found.field, found.position);
  copy(unit, TARN_UNIT_SIZE, found.field->unit);
  copy(description, TARN_PARAMETER_DESC_SIZE, found.field->description);
  return 0;
}
