#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tarnwell/folders/TWQuerySet.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWItemEntry.h"

#include "tests/folders/FolderTesting.h"

namespace tarnwell::test {

[[nodiscard]] inline std::string idXML(const std::string& id) {
  return "<t:ItemId Id=\"" + id + "\" ChangeKey=\"ck-" + id + "\"/>";
}
[[nodiscard]] inline std::string messageXML(const std::string& id,
                                            const std::string& subject = "") {
  return "<t:Message>" + idXML(id) +
         (subject.empty() ? "" : "<t:Subject>" + subject + "</t:Subject>") + "</t:Message>";
}

/// An inbox with messages on a scripted server.
class QuerySetTest : public MailboxTest {
 protected:
  QuerySetTest() { inbox = folder("I", TWInbox::elementClass()); }

  void finds(const std::string& items) {
    server.on("FindItem", answer("FindItem", pageMessage("FindItem", "Items", items)));
  }
  void fetches(const std::vector<std::string>& items) {
    std::string messages;
    for (const auto& item : items)
      messages +=
          responseMessage("GetItem", "Success", "NoError", "<m:Items>" + item + "</m:Items>");
    server.on("GetItem", answer("GetItem", messages));
  }
  /// Three messages whose subjects are "b", "c", "a".
  void hasMessages() {
    finds(messageXML("1") + messageXML("2") + messageXML("3"));
    fetches({messageXML("1", "b"), messageXML("2", "c"), messageXML("3", "a")});
  }
  /// An operation that does what it is asked to for all three.
  void succeeds(const std::string& operation) {
    const auto done = responseMessage(operation, "Success", "NoError");
    server.on(operation, answer(operation, done + done + done));
  }
  static std::vector<std::string> idsOf(const TWItemEntries& entries) {
    std::vector<std::string> ids;
    for (const auto& entry : entries) ids.push_back(entry.idPair() ? entry.idPair()->id : "-");
    return ids;
  }

  std::shared_ptr<TWFolder> inbox;
};

}  // namespace tarnwell::test
