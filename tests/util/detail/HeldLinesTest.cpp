#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/util/detail/HeldLines.h"

#include "tests/support/RecordingLog.h"

namespace tarnwell::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(HeldLines, ComeInTheirOrderWhenTheHolderGoes) {
  const test::RecordingLog log;
  {
    const HeldLines held;
    TWLogger::logger().rlog("[%@] a", {"ann"});
    TWLogger::logger().log("debug");
    TWLogger::logger().rlog("b");
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(log.debugLines(), IsEmpty());
  }
  EXPECT_THAT(log.lines(), ElementsAre("[ann] a", "b"));
  EXPECT_THAT(log.debugLines(), ElementsAre("debug"));
  TWLogger::logger().rlog("c");
  EXPECT_THAT(log.lines(), ElementsAre("[ann] a", "b", "c"));
}

TEST(HeldLines, WaitForTheOutermostHolder) {
  const test::RecordingLog log;
  {
    const HeldLines outer;
    TWLogger::logger().rlog("a");
    {
      const HeldLines inner;
      TWLogger::logger().rlog("b");
    }
    EXPECT_THAT(log.lines(), IsEmpty());
  }
  EXPECT_THAT(log.lines(), ElementsAre("a", "b"));
}

TEST(HeldLines, OfOtherThreadsAreNotHeld) {
  const test::RecordingLog log;
  const HeldLines held;
  std::thread([] { TWLogger::logger().rlog("other"); }).join();
  EXPECT_THAT(log.lines(), ElementsAre("other"));
}

/// Logs, and holds lines, while it is told one.
class Holding : public test::RecordingLogger {
 public:
  void release(const std::string& message) override {
    test::RecordingLogger::release(message);
    if (message != "a") return;
    const HeldLines held;
    TWLogger::logger().rlog("from within");
    EXPECT_THAT(lines(), ElementsAre("a"));
  }
};

TEST(HeldLines, MayBeHeldAgainByTheirDelegate) {
  const auto delegate = std::make_shared<Holding>();
  TWLogger::logger().setDelegate(delegate);
  {
    const HeldLines held;
    TWLogger::logger().rlog("a");
    TWLogger::logger().rlog("b");
  }
  TWLogger::logger().setDelegate(nullptr);
  EXPECT_THAT(delegate->lines(), ElementsAre("a", "from within", "b"));
}

}  // namespace
}  // namespace tarnwell::detail
