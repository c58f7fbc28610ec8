#include "sandbox/operations/items/ItemArchive.h"

#include <stdexcept>

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Schema.h"
#include "sandbox/items/Properties.h"
#include "sandbox/store/EwsError.h"

namespace tarnwell::sandbox {
namespace {

EwsError corrupt() { return {"ErrorCorruptData", "The data is no exported item."}; }

}  // namespace

std::string archiveItem(const Item& item) {
  Node archive{"SandboxItem", {{"Format", "1"}}};
  archive.children.push_back({"Content", {}, {}, {item.content}});
  for (const auto& attachment : item.attachments) {
    Node& node = archive.children.emplace_back(Node{"Attachment"});
    node.children.push_back({"Description", {}, {}, {attachment->description}});
    node.children.push_back({"Bytes", {}, attachment->content});
    if (attachment->item) node.children.push_back({"Nested", {}, {}, {*attachment->item}});
  }
  return encodeBase64(nodeText(archive));
}

Item itemFromArchive(Store& store, const std::string& data) {
  const std::optional<std::string> text = decodeBase64(data);
  if (!text) throw corrupt();
  Node archive;
  try {
    archive = nodeFromText(*text);
  } catch (const std::runtime_error&) {
    throw corrupt();
  } catch (const SoapFault&) {
    throw corrupt();
  }
  const Node* content = archive.child("Content");
  if (archive.name != "SandboxItem" || content == nullptr || content->children.size() != 1 ||
      findItemKind(content->children[0].name) == nullptr) {
    throw corrupt();
  }
  Item item;
  item.content = content->children[0];
  for (const Node& node : archive.children) {
    if (node.name != "Attachment") continue;
    const Node* description = node.child("Description");
    if (description == nullptr || description->children.size() != 1) throw corrupt();
    Attachment attachment;
    attachment.number = store.newNumber();
    attachment.description = description->children[0];
    attachment.content = node.childText("Bytes");
    const Node* nested = node.child("Nested");
    if (nested != nullptr && nested->children.size() == 1) attachment.item = nested->children[0];
    item.attachments.push_back(std::make_shared<const Attachment>(std::move(attachment)));
  }
  return item;
}

}  // namespace tarnwell::sandbox
