#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/folders/TWQuerySet.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/services/TWCreateItem.h"
#include "tarnwell/services/TWDeleteItem.h"
#include "tarnwell/services/TWExportItems.h"
#include "tarnwell/services/TWGetAttachment.h"
#include "tarnwell/services/TWGetItem.h"
#include "tarnwell/services/TWMoveItem.h"
#include "tarnwell/services/TWSendItem.h"
#include "tarnwell/services/detail/ItemRequests.h"

namespace tarnwell {

using detail::missingResult;

namespace {

constexpr std::string_view kSaveOnly = "SaveOnly", kSendOnly = "SendOnly",
                           kSendAndSaveCopy = "SendAndSaveCopy";

std::nullopt_t refuse(TWError* error, std::string_view text) {
  setError(error, {TWErrorCode::ErrorValueOutOfRange, text});
  return std::nullopt;
}

/// What a query set finds; absent with its error, and without one when it finds nothing.
std::optional<TWItemEntries> found(const TWQuerySet& items, TWError* error) {
  TWError failure;
  auto entries = items.iterator(0, &failure);
  if (failure) {
    setError(error, failure);
    return std::nullopt;
  }
  if (entries.empty()) return std::nullopt;
  return entries;
}

/// The entries that can be sent: an error is no item.
TWItemEntries sendable(const TWItemEntries& entries) {
  TWItemEntries sent;
  std::ranges::copy_if(entries, std::back_inserter(sent),
                       [](const auto& entry) { return static_cast<bool>(entry); });
  return sent;
}

/// One outcome for each of so many inputs, whatever the server answers: the error in its place, or
/// what `convert` makes of the result, or else that it is missing.
template <class T, class Convert>
TWResults<T> outcomesOf(std::size_t count, const TWList& results, const TWServiceClass& service,
                        const Convert& convert) {
  TWResults<T> outcomes;
  for (std::size_t at = 0; at < count; ++at) {
    const auto result = at < results.size() ? results[at] : TWValue();
    auto caught = result.asError();
    if (!caught && result.isAbsent()) caught = missingResult(service);
    if (caught)
      outcomes.emplace_back(std::move(caught));
    else
      outcomes.push_back(convert(result, at));
  }
  return outcomes;
}

/// Runs a call for the entries that can be sent and puts its results, and the errors among the
/// entries, in the places of the entries. Absent for no entries, and when the call fails.
template <class T, class Call, class Convert>
std::optional<TWResults<T>> forEach(const TWItemEntries& entries, const TWServiceClass& service,
                                    const Call& call, const Convert& convert) {
  if (entries.empty()) return std::nullopt;
  const auto sent = sendable(entries);
  auto results = sent.empty() ? TWList() : call(sent);
  if (!results) return std::nullopt;
  auto ofSent = outcomesOf<T>(sent.size(), *results, service,
                              [&](const TWValue& result, std::size_t) { return convert(result); });
  TWResults<T> outcomes;
  auto next = ofSent.begin();
  for (const auto& entry : entries)
    outcomes.push_back(entry ? std::move(*next++) : TWResult<T>(entry.error()));
  return outcomes;
}

/// Of operations that say no more than that they were done.
TWResult<bool> done(const TWValue& /*result*/) { return true; }

bool mayUpdate(const TWBulkUpdateOptions& options, TWError* error) {
  TWAccount::assertChoice(options.conflictResolution, TWAccount::conflictResolutionChoices());
  TWAccount::assertChoice(options.messageDisposition, TWAccount::messageDispositionChoices());
  TWAccount::assertChoice(options.sendMeetingInvitationsOrCancellations,
                          TWAccount::sendMeetingInvitationsOrCancellationsChoices());
  if (options.messageDisposition != kSendOnly) return true;
  refuse(error, "Cannot send-only existing objects. Use SendItem instead");
  return false;
}

/// "de-DE" for the locale "de_DE.UTF-8".
std::string cultureOf(const std::optional<std::string>& locale) {
  if (!locale) return "en-US";
  auto culture = locale->substr(0, locale->find_first_of(".@"));
  std::ranges::replace(culture, '_', '-');
  return culture.empty() ? "en-US" : culture;
}

/// Gives an item, and those attached to it, the culture that each must have. Items that are nested
/// in themselves are refused only when they are written, so each is seen to once.
void fillCulture(TWItem& item, const std::string& culture, std::set<const TWItem*>& seen) {
  if (!seen.insert(&item).second) return;
  if (item.get("culture").isAbsent()) item.set("culture", culture);
  const auto attachments = item.get<std::vector<std::shared_ptr<TWAttachment>>>("attachments");
  if (!attachments) return;
  for (const auto& attachment : *attachments)
    if (const auto inner = attachment->get<std::shared_ptr<TWItem>>("_item"))
      fillCulture(*inner, culture, seen);
}

}  // namespace

std::span<const std::string_view> TWAccount::messageDispositionChoices() {
  static constexpr std::array kChoices{kSaveOnly, kSendOnly, kSendAndSaveCopy};
  return kChoices;
}

std::span<const std::string_view> TWAccount::sendMeetingInvitationsChoices() {
  static constexpr std::array<std::string_view, 3> kChoices{"SendToNone", "SendOnlyToAll",
                                                            "SendToAllAndSaveCopy"};
  return kChoices;
}

std::span<const std::string_view> TWAccount::conflictResolutionChoices() {
  static constexpr std::array<std::string_view, 3> kChoices{"NeverOverwrite", "AutoResolve",
                                                            "AlwaysOverwrite"};
  return kChoices;
}

std::span<const std::string_view> TWAccount::sendMeetingInvitationsOrCancellationsChoices() {
  static constexpr std::array<std::string_view, 5> kChoices{
      "SendToNone", "SendOnlyToAll", "SendOnlyToChanged", "SendToAllAndSaveCopy",
      "SendToChangedAndSaveCopy"};
  return kChoices;
}

void TWAccount::assertChoice(std::string_view /*value*/,
                             std::span<const std::string_view> /*inContainer*/) {}

std::optional<TWResults<std::shared_ptr<TWBulkCreateResult>>> TWAccount::bulkCreate(
    const std::shared_ptr<TWFolder>& folder, const TWItems& items,
    std::string_view messageDisposition, std::string_view sendMeetingInvitiations, TWError* error) {
  assertChoice(messageDisposition, messageDispositionChoices());
  assertChoice(sendMeetingInvitiations, sendMeetingInvitationsChoices());
  auto target = folder;
  if (target) {
    if (target->account().get() != this) return refuse(error, "Folder must belong to this account");
    if (messageDisposition == kSendOnly)
      return refuse(error, "Folder must b nil in send-only mode");
  } else if (messageDisposition == kSaveOnly) {
    return refuse(error, "Folder must be supplied when in save-only mode");
  }
  if (items.empty()) return std::nullopt;
  if (!target && messageDisposition == kSendAndSaveCopy) {
    target = wellKnownFolder(TWSentItems::elementClass(), error);
    if (!target) return std::nullopt;
  }
  const auto culture = cultureOf(locale_);
  std::set<const TWItem*> seen;
  for (const auto& item : items)
    if (item) fillCulture(*item, culture, seen);

  const auto results = TWCreateItem::withAccount(self())->call(items, target, messageDisposition,
                                                               sendMeetingInvitiations, error);
  if (!results) return std::nullopt;
  const bool isSent = messageDisposition == kSendOnly || messageDisposition == kSendAndSaveCopy;
  using Created = std::shared_ptr<TWBulkCreateResult>;
  const auto convert = [&](const TWValue& result, std::size_t) -> TWResult<Created> {
    if (auto created = TWBulkCreateResult::fromXML(result.asXML(), self())) return created;
    // What was sent, and is saved nowhere that the server would tell of, has no id.
    if (isSent) return TWBulkCreateResult::withDict();
    return missingResult(TWCreateItem::descriptor());
  };
  return outcomesOf<Created>(items.size(), *results, TWCreateItem::descriptor(), convert);
}

std::optional<TWResults<TWIdPair>> TWAccount::bulkUpdate(const std::vector<TWItemUpdate>& items,
                                                         const TWBulkUpdateOptions& options,
                                                         TWError* error) {
  if (!mayUpdate(options, error)) return std::nullopt;
  if (items.empty()) return std::nullopt;
  const auto results = TWUpdateItem::withAccount(self())->call(
      items, options.conflictResolution, options.messageDisposition,
      options.sendMeetingInvitationsOrCancellations, options.supressReadReceipts, error);
  if (!results) return std::nullopt;
  const auto convert = [&](const TWValue& result, std::size_t at) -> TWResult<TWIdPair> {
    if (auto pair = TWItem::idFromXML(result.asXML())) return *std::move(pair);
    // It was written, but has no change key that the server would tell of.
    return TWIdPair{items[at].item->idPair()->id};
  };
  return outcomesOf<TWIdPair>(items.size(), *results, TWUpdateItem::descriptor(), convert);
}

std::optional<TWResults<TWIdPair>> TWAccount::bulkUpdate(const TWQuerySet& /*items*/,
                                                         const TWBulkUpdateOptions& options,
                                                         TWError* error) {
  if (!mayUpdate(options, error)) return std::nullopt;
  return refuse(error,
                "You shouldn't bulk update query sets. How do you expect to modify stuff inside "
                "one?");
}

std::optional<TWResults<bool>> TWAccount::bulkDelete(const TWItemEntries& ids,
                                                     const TWBulkDeleteOptions& options,
                                                     TWError* error) {
  const auto call = [&](const TWItemEntries& sent) {
    return TWDeleteItem::withAccount(self())->call(
        sent, options.deleteType, options.sendMeetingCancellations, options.affectedTaskOccurunces,
        options.supressReadReceipts, error);
  };
  return forEach<bool>(ids, TWDeleteItem::descriptor(), call, done);
}

std::optional<TWResults<bool>> TWAccount::bulkDelete(const TWQuerySet& items,
                                                     const TWBulkDeleteOptions& options,
                                                     TWError* error) {
  const auto ids = found(items, error);
  return ids ? bulkDelete(*ids, options, error) : std::nullopt;
}

std::optional<TWResults<bool>> TWAccount::send(const TWItemEntries& ids, bool saveCopy,
                                               const std::shared_ptr<TWFolder>& copyToFolder,
                                               TWError* error) {
  if (copyToFolder && !saveCopy) return refuse(error, "savecopy must be true when folder is set");
  const auto call = [&](const TWItemEntries& messages) -> std::optional<TWList> {
    auto copies = copyToFolder;
    if (saveCopy && !copies) {
      copies = wellKnownFolder(TWSentItems::elementClass(), error);
      if (!copies) return std::nullopt;
    }
    return TWSendItem::withAccount(self())->call(messages, copies, error);
  };
  return forEach<bool>(ids, TWSendItem::descriptor(), call, done);
}

std::optional<TWResults<bool>> TWAccount::send(const TWQuerySet& items, bool saveCopy,
                                               const std::shared_ptr<TWFolder>& copyToFolder,
                                               TWError* error) {
  if (copyToFolder && !saveCopy) return refuse(error, "savecopy must be true when folder is set");
  const auto ids = found(items, error);
  return ids ? send(*ids, saveCopy, copyToFolder, error) : std::nullopt;
}

std::optional<TWResults<std::optional<TWIdPair>>> TWAccount::bulkMove(
    const TWItemEntries& ids, const std::shared_ptr<TWFolder>& toFolder, TWError* error) {
  if (ids.empty()) return std::nullopt;
  if (!toFolder) return refuse(error, "Folder must be supplied");
  const auto call = [&](const TWItemEntries& sent) {
    return TWMoveItem::withAccount(self())->call(sent, toFolder, error);
  };
  using Moved = std::optional<TWIdPair>;
  return forEach<Moved>(ids, TWMoveItem::descriptor(), call, [](const TWValue& result) {
    return TWResult<Moved>(TWItem::idFromXML(result.asXML()));
  });
}

std::optional<TWResults<std::optional<TWIdPair>>> TWAccount::bulkMove(
    const TWQuerySet& items, const std::shared_ptr<TWFolder>& toFolder, TWError* error) {
  if (!toFolder) return refuse(error, "Folder must be supplied");
  const auto ids = found(items, error);
  return ids ? bulkMove(*ids, toFolder, error) : std::nullopt;
}

std::optional<TWItemEntries> TWAccount::fetch(const TWItemEntries& ids,
                                              const std::shared_ptr<TWFolder>& folder,
                                              const std::optional<TWList>& onlyFields,
                                              TWError* error) {
  if (ids.empty()) return std::nullopt;
  const auto of = folder ? folder : TWFolder::withDict({{"account", TWValue::weak(self())}});
  TWGetItem::Paths paths;
  if (onlyFields) {
    auto valid = of->validateFields(*onlyFields, error);
    if (!valid) return std::nullopt;
    paths = *std::move(valid);
  } else {
    for (const auto& field : of->allowedFields()) paths.push_back(TWFieldPath::withField(field));
  }
  TWError unknownKind;
  const auto read = [&](const TWValue& result) -> TWValue {
    if (unknownKind) return unknownKind;
    if (auto caught = result.asError()) return caught;
    const auto xml = result.asXML();
    if (!xml) return missingResult(TWGetItem::descriptor());
    const auto* const cls =
        of->folderClass().itemModelFromTag(xml.localName().value_or(std::string()), &unknownKind);
    if (cls == nullptr) return unknownKind;
    auto item = std::static_pointer_cast<TWItem>(cls->fromXML(xml, self()));
    item->setFolder(folder);
    return item;
  };
  const auto call = [&](const TWItemEntries& sent) -> std::optional<TWList> {
    TWList items;
    // Read at once, so that no more than one answer is in memory.
    const auto receive = [&](const TWList& results) {
      std::ranges::transform(results, std::back_inserter(items), read);
    };
    if (!TWGetItem::withAccount(self())->call(sent, paths, "IdOnly", receive, error))
      return std::nullopt;
    return items;
  };
  using Fetched = std::shared_ptr<TWItem>;
  const auto outcomes = forEach<Fetched>(
      ids, TWGetItem::descriptor(), call,
      [](const TWValue& item) -> TWResult<Fetched> { return item.asObject<TWItem>(); });
  if (!outcomes) return std::nullopt;
  if (unknownKind) {
    setError(error, unknownKind);
    return std::nullopt;
  }
  return TWItemEntries(outcomes->begin(), outcomes->end());
}

std::optional<TWItemEntries> TWAccount::fetch(const TWQuerySet& items,
                                              const std::shared_ptr<TWFolder>& folder,
                                              const std::optional<TWList>& onlyFields,
                                              TWError* error) {
  const auto ids = found(items, error);
  return ids ? fetch(*ids, folder, onlyFields, error) : std::nullopt;
}

std::optional<TWResults<std::string>> TWAccount::exportItems(const TWItemEntries& ids,
                                                             TWError* error) {
  const auto call = [&](const TWItemEntries& sent) {
    return TWExportItems::withAccount(self())->call(sent, error);
  };
  return forEach<std::string>(ids, TWExportItems::descriptor(), call,
                              [](const TWValue& result) -> TWResult<std::string> {
                                auto data = result.asXML().stringValue();
                                if (!data) return missingResult(TWExportItems::descriptor());
                                return *std::move(data);
                              });
}

std::optional<TWResults<TWIdPair>> TWAccount::uploadItems(const std::vector<TWItemUpload>& items,
                                                          TWError* error) {
  if (items.empty()) return std::nullopt;
  const auto results = TWUploadItems::withAccount(self())->call(items, error);
  if (!results) return std::nullopt;
  const auto convert = [](const TWValue& result, std::size_t) -> TWResult<TWIdPair> {
    const auto pair = result.asList();
    if (!pair || !pair->front().isText()) return missingResult(TWUploadItems::descriptor());
    return TWIdPair{*pair->front().asText(), pair->back().asText()};
  };
  return outcomesOf<TWIdPair>(items.size(), *results, TWUploadItems::descriptor(), convert);
}

std::optional<TWData> TWAccount::getAttachment(const std::optional<std::string>& id,
                                               TWError* error) {
  if (!id) return std::nullopt;
  const auto results = TWGetAttachment::withAccount(self())->call(
      {TWAttachmentId::withDict({{"id", *id}})}, false, error);
  if (!results) return std::nullopt;
  const auto result = results->empty() ? TWValue() : results->front();
  const auto xml = result.asXML();
  if (!xml) {
    const auto caught = result.asError();
    setError(error, caught ? caught : missingResult(TWGetAttachment::descriptor()));
    return std::nullopt;
  }
  const auto attachment = TWFileAttachment::fromXML(xml, self());
  return attachment ? attachment->get<TWData>("_content") : std::nullopt;
}

}  // namespace tarnwell
