#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWField.h"

/// What the field tables of items are written with.
namespace tarnwell::detail {

/// A row of a table: a field of that kind with the options that differ from those of every field.
template <class Kind>
[[nodiscard]] std::shared_ptr<TWField> field(const char* name, const char* fieldURI,
                                             TWFieldOptions options = {}) {
  options.name = name;
  options.fieldURI = fieldURI;
  return Kind::withProps(std::move(options));
}

/// Set by the server; `from` is the first one that knows the field.
[[nodiscard]] inline TWFieldOptions readOnly(std::optional<TWBuild> from = std::nullopt) {
  return {.supportedFrom = from, .isReadOnly = true};
}
/// Not to be changed once a message has been sent.
[[nodiscard]] inline TWFieldOptions readOnlyAfterSend() { return {.isReadOnlyAfterSend = true}; }
/// One of fixed texts.
[[nodiscard]] inline TWFieldOptions oneOf(std::vector<TWChoice> choices) {
  return {.choices = std::move(choices)};
}
/// One of fixed texts that the server sets.
[[nodiscard]] inline TWFieldOptions readOnlyOneOf(std::vector<TWChoice> choices) {
  return {.choices = std::move(choices), .isReadOnly = true};
}
/// One of fixed texts; the default stands for a missing value.
[[nodiscard]] inline TWFieldOptions requiredOneOf(std::vector<TWChoice> choices,
                                                  TWValue byDefault) {
  return {.default_ = std::move(byDefault), .choices = std::move(choices), .isRequired = true};
}
/// An element of that class that the server sets.
[[nodiscard]] inline TWFieldOptions readOnlyElement(const TWElementClass& valueCls,
                                                    std::optional<TWBuild> from = std::nullopt) {
  return {.valueCls = &valueCls, .supportedFrom = from, .isReadOnly = true};
}

/// What a message has besides what every item has.
[[nodiscard]] TWFields messageFields();

}  // namespace tarnwell::detail
