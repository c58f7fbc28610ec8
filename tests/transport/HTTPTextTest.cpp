#include <gmock/gmock.h>

#include "tarnwell/transport/detail/HTTPText.h"

namespace tarnwell::detail {
namespace {

TEST(HTTPText, TokensHoldNoSeparators) {
  EXPECT_TRUE(isToken("X-Anchor_Mailbox!"));
  for (const std::string_view bad : {"", " ", "A B", "A:", "A\r\nB", "\xc3\xa4", "A\tB", "(a)"}) {
    EXPECT_FALSE(isToken(bad)) << bad;
  }
}

TEST(HTTPText, LineBreaksAndNULsLeaveTheLine) {
  EXPECT_TRUE(staysOnItsLine("text/xml; charset=utf-8"));
  EXPECT_FALSE(staysOnItsLine("a\rb"));
  EXPECT_FALSE(staysOnItsLine("a\nb"));
  EXPECT_FALSE(staysOnItsLine(std::string_view("a\0b", 3)));
}

}  // namespace
}  // namespace tarnwell::detail
