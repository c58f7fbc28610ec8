#include <gtest/gtest.h>

#include "sandbox/store/Times.h"

namespace tarnwell::sandbox::test {
namespace {

std::string inUtc(const std::string& text) {
  const auto time = readTime(text);
  return time ? timeText(*time) : "(none)";
}

TEST(Times, EveryFormIsReadAsUtc) {
  EXPECT_EQ(inUtc("1970-01-01T00:00:00Z"), "1970-01-01T00:00:00Z");
  EXPECT_EQ(inUtc("2024-02-29T23:59:59.999Z"), "2024-02-29T23:59:59Z");
  EXPECT_EQ(inUtc("2026-01-01T00:30:00+01:00"), "2025-12-31T23:30:00Z");
  EXPECT_EQ(inUtc("2026-01-01T00:30:00-11:30"), "2026-01-01T12:00:00Z");
  EXPECT_EQ(inUtc("2026-01-01T00:30:00"), "2026-01-01T00:30:00Z");
  EXPECT_EQ(inUtc("2026-01-01"), "2026-01-01T00:00:00Z");
  EXPECT_EQ(inUtc("2026-01-01Z"), "2026-01-01T00:00:00Z");
  EXPECT_EQ(inUtc("1601-01-01T00:00:00Z"), "1601-01-01T00:00:00Z");
}

TEST(Times, WhatIsNoTimeIsNotRead) {
  for (const char* text :
       {"", "today", "2026", "2026-13-01", "2026-00-10", "2025-02-29", "2026-01-01T", "2026-1-1",
        "2026-01-01T24:00:00Z", "2026-01-01T00:60:00Z", "2026-01-01T00:00:60Z", "2026-01-01 ",
        "2026-01-01T00:00:00Zulu", "2026-01-01T00:00:00+15:00", "2026-01-01T00:00:00+1:00"}) {
    EXPECT_EQ(inUtc(text), "(none)") << text;
  }
}

}  // namespace
}  // namespace tarnwell::sandbox::test
