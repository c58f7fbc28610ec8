#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell::test {

/// The text as an element, in which "t:" and "m:" are the namespaces of types and messages.
inline NKXMLElement parsed(std::string_view xml) {
  TWError error;
  const auto root =
      NKXMLElement::withXMLString(formatMessage("<root xmlns:t=\"%@\" xmlns:m=\"%@\">%@</root>",
                                                {kTypesNamespace, kMessagesNamespace, xml}),
                                  &error);
  EXPECT_TRUE(root) << error;
  for (const auto& element : root.childElements()) return element;
  ADD_FAILURE() << "no element in " << xml;
  return {};
}

/// An element of that class read from the text.
template <class Element>
std::shared_ptr<Element> read(std::string_view xml) {
  return Element::fromXML(parsed(xml));
}

/// The XML of the element; "error: ..." when it cannot be written.
inline std::string written(TWEWSElement& element, const TWVersion* version = nullptr) {
  TWError error;
  const auto xml = element.toXML(version, &error);
  return error ? "error: " + error.message() : xml.description();
}

/// The error of validating the element, which must fail.
inline TWError failure(TWEWSElement& element, const TWVersion* version = nullptr) {
  TWError error;
  EXPECT_FALSE(element.clean(version, &error));
  return error;
}

/// What a class declares, one line for each field: "id (Id): TWIdField, isRequired". Flags that
/// differ from those of every field, and the options default, choices, valueCls, supportedFrom and
/// min.
inline std::vector<std::string> tableOf(const TWElementClass& cls) {
  std::vector<std::string> lines;
  for (const auto& field : cls.fields()) {
    auto line =
        formatMessage("%@ (%@): %@", {field->name(), field->fieldURI(), field->className()});
    for (const auto* const flag : {"isRequired", "isRequiredAfterSave", "isReadOnly",
                                   "isReadOnlyAfterSend", "isSearchable", "isAttribute"})
      if (field->get(flag) != TWField::defaults().get(flag)) line += std::string(", ") + flag;
    for (const auto* const option : {"default", "choices", "valueCls", "supportedFrom", "min"})
      if (const auto value = field->get(option); !value.isAbsent())
        line += formatMessage(", %@ %@", {option, value});
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace tarnwell::test
