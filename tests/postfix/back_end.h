/// NAME
///   back_end - the Postfix back-end, out of the built plug-in
///
/// PURPOSE
///   Loads the plug-in as the panel does and reaches the back-end as the mail module does: through
///   email::MtaInterface, on the real tables of a test panel.

#pragma once

#include <string>

#include <gtest/gtest.h>

#include "email/mta_interface.h"
#include "panel/mail/back_end.h"
#include "panel/module/loader.h"
#include "tests/email/rows.h"
#include "tests/support/test_panel.h"

namespace test_support {

/// The two entries that the back-end sees to at its start.
inline const std::string kDeliveryAliases =
    "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n";

inline email::MtaInterface& LoadBackEnd(const TestPanel& panel) {
  panel::LoadModules(panel.config().module_dir);
  return panel::mail::BackEnd();
}

/// A test of the back-end on empty tables and an empty database.
struct BackEndTest : testing::Test {
  TestPanel panel;
  Rows rows{panel};
  email::MtaInterface& back_end = LoadBackEnd(panel);
};

}  // namespace test_support
