#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include <gmock/gmock.h>

namespace tarnwell::test {

/// XML text as lines that are equal for equal XML: one for each tag and text, attributes sorted by
/// name. Blank text between elements, comments and the declaration are left out; names, prefixes
/// and declarations stay as written. A text that is malformed gives one line that says so.
///
/// Read by another XML library than the one under test, so that a mistake cannot cancel out.
[[nodiscard]] std::string xmlLines(std::string_view xml);

/// The first line in which two such texts differ, for the message of a failed test.
[[nodiscard]] std::string firstDifference(const std::string& actual, const std::string& expected);

/// Matches a text that is the same XML: order of elements significant, order of attributes not.
///
///     EXPECT_THAT(request.XMLString(), EqualsXML("<m:GetItem><m:ItemIds/></m:GetItem>"));
MATCHER_P(EqualsXML, expected, "is the XML " + std::string(expected)) {
  const auto actualLines = xmlLines(arg);
  const auto expectedLines = xmlLines(expected);
  if (expectedLines.starts_with("malformed")) {
    *result_listener << "but the expected text is " << expectedLines;
    return false;
  }
  if (actualLines == expectedLines) return true;
  *result_listener << firstDifference(actualLines, expectedLines);
  return false;
}

/// Matches well-formed XML text.
MATCHER(IsWellFormedXML, "is well-formed XML") {
  const auto lines = xmlLines(arg);
  if (!lines.starts_with("malformed")) return true;
  *result_listener << lines;
  return false;
}

}  // namespace tarnwell::test
