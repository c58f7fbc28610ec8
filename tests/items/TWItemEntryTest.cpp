#include <sstream>

#include <gtest/gtest.h>

#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/services/TWErrors.h"

namespace tarnwell {
namespace {

std::string printed(const auto& what) {
  std::ostringstream text;
  text << what;
  return text.str();
}

TEST(TWItemEntry, IsAnItem) {
  const auto message = TWMessage::withDict({{"item_id", "i"}, {"changekey", "c"}});
  const TWItemEntry entry(message);
  EXPECT_TRUE(entry);
  EXPECT_EQ(entry.item(), message);
  EXPECT_EQ(entry.idPair(), (TWIdPair{"i", "c"}));
  EXPECT_FALSE(entry.error());
  EXPECT_EQ(printed(entry), message->description());
}

TEST(TWItemEntry, IsAnItemWithoutAnId) {
  const TWItemEntry entry(TWMessage::withDict());
  EXPECT_TRUE(entry);
  EXPECT_EQ(entry.idPair(), std::nullopt);
}

TEST(TWItemEntry, IsAnIdPair) {
  const TWItemEntry entry(TWIdPair{"i", "c"});
  EXPECT_TRUE(entry);
  EXPECT_EQ(entry.item(), nullptr);
  EXPECT_EQ(entry.idPair(), (TWIdPair{"i", "c"}));
  EXPECT_EQ(printed(entry), "(i, c)");
  EXPECT_EQ(printed(TWIdPair{"i"}), "(i)");
}

TEST(TWItemEntry, IsAnError) {
  const TWError error(TWErrorCode::ErrorItemNotFound, "gone");
  const TWItemEntry entry(error);
  EXPECT_FALSE(entry);
  EXPECT_EQ(entry.item(), nullptr);
  EXPECT_EQ(entry.idPair(), std::nullopt);
  EXPECT_EQ(entry.error(), error);
  EXPECT_EQ(printed(entry), printed(error));
}

TEST(TWItemEntry, IsTheOutcomeOfAnOperation) {
  EXPECT_EQ(TWItemEntry(TWResult<TWIdPair>(TWIdPair{"i"})).idPair(), TWIdPair{"i"});
  const TWError error(TWErrorCode::ErrorItemNotFound, "gone");
  EXPECT_EQ(TWItemEntry(TWResult<TWIdPair>(error)).error(), error);
}

}  // namespace
}  // namespace tarnwell
