#include "tarnwell/account/TWAccount.h"

#include <utility>

#include "tarnwell/account/detail/TreeArchive.h"
#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/services/TWGetEvents.h"
#include "tarnwell/services/TWSubscribeRequest.h"
#include "tarnwell/services/TWUnsubscribeRequest.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWLogger.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

TWAccessType accessTypeOf(const TWAccountOptions& options) {
  if (options.accessType != TWAccessTypeDefault) return options.accessType;
  return options.credentials ? TWAccessTypeDelegate : TWAccessTypeImpersonation;
}

std::nullptr_t beingFetched(TWError* error) {
  setError(error, {TWErrorCode::ErrorFolderNotFound, "The root is being fetched"});
  return nullptr;
}

}  // namespace

std::shared_ptr<TWAccount> TWAccount::withOptions(const TWAccountOptions& options) {
  return std::make_shared<TWAccount>(Key(), options);
}

TWAccount::TWAccount(Key /*key*/, const TWAccountOptions& options)
    : primarySmtpAddress_(options.primarySmtpAddress),
      fullName_(options.fullName),
      accessType_(accessTypeOf(options)),
      locale_(options.locale),
      defaultTimeZone_(options.defaultTimeZone ? *options.defaultTimeZone
                                               : TWTimeZone::defaultZone()) {
  if (options.autodiscover) {
    auto found = TWAutodiscover::discover(options.primarySmtpAddress, options.credentials,
                                          options.discovery);
    if (found) {
      primarySmtpAddress_ = std::move(found->primarySMTPAddress);
      protocol_ = std::move(found->protocol);
    } else {
      TWLogger::logger().rlog("[%@] Autodiscover found no server", {primarySmtpAddress_});
    }
  } else if (options.config) {
    protocol_ = options.config->protocol;
  } else {
    TWLogger::logger().rlog("[%@] Neither autodiscover nor a configuration", {primarySmtpAddress_});
  }
  if (protocol_) version_ = protocol_->version();
}

std::optional<std::string> TWAccount::syncState() const {
  const std::lock_guard lock(mutex_);
  return syncState_;
}

void TWAccount::setSyncState(std::optional<std::string> syncState) {
  const std::lock_guard lock(mutex_);
  syncState_ = std::move(syncState);
}

std::optional<std::string> TWAccount::domain() const {
  return TWUtils::getDomain(primarySmtpAddress_);
}

std::optional<std::string> TWAccount::delegatedAddress() const {
  if (accessType_ != TWAccessTypeDelegate || primarySmtpAddress_.empty()) return std::nullopt;
  const auto credentials = protocol_ ? protocol_->credentials() : nullptr;
  if (!credentials || credentials->type() != TWCredentialsTypeEmail) return std::nullopt;
  if (lowercased(credentials->username()) == lowercased(primarySmtpAddress_)) return std::nullopt;
  return primarySmtpAddress_;
}

void TWAccount::updateAccessToken(std::string_view token) {
  if (protocol_) protocol_->updateAccessToken(token);
}

std::string TWAccount::description() const {
  if (!fullName_) return formatMessage("[%@] %@", {className(), primarySmtpAddress_});
  return formatMessage("[%@] %@ (%@)", {className(), primarySmtpAddress_, fullName_});
}

TWProperties TWAccount::declaredProperties() const {
  return {{"primarySmtpAddress", primarySmtpAddress_},
          {"fullName", fullName_},
          {"accessType", static_cast<std::int64_t>(accessType_)},
          {"locale", locale_},
          {"defaultTimeZone", defaultTimeZone_},
          {"syncState", syncState()}};
}

std::shared_ptr<TWBaseProtocol> TWAccount::serviceProtocol() { return protocol_; }

std::optional<TWVersion> TWAccount::version() const {
  const std::lock_guard lock(mutex_);
  return version_;
}

void TWAccount::setVersion(TWVersion version) {
  const std::lock_guard lock(mutex_);
  version_ = std::move(version);
}

std::optional<TWEnvelopeContext> TWAccount::envelopeContext() const {
  TWEnvelopeContext context;
  context.timeZoneId = defaultTimeZone_.mszone();
  if (accessType_ == TWAccessTypeImpersonation) context.impersonatedAddress = primarySmtpAddress_;
  return context;
}

std::optional<std::string> TWAccount::logName() const { return primarySmtpAddress_; }

std::optional<std::string> TWAccount::accountDescription() const { return description(); }

std::shared_ptr<TWAccount> TWAccount::self() {
  return std::static_pointer_cast<TWAccount>(shared_from_this());
}

std::shared_ptr<TWRoot> TWAccount::fetchedRoot() const {
  const std::lock_guard lock(mutex_);
  return root_;
}

void TWAccount::setFetchedRoot(std::shared_ptr<TWRoot> root) {
  const std::lock_guard lock(mutex_);
  root_.swap(root);
}

std::shared_ptr<TWRoot> TWAccount::localRoot() const {
  const std::lock_guard lock(mutex_);
  return localRoot_;
}

void TWAccount::setLocalRoot(std::shared_ptr<TWRoot> root) {
  const std::lock_guard lock(mutex_);
  localRoot_.swap(root);
}

std::shared_ptr<TWRoot> TWAccount::knownRoot() const {
  const std::lock_guard lock(mutex_);
  return localRoot_ ? localRoot_ : root_;
}

std::shared_ptr<TWRoot> TWAccount::root() { return anyRoot(nullptr); }

std::shared_ptr<TWRoot> TWAccount::anyRoot(TWError* error) {
  const std::lock_guard lock(rootMutex_);
  if (auto known = knownRoot()) return known;
  if (isFetchingRoot_) return beingFetched(error);
  isFetchingRoot_ = true;
  const auto failure = tryFetchingRoot();
  isFetchingRoot_ = false;
  auto fetched = fetchedRoot();
  if (!fetched) setError(error, failure);
  return fetched;
}

std::shared_ptr<TWRoot> TWAccount::root(TWError* error) {
  const std::lock_guard lock(rootMutex_);
  if (auto fetched = fetchedRoot()) return fetched;
  if (isFetchingRoot_) return beingFetched(error);
  isFetchingRoot_ = true;
  auto root = TWRoot::getDistinguished(self(), error);
  isFetchingRoot_ = false;
  if (root) setFetchedRoot(root);
  return root;
}

void TWAccount::fetchRoot() { (void)tryFetchingRoot(); }

TWError TWAccount::tryFetchingRoot() {
  TWError failure;
  if (auto root = TWRoot::getDistinguished(self(), &failure)) {
    setFetchedRoot(std::move(root));
    TWLogger::logger().rlog("[%@] Got Root folder", {primarySmtpAddress_});
  } else if (failure.is(TWErrorCode::ErrorAccessDenied) && !fetchedRoot()) {
    setFetchedRoot(
        TWRoot::withDict({{"account", TWValue::weak(self())}, {"folder_id", "fakeRoot"}}));
  } else {
    TWLogger::logger().rlog("[%@] Failed to fetch root with error: %@",
                            {primarySmtpAddress_, failure});
  }
  return failure;
}

void TWAccount::refetchRoot() {
  if (!fetchedRoot()) fetchRoot();
  if (fetchedRoot()) setLocalRoot(nullptr);
}

std::map<std::string, TWFolders> TWAccount::folders() {
  std::map<std::string, TWFolders> byClass;
  if (const auto top = root())
    for (auto& folder : top->walk())
      byClass[std::string(folder->className())].push_back(std::move(folder));
  return byClass;
}

std::shared_ptr<TWFolder> TWAccount::wellKnownFolder(const TWFolderClass& cls, TWError* error) {
  const auto top = anyRoot(error);
  return top ? top->getDefaultFolder(cls, error) : nullptr;
}

#define TW_ACCOUNT_FOLDER(accessor, folderClass)         \
  std::shared_ptr<TWFolder> TWAccount::accessor() {      \
    return wellKnownFolder(folderClass::elementClass()); \
  }
#include "tarnwell/account/TWAccountFolders.inc"
#undef TW_ACCOUNT_FOLDER

std::optional<TWData> TWAccount::exportRootData() const {
  auto root = fetchedRoot();
  if (!root) root = localRoot();
  if (!root) return std::nullopt;
  return detail::writeTree(*root);
}

bool TWAccount::importRootData(const TWData& data) {
  auto root = detail::readTree(data, self());
  if (!root) return false;
  setLocalRoot(std::move(root));
  return true;
}

std::optional<TWList> TWAccount::subscribe(const std::shared_ptr<TWFolder>& folder,
                                           TWError* error) {
  if (!folder) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange, "Cannot subscribe to nil folder"});
    return std::nullopt;
  }
  return TWSubscribeRequest::withAccount(self(), {folder})
      ->call({"NewMailEvent", "CreatedEvent", "DeletedEvent", "ModifiedEvent", "MovedEvent",
              "CopiedEvent"},
             error);
}

bool TWAccount::unsubscribe(const std::optional<std::string>& subscriptionId, TWError* error) {
  if (!subscriptionId || subscriptionId->empty()) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange, "Cannot unsubscribe without id"});
    return false;
  }
  return TWUnsubscribeRequest::withAccount(self())->call(*subscriptionId, error).has_value();
}

std::optional<TWList> TWAccount::getEvents(const std::vector<std::string>& subscriptionIds,
                                           TWError* error) {
  return TWGetEvents::withAccount(self())->call(subscriptionIds, error);
}

}  // namespace tarnwell
