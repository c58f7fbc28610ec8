#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "tests/support/EWSAnswers.h"

/// The documents of a stream of events, and the bytes that bring them.
namespace tarnwell::test {

/// A document of the stream whose one message has that code and content.
[[nodiscard]] inline std::string streamDocument(std::string_view content,
                                                std::string_view code = "NoError") {
  return envelope(
      response("GetStreamingEvents",
               responseMessage("GetStreamingEvents", code == "NoError" ? "Success" : "Error", code,
                               content)));
}
[[nodiscard]] inline std::string statusDocument(std::string_view status) {
  return streamDocument("<m:ConnectionStatus>" + std::string(status) + "</m:ConnectionStatus>");
}
[[nodiscard]] inline std::string heartbeat() { return statusDocument("OK"); }
/// New mail, as an item of that id.
[[nodiscard]] inline std::string notification(std::string_view itemId = "I") {
  return streamDocument(
      "<m:Notifications><m:Notification><t:SubscriptionId>S</t:SubscriptionId><t:NewMailEvent>"
      "<t:ItemId Id=\"" +
      std::string(itemId) + "\"/></t:NewMailEvent></m:Notification></m:Notifications>");
}

/// A document, a line for each element and two blanks for each level.
[[nodiscard]] inline std::string indented(std::string_view document) {
  std::string text;
  std::size_t depth = 0;
  bool isOpen = false;  // the last tag has begun an element
  for (std::size_t at = 0; at < document.size(); ++at) {
    if (document[at] == '<') {
      const auto tag = document.substr(at, document.find('>', at) - at);
      const bool isEnd = tag.starts_with("</");
      if (isEnd) --depth;
      if (at > 0 && !(isEnd && isOpen)) text.append("\n").append(2 * depth, ' ');
      isOpen = !isEnd && !tag.ends_with('/');
      if (isOpen) ++depth;
    }
    text += document[at];
  }
  return text;
}

/// The head of a stream, which ends with its connection.
inline constexpr std::string_view kStreamHead =
    "HTTP/1.1 200 OK\r\nContent-Type: text/xml; charset=utf-8\r\n\r\n";
/// The head of a stream that comes in chunks, each of which is one delivery.
inline constexpr std::string_view kChunkedHead =
    "HTTP/1.1 200 OK\r\nContent-Type: text/xml; charset=utf-8\r\n"
    "Transfer-Encoding: chunked\r\n\r\n";

[[nodiscard]] inline std::string chunk(std::string_view bytes) {
  std::string size(20, '\0');
  size.resize(
      static_cast<std::size_t>(std::snprintf(size.data(), size.size(), "%zx\r\n", bytes.size())));
  return size + std::string(bytes) + "\r\n";
}
/// Behind the last chunk.
inline constexpr std::string_view kLastChunk = "0\r\n\r\n";

}  // namespace tarnwell::test
