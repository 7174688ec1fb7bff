// The order of driver module versions that decides which modules run in the
// module host.
#include <gtest/gtest.h>

#include "driver/driver_dll_proxy.h"

namespace vantrel {
namespace {

TEST(DriverVersionKeyTest, YearMajorsCountAsTheirYear) {
  const uint16_t twelve[4] = {12, 0, 0, 0}, year2017[4] = {2017, 0, 0, 0};
  const uint16_t eleven[4] = {11, 0, 0, 0}, year2025[4] = {2025, 0, 0, 0};
  const uint16_t below[4] = {7, 2, 2, 9}, threshold[4] = {7, 2, 3, 0}, revision[4] = {7, 2, 3, 1};
  EXPECT_GT(DriverVersionKey(twelve), DriverVersionKey(year2017));
  EXPECT_EQ(DriverVersionKey(eleven), DriverVersionKey(year2025));
  EXPECT_LT(DriverVersionKey(below), DriverVersionKey(threshold));
  EXPECT_LT(DriverVersionKey(threshold), DriverVersionKey(revision));
}

}  // namespace
}  // namespace vantrel
