#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/tarnwell.h"

namespace tour {

/// What the steps share: where the tour goes, and what one step leaves for the next.
struct Tour {
  // Known from the start.
  std::string address;  ///< the mailbox that is toured
  std::shared_ptr<tarnwell::TWCredentials> credentials;
  std::string colleagueAddress;  ///< the mailbox that is written to; empty when there is none
  std::shared_ptr<tarnwell::TWCredentials> colleagueCredentials;
  std::string endpoint;  ///< empty: it is discovered
  tarnwell::TWConnectionOptions connection;

  // Found on the way.
  std::shared_ptr<tarnwell::TWProtocol> protocol;
  std::shared_ptr<tarnwell::TWAccount> account;
  std::shared_ptr<tarnwell::TWAccount> colleague;
  tarnwell::TWItemEntries found;               ///< what the search found in the colleague's inbox
  std::shared_ptr<tarnwell::TWItem> message;   ///< the message as the colleague has it
  std::shared_ptr<tarnwell::TWFolder> folder;  ///< where the colleague keeps it
};

/// One stop of a tour. A step that fails does so by `check`.
struct Step {
  std::string_view title;
  void (*run)(Tour& tour);
};

/// Ends the step, and with it the tour, unless the condition holds: "what: error".
void check(bool condition, std::string_view what, const tarnwell::TWError& error = {});

/// Prints what the step has to say, indented. The text may have several lines.
void tell(std::string_view text);

/// Notes what goes over the wire and what the library logs.
class Recorder : public tarnwell::TWLoggerDelegate {
 public:
  /// For `TWConnectionOptions::onRequest`.
  void noteRequest(std::string_view method, std::string_view url, std::string_view body);
  void debug(const std::string& message) override { release(message); }
  void release(const std::string& message) override;

  /// The requests since this was last asked: SOAP operations by their names, others as "GET
  /// types.xsd".
  [[nodiscard]] std::vector<std::string> takeRequests();
  /// The log lines since this was last asked.
  [[nodiscard]] std::vector<std::string> takeLog();

 private:
  std::mutex mutex_;  // guards both: requests may be made on several threads
  std::vector<std::string> requests_;
  std::vector<std::string> log_;
};

/// Runs the steps in order and tells of each what was sent and how long it took. The last line says
/// that the tour is done. False when a step failed, which ends the tour; what failed is told on the
/// standard error stream.
[[nodiscard]] bool run(const std::vector<Step>& steps, Tour& tour, Recorder& recorder);

}  // namespace tour
