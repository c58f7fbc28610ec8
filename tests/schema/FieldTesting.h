#pragma once

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWDictionary.h"

namespace tarnwell::test {

/// An element with that content, in which "t:" is the types namespace.
inline NKXMLElement elementWith(std::string_view content, std::string_view attributes = "") {
  TWError error;
  auto element = NKXMLElement::withXMLString(
      "<t:Message xmlns:t=\"" + std::string(kTypesNamespace) + "\" " + std::string(attributes) +
          ">" + std::string(content) + "</t:Message>",
      &error);
  EXPECT_TRUE(element) << error;
  return element;
}

/// What the field reads from an element with that content.
inline TWValue readFrom(const TWField& field, std::string_view content) {
  return field.fromXML(elementWith(content), nullptr);
}

/// The XML that the field writes for the value; "error: ..." when that fails.
inline std::string written(const TWField& field, const TWValue& value,
                           const TWVersion* version = nullptr) {
  TWError error;
  const auto xml = field.toXML(value, version, &error);
  return error ? "error: " + error.message() : xml.description();
}

/// What validation makes of the value, which must be valid.
inline TWValue cleaned(const TWField& field, const TWValue& value,
                       const TWVersion* version = nullptr) {
  TWError error;
  auto result = field.clean(value, version, &error);
  EXPECT_FALSE(error) << error;
  return result;
}

/// The error of validating the value, which must give no result.
inline TWError failure(const TWField& field, const TWValue& value,
                       const TWVersion* version = nullptr) {
  TWError error;
  EXPECT_TRUE(field.clean(value, version, &error).isAbsent());
  return error;
}

/// Matches an error of the catalogue with that message, which stands under "d".
MATCHER_P2(IsFailure, code, message,
           "is error " + std::to_string(static_cast<int>(code)) + ": " + std::string(message)) {
  *result_listener << arg.description();
  return arg.is(code) && arg.userInfo().get("d") == TWValue(message);
}

inline TWVersion versionOf(TWBuild build) { return TWVersion(build); }

}  // namespace tarnwell::test
