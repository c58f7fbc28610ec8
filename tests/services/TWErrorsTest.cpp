#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/services/TWErrors.h"

namespace tarnwell {
namespace {

std::vector<std::string> expectedNames() {
  std::ifstream file(TEST_DATA_DIR "/error_names.txt");
  std::vector<std::string> names;
  for (std::string line; std::getline(file, line);) names.push_back(line);
  return names;
}

TEST(TWErrors, HasExactly398NamesNumberedWithoutGaps) {
  const auto names = expectedNames();
  ASSERT_EQ(names.size(), 398U);
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 398U);
  for (std::size_t code = 0; code < names.size(); ++code) {
    EXPECT_EQ(TWErrors::codeFromString(names[code]), static_cast<std::int64_t>(code))
        << names[code];
    EXPECT_EQ(TWErrors::stringFromCode(static_cast<std::int64_t>(code)), names[code]);
  }
  EXPECT_EQ(TWErrors::stringFromCode(398), std::nullopt);
  EXPECT_EQ(TWErrors::stringFromCode(-1), std::nullopt);
}

TEST(TWErrors, AnchorsStandAtTheirNumbers) {
  const std::vector<std::pair<std::string_view, std::int64_t>> anchors = {
      {"ErrorNone", 0},
      {"ErrorRedirect", 1},
      {"ErrorTransport", 2},
      {"ErrorRedirectRelative", 3},
      {"ErrorUnauthorized", 4},
      {"ErrorAutodiscoverFailed", 5},
      {"ErrorRedirectAddress", 6},
      {"ErrorAutodiscoverAccountType", 7},
      {"ErrorFieldNone", 8},
      {"ErrorFieldValue", 9},
      {"ErrorAccessDenied", 10},
      {"ErrorADOperation", 15},
      {"ErrorBatchProcessingStopped", 23},
      {"ErrorCannotDeleteObject", 61},
      {"ErrorFolderNotFound", 104},
      {"ErrorInvalidChangeKey", 128},
      {"ErrorInvalidIdMalformed", 151},
      {"ErrorInvalidSchemaVersionForMailboxVersion", 208},
      {"ErrorInvalidServerVersion", 212},
      {"ErrorItemNotFound", 235},
      {"ErrorItemSave", 237},
      {"ErrorMessageSizeExceeded", 256},
      {"ErrorMimeContentConversionFailed", 260},
      {"ErrorMissingArgument", 264},
      {"ErrorNameResolutionMultipleResults", 277},
      {"ErrorNameResolutionNoResults", 279},
      {"ErrorRecurrenceHasNoOccurrence", 326},
      {"ErrorServerBusy", 347},
      {"ErrorType", 364},
      {"ErrorValueOutOfRange", 384},
      {"ErrorWrongServerVersionDelegate", 393},
      {"ErrorRateLimit", 394},
      {"ErrorSOAP", 395},
      {"ErrorRelativeRedirect", 396},
      {"ErrorResponseMessage", 397},
  };
  for (const auto& [name, code] : anchors) EXPECT_EQ(TWErrors::codeFromString(name), code) << name;
}

TEST(TWErrors, TwoAutodiscoverFailuresDifferByOneCapital) {
  EXPECT_EQ(TWErrors::codeFromString("ErrorAutoDiscoverFailed"), 21);
  EXPECT_EQ(TWErrors::codeFromString("ErrorAutodiscoverFailed"), 5);
}

TEST(TWErrors, TheServersMisspellingIsKept) {
  EXPECT_EQ(TWErrors::codeFromString("ErrorSubscriptionUnsubsribed"), 356);
  EXPECT_EQ(TWErrors::codeFromString("ErrorSubscriptionUnsubscribed"), std::nullopt);
}

TEST(TWErrors, ErrorNoneIsPresentWithTheCodeZero) {
  ASSERT_TRUE(TWErrors::codeFromString("ErrorNone").has_value());
  EXPECT_EQ(*TWErrors::codeFromString("ErrorNone"), 0);
}

TEST(TWErrors, NamesAreMatchedExactly) {
  for (const auto* name : {"", "errorItemNotFound", " ErrorItemNotFound", "ErrorItemNotFound ",
                           "ErrorFuture", "NoError"})
    EXPECT_EQ(TWErrors::codeFromString(name), std::nullopt) << name;
}

TEST(TWErrors, EnumeratorsAreTheCodes) {
  EXPECT_EQ(static_cast<int>(TWErrorCode::ErrorItemNotFound), 235);
  EXPECT_EQ(static_cast<int>(TWErrorCode::ErrorResponseMessage), 397);
}

TEST(TWErrors, MayBeAskedFirstFromSeveralThreads) {
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([] { EXPECT_EQ(TWErrors::codeFromString("ErrorSOAP"), 395); });
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace tarnwell
