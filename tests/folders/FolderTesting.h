#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/folders/TWRoot.h"

#include "tests/support/MailboxAnswers.h"
#include "tests/support/TestAccount.h"

namespace tarnwell::test {

/// The names of folders, in their order.
[[nodiscard]] inline std::vector<std::string> namesOf(const TWFolders& folders) {
  std::vector<std::string> names;
  for (const auto& folder : folders)
    names.push_back(folder->TWEWSElement::get("name").description());
  return names;
}

/// A folder without a server, below the others that are made so.
[[nodiscard]] inline std::shared_ptr<TWFolder> localFolder(const std::string& name,
                                                           TWFolders children = {}) {
  auto folder = TWFolder::withDict({{"name", name}});
  for (const auto& child : children) child->setParent(folder);
  folder->setChildren(std::move(children));
  return folder;
}

/// A mailbox on a scripted server: the root "R", below it the top of the information store "T", and
/// below that whatever a test lets the server find.
class MailboxTest : public testing::Test {
 protected:
  MailboxTest() {
    server.on("GetFolder", [](const std::string& payload) {
      const bool isRoot = payload.find("\"root\"") != std::string::npos;
      return answer("GetFolder",
                    foldersMessage("GetFolder",
                                   isRoot ? folderXML("R", "", "", "")
                                          : folderXML("T", "Top of Information Store", "R", "")));
    });
    account = makeAccount(server.url());
    root = account->root();
    server.startOver();
  }
  TWRoot& tree() { return static_cast<TWRoot&>(*root); }

  /// What a deep search finds.
  void hasFolders(const std::string& folders) {
    server.on("FindFolder", answer("FindFolder", pageMessage("FindFolder", "Folders", folders)));
  }
  /// Folders by their distinguished ids.
  void hasWellKnownFolders() {
    server.on("GetFolder", [](const std::string& payload) {
      const auto at = payload.find(" Id=\"") + 5;
      const auto name = payload.substr(at, payload.find('"', at) - at);
      return answer("GetFolder", foldersMessage("GetFolder", folderXML(name, name, "", "")));
    });
  }
  /// A folder of that id, in the tree or not.
  [[nodiscard]] std::shared_ptr<TWFolder> folder(
      const std::string& id, const TWFolderClass& cls = TWFolder::elementClass()) {
    return TWFolder::make(cls, {{"folder_id", id}, {"changekey", "ck-" + id}, {"name", id}},
                          account);
  }

  MailboxServer server;
  std::shared_ptr<TWAccount> account;
  std::shared_ptr<TWFolder> root;
};

}  // namespace tarnwell::test
