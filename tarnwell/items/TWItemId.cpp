#include "tarnwell/items/TWItemId.h"

#include "tarnwell/schema/TWTextFields.h"
#include "tarnwell/transport/TWNamespaces.h"

namespace tarnwell {
namespace {

template <class Id>
TWFields idFields() {
  return {
      TWIdField::withProps(
          {.name = "id", .fieldURI = std::string(Id::idAttr()), .isRequired = true}),
      TWIdField::withProps({.name = "changekey", .fieldURI = std::string(Id::changeKeyAttr())}),
  };
}

}  // namespace

const TWElementClass& TWItemId::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWItemId",
                                                   .base = &TWEWSElement::elementClass(),
                                                   .elementName = "ItemId",
                                                   .fields = &idFields<TWItemId>,
                                                   .make = &detail::makeElement<TWItemId>});
  return kClass;
}

const TWElementClass& TWParentItemId::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWParentItemId",
                                                   .base = &TWItemId::elementClass(),
                                                   .elementName = "ParentItemId",
                                                   .nameSpace = kMessagesNamespace,
                                                   .make = &detail::makeElement<TWParentItemId>});
  return kClass;
}

const TWElementClass& TWRootItemId::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWRootItemId",
                                                   .base = &TWItemId::elementClass(),
                                                   .elementName = "RootItemId",
                                                   .nameSpace = kMessagesNamespace,
                                                   .fields = &idFields<TWRootItemId>,
                                                   .replacesFields = true,
                                                   .make = &detail::makeElement<TWRootItemId>});
  return kClass;
}

const TWElementClass& TWConversationId::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWConversationId",
                                                   .base = &TWItemId::elementClass(),
                                                   .elementName = "ConversationId",
                                                   .make = &detail::makeElement<TWConversationId>});
  return kClass;
}

std::optional<std::string> TWConversationId::constantText() const { return get("id").asText(); }

const TWElementClass& TWAssociatedCalendarItemId::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWAssociatedCalendarItemId",
                           .base = &TWItemId::elementClass(),
                           .elementName = "AssociatedCalendarItemId",
                           .make = &detail::makeElement<TWAssociatedCalendarItemId>});
  return kClass;
}

const TWElementClass& TWParentFolderId::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWParentFolderId",
                                                   .base = &TWItemId::elementClass(),
                                                   .elementName = "ParentFolderId",
                                                   .make = &detail::makeElement<TWParentFolderId>});
  return kClass;
}

}  // namespace tarnwell
