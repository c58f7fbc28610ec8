#include "examples/support/LoopbackServer.h"

#include <thread>
#include <utility>

#include <httplib.h>

namespace examples {

struct LoopbackServer::Implementation {
  httplib::Server server;
  std::thread thread;
};

LoopbackServer::LoopbackServer(const std::string& path, Answer answer)
    : implementation_(std::make_unique<Implementation>()) {
  auto& server = implementation_->server;
  server.Post(path, [answer = std::move(answer)](const auto& request, auto& response) {
    response.set_content(answer(request.body), "text/xml; charset=utf-8");
  });
  const int port = server.bind_to_any_port("127.0.0.1");
  if (port <= 0) return;
  url_ = "http://127.0.0.1:" + std::to_string(port) + path;
  implementation_->thread = std::thread([&server] { server.listen_after_bind(); });
  // A server that does not run yet would not notice that it is told to stop.
  while (!server.is_running()) std::this_thread::yield();
}

LoopbackServer::~LoopbackServer() {
  implementation_->server.stop();
  if (implementation_->thread.joinable()) implementation_->thread.join();
}

}  // namespace examples
