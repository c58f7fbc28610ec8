#include "tarnwell/schema/TWFieldOrder.h"

#include <string_view>
#include <utility>

#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {

TWFieldOrder::TWFieldOrder(std::shared_ptr<TWFieldPath> fieldPath, bool reverse)
    : fieldPath_(std::move(fieldPath)), reverse_(reverse) {}

std::shared_ptr<TWFieldOrder> TWFieldOrder::make(std::shared_ptr<TWFieldPath> fieldPath,
                                                 bool reverse) {
  if (!fieldPath) return nullptr;
  return std::shared_ptr<TWFieldOrder>(new TWFieldOrder(std::move(fieldPath), reverse));
}

bool TWFieldOrder::isDescending(const TWValue& text) {
  return text.isText() && text.textView().starts_with('-');
}

TWValue TWFieldOrder::pathText(const TWValue& text) {
  if (!text.isText()) return text;
  std::string_view path = text.textView();
  while (path.starts_with('-')) path.remove_prefix(1);
  while (path.ends_with('-')) path.remove_suffix(1);
  return path;
}

NKXMLElement TWFieldOrder::toXML(const TWVersion* version, TWError* error) {
  const auto path = fieldPath_->toXML(version, error);
  if (!path) return {};
  auto order =
      TWUtils::createElement("t:FieldOrder", {{"Order", reverse_ ? "Descending" : "Ascending"}});
  order.addChild(path);
  return order;
}

std::string TWFieldOrder::description() const {
  return formatMessage("%@__%@%@", {className(), reverse_ ? "-" : "", fieldPath_->path()});
}

TWProperties TWFieldOrder::declaredProperties() const {
  return {{"fieldPath", fieldPath_}, {"reverse", reverse_}};
}

}  // namespace tarnwell
