#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/services/TWCreateAttachment.h"
#include "tarnwell/services/TWDeleteAttachment.h"
#include "tarnwell/services/TWGetAttachment.h"
#include "tarnwell/services/detail/BadValue.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

using detail::badValue;

namespace {

constexpr auto kId = "attachment_id", kContent = "_content", kItem = "_item",
               kContentType = "content_type", kRootChangekey = "root_changekey";

/// The first result of a call for one attachment; invalid with its error.
NKXMLElement firstOf(const std::optional<TWList>& results, const TWServiceClass& service,
                     TWError* error) {
  if (!results) return {};
  const TWValue first = results->empty() ? TWValue() : results->front();
  if (auto xml = first.asXML()) return xml;
  const auto caught = first.asError();
  setError(error, caught ? caught : detail::missingResult(service));
  return {};
}

/// The element itself, or the one in it.
NKXMLElement itselfOrChild(const NKXMLElement& xml, std::string_view name, std::string_view xmlns) {
  return xml.localName() == name ? xml : xml.elementForName(name, xmlns);
}

std::shared_ptr<TWAccount> accountOf(const std::shared_ptr<TWItem>& parent, TWError* error) {
  auto account = parent ? parent->account() : nullptr;
  if (!account) setError(error, badValue("Parent item %@ must have an account", {TWValue(parent)}));
  return account;
}

}  // namespace

bool TWAttachment::attach(TWError* error) {
  if (!get(kId).isAbsent()) {
    setError(error, badValue("This attachment has already been created"));
    return false;
  }
  const auto parent = parentItem();
  const auto account = accountOf(parent, error);
  if (!account) return false;
  const bool hadContentType = !get(kContentType).isAbsent();
  const auto self = std::static_pointer_cast<TWAttachment>(shared_from_this());
  TWError failure;
  const auto results = TWCreateAttachment::withAccount(account)->call(parent, {self}, &failure);
  const auto xml = firstOf(results, TWCreateAttachment::descriptor(), &failure);
  auto id = TWAttachmentId::fromXML(
      itselfOrChild(xml, TWAttachmentId::responseTag(), TWAttachmentId::responseXMLns()), account);
  if (!failure && (!id || id->get("id").textView().empty()))
    failure = {TWErrorCode::ErrorTransport,
               formatMessage("No %@ elements in ResponseMessage %@",
                             {TWAttachmentId::elementName(), TWValue(xml.XMLString())})};
  if (failure) {
    if (!hadContentType) remove(kContentType);
    setError(error, failure);
    return false;
  }
  parent->set(kRootChangekey, id->get("changekey"));
  id->remove("root_id");
  id->remove("changekey");
  set(kId, id);
  return true;
}

bool TWAttachment::detach(TWError* error) {
  const auto id = get(kId);
  if (id.isAbsent()) {
    setError(error, badValue("This attachment has not been created"));
    return false;
  }
  // Others may let go of the item meanwhile.
  const auto parent = parentItem();
  const auto account = accountOf(parent, error);
  if (!account) return false;
  TWError failure;
  const auto results = TWDeleteAttachment::withAccount(account)->call({id}, &failure);
  const auto xml = firstOf(results, TWDeleteAttachment::descriptor(), &failure);
  const auto root = TWRootItemId::fromXML(
      itselfOrChild(xml, TWRootItemId::responseTag(), TWRootItemId::responseXMLns()), account);
  if (!failure && !root)
    failure = {TWErrorCode::ErrorTransport,
               formatMessage("No %@ elements in ResponseMessage %@",
                             {TWRootItemId::elementName(), TWValue(xml.XMLString())})};
  if (failure) {
    setError(error, failure);
    return false;
  }
  parent->set(kRootChangekey, root->get("changekey"));
  setParentItem(nullptr);
  remove(kId);
  return true;
}

NKXMLElement TWAttachment::download(TWError* error) const {
  const auto id = get(kId);
  if (id.isAbsent()) return {};
  const auto parent = parentItem();
  const auto account = parent ? parent->account() : nullptr;
  if (!account) {
    setError(error, badValue("%@ must have an account", {TWValue(parent)}));
    return {};
  }
  return firstOf(TWGetAttachment::withAccount(account)->call({id}, false, error),
                 TWGetAttachment::descriptor(), error);
}

std::optional<TWData> TWFileAttachment::getContent(TWError* error) {
  if (get(kContent).isAbsent()) {
    if (const auto whole = TWFileAttachment::fromXML(download(error)))
      set(kContent, whole->get(kContent));
  }
  return get<TWData>(kContent);
}

bool TWFileAttachment::setContent(TWData content, TWError* /*error*/) {
  set(kContent, std::move(content));
  return true;
}

NKXMLElement TWFileAttachment::toXML(const TWVersion* version, TWError* error) {
  TWError failure;
  if (!getContent(&failure) && !get(kId).isAbsent()) {
    setError(error, failure ? failure : badValue("%@ has no content", {description()}));
    return {};
  }
  return ElementKind::toXML(version, error);
}

std::shared_ptr<TWItem> TWItemAttachment::getItem(TWError* error) {
  if (get(kItem).isAbsent()) {
    const auto parent = parentItem();
    const auto whole =
        TWItemAttachment::fromXML(download(error), parent ? parent->account() : nullptr);
    if (whole) setItem(whole->get<std::shared_ptr<TWItem>>(kItem));
  }
  return get<std::shared_ptr<TWItem>>(kItem);
}

bool TWItemAttachment::setItem(const std::shared_ptr<TWItem>& item, TWError* /*error*/) {
  if (!item) return true;
  set(kItem, item);
  item->setParentItem(parentItem());
  return true;
}

}  // namespace tarnwell
