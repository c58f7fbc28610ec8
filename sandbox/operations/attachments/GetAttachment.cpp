#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/attachments/AttachmentElement.h"

namespace tarnwell::sandbox {
namespace {

/// What the schema of Exchange 2007 does not have.
bool isNewIn2010(const std::string& name) {
  return name == "Size" || name == "LastModifiedTime" || name == "IsInline" ||
         name == "IsContactPhoto";
}

void appendWhole(pugi::xml_node parent, const OperationCall& call, const Attachment& attachment,
                 const ItemShape& shape) {
  pugi::xml_node element = appendAttachmentId(parent, attachment, nullptr);
  for (const Node& child : attachment.description.children) {
    if (call.schema >= Schema::exchange2010 || !isNewIn2010(child.name)) {
      appendNode(element, child);
    }
  }
  if (!attachment.item) {
    append(element, "t:Content", attachment.content);
    return;
  }
  Item nested;
  nested.content = *attachment.item;
  ItemShape whole = shape;
  whole.base = ItemShape::Base::all;
  appendItem(element, nested, whole, call.schema, false);
}

}  // namespace

void getAttachment(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({});
  ItemShape shape;
  if (const pugi::xml_node element = reader.optional(kMessagesNs, "AttachmentShape")) {
    shape = readItemShape(element, call.schema);
  }
  const auto ids = readAttachmentIds(reader.required(kMessagesNs, "AttachmentIds"));
  reader.end();
  for (const std::string& id : ids) {
    answerPart(response, "GetAttachment", [&](pugi::xml_node message) {
      const AttachmentPlace place = resolveAttachment(call.store, id);
      appendWhole(message.append_child("m:Attachments"), call, *place.attachment, shape);
    });
  }
}

}  // namespace tarnwell::sandbox
