#include "sandbox/detail/FaultQueue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "sandbox/detail/Directory.h"

namespace tarnwell::sandbox {
namespace {

struct TroubleRow {
  std::string_view name;
  SandboxStreamTrouble trouble;
};

constexpr std::array kTroubles{
    TroubleRow{"slow", SandboxStreamTrouble::slow},
    TroubleRow{"cut", SandboxStreamTrouble::cut},
    TroubleRow{"garbled", SandboxStreamTrouble::garbled},
};

std::optional<int> numberIn(std::string_view text, int least, int most) {
  int value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (problem != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value >= least && value <= most ? std::optional(value) : std::nullopt;
}

}  // namespace

SandboxFault SandboxFault::soap(std::string code, std::string message) {
  SandboxFault fault;
  fault.kind = Kind::soapFault;
  fault.message = message.empty() ? code : std::move(message);
  fault.code = std::move(code);
  return fault;
}

SandboxFault SandboxFault::response(std::string code, std::string message) {
  SandboxFault fault = soap(std::move(code), std::move(message));
  fault.kind = Kind::responseMessage;
  return fault;
}

SandboxFault SandboxFault::httpStatus(int status) { return body(status, {}, {}); }

SandboxFault SandboxFault::htmlPage(int status) {
  return body(status, "text/html; charset=utf-8",
              "<!DOCTYPE html>\n<html><head><title>Gateway</title></head>"
              "<body><p>Something is wrong here.<br>Try later.</body></html>\n");
}

SandboxFault SandboxFault::emptyBody() { return httpStatus(200); }

SandboxFault SandboxFault::body(int status, std::string contentType, std::string body) {
  SandboxFault fault;
  fault.kind = Kind::httpBody;
  fault.status = status;
  fault.contentType = std::move(contentType);
  fault.text = std::move(body);
  return fault;
}

SandboxFault SandboxFault::closedConnection() {
  SandboxFault fault;
  fault.kind = Kind::closeConnection;
  return fault;
}

SandboxFault SandboxFault::stream(SandboxStreamTrouble trouble) {
  SandboxFault fault;
  fault.kind = Kind::stream;
  fault.operation = "GetStreamingEvents";
  fault.trouble = trouble;
  return fault;
}

SandboxFault SandboxFault::delay(std::function<void()> gate) {
  SandboxFault fault;
  fault.gate = std::move(gate);
  return fault;
}

void FaultQueue::add(SandboxFault fault) {
  if (fault.times <= 0) return;
  const std::lock_guard lock(mutex_);
  faults_.push_back(std::move(fault));
}

void FaultQueue::clear() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

std::optional<SandboxFault> FaultQueue::take(const std::string& path,
                                             const std::string& operation) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find_if(faults_, [&](const SandboxFault& fault) {
    return (fault.path.empty() || lowerCase(fault.path) == lowerCase(path)) &&
           (fault.operation.empty() || fault.operation == operation);
  });
  if (found == faults_.end()) return std::nullopt;
  SandboxFault fault = *found;
  if (--found->times == 0) faults_.erase(found);
  return fault;
}

std::optional<SandboxFault> faultFromQuery(const HttpRequest& request, std::string& error) {
  std::optional<SandboxFault> fault;
  int kinds = 0;
  for (const auto& [name, value] : request.query) {
    if (name == "code") {
      fault = SandboxFault::soap(value, request.parameter("message"));
    } else if (name == "response") {
      fault = SandboxFault::response(value, request.parameter("message"));
    } else if (name == "status") {
      const std::optional<int> status = numberIn(value, 200, 599);
      if (!status) {
        error = "status must be a number from 200 to 599";
        return std::nullopt;
      }
      fault = SandboxFault::httpStatus(*status);
    } else if (name == "html") {
      fault = SandboxFault::htmlPage();
    } else if (name == "empty") {
      fault = SandboxFault::emptyBody();
    } else if (name == "close") {
      fault = SandboxFault::closedConnection();
    } else if (name == "stream") {
      const auto* const row = std::ranges::find(kTroubles, value, &TroubleRow::name);
      if (row == kTroubles.end()) {
        error = "stream must be slow, cut or garbled";
        return std::nullopt;
      }
      fault = SandboxFault::stream(row->trouble);
    } else if (name == "times" || name == "message" || name == "operation" || name == "path") {
      continue;
    } else {
      error = "unknown parameter " + name;
      return std::nullopt;
    }
    ++kinds;
  }
  if (kinds != 1 || ((fault->kind == SandboxFault::Kind::soapFault ||
                      fault->kind == SandboxFault::Kind::responseMessage) &&
                     fault->code.empty())) {
    error =
        "say what shall fail with one of code, response, status, html, empty, close, "
        "stream";
    return std::nullopt;
  }
  if (const std::string times = request.parameter("times"); !times.empty()) {
    const std::optional<int> number = numberIn(times, 1, 1000000);
    if (!number) {
      error = "times must be a number from 1 to 1000000";
      return std::nullopt;
    }
    fault->times = *number;
  }
  if (const std::string operation = request.parameter("operation"); !operation.empty()) {
    fault->operation = operation;
  }
  if (const std::string path = request.parameter("path"); !path.empty()) fault->path = path;
  return fault;
}

}  // namespace tarnwell::sandbox
