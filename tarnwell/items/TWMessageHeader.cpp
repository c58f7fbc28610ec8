#include "tarnwell/items/TWMessageHeader.h"

#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {

const TWElementClass& TWMessageHeader::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWMessageHeader",
       .base = &TWEWSElement::elementClass(),
       .elementName = "InternetMessageHeader",
       .fields =
           [] {
             return TWFields{
                 TWTextField::withProps(
                     {.name = "name", .fieldURI = "HeaderName", .isAttribute = true}),
                 TWSubField::withProps({.name = "value"}),
             };
           },
       .make = &detail::makeElement<TWMessageHeader>});
  return kClass;
}

}  // namespace tarnwell
