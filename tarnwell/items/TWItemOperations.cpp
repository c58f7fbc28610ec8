#include <algorithm>
#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWBulkCreateResult.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/services/detail/BadValue.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {

using detail::badValue;

namespace {

constexpr std::string_view kSaveOnly = "SaveOnly", kSendOnly = "SendOnly",
                           kSendAndSaveCopy = "SendAndSaveCopy";
constexpr auto kAttachments = "attachments", kAttachmentId = "attachment_id";

using Attachments = std::vector<std::shared_ptr<TWAttachment>>;

bool isThere(const std::shared_ptr<TWAttachment>& attachment, TWError* error) {
  if (!attachment) setError(error, badValue("Attachment must not be null"));
  return attachment != nullptr;
}

/// The outcome of an operation on one item; null with the error.
template <class T>
const TWResult<T>* outcomeOf(const std::optional<TWResults<T>>& outcomes, TWError* error) {
  if (!outcomes || outcomes->empty()) return nullptr;
  if (outcomes->front()) return &outcomes->front();
  setError(error, outcomes->front().error());
  return nullptr;
}

/// Absent with an error when "attachments" holds something else, which must not be overwritten.
std::optional<Attachments> attachmentsOf(const TWItem& item, TWError* error) {
  const auto& value = item.get(kAttachments);
  if (value.isAbsent()) return Attachments();
  auto attachments = item.get<Attachments>(kAttachments);
  if (!attachments)
    setError(error,
             {TWErrorCode::ErrorType, formatMessage("%@ must be a list of attachments", {value})});
  return attachments;
}

bool isMissing(const TWValue& value) {
  const auto list = value.asList();
  return value.isAbsent() || (list && list->empty());
}

}  // namespace

TWItemEntries TWItem::asEntries() const {
  const auto pair = idPair();
  return pair ? TWItemEntries{*pair} : TWItemEntries{};
}

std::shared_ptr<TWAccount> TWItem::accountForChange(TWError* error) const {
  if (get("item_id").textView().empty()) {
    setError(error, badValue("Item must have an id"));
    return nullptr;
  }
  auto account = this->account();
  if (!account) setError(error, badValue("Item must have an account"));
  return account;
}

bool TWItem::save(TWError* error) { return save({}, "AutoResolve", "SendToNone", error); }

bool TWItem::save(const std::vector<std::string>& updateFields, std::string_view conflictResolution,
                  std::string_view sendMeetingInvitations, TWError* error) {
  if (!get("item_id").isAbsent()) {
    const auto pair =
        update(updateFields, kSaveOnly, conflictResolution, sendMeetingInvitations, error);
    if (pair) set("changekey", pair->changekey);
    return pair.has_value();
  }
  if (!updateFields.empty()) {
    setError(error, badValue("Update fields is only valid for updates"));
    return false;
  }
  const auto created = create(kSaveOnly, sendMeetingInvitations, error);
  if (!created) return false;
  setIdPair(created->idPair());
  takeAttachmentIds(*created);
  return true;
}

void TWItem::takeAttachmentIds(const TWBulkCreateResult& created) {
  const auto own = get<Attachments>(kAttachments), theirs = created.get<Attachments>(kAttachments);
  if (!own || !theirs) return;
  for (std::size_t at = 0; at < std::min(own->size(), theirs->size()); ++at)
    if (&(*own)[at]->cls() == &(*theirs)[at]->cls())
      (*own)[at]->set(kAttachmentId, (*theirs)[at]->get(kAttachmentId));
}

std::shared_ptr<TWBulkCreateResult> TWItem::create(std::string_view messageDisposition,
                                                   std::string_view sendMeetingInvitations,
                                                   TWError* error) {
  const auto account = this->account();
  if (!account) {
    setError(error, badValue("Items must have an account"));
    return nullptr;
  }
  const auto self = std::static_pointer_cast<TWItem>(shared_from_this());
  std::vector<std::pair<std::string, TWValue>> before;
  for (const auto& key : allKeys()) before.emplace_back(key, get(key));
  const auto created =
      account->bulkCreate(folder(), {self}, messageDisposition, sendMeetingInvitations, error);
  const auto* const outcome = outcomeOf(created, error);
  if (outcome != nullptr) {
    const bool isSent = messageDisposition == kSendOnly || messageDisposition == kSendAndSaveCopy;
    return isSent ? nullptr : outcome->value();
  }
  // What validation filled in, and what it put in the place of values that were given otherwise.
  for (const auto& key : allKeys())
    if (std::ranges::find(before, key, &decltype(before)::value_type::first) == before.end())
      remove(key);
  for (auto& [key, value] : before) set(key, std::move(value));
  return nullptr;
}

std::vector<std::string> TWItem::fieldNamesToUpdate() const {
  const auto account = this->account();
  const auto version = account ? account->version() : std::nullopt;
  const bool isSent = get<bool>("is_draft") == false;
  std::vector<std::string> names;
  for (const auto& field : cls().supportedFields(version ? &*version : nullptr)) {
    // Attachments go their own way. A missing value that may be cleared is not known to be meant
    // so, and one that may not be would fail the update.
    if (field->name() == kAttachments || field->isReadOnly() || isMissing(get(field->name())) ||
        (isSent && field->isReadOnlyAfterSend()))
      continue;
    names.emplace_back(field->name());
  }
  return names;
}

std::optional<TWIdPair> TWItem::update(const std::vector<std::string>& updateFields,
                                       std::string_view messageDisposition,
                                       std::string_view conflictResolution,
                                       std::string_view sendMeetingInvitations, TWError* error) {
  const auto account = this->account();
  if (!account) {
    setError(error, badValue("Items must have an account"));
    return std::nullopt;
  }
  if (get("item_id").textView().empty()) {
    setError(error, badValue("Item must have an id"));
    return std::nullopt;
  }
  auto names = updateFields.empty() ? fieldNamesToUpdate() : updateFields;
  if (names.empty() && messageDisposition == kSaveOnly) return idPair();
  const auto self = std::static_pointer_cast<TWItem>(shared_from_this());
  const auto updated =
      account->bulkUpdate({TWItemUpdate{self, std::move(names)}}, conflictResolution,
                          messageDisposition, sendMeetingInvitations, false, error);
  const auto* const outcome = outcomeOf(updated, error);
  if (outcome == nullptr || messageDisposition == kSendAndSaveCopy) return std::nullopt;
  return outcome->value();
}

bool TWItem::refresh(TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  const auto fetched = account->fetch(asEntries(), folder(), std::nullopt, error);
  if (!fetched || fetched->empty()) return false;
  const auto fresh = fetched->front().item();
  if (!fresh) {
    setError(error, fetched->front().error());
    return false;
  }
  for (const auto& field : cls().fields()) set(field->name(), fresh->get(field->name()));
  linkAttachments();
  return true;
}

bool TWItem::move(const std::shared_ptr<TWFolder>& toFolder, TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  const auto moved = account->bulkMove(asEntries(), toFolder, error);
  const auto* const outcome = outcomeOf(moved, error);
  if (outcome == nullptr) return false;
  setIdPair(outcome->value());
  setFolder(toFolder);
  return true;
}

bool TWItem::moveToTrash(const TWItemDeletion& how, TWError* error) {
  // Others may let go of the account meanwhile.
  const auto account = accountForChange(error);
  if (!account || !delete_("MoveToDeletedItems", how, error)) return false;
  setIdPair(std::nullopt);
  setFolder(account->trash());
  return true;
}

bool TWItem::softDelete(const TWItemDeletion& how, TWError* error) {
  const auto account = accountForChange(error);
  if (!account || !delete_("SoftDelete", how, error)) return false;
  setIdPair(std::nullopt);
  setFolder(account->recoverableItemsDeletions());
  return true;
}

bool TWItem::delete_(const TWItemDeletion& how, TWError* error) {
  if (!delete_("HardDelete", how, error)) return false;
  setIdPair(std::nullopt);
  setFolder(nullptr);
  return true;
}

bool TWItem::delete_(std::string_view deleteType, const TWItemDeletion& how, TWError* error) {
  const auto account = accountForChange(error);
  if (!account) return false;
  const auto deleted =
      account->bulkDelete(asEntries(), deleteType, how.sendMeetingCancellations,
                          how.affectedOccurrencies, how.suppressReadReceipts, error);
  return outcomeOf(deleted, error) != nullptr;
}

bool TWItem::attach(const std::shared_ptr<TWAttachment>& attachment, TWError* error) {
  if (!isThere(attachment, error)) return false;
  auto attachments = attachmentsOf(*this, error);
  if (!attachments) return false;
  const auto before = attachment->parentItem();
  attachment->setParentItem(std::static_pointer_cast<TWItem>(shared_from_this()));
  if (!get("item_id").isAbsent() && attachment->get(kAttachmentId).isAbsent() &&
      !attachment->attach(error)) {
    attachment->setParentItem(before);
    return false;
  }
  if (std::ranges::find(*attachments, attachment) == attachments->end()) {
    attachments->push_back(attachment);
    set(kAttachments, TWList(attachments->begin(), attachments->end()));
  }
  return true;
}

bool TWItem::detach(const std::shared_ptr<TWAttachment>& attachment, TWError* error) {
  if (!isThere(attachment, error)) return false;
  auto attachments = attachmentsOf(*this, error);
  if (!attachments) return false;
  if (!get("item_id").isAbsent() && !attachment->detach(error)) return false;
  if (std::erase(*attachments, attachment) != 0)
    set(kAttachments, TWList(attachments->begin(), attachments->end()));
  return true;
}

}  // namespace tarnwell
