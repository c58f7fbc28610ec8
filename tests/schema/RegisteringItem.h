#pragma once

#include <memory>

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWField.h"

namespace tarnwell::test {

/// An element class that takes registered fields, one for each tag, so that what one test registers
/// is not seen by another.
template <class Tag>
class RegisteringItem : public detail::ElementKind<RegisteringItem<Tag>, TWRegisterMixIn> {
 public:
  [[nodiscard]] static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({
        .name = "RegisteringItem",
        .base = &TWRegisterMixIn::elementClass(),
        .elementName = "Item",
        .fields =
            [] {
              return TWFields{
                  TWFieldURIField::withProps({.name = "subject", .fieldURI = "item:Subject"}),
                  TWFieldURIField::withProps({.name = "has_attachments"}),
                  TWFieldURIField::withProps({.name = "culture"}),
              };
            },
        .make = &detail::makeElement<RegisteringItem>,
        .insertAfterField = "has_attachments",
    });
    return kClass;
  }
};

}  // namespace tarnwell::test
