#include <string>

#include <gtest/gtest.h>

#include "tarnwell/services/TWEWSService.h"
#include "tarnwell/util/TWUtils.h"

#include "tests/services/ServiceFixture.h"

namespace tarnwell {
namespace {

using test::kGetItem;
using test::Service;

/// Texts in requests.
class TWEWSServiceTexts : public test::TWEWSServiceTest {
 protected:
  TWError errorOfText(const std::string& text) {
    auto payload = TWUtils::createElement("m:GetItem");
    TWUtils::createAndAddElementToParent(payload, "t:Subject", text);
    return errorOfPayload(payload);
  }
  TWError errorOfPayload(const NKXMLElement& payload) {
    TWError error;
    EXPECT_FALSE(Service(kGetItem, protocol()).getElements(payload, &error));
    return error;
  }
};

TEST_F(TWEWSServiceTexts, WhatXMLForbidsIsRefusedBeforeAnythingIsSent) {
  const auto refusal = [](const std::string& character) {
    return TWError(TWErrorCode::ErrorValueOutOfRange,
                   "t:Subject holds " + character + ", a character that XML forbids");
  };
  EXPECT_EQ(errorOfText("a\x01"
                        "b"),
            refusal("U+0001"));
  EXPECT_EQ(errorOfText("\x1f"), refusal("U+001F"));
  EXPECT_EQ(errorOfText("\xEF\xBF\xBE"), refusal("U+FFFE"));
  EXPECT_EQ(errorOfText("x\xEF\xBF\xBF"), refusal("U+FFFF"));
  EXPECT_EQ(errorOfPayload(TWUtils::createElement("t:Subject", {{"Id", "\x02"}})),
            refusal("U+0002"));
  EXPECT_EQ(server.requestCount(), 0U);
}

TEST_F(TWEWSServiceTexts, EverythingElseIsSent) {
  const std::string text = "a\tb\nc\x7F \xC3\xA9 \xEF\xBF\xBD \xF0\x9F\x98\x80 <&>\"'";
  static_cast<void>(errorOfText(text));
  ASSERT_EQ(server.requestCount(), 1U);
  const auto document = NKXMLElement::withXMLString(server.requests().at(0).body);
  EXPECT_EQ(document.stringValue(), text);
}

}  // namespace
}  // namespace tarnwell
