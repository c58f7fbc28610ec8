#include "tarnwell/services/detail/ItemRequests.h"

#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/protocol/TWBuilds.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell::detail {

NKXMLElement itemIdElement(const std::optional<TWIdPair>& pair, TWError* error) {
  if (pair && !pair->id.empty())
    return TWItemId::withDict({{"id", pair->id}, {"changekey", pair->changekey}})
        ->toXML(nullptr, error);
  setError(error, {TWErrorCode::ErrorValueOutOfRange, "Item must have an id"});
  return {};
}

NKXMLElement itemIdsElement(const TWItemEntries& ids, TWError* error) {
  auto element = TWUtils::createElement("m:ItemIds");
  for (const auto& entry : ids) {
    if (!entry) {
      setError(error, entry.error());
      return {};
    }
    const auto id = itemIdElement(entry.idPair(), error);
    if (!id) return {};
    element.addChild(id);
  }
  return element;
}

NKXMLElement attachmentIdsElement(const TWList& ids, TWError* error) {
  auto element = TWUtils::createElement("m:AttachmentIds");
  for (const auto& entry : ids) {
    const auto id = entry.isText() ? TWAttachmentId::withDict({{"id", entry}})
                                   : entry.asObject<TWAttachmentId>();
    if (!id) {
      setError(error, {TWErrorCode::ErrorType,
                       formatMessage("%@ must be the id of an attachment", {entry})});
      return {};
    }
    const auto xml = id->toXML(nullptr, error);
    if (!xml) return {};
    if (id->get("id").textView().empty()) {
      setError(error, {TWErrorCode::ErrorValueOutOfRange, "Attachment must have an id"});
      return {};
    }
    element.addChild(xml);
  }
  return element;
}

void addSuppressReadReceipts(TWDictionary& attributes, bool suppress,
                             const std::optional<TWVersion>& version) {
  const auto build = version ? version->build() : std::nullopt;
  if (build && build->isGreaterThanOrEqualTo(kExchange2013))
    attributes.set("SuppressReadReceipts", suppress ? "true" : "false");
}

TWList elementOrTrue(const NKXMLElement& container) {
  TWList elements;
  for (const auto& element : container.childElements()) elements.emplace_back(element);
  if (elements.empty()) elements.emplace_back(true);
  return elements;
}

TWError missingResult(const TWServiceClass& service, const NKXMLNode& message) {
  return {TWErrorCode::ErrorTransport,
          formatMessage(
              "No %@ elements in ResponseMessage %@",
              {service.elementContainerName, message ? TWValue(message.XMLString()) : TWValue()})};
}

TWErrorCodes withResponseMessageError() {
  auto codes = TWServiceClass::baseErrorsToCatch();
  codes.insert(TWErrorCode::ErrorResponseMessage);
  return codes;
}

}  // namespace tarnwell::detail
