#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/EWSAnswers.h"
#include "tests/support/ScriptedServer.h"

/// Folders and pages as servers write them, and a server that answers by operation.
namespace tarnwell::test {

/// A folder's element. Without a parent or a class these are left out.
[[nodiscard]] inline std::string folderXML(std::string_view id, std::string_view name,
                                           std::string_view parentId = "",
                                           std::string_view folderClass = "IPF.Note") {
  std::string xml = "<t:Folder><t:FolderId Id=\"";
  xml.append(id).append("\" ChangeKey=\"ck-").append(id).append("\"/>");
  if (!parentId.empty()) xml.append("<t:ParentFolderId Id=\"").append(parentId).append("\"/>");
  if (!folderClass.empty())
    xml.append("<t:FolderClass>").append(folderClass).append("</t:FolderClass>");
  return xml.append("<t:DisplayName>").append(name).append("</t:DisplayName></t:Folder>");
}

/// A successful message of an operation with folders in it.
[[nodiscard]] inline std::string foldersMessage(std::string_view operation,
                                                std::string_view folders) {
  return responseMessage(operation, "Success", "NoError",
                         "<m:Folders>" + std::string(folders) + "</m:Folders>");
}

/// A page of FindFolder or FindItem; the container ("Folders", "Items") is left out when empty.
[[nodiscard]] inline std::string pageMessage(std::string_view operation, std::string_view container,
                                             std::string_view content, bool isLast = true,
                                             std::size_t nextOffset = 0) {
  std::string root = "<m:RootFolder TotalItemsInView=\"";
  root.append(content.empty() ? "0" : "1").append("\" IncludesLastItemInRange=\"");
  root.append(isLast ? "true\"" : "false\"");
  if (!isLast) root.append(" IndexedPagingOffset=\"" + std::to_string(nextOffset) + "\"");
  root.append(">");
  if (!container.empty())
    root.append("<t:")
        .append(container)
        .append(">")
        .append(content)
        .append("</t:")
        .append(container)
        .append(">");
  return responseMessage(operation, "Success", "NoError", root.append("</m:RootFolder>"));
}

/// An answer with these messages.
[[nodiscard]] inline ScriptedAnswer answer(std::string_view operation, std::string_view messages) {
  return ScriptedAnswer::xml(envelope(response(operation, messages)));
}
[[nodiscard]] inline ScriptedAnswer errorAnswer(std::string_view operation, std::string_view code) {
  return answer(operation, responseMessage(operation, "Error", code));
}
[[nodiscard]] inline ScriptedAnswer successAnswer(std::string_view operation) {
  return answer(operation, responseMessage(operation, "Success", "NoError"));
}

/// A status 500 without a body.
[[nodiscard]] inline ScriptedAnswer failedAnswer() { return ScriptedAnswer::xml("", 500); }

/// What stands in the body of a request's envelope, with elements that are empty in their short
/// form.
[[nodiscard]] inline std::string payloadOf(const ScriptedRequest& request) {
  constexpr std::string_view kBegin = "<s:Body>", kEnd = "</s:Body>";
  const auto begin = request.body.find(kBegin), end = request.body.rfind(kEnd);
  if (begin == std::string::npos || end == std::string::npos) return request.body;
  static const std::regex kEmptyElement("<([^<> ]+)([^<>]*)></\\1>");
  return std::regex_replace(request.body.substr(begin + kBegin.size(), end - begin - kBegin.size()),
                            kEmptyElement, "<$1$2/>");
}

/// "GetFolder".
[[nodiscard]] inline std::string operationOf(const ScriptedRequest& request) {
  const auto payload = payloadOf(request);
  return payload.starts_with("<m:") ? payload.substr(3, payload.find_first_of(" >/", 3) - 3)
                                    : std::string();
}

/// A scripted server that has an answer for each operation; others get a status 500.
class MailboxServer {
 public:
  using Answer = std::function<ScriptedAnswer(const std::string& payload)>;

  MailboxServer()
      : server_([this](const ScriptedRequest& request) {
          Answer answer;
          {
            const std::scoped_lock lock(mutex_);
            const auto found = answers_.find(operationOf(request));
            if (found != answers_.end()) answer = found->second;
          }
          return answer ? answer(payloadOf(request)) : failedAnswer();
        }) {}

  void on(std::string operation, Answer answer) {
    const std::scoped_lock lock(mutex_);
    answers_[std::move(operation)] = std::move(answer);
  }
  void on(std::string operation, ScriptedAnswer answer) {
    on(std::move(operation), [answer = std::move(answer)](const std::string&) { return answer; });
  }

  [[nodiscard]] std::string url() const { return server_.url("/"); }
  /// The requests up to now count no longer.
  void startOver() { first_ = server_.requestCount(); }
  [[nodiscard]] std::vector<ScriptedRequest> requests() const {
    auto requests = server_.requests();
    requests.erase(requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(first_));
    return requests;
  }
  /// The operations asked for, in order.
  [[nodiscard]] std::vector<std::string> operations() const {
    std::vector<std::string> names;
    for (const auto& request : requests()) names.push_back(operationOf(request));
    return names;
  }
  /// The body of the request of that number.
  [[nodiscard]] std::string payload(std::size_t at) const { return payloadOf(requests().at(at)); }
  [[nodiscard]] std::size_t requestCount() const { return server_.requestCount() - first_; }

 private:
  std::mutex mutex_;
  std::map<std::string, Answer> answers_;
  std::size_t first_ = 0;
  ScriptedServer server_;  // last: its threads end before the rest goes
};

}  // namespace tarnwell::test
