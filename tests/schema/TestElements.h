#pragma once

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/TWNumberFields.h"
#include "tarnwell/schema/TWTextFields.h"

namespace tarnwell::test {

/// Elements of a made-up address book, for what all element classes have in common.

/// A nested element.
class ElementField : public detail::FieldKind<ElementField, TWFieldURIField> {
 public:
  static constexpr std::string_view kClassName = "ElementField";
  using FieldKind::FieldKind;
};

class Street : public detail::ElementKind<Street, TWEWSElement> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "Street",
         .base = &TWEWSElement::elementClass(),
         .elementName = "Street",
         .fields =
             [] {
               return TWFields{
                   TWCharField::withProps(
                       {.name = "name", .fieldURI = "street:Name", .isRequired = true}),
                   TWIntegerField::withProps({.name = "number", .fieldURI = "street:Number"}),
               };
             },
         .make = &detail::makeElement<Street>});
    return kClass;
  }
};

class Person : public detail::ElementKind<Person, TWEWSElement> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "Person",
         .base = &TWEWSElement::elementClass(),
         .elementName = "Person",
         .fields =
             [] {
               return TWFields{
                   TWIdField::withProps({.name = "id", .fieldURI = "Id", .isReadOnly = true}),
                   TWTextField::withProps(
                       {.name = "kind", .fieldURI = "Kind", .isAttribute = true}),
                   TWTextField::withProps({.name = "badge",
                                           .fieldURI = "Badge",
                                           .supportedFrom = TWBuild(15, 0),
                                           .isAttribute = true}),
                   TWCharField::withProps({.name = "name", .fieldURI = "person:Name"}),
                   TWIntegerField::withProps(
                       {.name = "age", .fieldURI = "person:Age", .default_ = 18, .min = 0}),
                   TWCharField::withProps(
                       {.name = "created", .fieldURI = "person:Created", .isReadOnly = true}),
                   TWTextFieldList::withProps({.name = "tags", .fieldURI = "person:Tags"}),
                   TWCharField::withProps({.name = "nick",
                                           .fieldURI = "person:Nick",
                                           .supportedFrom = TWBuild(14, 0),
                                           .maxLength = 5}),
                   ElementField::withProps({.name = "street",
                                            .fieldURI = "person:Street",
                                            .valueCls = &Street::elementClass()}),
                   ElementField::withProps({.name = "friend",
                                            .fieldURI = "person:Friend",
                                            .valueCls = &elementClass()}),
               };
             },
         .make = &detail::makeElement<Person>});
    return kClass;
  }
};

/// Has fields of its own besides those of its base.
class Employee : public detail::ElementKind<Employee, Person> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass(
        {.name = "Employee",
         .base = &Person::elementClass(),
         .elementName = "Employee",
         .nameSpace = "http://schemas.microsoft.com/exchange/services/2006/messages",
         .fields =
             [] {
               return TWFields{
                   TWCharField::withProps({.name = "office", .fieldURI = "employee:Office"})};
             },
         .make = &detail::makeElement<Employee>});
    return kClass;
  }
};

/// Has no fields of its own.
class Guest : public detail::ElementKind<Guest, Person> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({.name = "Guest",
                                                     .base = &Person::elementClass(),
                                                     .elementName = "Guest",
                                                     .responseTag = "Visitor",
                                                     .responseXMLns = "urn:visitors",
                                                     .make = &detail::makeElement<Guest>});
    return kClass;
  }
};

/// Cannot be written: its element is in neither namespace of requests.
class Stranger : public detail::ElementKind<Stranger, Person> {
 public:
  static const TWElementClass& elementClass() {
    static const auto& kClass = *new TWElementClass({.name = "Stranger",
                                                     .base = &Person::elementClass(),
                                                     .elementName = "Stranger",
                                                     .nameSpace = "urn:strangers",
                                                     .make = &detail::makeElement<Stranger>});
    return kClass;
  }
};

}  // namespace tarnwell::test
