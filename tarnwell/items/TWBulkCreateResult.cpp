#include "tarnwell/items/TWBulkCreateResult.h"

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/detail/ItemFields.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace tarnwell {

const TWElementClass& TWBulkCreateResult::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWBulkCreateResult",
       .base = &TWEWSElement::elementClass(),
       .fields =
           [] {
             const std::string id(TWItemId::idAttr()), changekey(TWItemId::changeKeyAttr());
             return TWFields{
                 detail::field<TWIdField>("item_id", id.c_str()),
                 detail::field<TWIdField>("changekey", changekey.c_str()),
                 detail::field<TWAttachmentField>("attachments", "item:Attachments"),
             };
           },
       .make = &detail::makeElement<TWBulkCreateResult>});
  return kClass;
}

std::optional<TWIdPair> TWBulkCreateResult::idPair() const {
  auto id = get("item_id").asText();
  if (!id) return std::nullopt;
  return TWIdPair{*std::move(id), get("changekey").asText()};
}

void TWBulkCreateResult::initFromXML(const NKXMLElement& xml,
                                     const std::shared_ptr<TWAccount>& account) {
  ElementKind::initFromXML(xml, account);
  // The field reads files only; here every attachment counts, as they are told by their places.
  TWList attachments;
  for (const auto& child : xml.elementForName("Attachments", kTypesNamespace).childElements()) {
    for (const auto* const cls :
         {&TWFileAttachment::elementClass(), &TWItemAttachment::elementClass()})
      if (child.localName() == cls->responseTag() && child.URI() == cls->responseXMLns())
        attachments.emplace_back(cls->fromXML(child, account));
  }
  if (!attachments.empty()) set("attachments", std::move(attachments));
  // These stand in a child rather than in the item's own attributes.
  remove("item_id");
  remove("changekey");
  const auto pair = TWItem::idFromXML(xml);
  if (!pair) return;
  set("item_id", pair->id);
  set("changekey", pair->changekey);
}

}  // namespace tarnwell
