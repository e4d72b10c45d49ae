// The catalogue queries of the C interface, answered from the catalogue table.
#include <cstdio>
#include <cstring>

#include "frame/catalogue.h"
#include "tarn/tarn.h"

using namespace tarn::frame;

namespace {

void copyText(char* destination, const char* text) {
  if (destination != nullptr) std::strcpy(destination, text);
}

template <class T>
void put(T* destination, T value) {
  if (destination != nullptr) *destination = value;
}

// The input-id, output-id and kind queries: the count query first (a bad
// index fails there), then k against the count, then the index again.
template <class CountQuery>
const CorrelationRow* checkedPosition(CountQuery countQuery, int index, int k, int badPosition, int& status) {
  int count = 0;
  if (countQuery(index, &count) != TARN_STATUS_OK) {
    status = TARN_STATUS_BAD_CORRELATION;
    return nullptr;
  }
  if (k < 0 || k >= count) {
    status = badPosition;
    return nullptr;
  }
  const CorrelationRow* row = findCorrelation(index);
  status = row != nullptr ? TARN_STATUS_OK : TARN_STATUS_BAD_CORRELATION;
  return row;
}

}  // namespace

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationCount(int* count) {
  put(count, kCatalogueSize);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationId(int index, char* id) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
  copyText(id, row->id);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationDesc(int index, char* desc) {
  char id[TARN_ID_SIZE];
  const int status = gfx_tarnGetCorrelationId(index, id);
  if (status != TARN_STATUS_OK) return status;
  if (desc != nullptr) std::snprintf(desc, TARN_DESC_SIZE, "TARN_%s", id);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationType(int index, int* type) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) {
    put(type, static_cast<int>(TARN_TYPE_UNKNOWN));
    return TARN_STATUS_BAD_TYPE_QUERY;
  }
  put(type, row->type);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationInpPropCount(int index, int* count) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
  put(count, row->inputs.count);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationOutPropCount(int index, int* count) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
  put(count, row->outputs.count);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationInpPropId(int index, int k, char* id) {
  int status = TARN_STATUS_OK;
  const CorrelationRow* row =
      checkedPosition(gfx_tarnGetCorrelationInpPropCount, index, k, TARN_STATUS_BAD_INPUT, status);
  if (row != nullptr) copyText(id, row->inputs.names[k]);
  return status;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationOutPropId(int index, int k, char* id) {
  int status = TARN_STATUS_OK;
  const CorrelationRow* row =
      checkedPosition(gfx_tarnGetCorrelationOutPropCount, index, k, TARN_STATUS_BAD_OUTPUT, status);
  if (row != nullptr) copyText(id, row->outputs.names[k]);
  return status;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationOutPropType(int index, int k, int* kind) {
  int status = TARN_STATUS_OK;
  const CorrelationRow* row =
      checkedPosition(gfx_tarnGetCorrelationOutPropCount, index, k, TARN_STATUS_BAD_OUTPUT, status);
  if (row != nullptr && row->kinds.codes != nullptr) put(kind, row->kinds.codes[k]);
  return status;
}

// Succeeds without writing where there is nothing to report, also for an
// unknown index: callers preset the count (intended).
extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationSlackCount(int index, int* count) {
  const CorrelationRow* row = findCorrelation(index);
  if (row != nullptr && row->slackCount > 0) put(count, row->slackCount);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetIndexPair(int index, int* pair) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr || row->pair == kNoPair) return TARN_STATUS_NO_PAIR;
  put(pair, row->pair);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetCorrelationSource(int index, char* source) {
  const CorrelationRow* row = findCorrelation(index);
  if (row == nullptr) return TARN_STATUS_BAD_CORRELATION;
  if (source != nullptr) {
    std::snprintf(source, TARN_SOURCE_SIZE, "%s", row->source != nullptr ? row->source : "");
  }
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetPropCount(int* count) {
  put(count, kLibraryPropertyCount);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetPropId(int k, char* id) {
  if (k < 0 || k >= kLibraryPropertyCount) return TARN_STATUS_BAD_PROPERTY_ID;
  copyText(id, libraryProperties()[k].id);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnGetPropDesc(int k, char* desc) {
  if (k < 0 || k >= kLibraryPropertyCount) return TARN_STATUS_BAD_PROPERTY_DESC;
  copyText(desc, libraryProperties()[k].description);
  return TARN_STATUS_OK;
}
