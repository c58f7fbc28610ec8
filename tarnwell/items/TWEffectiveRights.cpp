#include "tarnwell/items/TWEffectiveRights.h"

#include "tarnwell/schema/TWNumberFields.h"

namespace tarnwell {
namespace {

std::shared_ptr<TWField> right(const char* name, const char* fieldURI) {
  return TWBooleanField::withProps({.name = name, .fieldURI = fieldURI, .default_ = false});
}

}  // namespace

const TWElementClass& TWEffectiveRights::elementClass() {
  static const auto& kClass =
      *new TWElementClass({.name = "TWEffectiveRights",
                           .base = &TWEWSElement::elementClass(),
                           .elementName = "EffectiveRights",
                           .fields =
                               [] {
                                 return TWFields{
                                     right("create_associated", "CreateAssociated"),
                                     right("create_contents", "CreateContents"),
                                     right("create_hierarchy", "CreateHierarchy"),
                                     right("delete", "Delete"),
                                     right("modify", "Modify"),
                                     right("read", "Read"),
                                     right("view_private_items", "ViewPrivateItems"),
                                 };
                               },
                           .make = &detail::makeElement<TWEffectiveRights>});
  return kClass;
}

}  // namespace tarnwell
