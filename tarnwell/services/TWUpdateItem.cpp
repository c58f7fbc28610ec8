#include "tarnwell/services/TWUpdateItem.h"

#include <algorithm>
#include <utility>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/services/detail/ItemRequests.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

using FieldPointer = std::shared_ptr<const TWField>;

/// The changes of one item. The first failure is kept; nothing is made after it.
class Changes {
 public:
  Changes(const TWItem& item, const TWVersion* version) : item_(item), version_(version) {}

  void add(const FieldPointer& field) {
    if (failure_) return;
    if (field->isReadOnly() && !field->name().empty())
      return refuse("%@ is a read-only field", *field);
    const auto value = field->valueToWrite(item_.get(field->name()), version_, &failure_);
    if (failure_) return;
    if (value.isAbsent()) {
      if (field->isRequired() || field->isRequiredAfterSave())
        return refuse("%@ is a required field and may not be deleted", *field);
      for (const auto& path : TWFieldPath::withField(field)->expand(version_))
        append("t:DeleteItemField", path);
    }
    if (dynamic_cast<const TWIndexedField*>(field.get()) != nullptr)
      setEntries(field, value);
    else
      set(field, TWFieldPath::withField(field), value);
  }

  [[nodiscard]] const TWError& failure() const noexcept { return failure_; }
  [[nodiscard]] std::vector<NKXMLElement>&& elements() && { return std::move(elements_); }

 private:
  void refuse(std::string_view format, const TWField& field) {
    failure_ = {TWErrorCode::ErrorValueOutOfRange, formatMessage(format, {field.name()})};
  }

  NKXMLElement append(std::string_view name, const std::shared_ptr<TWFieldPath>& path) {
    auto element = TWUtils::createElement(name);
    TWUtils::updateElement(element, path, version_, &failure_);
    elements_.push_back(element);
    return element;
  }

  void set(const FieldPointer& field, const std::shared_ptr<TWFieldPath>& path,
           const TWValue& value) {
    if (failure_) return;
    auto content = field->toXML(value, version_, &failure_);
    if (failure_) return;
    if (content.isAbsent()) {
      // A kind of field that has nothing to write for a missing value: its element, empty. Not so
      // an extended property, of which an empty value is none of every type.
      const auto* const named = dynamic_cast<const TWFieldURIField*>(field.get());
      if (named == nullptr) return;
      content = TWUtils::createElement(named->requestTag());
    }
    auto holder = TWUtils::createElement(item_.cls().requestTag().value_or("t:Item"));
    TWUtils::updateElement(holder, content, version_, &failure_);
    append("t:SetItemField", path).addChild(holder);
  }

  void setEntries(const FieldPointer& field, const TWValue& value) {
    const auto entries = value.asList();
    if (!entries) return;
    for (const auto& each : *entries) {
      const auto entry = each.asObject<TWEWSElement>();
      if (!entry) continue;
      const auto label = entry->get("label").asText();
      const auto& cls = entry->cls();
      if (!cls.isKindOf(TWMultiFieldIndexedElement::elementClass())) {
        set(field,
            TWFieldPath::withField(field, label,
                                   TWSingleFieldIndexedElement::valueField(cls, version_)),
            TWList{each});
        continue;
      }
      for (const auto& part : cls.supportedFields(version_)) {
        const auto alone = cls.withDict({{"label", entry->get("label")},
                                         {std::string(part->name()), entry->get(part->name())}});
        set(field, TWFieldPath::withField(field, label, part), TWList{alone});
      }
    }
  }

  const TWItem& item_;
  const TWVersion* version_;
  std::vector<NKXMLElement> elements_;
  TWError failure_;
};

}  // namespace

const TWServiceClass& TWUpdateItem::descriptor() {
  static const auto* const kClass = new TWServiceClass{
      .serviceName = "UpdateItem",
      .elementContainerName = "Items",
      .elementContainerXMLns = kMessagesNamespace,
  };
  return *kClass;
}

TWUpdateItem::TWUpdateItem(std::shared_ptr<TWAccount> account)
    : TWEWSAccountService(descriptor(), std::move(account)) {}

std::shared_ptr<TWUpdateItem> TWUpdateItem::withAccount(std::shared_ptr<TWAccount> account) {
  return std::make_shared<TWUpdateItem>(std::move(account));
}

std::optional<TWList> TWUpdateItem::call(const std::vector<TWItemUpdate>& updates,
                                         std::string_view conflictResolution,
                                         std::string_view disposition,
                                         std::string_view sendingMeetingInvitesOrCancels,
                                         bool suppressReadReceipts, TWError* error) {
  const auto payload = getPayload(updates, conflictResolution, disposition,
                                  sendingMeetingInvitesOrCancels, suppressReadReceipts, error);
  return payload ? getElements(payload, error) : std::nullopt;
}

NKXMLElement TWUpdateItem::getPayload(const std::vector<TWItemUpdate>& updates,
                                      std::string_view conflictResolution,
                                      std::string_view disposition,
                                      std::string_view sendingMeetingInvitesOrCancels,
                                      bool suppressReadReceipts, TWError* error) const {
  TWDictionary attributes{
      {"ConflictResolution", conflictResolution},
      {"MessageDisposition", disposition},
      {"SendMeetingInvitationsOrCancellations", sendingMeetingInvitesOrCancels}};
  detail::addSuppressReadReceipts(attributes, suppressReadReceipts, accountVersion());
  auto changes = TWUtils::createElement("m:ItemChanges");
  for (const auto& [item, names] : updates) {
    if (!item) {
      setError(error, {TWErrorCode::ErrorValueOutOfRange, "Item must not be null"});
      return {};
    }
    const auto id = detail::itemIdElement(item->idPair(), error);
    if (!id) return {};
    const auto elements = getItemUpdateElems(*item, names, error);
    if (!elements) return {};
    auto updatesElement = TWUtils::createElement("t:Updates");
    for (const auto& element : *elements) updatesElement.addChild(element);
    auto change = TWUtils::createElement("t:ItemChange");
    change.addChild(id);
    change.addChild(updatesElement);
    changes.addChild(change);
  }
  auto payload = TWUtils::createElement(rootName(), attributes);
  payload.addChild(changes);
  return payload;
}

std::optional<std::vector<NKXMLElement>> TWUpdateItem::getItemUpdateElems(
    const TWItem& item, const std::vector<std::string>& names, TWError* error) const {
  const auto version = accountVersion();
  Changes changes(item, version ? &*version : nullptr);
  for (const auto& field : item.cls().fields())
    if (std::ranges::find(names, field->name()) != names.end()) changes.add(field);
  if (!changes.failure()) return std::move(changes).elements();
  setError(error, changes.failure());
  return std::nullopt;
}

TWList TWUpdateItem::getElementsInContainer(const NKXMLElement& container) const {
  return detail::elementOrTrue(container);
}

}  // namespace tarnwell
