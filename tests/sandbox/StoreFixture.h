#pragma once

#include <string>
#include <vector>

#include "tests/sandbox/SandboxFixture.h"

namespace tarnwell::sandbox::test {

/// An id as answers have it.
struct IdPair {
  std::string id;
  std::string changeKey;
};

[[nodiscard]] std::string distinguished(const std::string& id, const std::string& mailbox = {});
[[nodiscard]] std::string folderId(const IdPair& folder);
[[nodiscard]] std::string itemId(const IdPair& item);

/// The requests that tests of the store send over and over.
class StoreTest : public SandboxTest {
 protected:
  using SandboxTest::SandboxTest;

  [[nodiscard]] Answer ask(const std::string& operation,
                           const std::string& version = "Exchange2016");
  /// The violation that the request is refused for.
  [[nodiscard]] std::string violation(const std::string& operation,
                                      const std::string& version = "Exchange2016");
  /// "NoError" or what the first response message says instead.
  [[nodiscard]] std::string code(const std::string& operation,
                                 const std::string& version = "Exchange2016");

  /// `parent` is a reference, `folder` the t:Folder's content.
  [[nodiscard]] IdPair makeFolder(const std::string& parent, const std::string& name);
  [[nodiscard]] Answer getFolder(const std::string& reference,
                                 const std::string& shape = "AllProperties");
  /// `item` is the whole element; `folder` a reference, empty for the default.
  [[nodiscard]] IdPair makeItem(const std::string& item, const std::string& folder = {},
                                const std::string& attributes =
                                    R"(MessageDisposition="SaveOnly" )"
                                    R"(SendMeetingInvitations="SendToNone")");
  [[nodiscard]] Answer getItem(
      const IdPair& item, const std::string& shape = "<t:BaseShape>AllProperties</t:BaseShape>");
  /// The subjects that a FindItem with `middle` between its shape and its folder finds.
  [[nodiscard]] std::vector<std::string> subjects(const std::string& folder,
                                                  const std::string& middle = {},
                                                  const std::string& after = {});
};

[[nodiscard]] IdPair idAt(const Answer& answer, const std::string& path);

}  // namespace tarnwell::sandbox::test
