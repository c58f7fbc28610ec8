#include <set>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "tarnwell/util/TWLogger.h"

#include "tests/support/RecordingLog.h"

namespace tarnwell {
namespace {

using Lines = std::vector<std::string>;

class TWLoggerTest : public testing::Test {
 protected:
  void TearDown() override { TWLogger::logger().setDelegate(nullptr); }
};

TEST_F(TWLoggerTest, IsOneSharedInstanceForAllThreads) {
  std::mutex mutex;
  std::set<TWLogger*> seen;
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      TWLogger* logger = &TWLogger::logger();
      const std::lock_guard lock(mutex);
      seen.insert(logger);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(seen.size(), 1U);
}

TEST_F(TWLoggerTest, LogGoesToDebugAndRlogToRelease) {
  const test::RecordingLog log;
  TWLogger::logger().log("[%@] a", {"ann"});
  TWLogger::logger().rlog("[%@] b %lu", {"ann", 2});
  EXPECT_EQ(log.debugLines(), Lines{"[ann] a"});
  EXPECT_EQ(log.lines(), Lines{"[ann] b 2"});
}

TEST_F(TWLoggerTest, HoldsItsDelegateStrongly) {
  auto recorder = std::make_shared<test::RecordingLogger>();
  const std::weak_ptr<test::RecordingLogger> weak = recorder;
  TWLogger::logger().setDelegate(std::move(recorder));
  TWLogger::logger().rlog("x");
  ASSERT_FALSE(weak.expired());
  EXPECT_EQ(weak.lock()->lines(), Lines{"x"});
  TWLogger::logger().setDelegate(nullptr);
  EXPECT_TRUE(weak.expired());
}

TEST_F(TWLoggerTest, WithoutADelegateBothWriteToTheSystemLogAndTheTextIsNoFormat) {
  testing::internal::CaptureStderr();
  TWLogger::logger().log("100%s %n");
  TWLogger::logger().rlog("%@ done");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "100%s %n\n%@ done\n");
}

TEST_F(TWLoggerTest, WithADelegateNothingGoesToTheSystemLog) {
  testing::internal::CaptureStderr();
  const test::RecordingLog log;
  TWLogger::logger().log("a");
  TWLogger::logger().rlog("b");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(TWLoggerTest, RemovingTheDelegateReturnsToTheSystemLog) {
  const test::RecordingLog log;
  TWLogger::logger().setDelegate(nullptr);
  testing::internal::CaptureStderr();
  TWLogger::logger().rlog("b");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "b\n");
  EXPECT_EQ(log.lines(), Lines{});
}

class Replacing : public TWLoggerDelegate {
 public:
  void debug(const std::string& message) override { messages.push_back(message); }
  void release(const std::string& message) override {
    messages.push_back(message);
    TWLogger::logger().log("from within");
    TWLogger::logger().setDelegate(nullptr);
  }
  Lines messages;
};

TEST_F(TWLoggerTest, ADelegateMayLogAndReplaceItselfFromWithin) {
  const auto delegate = std::make_shared<Replacing>();
  TWLogger::logger().setDelegate(delegate);
  TWLogger::logger().rlog("first");
  EXPECT_EQ(delegate->messages, (Lines{"first", "from within"}));
  EXPECT_EQ(TWLogger::logger().delegate(), nullptr);
}

class LoggingInItsDestructor : public TWLoggerDelegate {
 public:
  ~LoggingInItsDestructor() override { TWLogger::logger().rlog("bye"); }
  void debug(const std::string&) override {}
  void release(const std::string&) override {}
};

TEST_F(TWLoggerTest, ADelegateMayLogWhileItIsReplaced) {
  TWLogger::logger().setDelegate(std::make_shared<LoggingInItsDestructor>());
  const test::RecordingLog log;
  EXPECT_EQ(log.lines(), Lines{"bye"});
}

class Throwing : public TWLoggerDelegate {
 public:
  void debug(const std::string&) override { throw std::runtime_error("debug"); }
  void release(const std::string&) override { throw 1; }
};

TEST_F(TWLoggerTest, WhatADelegateThrowsIsDropped) {
  TWLogger::logger().setDelegate(std::make_shared<Throwing>());
  EXPECT_NO_THROW(TWLogger::logger().log("a"));
  EXPECT_NO_THROW(TWLogger::logger().rlog("b"));
}

TEST_F(TWLoggerTest, ThreadsMayLogWhileTheDelegateIsReplaced) {
  const auto first = std::make_shared<test::RecordingLogger>();
  const auto second = std::make_shared<test::RecordingLogger>();
  TWLogger::logger().setDelegate(first);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([] {
      for (int line = 0; line < 200; ++line) TWLogger::logger().rlog("[%@] line", {line});
    });
  for (int i = 0; i < 200; ++i) TWLogger::logger().setDelegate(i % 2 != 0 ? first : second);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(first->lines().size() + second->lines().size(), 800U);
}

}  // namespace
}  // namespace tarnwell
