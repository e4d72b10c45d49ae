// Status messages, the diagnostic stream and the error handler.
#include "frame/status.h"

#include "tarn/tarn.h"

namespace tarn::frame {
namespace {

struct StatusMessage {
  int code;
  const char* text;  // null where the code has no message
};

#define TARN_MESSAGE_ROW(constant, code, meaning, message) {constant, message},
constexpr StatusMessage kMessages[] = {TARN_CATALOGUE_STATUS_CODES(TARN_MESSAGE_ROW)};
#undef TARN_MESSAGE_ROW

std::FILE* stream = nullptr;

}  // namespace

const char* statusMessage(int code) {
  for (const StatusMessage& message : kMessages) {
    if (message.code == code) return message.text;
  }
  return nullptr;
}

std::FILE*& diagnosticStream() { return stream; }

}  // namespace tarn::frame

using tarn::frame::diagnosticStream;

extern "C" TARN_API int TARN_CALL gfx_tarnGetErrorMsg(int code, char* message) {
  const char* text = tarn::frame::statusMessage(code);
  if (text == nullptr) {
    if (message != nullptr) {
      std::snprintf(message, TARN_MESSAGE_SIZE, "Error Message Code = %d not found", code);
    }
    return TARN_STATUS_NO_MESSAGE;
  }
  if (message != nullptr) std::snprintf(message, TARN_MESSAGE_SIZE, "%s", text);
  return TARN_STATUS_OK;
}

extern "C" TARN_API int TARN_CALL gfx_tarnErrorHandler(int index, int code, int inputCount, const double* inputs) {
  std::FILE* out = diagnosticStream();
  if (out == nullptr) return 0;
  char id[TARN_ID_SIZE];
  if (gfx_tarnGetCorrelationId(index, id) != TARN_STATUS_OK) return 0;

  std::fprintf(out, "%i: %s\n", index, id);
  // Only start-up failure is spelled out; every other code prints as not
  // found, whatever the message table holds (intended).
  if (code == TARN_STATUS_INIT_FAILED) {
    std::fprintf(out, "%i: Unable to initialize TARN.\n", code);
  } else {
    std::fprintf(out, "%i: Error Message Code not found. \n", code);
  }
  int expected = 0;
  gfx_tarnGetCorrelationInpPropCount(index, &expected);
  std::fprintf(out, "Number of Inputs expected %i", expected);  // no line end, intended

  // Past the correlation's inputs the previous property id is printed again.
  char property[TARN_PROPERTY_ID_SIZE] = "";
  if (inputs != nullptr) {
    for (int i = 0; i < inputCount; ++i) {
      gfx_tarnGetCorrelationInpPropId(index, i, property);
      std::fprintf(out, "%e  %s \n", inputs[i], property);
    }
  }
  std::fflush(out);
  return 0;
}

extern "C" TARN_API FILE* TARN_CALL gfx_tarnSetDiagnosticStream(FILE* stream) {
  std::FILE* previous = diagnosticStream();
  diagnosticStream() = stream;
  return previous;
}
