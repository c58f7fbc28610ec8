#pragma once

#include "sandbox/items/ItemReader.h"
#include "sandbox/store/Objects.h"

namespace tarnwell::sandbox {

/// Gives a new item what the server fills in: class, defaults, times. `owner` is whose mailbox it
/// is made in.
void fillNewItem(Item& item, const StoreMailbox& owner, const std::string& now);
/// Brings what follows from other properties up to date: size, display names, duration and the
/// like.
void updateDerived(Item& item, const StoreMailbox& editor, const std::string& now);
/// Makes a message look sent by `sender`.
void markSent(Item& item, const StoreMailbox& sender, const std::string& now);
/// The addresses of all its recipients, blind ones included, each once.
[[nodiscard]] std::vector<std::string> recipientsOf(const Item& item);
/// A sent message as `recipient` gets it.
[[nodiscard]] Item deliveredCopy(const Item& sent, const StoreMailbox& recipient);

/// t:Mailbox of somebody.
[[nodiscard]] Node mailboxNode(const std::string& name, const std::string& address);

}  // namespace tarnwell::sandbox
