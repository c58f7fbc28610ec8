#include "tarnwell/services/TWEWSAccountService.h"

#include <utility>

#include "tarnwell/account/TWAccount.h"
#include "tarnwell/protocol/TWProtocol.h"

namespace tarnwell {
namespace {

/// The protocol of an account, without the account; there may be neither.
class ProtocolOfAccount final : public TWServiceContext {
 public:
  explicit ProtocolOfAccount(std::shared_ptr<TWBaseProtocol> protocol)
      : protocol_(std::move(protocol)) {}

  [[nodiscard]] std::shared_ptr<TWBaseProtocol> serviceProtocol() override { return protocol_; }
  [[nodiscard]] std::optional<TWVersion> version() const override {
    return protocol_ ? protocol_->version() : std::nullopt;
  }
  void setVersion(TWVersion version) override {
    if (protocol_) protocol_->setVersion(std::move(version));
  }
  [[nodiscard]] std::optional<TWEnvelopeContext> envelopeContext() const override {
    return std::nullopt;
  }
  [[nodiscard]] std::optional<std::string> logName() const override {
    return protocol_ ? protocol_->logName() : std::nullopt;
  }

 private:
  const std::shared_ptr<TWBaseProtocol> protocol_;
};

std::shared_ptr<TWServiceContext> protocolOf(const std::shared_ptr<TWAccount>& account) {
  return std::make_shared<ProtocolOfAccount>(account ? account->serviceProtocol() : nullptr);
}

std::shared_ptr<TWServiceContext> contextOf(const std::shared_ptr<TWAccount>& account) {
  if (account) return account;
  return protocolOf(account);
}

}  // namespace

TWEWSAccountService::TWEWSAccountService(const TWServiceClass& serviceClass,
                                         std::shared_ptr<TWAccount> account)
    : TWEWSService(serviceClass, contextOf(account)), account_(std::move(account)) {}

std::optional<TWVersion> TWEWSAccountService::accountVersion() const {
  return account_ ? account_->version() : std::nullopt;
}

TWEWSFolderService::TWEWSFolderService(const TWServiceClass& serviceClass,
                                       std::shared_ptr<TWAccount> account, TWFolders folders)
    : TWEWSService(serviceClass, protocolOf(account)),
      account_(std::move(account)),
      folders_(std::move(folders)) {}

std::optional<TWVersion> TWEWSFolderService::accountVersion() const {
  return account_ ? account_->version() : std::nullopt;
}

}  // namespace tarnwell
