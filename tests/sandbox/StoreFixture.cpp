#include "tests/sandbox/StoreFixture.h"

namespace tarnwell::sandbox::test {

std::string distinguished(const std::string& id, const std::string& mailbox) {
  std::string text = "<t:DistinguishedFolderId Id='" + id + "'>";
  if (!mailbox.empty()) {
    text += "<t:Mailbox><t:EmailAddress>" + mailbox + "</t:EmailAddress></t:Mailbox>";
  }
  return text + "</t:DistinguishedFolderId>";
}

std::string folderId(const IdPair& folder) {
  return "<t:FolderId Id='" + folder.id + "' ChangeKey='" + folder.changeKey + "'/>";
}

std::string itemId(const IdPair& item) {
  const std::string key = item.changeKey.empty() ? "" : "' ChangeKey='" + item.changeKey;
  return "<t:ItemId Id='" + item.id + key + "'/>";
}

IdPair idAt(const Answer& answer, const std::string& path) {
  return {answer.attribute(path, "Id"), answer.attribute(path, "ChangeKey")};
}

Answer StoreTest::ask(const std::string& operation, const std::string& version) {
  return Answer(send(envelope(operation, version)));
}

std::string StoreTest::violation(const std::string& operation, const std::string& version) {
  const HttpReply reply = send(envelope(operation, version));
  EXPECT_TRUE(isFault(reply, 500, "ErrorSchemaValidation"));
  return Answer(reply).text("//Violation");
}

std::string StoreTest::code(const std::string& operation, const std::string& version) {
  return ask(operation, version).text("//ResponseCode");
}

IdPair StoreTest::makeFolder(const std::string& parent, const std::string& name) {
  const Answer answer = ask("<m:CreateFolder><m:ParentFolderId>" + parent +
                            "</m:ParentFolderId><m:Folders><t:Folder><t:DisplayName>" + name +
                            "</t:DisplayName></t:Folder></m:Folders></m:CreateFolder>");
  EXPECT_EQ(answer.text("//ResponseCode"), "NoError");
  return idAt(answer, "//FolderId");
}

Answer StoreTest::getFolder(const std::string& reference, const std::string& shape) {
  return ask("<m:GetFolder><m:FolderShape><t:BaseShape>" + shape +
             "</t:BaseShape></m:FolderShape><m:FolderIds>" + reference +
             "</m:FolderIds></m:GetFolder>");
}

IdPair StoreTest::makeItem(const std::string& item, const std::string& folder,
                           const std::string& attributes) {
  const std::string target =
      folder.empty() ? "" : "<m:SavedItemFolderId>" + folder + "</m:SavedItemFolderId>";
  const Answer answer = ask("<m:CreateItem " + attributes + ">" + target + "<m:Items>" + item +
                            "</m:Items></m:CreateItem>");
  EXPECT_EQ(answer.text("//ResponseCode"), "NoError");
  return idAt(answer, "//ItemId");
}

Answer StoreTest::getItem(const IdPair& item, const std::string& shape) {
  return ask("<m:GetItem><m:ItemShape>" + shape + "</m:ItemShape><m:ItemIds>" + itemId(item) +
             "</m:ItemIds></m:GetItem>");
}

std::vector<std::string> StoreTest::subjects(const std::string& folder, const std::string& middle,
                                             const std::string& after) {
  const Answer answer = ask(
      "<m:FindItem Traversal='Shallow'><m:ItemShape><t:BaseShape>IdOnly</t:BaseShape>"
      "<t:AdditionalProperties><t:FieldURI FieldURI='item:Subject'/></t:AdditionalProperties>"
      "</m:ItemShape>" +
      middle + "<m:ParentFolderIds>" + folder + "</m:ParentFolderIds>" + after + "</m:FindItem>");
  EXPECT_EQ(answer.text("//ResponseCode"), "NoError");
  return answer.texts("//Subject");
}

}  // namespace tarnwell::sandbox::test
