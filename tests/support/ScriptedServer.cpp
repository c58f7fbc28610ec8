#include "tests/support/ScriptedServer.h"

#include <algorithm>

#include "tests/support/Gate.h"

namespace tarnwell::test {
namespace {

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

/// Cuts the text up to the separator off the front of `rest`.
std::string_view cut(std::string_view& rest, std::string_view separator) {
  const std::size_t at = std::min(rest.find(separator), rest.size());
  const std::string_view piece = rest.substr(0, at);
  rest.remove_prefix(std::min(at + separator.size(), rest.size()));
  return piece;
}

}  // namespace

std::optional<std::string> ScriptedRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (equalIgnoringCase(key, name)) return value;
  }
  return std::nullopt;
}

std::size_t ScriptedRequest::count(std::string_view name) const {
  return static_cast<std::size_t>(
      std::count_if(headers.begin(), headers.end(),
                    [&](const auto& field) { return equalIgnoringCase(field.first, name); }));
}

ScriptedAnswer ScriptedAnswer::xml(std::string body, int status) {
  ScriptedAnswer answer;
  answer.status = status;
  answer.headers = {{"Content-Type", "text/xml; charset=utf-8"}};
  answer.body = std::move(body);
  return answer;
}

ScriptedAnswer ScriptedAnswer::redirect(int status, std::string location) {
  ScriptedAnswer answer;
  answer.status = status;
  answer.headers = {{"Location", std::move(location)}};
  return answer;
}

ScriptedAnswer ScriptedAnswer::challenge(const std::vector<std::string>& challenges) {
  ScriptedAnswer answer;
  answer.status = 401;
  for (const std::string& challenge : challenges) {
    answer.headers.emplace_back("WWW-Authenticate", challenge);
  }
  return answer;
}

std::optional<ScriptedRequest> parseRequest(std::string_view text) {
  const std::size_t headEnd = text.find("\r\n\r\n");
  if (headEnd == std::string_view::npos) return std::nullopt;
  ScriptedRequest request;
  request.head = text.substr(0, headEnd + 4);
  request.body = text.substr(headEnd + 4);
  std::string_view rest = text.substr(0, headEnd);
  std::string_view line = cut(rest, "\r\n");
  request.method = cut(line, " ");
  request.target = cut(line, " ");
  request.version = line;
  while (!rest.empty()) {
    std::string_view field = cut(rest, "\r\n");
    const std::string_view name = cut(field, ":");
    field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
    request.headers.emplace_back(name, field);
  }
  return request;
}

std::string formatAnswer(const ScriptedAnswer& answer, std::string_view method) {
  std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " Scripted\r\n";
  for (const auto& [name, value] : answer.headers)
    text.append(name).append(": ").append(value).append("\r\n");
  if (answer.close) text += "Connection: close\r\n";
  if (!answer.withoutLength && answer.status != 204 && answer.status != 304) {
    text += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n";
  }
  text += "\r\n";
  if (method != "HEAD") text += answer.body;
  return text;
}

ScriptedServer::ScriptedServer() : ScriptedServer(nullptr, Options()) {}
ScriptedServer::ScriptedServer(Handler handler) : ScriptedServer(std::move(handler), Options()) {}
ScriptedServer::ScriptedServer(const Options& options) : ScriptedServer(nullptr, options) {}
ScriptedServer::ScriptedServer(Handler handler, const Options& options)
    : handler_(std::move(handler)),
      server_([this](RawConnection& peer) { serve(peer); }, options) {}

void ScriptedServer::enqueue(ScriptedAnswer answer) {
  const std::lock_guard lock(mutex_);
  queue_.push_back(std::move(answer));
}

std::vector<ScriptedRequest> ScriptedServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t ScriptedServer::requestCount() const {
  const std::lock_guard lock(mutex_);
  return requests_.size();
}

bool ScriptedServer::waitForRequests(std::size_t count) const {
  std::unique_lock lock(mutex_);
  return arrived_.wait_for(lock, kPatience, [&] { return requests_.size() >= count; });
}

std::size_t ScriptedServer::mostAtOnce() const {
  const std::lock_guard lock(mutex_);
  return mostAtOnce_;
}

void ScriptedServer::serve(RawConnection& peer) {
  while (const std::optional<std::string> text = peer.readRequest()) {
    std::optional<ScriptedRequest> request = parseRequest(*text);
    if (!request) return;
    request->connection = peer.number();
    const ScriptedAnswer answer = answerTo(*request);
    if (!peer.write(formatAnswer(answer, request->method))) return;
    if (answer.close || answer.withoutLength) return;
  }
}

ScriptedAnswer ScriptedServer::answerTo(const ScriptedRequest& request) {
  std::optional<ScriptedAnswer> answer;
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    mostAtOnce_ = std::max(mostAtOnce_, ++busy_);
    if (!queue_.empty()) {
      answer = std::move(queue_.front());
      queue_.pop_front();
    }
  }
  arrived_.notify_all();
  if (!answer) answer = handler_ ? handler_(request) : ScriptedAnswer();
  const std::lock_guard lock(mutex_);
  --busy_;
  return *std::move(answer);
}

}  // namespace tarnwell::test
