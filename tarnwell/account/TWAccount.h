#pragma once

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/account/TWConfiguration.h"
#include "tarnwell/folders/TWFolder.h"
#include "tarnwell/items/TWBulkCreateResult.h"
#include "tarnwell/items/TWItemEntry.h"
#include "tarnwell/protocol/TWAutodiscover.h"
#include "tarnwell/protocol/TWServiceContext.h"
#include "tarnwell/services/TWUpdateItem.h"
#include "tarnwell/services/TWUploadItems.h"
#include "tarnwell/time/TWTimeZone.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWResult.h"

namespace tarnwell {

class TWRoot;

/// How the library acts on a mailbox.
enum TWAccessType : std::int64_t {
  TWAccessTypeDefault = 0,        ///< delegate with credentials, else impersonation
  TWAccessTypeImpersonation = 1,  ///< as the owner; requests name the mailbox in their header
  TWAccessTypeDelegate = 2,       ///< as the user of the credentials
};

/// What an account is made of.
struct TWAccountOptions {
  std::string primarySmtpAddress;
  std::optional<std::string> fullName = std::nullopt;
  TWAccessType accessType = TWAccessTypeDefault;
  /// Finds address and protocol by the address; the configuration is then ignored. Plain http is
  /// tried as well: see `discovery.allowsPlainHTTP`.
  bool autodiscover = false;
  std::shared_ptr<TWCredentials> credentials = nullptr;
  std::optional<TWConfiguration> config = std::nullopt;
  std::optional<std::string> locale = std::nullopt;          ///< "de_DE"
  std::optional<TWTimeZone> defaultTimeZone = std::nullopt;  ///< absent: the device's
  TWAutodiscoverOptions discovery = {};
};

/// How items are created, updated and deleted; the values are EWS's own, see the lists of choices
/// of `TWAccount`. (Some names are misspelt in the interface.)
struct TWBulkCreateOptions {
  std::string messageDisposition = "SaveOnly";
  std::string sendMeetingInvitiations = "SendToNone";
};
struct TWBulkUpdateOptions {
  std::string conflictResolution = "AutoResolve";
  std::string messageDisposition = "SaveOnly";
  std::string sendMeetingInvitationsOrCancellations = "SendToNone";
  bool supressReadReceipts = false;
};
struct TWBulkDeleteOptions {
  std::string deleteType = "MoveToDeletedItems";  ///< or "SoftDelete", or, for good, "HardDelete"
  std::string sendMeetingCancellations = "SendToNone";
  std::string affectedTaskOccurunces = "AllOccurrences";
  bool supressReadReceipts = false;
};

/// One mailbox: where everything starts.
///
///     const auto account = TWAccount::withOptions({.primarySmtpAddress = "ann@example.com",
///                                                  .autodiscover = true,
///                                                  .credentials = credentials});
///     const auto inbox = account->inbox();
///     if (!inbox) return noInbox();
///     const auto found = inbox->all().getItems(&error);
///     if (!found) return report(error);
///
/// Folders, query sets and items refer to their account weakly: keep it. The account itself is safe
/// from any thread; the operations block, and share the two connections of the protocol. Folders
/// are shared by everybody who asks for them: see `TWFolder` before one is changed. Items and query
/// sets are for one thread at a time.
///
/// What the bulk operations answer has one outcome for each input, in order; an input that is an
/// error is not sent and goes back in its place. For no inputs they answer nothing, without an
/// error. Errors of all of them: ErrorValueOutOfRange for bad arguments (nothing is sent then), and
/// those of `TWEWSService`.
class TWAccount : public TWObject, public TWServiceContext {
 public:
  /// Checks nothing and never fails. An account without a protocol, for want of a configuration or
  /// because autodiscover found nothing (the log tells of it), cannot send requests.
  [[nodiscard]] static std::shared_ptr<TWAccount> withPrimarySMTPAddress(
      std::string_view primarySmtpAddress, const std::optional<std::string>& fullName,
      TWAccessType accessType, std::same_as<bool> auto autodiscover,
      const std::shared_ptr<TWCredentials>& credentials,
      const std::optional<TWConfiguration>& config = std::nullopt,
      const std::optional<std::string>& locale = std::nullopt,
      const std::optional<TWTimeZone>& defaultTimeZone = std::nullopt) {
    return withOptions({.primarySmtpAddress = std::string(primarySmtpAddress),
                        .fullName = fullName,
                        .accessType = accessType,
                        .autodiscover = autodiscover,
                        .credentials = credentials,
                        .config = config,
                        .locale = locale,
                        .defaultTimeZone = defaultTimeZone});
  }
  [[nodiscard]] static std::shared_ptr<TWAccount> withOptions(const TWAccountOptions& options);

  // Who it is.

  /// As given, or as autodiscover has it.
  [[nodiscard]] const std::string& primarySmtpAddress() const noexcept {
    return primarySmtpAddress_;
  }
  [[nodiscard]] const std::optional<std::string>& fullName() const noexcept { return fullName_; }
  [[nodiscard]] TWAccessType accessType() const noexcept { return accessType_; }
  /// Shared with the other accounts of the endpoint and credentials; may be null.
  [[nodiscard]] const std::shared_ptr<TWProtocol>& protocol() const noexcept { return protocol_; }
  [[nodiscard]] const std::optional<std::string>& locale() const noexcept { return locale_; }
  /// Requests say that times are meant in this zone.
  [[nodiscard]] const TWTimeZone& defaultTimeZone() const noexcept { return defaultTimeZone_; }
  /// For the caller; nothing in the library reads it.
  [[nodiscard]] std::optional<std::string> syncState() const;
  void setSyncState(std::optional<std::string> syncState);
  /// The domain of the address; see `TWUtils::getDomain`.
  [[nodiscard]] std::optional<std::string> domain() const;
  /// The mailbox that well-known folder names must name, because the user of the credentials has
  /// another one: the address, unless it is the e-mail address that is the user name, or the access
  /// is by impersonation.
  [[nodiscard]] std::optional<std::string> delegatedAddress() const;
  /// Hands a new access token to the protocol.
  void updateAccessToken(std::string_view token);

  [[nodiscard]] std::string_view className() const override { return "TWAccount"; }
  /// "[TWAccount] ann@example.com (Ann)".
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] TWProperties declaredProperties() const override;

  // What its services are bound to.

  [[nodiscard]] std::shared_ptr<TWBaseProtocol> serviceProtocol() override;
  /// Copied from the protocol when the account is made; then whatever its own requests have learnt.
  [[nodiscard]] std::optional<TWVersion> version() const override;
  void setVersion(TWVersion version) override;
  [[nodiscard]] std::optional<TWEnvelopeContext> envelopeContext() const override;
  /// The primary address.
  [[nodiscard]] std::optional<std::string> logName() const override;
  [[nodiscard]] std::optional<std::string> accountDescription() const override;

  // Its folders.

  /// The tree taken from an archive, else the one from the server, which is fetched when first
  /// asked for, once whoever asks meanwhile. Null when it cannot be had; so too for a delegate of
  /// the logger that asks when it is told of the very request that fetches it.
  [[nodiscard]] std::shared_ptr<TWRoot> root();
  /// The tree from the server, fetched when first asked for. Takes no notice of an archived one,
  /// keeps no placeholder and logs nothing. ErrorFolderNotFound for a delegate as above.
  [[nodiscard]] std::shared_ptr<TWRoot> root(TWError* error);
  /// What `root()` answers without asking the server; null when that is nothing.
  [[nodiscard]] std::shared_ptr<TWRoot> knownRoot() const;
  /// The tree taken from an archive.
  [[nodiscard]] std::shared_ptr<TWRoot> localRoot() const;
  /// Fetches the root and logs how that went. An account to which access is denied gets a
  /// placeholder whose id is "fakeRoot", so that it stays usable, unless it has a root already;
  /// after any other failure the root stays what it was.
  void fetchRoot();
  /// Drops the archived tree if there is one from the server, which is fetched only when there was
  /// none so far, deliberately.
  void refetchRoot();
  /// All folders below the root by the names of their classes, each list in the order of
  /// `TWFolder::walk`. Empty when there is no root; `root(error)` tells why.
  [[nodiscard]] std::map<std::string, TWFolders> folders();

  // The well-known folders; see `TWRoot::getDefaultFolder`. Null when there is none, and likewise
  // when it could not be asked for; `TWInbox::getDistinguished(account, &error)` and its kin tell
  // these apart.
#define TW_ACCOUNT_FOLDER(accessor, folderClass) [[nodiscard]] std::shared_ptr<TWFolder> accessor();
#include "tarnwell/account/TWAccountFolders.inc"
#undef TW_ACCOUNT_FOLDER

  /// The folder tree as bytes that tell their format; of the tree from the server, or else of the
  /// archived one. Reads the tree's folders from the server if that has not been done. Absent when
  /// there is no tree, and when its folders cannot be read; `root` and `TWRoot::updateCache` tell
  /// why.
  [[nodiscard]] std::optional<TWData> exportRootData() const;
  /// Takes such a tree, which goes before one from the server until `refetchRoot`. For anything
  /// else false is answered and the account stays as it is.
  bool importRootData(const TWData& data);

  // Operations on many items. The names of some parameters are misspelt in the interface.

  [[nodiscard]] static std::span<const std::string_view> messageDispositionChoices();
  [[nodiscard]] static std::span<const std::string_view> sendMeetingInvitationsChoices();
  [[nodiscard]] static std::span<const std::string_view> conflictResolutionChoices();
  [[nodiscard]] static std::span<const std::string_view>
  sendMeetingInvitationsOrCancellationsChoices();
  /// Rejects nothing, deliberately: the server judges values that are not in the list.
  static void assertChoice(std::string_view value, std::span<const std::string_view> inContainer);

  /// Creates items, in a folder or, for null, in Sent Items ("SendAndSaveCopy") or nowhere
  /// ("SendOnly"). New items without a culture get that of the account's locale.
  ///
  /// Errors: a folder of another account, "SaveOnly" without a folder, "SendOnly" with one; an item
  /// that cannot be written; why there is no Sent Items. In place of a result: ErrorTransport for
  /// an item that was not to be sent, and of which the server tells no id.
  std::optional<TWResults<std::shared_ptr<TWBulkCreateResult>>> bulkCreate(
      const std::shared_ptr<TWFolder>& folder, const TWItems& items,
      std::string_view messageDisposition, std::string_view sendMeetingInvitiations,
      TWError* error = nullptr);
  std::optional<TWResults<std::shared_ptr<TWBulkCreateResult>>> bulkCreate(
      const std::shared_ptr<TWFolder>& folder, const TWItems& items,
      const TWBulkCreateOptions& options, TWError* error = nullptr) {
    return bulkCreate(folder, items, options.messageDisposition, options.sendMeetingInvitiations,
                      error);
  }

  /// Writes the named properties of items; see `TWUpdateItem`. The outcomes are the id pairs with
  /// the new change keys; without one where the server does not tell it.
  ///
  /// Errors: "SendOnly"; what `TWUpdateItem` refuses.
  std::optional<TWResults<TWIdPair>> bulkUpdate(const std::vector<TWItemUpdate>& items,
                                                const TWBulkUpdateOptions& options,
                                                TWError* error = nullptr);
  std::optional<TWResults<TWIdPair>> bulkUpdate(
      const std::vector<TWItemUpdate>& items, std::string_view conflictResolution,
      std::string_view messageDisposition, std::string_view sendMeetingInvitationsOrCancellations,
      std::same_as<bool> auto supressReadReceipts, TWError* error = nullptr) {
    return bulkUpdate(items,
                      TWBulkUpdateOptions{
                          std::string(conflictResolution), std::string(messageDisposition),
                          std::string(sendMeetingInvitationsOrCancellations), supressReadReceipts},
                      error);
  }
  /// Always fails: nothing says what to change.
  std::optional<TWResults<TWIdPair>> bulkUpdate(const TWQuerySet& items,
                                                const TWBulkUpdateOptions& options,
                                                TWError* error = nullptr);
  std::optional<TWResults<TWIdPair>> bulkUpdate(
      const TWQuerySet& items, std::string_view conflictResolution,
      std::string_view messageDisposition, std::string_view sendMeetingInvitationsOrCancellations,
      std::same_as<bool> auto supressReadReceipts, TWError* error = nullptr) {
    return bulkUpdate(items,
                      TWBulkUpdateOptions{
                          std::string(conflictResolution), std::string(messageDisposition),
                          std::string(sendMeetingInvitationsOrCancellations), supressReadReceipts},
                      error);
  }

  /// Deletes items. The query sets of this and of the next operations are evaluated first, and
  /// what they find is read whole.
  /// @param deleteType  "HardDelete", "SoftDelete" or "MoveToDeletedItems"
  std::optional<TWResults<bool>> bulkDelete(const TWItemEntries& ids,
                                            const TWBulkDeleteOptions& options,
                                            TWError* error = nullptr);
  std::optional<TWResults<bool>> bulkDelete(const TWItemEntries& ids, std::string_view deleteType,
                                            std::string_view sendMeetingCancellations,
                                            std::string_view affectedTaskOccurunces,
                                            std::same_as<bool> auto supressReadReceipts,
                                            TWError* error = nullptr) {
    return bulkDelete(
        ids,
        TWBulkDeleteOptions{std::string(deleteType), std::string(sendMeetingCancellations),
                            std::string(affectedTaskOccurunces), supressReadReceipts},
        error);
  }
  std::optional<TWResults<bool>> bulkDelete(const TWQuerySet& items,
                                            const TWBulkDeleteOptions& options,
                                            TWError* error = nullptr);
  std::optional<TWResults<bool>> bulkDelete(const TWQuerySet& items, std::string_view deleteType,
                                            std::string_view sendMeetingCancellations,
                                            std::string_view affectedTaskOccurunces,
                                            std::same_as<bool> auto supressReadReceipts,
                                            TWError* error = nullptr) {
    return bulkDelete(
        items,
        TWBulkDeleteOptions{std::string(deleteType), std::string(sendMeetingCancellations),
                            std::string(affectedTaskOccurunces), supressReadReceipts},
        error);
  }

  /// Sends messages that are on the server. Copies go to the folder, or to Sent Items for null.
  ///
  /// Errors: a folder without `saveCopy`; why there is no Sent Items.
  std::optional<TWResults<bool>> bulkSend(const TWItemEntries& ids,
                                          std::same_as<bool> auto saveCopy,
                                          const std::shared_ptr<TWFolder>& copyToFolder,
                                          TWError* error = nullptr) {
    return send(ids, saveCopy, copyToFolder, error);
  }
  std::optional<TWResults<bool>> bulkSend(const TWQuerySet& items, std::same_as<bool> auto saveCopy,
                                          const std::shared_ptr<TWFolder>& copyToFolder,
                                          TWError* error = nullptr) {
    return send(items, saveCopy, copyToFolder, error);
  }

  /// The outcomes are the id pairs in the new folder; absent where the server does not tell it, as
  /// for a folder of another mailbox.
  std::optional<TWResults<std::optional<TWIdPair>>> bulkMove(
      const TWItemEntries& ids, const std::shared_ptr<TWFolder>& toFolder,
      TWError* error = nullptr);
  std::optional<TWResults<std::optional<TWIdPair>>> bulkMove(
      const TWQuerySet& items, const std::shared_ptr<TWFolder>& toFolder, TWError* error = nullptr);

  /// Reads items anew, each of the kind that its element says. They have the folder as theirs.
  /// @param folder      whose kinds and fields are meant; null: those of any folder
  /// @param onlyFields  texts or field paths; absent: every field that can be had
  ///
  /// Errors: fields that such a folder's items do not have; an item of a kind that it does not
  /// hold.
  [[nodiscard]] std::optional<TWItemEntries> fetch(
      const TWItemEntries& ids, const std::shared_ptr<TWFolder>& folder = nullptr,
      const std::optional<TWList>& onlyFields = std::nullopt, TWError* error = nullptr);
  [[nodiscard]] std::optional<TWItemEntries> fetch(
      const TWQuerySet& items, const std::shared_ptr<TWFolder>& folder = nullptr,
      const std::optional<TWList>& onlyFields = std::nullopt, TWError* error = nullptr);

  /// Whole items in the server's own form, as Base64 text, for `uploadItems`.
  [[nodiscard]] std::optional<TWResults<std::string>> exportItems(const TWItemEntries& ids,
                                                                  TWError* error = nullptr);
  /// Creates items from that form; the outcomes are their id pairs.
  std::optional<TWResults<TWIdPair>> uploadItems(const std::vector<TWItemUpload>& items,
                                                 TWError* error = nullptr);

  /// The bytes of a file that is attached. Absent, without an error, for no id and for an
  /// attachment without content.
  ///
  /// Errors: those of the service; ErrorTransport for an answer without the attachment.
  [[nodiscard]] std::optional<TWData> getAttachment(const std::optional<std::string>& id,
                                                    TWError* error = nullptr);

  // Notifications.

  /// Lets the server note what happens in the folder: new mail, and what is created, deleted,
  /// changed, moved and copied. See `TWSubscribeRequest`; the id is the text of the one entry.
  ///
  /// Errors: ErrorValueOutOfRange ("Cannot subscribe to nil folder").
  [[nodiscard]] std::optional<TWList> subscribe(const std::shared_ptr<TWFolder>& folder,
                                                TWError* error = nullptr);
  /// Errors: ErrorValueOutOfRange ("Cannot unsubscribe without id") for no id or an empty one.
  bool unsubscribe(const std::optional<std::string>& subscriptionId, TWError* error = nullptr);
  /// Waits for events of subscriptions, and keeps other requests waiting meanwhile; see
  /// `TWGetEvents`.
  [[nodiscard]] std::optional<TWList> getEvents(const std::vector<std::string>& subscriptionIds,
                                                TWError* error = nullptr);

 private:
  class Key {
    friend class TWAccount;
    Key() = default;
  };

 public:
  TWAccount(Key key, const TWAccountOptions& options);

 private:
  friend class detail::FolderTree;
  [[nodiscard]] std::shared_ptr<TWAccount> self();
  [[nodiscard]] std::shared_ptr<TWRoot> fetchedRoot() const;
  void setFetchedRoot(std::shared_ptr<TWRoot> root);
  void setLocalRoot(std::shared_ptr<TWRoot> root);
  /// `root()` with the error that it does not tell.
  [[nodiscard]] std::shared_ptr<TWRoot> anyRoot(TWError* error);
  TWError tryFetchingRoot();
  [[nodiscard]] std::shared_ptr<TWFolder> wellKnownFolder(const TWFolderClass& cls,
                                                          TWError* error = nullptr);
  std::optional<TWResults<bool>> send(const TWItemEntries& ids, bool saveCopy,
                                      const std::shared_ptr<TWFolder>& copyToFolder,
                                      TWError* error);
  std::optional<TWResults<bool>> send(const TWQuerySet& items, bool saveCopy,
                                      const std::shared_ptr<TWFolder>& copyToFolder,
                                      TWError* error);

  std::string primarySmtpAddress_;
  std::optional<std::string> fullName_;
  TWAccessType accessType_;
  std::shared_ptr<TWProtocol> protocol_;
  std::optional<std::string> locale_;
  TWTimeZone defaultTimeZone_;

  std::recursive_mutex rootMutex_;  // held while the root is fetched; guards the flag
  bool isFetchingRoot_ = false;     // seen by the thread that fetches, when it comes here again
  mutable std::mutex mutex_;        // guards what follows; never held over a request
  std::optional<TWVersion> version_;
  std::optional<std::string> syncState_;
  std::shared_ptr<TWRoot> root_;
  std::shared_ptr<TWRoot> localRoot_;
};

}  // namespace tarnwell
