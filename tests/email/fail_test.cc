/// NAME
///   fail_test - the back-end's own failures

#include "email/fail.h"

#include <gtest/gtest.h>

#include "tests/email/error_of.h"

namespace {

using test_support::ErrorOf;

}  // namespace

TEST(Fail, IsAnErrorOfTheTypeEmailWithItsCodeAndDetail) {
  const auto error = ErrorOf([] { throw email::Fail("postmap", "cannot open the map"); });
  EXPECT_EQ(error.type(), "email");
  EXPECT_EQ(error.object(), "postmap");
  EXPECT_EQ(error.value(), "cannot open the map");
}

TEST(Fail, IsMarkedForReporting) {
  EXPECT_TRUE(ErrorOf([] { throw email::Fail("postalias", ""); }).report());
}
