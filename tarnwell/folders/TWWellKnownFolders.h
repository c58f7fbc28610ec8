#pragma once

#include "tarnwell/folders/TWFolder.h"

/// @file
/// The folders that the server knows by a name of their own. They differ in what their classes say:
/// the well-known name, the container class, the kinds of items in them, and the names that people
/// see. All of that stands in one table, TWWellKnownFolders.cpp.

namespace tarnwell {

/// Appointments.
class TWCalendar : public detail::FolderKind<TWCalendar, TWFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

/// What was deleted and can be had back; items of every kind.
class TWDeletedItems : public detail::FolderKind<TWDeletedItems, TWFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

/// Base of the mail folders, and any folder of messages.
class TWMessages : public detail::FolderKind<TWMessages, TWFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWDrafts : public detail::FolderKind<TWDrafts, TWMessages> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWInbox : public detail::FolderKind<TWInbox, TWMessages> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWOutbox : public detail::FolderKind<TWOutbox, TWMessages> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWSentItems : public detail::FolderKind<TWSentItems, TWMessages> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWJunkEmail : public detail::FolderKind<TWJunkEmail, TWMessages> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWTasks : public detail::FolderKind<TWTasks, TWFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

/// Contacts and distribution lists.
class TWContacts : public detail::FolderKind<TWContacts, TWFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

/// Contacts from the global address list.
class TWGALContacts : public detail::FolderKind<TWGALContacts, TWContacts> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

/// Whom was written to. (The name and the id of this class are spelt so deliberately.)
class TWReceipientCache : public detail::FolderKind<TWReceipientCache, TWContacts> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

/// Base of the well-known folders that hold items of no particular kind.
class TWWellKnownFolder : public detail::FolderKind<TWWellKnownFolder, TWFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWAdminAuditLogs : public detail::FolderKind<TWAdminAuditLogs, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveDeletedItems : public detail::FolderKind<TWArchiveDeletedItems, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveInbox : public detail::FolderKind<TWArchiveInbox, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveMsgFolderRoot
    : public detail::FolderKind<TWArchiveMsgFolderRoot, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveRecoverableItemsDeletions
    : public detail::FolderKind<TWArchiveRecoverableItemsDeletions, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveRecoverableItemsPurges
    : public detail::FolderKind<TWArchiveRecoverableItemsPurges, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveRecoverableItemsRoot
    : public detail::FolderKind<TWArchiveRecoverableItemsRoot, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveRecoverableItemsVersions
    : public detail::FolderKind<TWArchiveRecoverableItemsVersions, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWArchiveRoot : public detail::FolderKind<TWArchiveRoot, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWConflicts : public detail::FolderKind<TWConflicts, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWConversationHistory : public detail::FolderKind<TWConversationHistory, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWDirectory : public detail::FolderKind<TWDirectory, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWFavorites : public detail::FolderKind<TWFavorites, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWIMContactList : public detail::FolderKind<TWIMContactList, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWJournal : public detail::FolderKind<TWJournal, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWLocalFailures : public detail::FolderKind<TWLocalFailures, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWMsgFolderRoot : public detail::FolderKind<TWMsgFolderRoot, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWMyContacts : public detail::FolderKind<TWMyContacts, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWNotes : public detail::FolderKind<TWNotes, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWPeopleConnect : public detail::FolderKind<TWPeopleConnect, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWPublicFoldersRoot : public detail::FolderKind<TWPublicFoldersRoot, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWQuickContacts : public detail::FolderKind<TWQuickContacts, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWRecoverableItemsDeletions
    : public detail::FolderKind<TWRecoverableItemsDeletions, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWRecoverableItemsPurges
    : public detail::FolderKind<TWRecoverableItemsPurges, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWRecoverableItemsRoot
    : public detail::FolderKind<TWRecoverableItemsRoot, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWRecoverableItemsVersions
    : public detail::FolderKind<TWRecoverableItemsVersions, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWSearchFolders : public detail::FolderKind<TWSearchFolders, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWServerFailures : public detail::FolderKind<TWServerFailures, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWSyncIssues : public detail::FolderKind<TWSyncIssues, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWToDoSearch : public detail::FolderKind<TWToDoSearch, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

class TWVoiceMail : public detail::FolderKind<TWVoiceMail, TWWellKnownFolder> {
 public:
  [[nodiscard]] static const TWFolderClass& elementClass();
};

}  // namespace tarnwell
