#pragma once

#include <functional>
#include <memory>
#include <string>

namespace examples {

/// An HTTP server on 127.0.0.1, on a port that the system picks, so that the examples run without a
/// real one. It runs from its making to its destruction.
class LoopbackServer {
 public:
  /// Answers the body of every POST; called on a thread of the server's.
  using Answer = std::function<std::string(const std::string& request)>;

  /// Serves one path.
  LoopbackServer(const std::string& path, Answer answer);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  /// Where to post; empty when no port could be had.
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
  std::string url_;
};

}  // namespace examples
