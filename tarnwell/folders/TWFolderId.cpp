#include "tarnwell/folders/TWFolderId.h"

#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/schema/TWElementFields.h"

namespace tarnwell {

const TWElementClass& TWFolderId::elementClass() {
  static const auto& kClass = *new TWElementClass({.name = "TWFolderId",
                                                   .base = &TWItemId::elementClass(),
                                                   .elementName = "FolderId",
                                                   .make = &detail::makeElement<TWFolderId>});
  return kClass;
}

const TWElementClass& TWDistinguishedFolderId::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWDistinguishedFolderId",
                           .base = &TWItemId::elementClass(),
                           .elementName = "DistinguishedFolderId",
                           .fields =
                               [] {
                                 return TWFields{TWEWSElementField::withProps(
                                     {.name = "mailbox", .valueCls = &TWMailbox::elementClass()})};
                               },
                           .make = &detail::makeElement<TWDistinguishedFolderId>});
  return kClass;
}

}  // namespace tarnwell
