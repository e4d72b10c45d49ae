// The field table checked against itself, the caller buffers and the catalogue: one home per parameter.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/catalogue.h"
#include "params/fields.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"

namespace {

using namespace tarn;

TEST(FieldTable, RowsAreDisjointAndEveryCoefficientViewsOneOfThem) {
  for (std::size_t i = 0; i < fields::tableSize(); ++i) {
    const fields::Field& row = fields::table()[i];
    SCOPED_TRACE(std::string(row.group) + " " + row.name);
    // The first and the last element lead back to this row: no row before it overlaps it.
    const std::size_t size = fields::elementSize(row.slot.type);
    const char* first = static_cast<const char*>(row.slot.address);
    for (const int k : {0, row.slot.count - 1}) {
      int position = -1;
      EXPECT_EQ(fields::containing(first + k * size, position), &row);
      EXPECT_EQ(position, k);
    }
    EXPECT_GE(row.defaults.size(), 1u);
    EXPECT_LE(row.defaults.size(), static_cast<std::size_t>(row.slot.count));
    EXPECT_LT(std::strlen(row.description), static_cast<std::size_t>(TARN_PARAMETER_DESC_SIZE));
    EXPECT_LT(std::strlen(row.unit), static_cast<std::size_t>(TARN_UNIT_SIZE));
  }
  // Every element of a coefficient run lies in a field row of the run's type, one a coefficient reads.
  for (int index = 0; index < frame::kCatalogueSize; ++index) {
    const frame::CorrelationRow& row = frame::catalogue()[index];
    for (int r = 0; r < row.coefficients.count; ++r) {
      const frame::CoefficientRun& run = row.coefficients.runs[r];
      int position = -1;
      const fields::Field* first = fields::containing(run.field, position);
      ASSERT_NE(first, nullptr) << row.id << " " << run.name;
      EXPECT_TRUE(first->slot.type == fields::Type::Real || first->slot.type == fields::Type::Integer)
          << row.id << " " << run.name;
      for (int k = 1; k < run.count; ++k) {
        const char* element = static_cast<const char*>(run.field) + k * fields::elementSize(first->slot.type);
        const fields::Field* field = fields::containing(element, position);
        ASSERT_NE(field, nullptr) << row.id << " " << run.name << k;
        EXPECT_EQ(field->slot.type, first->slot.type) << row.id << " " << run.name << k;
      }
    }
    char source[TARN_SOURCE_SIZE + 1] = "";
    EXPECT_EQ(gfx_tarnGetCorrelationSource(index, source), 0);
    EXPECT_EQ(std::string(source), row.source != nullptr ? row.source : "") << "longer than its buffer";
  }
  char source[TARN_SOURCE_SIZE] = "untouched";
  EXPECT_EQ(gfx_tarnGetCorrelationSource(57, source), TARN_STATUS_BAD_CORRELATION);
  EXPECT_STREQ(source, "untouched");
}

}  // namespace
