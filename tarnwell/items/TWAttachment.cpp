#include "tarnwell/items/TWAttachment.h"

#include <string>

#include "tarnwell/schema/TWBase64Field.h"
#include "tarnwell/schema/TWDateFields.h"
#include "tarnwell/schema/TWElementFields.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell {

const TWElementClass& TWAttachmentId::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWAttachmentId",
       .base = &TWEWSElement::elementClass(),
       .elementName = "AttachmentId",
       .fields =
           [] {
             return TWFields{
                 TWIdField::withProps(
                     {.name = "id", .fieldURI = std::string(idAttr()), .isRequired = true}),
                 TWIdField::withProps({.name = "root_id", .fieldURI = std::string(rootIdAttr())}),
                 TWIdField::withProps(
                     {.name = "changekey", .fieldURI = std::string(rootChangekeyAttr())}),
             };
           },
       .make = &detail::makeElement<TWAttachmentId>});
  return kClass;
}

const TWElementClass& TWAttachment::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWAttachment", .base = &TWEWSElement::elementClass(), .fields = [] {
         return TWFields{
             TWEWSElementField::withProps(
                 {.name = "attachment_id", .valueCls = &TWAttachmentId::elementClass()}),
             TWTextField::withProps({.name = "name", .fieldURI = "Name"}),
             TWTextField::withProps({.name = "content_type", .fieldURI = "ContentType"}),
             TWTextField::withProps({.name = "content_id", .fieldURI = "ContentId"}),
             TWURIField::withProps({.name = "content_location", .fieldURI = "ContentLocation"}),
             TWIntegerField::withProps({.name = "size", .fieldURI = "Size", .isReadOnly = true}),
             TWDateTimeField::withProps(
                 {.name = "last_modified_time", .fieldURI = "LastModifiedTime"}),
             TWBooleanField::withProps({.name = "is_inline", .fieldURI = "IsInline"}),
         };
       }});
  return kClass;
}

const TWElementClass& TWFileAttachment::elementClass() {
  static const auto& kClass = *new TWElementClass(
      {.name = "TWFileAttachment",
       .base = &TWAttachment::elementClass(),
       .elementName = "FileAttachment",
       .fields =
           [] {
             return TWFields{
                 TWBooleanField::withProps(
                     {.name = "is_contact_photo", .fieldURI = "IsContactPhoto"}),
                 TWBase64Field::withProps({.name = "_content", .fieldURI = "Content"}),
             };
           },
       .make = &detail::makeElement<TWFileAttachment>});
  return kClass;
}

}  // namespace tarnwell
