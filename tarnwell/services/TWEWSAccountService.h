#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "tarnwell/services/TWEWSService.h"

namespace tarnwell {

class TWAccount;
class TWFolder;

using TWFolders = std::vector<std::shared_ptr<TWFolder>>;

/// Base of the operations of an account: requests declare the version of the account, which keeps
/// what is learnt of it, and their envelopes tell whose mailbox is meant. Without an account, or
/// without a protocol of it, calls fail as for a closed protocol. An empty list of ids or items is
/// sent too, which servers refuse; `TWGetItem` and the operations of `TWAccount` ask nobody then.
class TWEWSAccountService : public TWEWSService {
 public:
  [[nodiscard]] const std::shared_ptr<TWAccount>& account() const noexcept { return account_; }

 protected:
  TWEWSAccountService(const TWServiceClass& serviceClass, std::shared_ptr<TWAccount> account);
  TWEWSAccountService(const TWServiceClass&& serviceClass,
                      std::shared_ptr<TWAccount> account) = delete;

  /// What requests are written for.
  [[nodiscard]] std::optional<TWVersion> accountVersion() const;

 private:
  std::shared_ptr<TWAccount> account_;
};

/// Base of the operations on folders (searches and subscriptions). Although it has an account, its
/// requests declare the protocol's version and their envelopes say nothing of the account,
/// deliberately; what is in them is written for the account's version.
class TWEWSFolderService : public TWEWSService {
 public:
  [[nodiscard]] const std::shared_ptr<TWAccount>& account() const noexcept { return account_; }
  [[nodiscard]] const TWFolders& folders() const noexcept { return folders_; }

 protected:
  TWEWSFolderService(const TWServiceClass& serviceClass, std::shared_ptr<TWAccount> account,
                     TWFolders folders);
  TWEWSFolderService(const TWServiceClass&& serviceClass, std::shared_ptr<TWAccount> account,
                     TWFolders folders) = delete;

  [[nodiscard]] std::optional<TWVersion> accountVersion() const;

 private:
  std::shared_ptr<TWAccount> account_;
  TWFolders folders_;
};

}  // namespace tarnwell
