#include "tarnwell/folders/TWWellKnownFolders.h"

#include <array>

#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWDistributionList.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWTask.h"

namespace tarnwell {
namespace {

using Models = std::vector<const TWElementClass*>;
using Names = std::array<TWLocalizedName, 8>;

constexpr Names kCalendarNames = {{
    {"da_DK", "Kalender"},
    {"de_DE", "Kalender"},
    {"en_US", "Calendar"},
    {"es_ES", "Calendario"},
    {"fr_CA", "Calendrier"},
    {"nl_NL", "Agenda"},
    {"ru_RU", "Календарь"},
    {"sv_SE", "Kalender"},
}};

constexpr Names kDeletedItemsNames = {{
    {"da_DK", "Slettet post"},
    {"de_DE", "Gelöschte Elemente"},
    {"en_US", "Deleted Items"},
    {"es_ES", "Elementos eliminados"},
    {"fr_CA", "Éléments supprimés"},
    {"nl_NL", "Verwijderde items"},
    {"ru_RU", "Удаленные"},
    {"sv_SE", "Borttaget"},
}};

constexpr Names kDraftsNames = {{
    {"da_DK", "Kladder"},
    {"de_DE", "Entwürfe"},
    {"en_US", "Drafts"},
    {"es_ES", "Borradores"},
    {"fr_CA", "Brouillons"},
    {"nl_NL", "Concepten"},
    {"ru_RU", "Черновики"},
    {"sv_SE", "Utkast"},
}};

constexpr Names kInboxNames = {{
    {"da_DK", "Indbakke"},
    {"de_DE", "Posteingang"},
    {"en_US", "Inbox"},
    {"es_ES", "Bandeja de entrada"},
    {"fr_CA", "Boîte de réception"},
    {"nl_NL", "Postvak IN"},
    {"ru_RU", "Входящие"},
    {"sv_SE", "Inkorgen"},
}};

constexpr Names kOutboxNames = {{
    {"da_DK", "Udbakke"},
    {"de_DE", "Postausgang"},
    {"en_US", "Outbox"},
    {"es_ES", "Bandeja de salida"},
    {"fr_CA", "Boîte d'envoi"},
    {"nl_NL", "Postvak UIT"},
    {"ru_RU", "Исходящие"},
    {"sv_SE", "Utkorgen"},
}};

constexpr Names kSentItemsNames = {{
    {"da_DK", "Sendt post"},
    {"de_DE", "Gesendete Elemente"},
    {"en_US", "Sent Items"},
    {"es_ES", "Elementos enviados"},
    {"fr_CA", "Éléments envoyés"},
    {"nl_NL", "Verzonden items"},
    {"ru_RU", "Отправленные"},
    {"sv_SE", "Skickat"},
}};

constexpr Names kJunkEmailNames = {{
    {"da_DK", "Uønsket e-mail"},
    {"de_DE", "Junk-E-Mail"},
    {"en_US", "Junk E-mail"},
    {"es_ES", "Correo no deseado"},
    {"fr_CA", "Courrier indésirables"},
    {"nl_NL", "Ongewenste e-mail"},
    {"ru_RU", "Нежелательная почта"},
    {"sv_SE", "Skräppost"},
}};

constexpr Names kTasksNames = {{
    {"da_DK", "Opgaver"},
    {"de_DE", "Aufgaben"},
    {"en_US", "Tasks"},
    {"es_ES", "Tareas"},
    {"fr_CA", "Tâches"},
    {"nl_NL", "Taken"},
    {"ru_RU", "Задачи"},
    {"sv_SE", "Uppgifter"},
}};

constexpr Names kContactsNames = {{
    {"da_DK", "Kontaktpersoner"},
    {"de_DE", "Kontakte"},
    {"en_US", "Contacts"},
    {"es_ES", "Contactos"},
    {"fr_CA", "Contacts"},
    {"nl_NL", "Contactpersonen"},
    {"ru_RU", "Контакты"},
    {"sv_SE", "Kontakter"},
}};

/// A class that differs from its base in its well-known name, and perhaps in its display names.
template <class Folder>
const TWFolderClass& derived(std::string_view name, const TWFolderClass& base,
                             std::string_view distinguishedFolderId,
                             std::span<const TWLocalizedName> names = {}) {
  static const auto& kClass = *new TWFolderClass({.name = name,
                                                  .base = &base,
                                                  .distinguishedFolderId = distinguishedFolderId,
                                                  .localizedNames = names,
                                                  .make = &detail::makeElement<Folder>});
  return kClass;
}

/// A folder that holds items of any kind.
template <class Folder>
const TWFolderClass& wellKnownFolder(std::string_view name,
                                     std::string_view distinguishedFolderId) {
  return derived<Folder>(name, TWWellKnownFolder::elementClass(), distinguishedFolderId);
}

}  // namespace

const TWFolderClass& TWCalendar::elementClass() {
  static const auto& kClass = *new TWFolderClass(
      {.name = "TWCalendar",
       .base = &TWFolder::elementClass(),
       .distinguishedFolderId = "calendar",
       .containerClass = "IPF.Appointment",
       .supportedItemModels = [] { return Models{&TWCalendarItem::elementClass()}; },
       .localizedNames = kCalendarNames,
       .make = &detail::makeElement<TWCalendar>});
  return kClass;
}

const TWFolderClass& TWDeletedItems::elementClass() {
  static const auto& kClass =
      *new TWFolderClass({.name = "TWDeletedItems",
                          .base = &TWFolder::elementClass(),
                          .distinguishedFolderId = "deleteditems",
                          .containerClass = "IPF.Note",
                          .supportedItemModels = [] { return TWItem::itemClasses(); },
                          .localizedNames = kDeletedItemsNames,
                          .make = &detail::makeElement<TWDeletedItems>});
  return kClass;
}

const TWFolderClass& TWMessages::elementClass() {
  static const auto& kClass = *new TWFolderClass(
      {.name = "TWMessages",
       .base = &TWFolder::elementClass(),
       .containerClass = "IPF.Note",
       .supportedItemModels =
           [] {
             return Models{&TWMessage::elementClass(), &TWMeetingRequest::elementClass(),
                           &TWMeetingResponse::elementClass(),
                           &TWMeetingCancellation::elementClass()};
           },
       .make = &detail::makeElement<TWMessages>});
  return kClass;
}

const TWFolderClass& TWTasks::elementClass() {
  static const auto& kClass =
      *new TWFolderClass({.name = "TWTasks",
                          .base = &TWFolder::elementClass(),
                          .distinguishedFolderId = "tasks",
                          .containerClass = "IPF.Task",
                          .supportedItemModels = [] { return Models{&TWTask::elementClass()}; },
                          .localizedNames = kTasksNames,
                          .make = &detail::makeElement<TWTasks>});
  return kClass;
}

const TWFolderClass& TWContacts::elementClass() {
  static const auto& kClass = *new TWFolderClass(
      {.name = "TWContacts",
       .base = &TWFolder::elementClass(),
       .distinguishedFolderId = "contacts",
       .containerClass = "IPF.Contact",
       .supportedItemModels =
           [] {
             return Models{&TWContact::elementClass(), &TWDistributionList::elementClass()};
           },
       .localizedNames = kContactsNames,
       .make = &detail::makeElement<TWContacts>});
  return kClass;
}

const TWFolderClass& TWGALContacts::elementClass() {
  static const auto& kClass = *new TWFolderClass({.name = "TWGALContacts",
                                                  .base = &TWContacts::elementClass(),
                                                  .containerClass = "IPF.Contact.GalContacts",
                                                  .make = &detail::makeElement<TWGALContacts>});
  return kClass;
}

const TWFolderClass& TWReceipientCache::elementClass() {
  static const auto& kClass = *new TWFolderClass({.name = "TWReceipientCache",
                                                  .base = &TWContacts::elementClass(),
                                                  .distinguishedFolderId = "receipientcache",
                                                  .containerClass = "IPF.Contact.RecipientCache",
                                                  .make = &detail::makeElement<TWReceipientCache>});
  return kClass;
}

const TWFolderClass& TWWellKnownFolder::elementClass() {
  static const auto& kClass =
      *new TWFolderClass({.name = "TWWellKnownFolder",
                          .base = &TWFolder::elementClass(),
                          .supportedItemModels = [] { return Models{&TWItem::elementClass()}; },
                          .make = &detail::makeElement<TWWellKnownFolder>});
  return kClass;
}

// The mail folders.

const TWFolderClass& TWDrafts::elementClass() {
  return derived<TWDrafts>("TWDrafts", TWMessages::elementClass(), "drafts", kDraftsNames);
}

const TWFolderClass& TWInbox::elementClass() {
  return derived<TWInbox>("TWInbox", TWMessages::elementClass(), "inbox", kInboxNames);
}

const TWFolderClass& TWOutbox::elementClass() {
  return derived<TWOutbox>("TWOutbox", TWMessages::elementClass(), "outbox", kOutboxNames);
}

const TWFolderClass& TWSentItems::elementClass() {
  return derived<TWSentItems>("TWSentItems", TWMessages::elementClass(), "sentitems",
                              kSentItemsNames);
}

const TWFolderClass& TWJunkEmail::elementClass() {
  return derived<TWJunkEmail>("TWJunkEmail", TWMessages::elementClass(), "junkemail",
                              kJunkEmailNames);
}

// Folders of items of any kind.

const TWFolderClass& TWAdminAuditLogs::elementClass() {
  return wellKnownFolder<TWAdminAuditLogs>("TWAdminAuditLogs", "adminauditlogs");
}

const TWFolderClass& TWArchiveDeletedItems::elementClass() {
  return wellKnownFolder<TWArchiveDeletedItems>("TWArchiveDeletedItems", "archivedeleteditems");
}

const TWFolderClass& TWArchiveInbox::elementClass() {
  return wellKnownFolder<TWArchiveInbox>("TWArchiveInbox", "archiveinbox");
}

const TWFolderClass& TWArchiveMsgFolderRoot::elementClass() {
  return wellKnownFolder<TWArchiveMsgFolderRoot>("TWArchiveMsgFolderRoot", "archivemsgfolderroot");
}

const TWFolderClass& TWArchiveRecoverableItemsDeletions::elementClass() {
  return wellKnownFolder<TWArchiveRecoverableItemsDeletions>("TWArchiveRecoverableItemsDeletions",
                                                             "archiverecoverableitemsdeletions");
}

const TWFolderClass& TWArchiveRecoverableItemsPurges::elementClass() {
  return wellKnownFolder<TWArchiveRecoverableItemsPurges>("TWArchiveRecoverableItemsPurges",
                                                          "archiverecoverableitemspurges");
}

const TWFolderClass& TWArchiveRecoverableItemsRoot::elementClass() {
  return wellKnownFolder<TWArchiveRecoverableItemsRoot>("TWArchiveRecoverableItemsRoot",
                                                        "archiverecoverableitemsroot");
}

const TWFolderClass& TWArchiveRecoverableItemsVersions::elementClass() {
  return wellKnownFolder<TWArchiveRecoverableItemsVersions>("TWArchiveRecoverableItemsVersions",
                                                            "archiverecoverableitemsversions");
}

const TWFolderClass& TWArchiveRoot::elementClass() {
  return wellKnownFolder<TWArchiveRoot>("TWArchiveRoot", "archiveroot");
}

const TWFolderClass& TWConflicts::elementClass() {
  return wellKnownFolder<TWConflicts>("TWConflicts", "conflicts");
}

const TWFolderClass& TWConversationHistory::elementClass() {
  return wellKnownFolder<TWConversationHistory>("TWConversationHistory", "conversationhistory");
}

const TWFolderClass& TWDirectory::elementClass() {
  return wellKnownFolder<TWDirectory>("TWDirectory", "directory");
}

const TWFolderClass& TWFavorites::elementClass() {
  return wellKnownFolder<TWFavorites>("TWFavorites", "favorites");
}

const TWFolderClass& TWIMContactList::elementClass() {
  return wellKnownFolder<TWIMContactList>("TWIMContactList", "imcontactlist");
}

const TWFolderClass& TWJournal::elementClass() {
  return wellKnownFolder<TWJournal>("TWJournal", "journal");
}

const TWFolderClass& TWLocalFailures::elementClass() {
  return wellKnownFolder<TWLocalFailures>("TWLocalFailures", "localfailures");
}

const TWFolderClass& TWMsgFolderRoot::elementClass() {
  return wellKnownFolder<TWMsgFolderRoot>("TWMsgFolderRoot", "msgfolderroot");
}

const TWFolderClass& TWMyContacts::elementClass() {
  return wellKnownFolder<TWMyContacts>("TWMyContacts", "mycontacts");
}

const TWFolderClass& TWNotes::elementClass() {
  return wellKnownFolder<TWNotes>("TWNotes", "notes");
}

const TWFolderClass& TWPeopleConnect::elementClass() {
  return wellKnownFolder<TWPeopleConnect>("TWPeopleConnect", "peopleconnect");
}

const TWFolderClass& TWPublicFoldersRoot::elementClass() {
  return wellKnownFolder<TWPublicFoldersRoot>("TWPublicFoldersRoot", "publicfoldersroot");
}

const TWFolderClass& TWQuickContacts::elementClass() {
  return wellKnownFolder<TWQuickContacts>("TWQuickContacts", "quickcontacts");
}

const TWFolderClass& TWRecoverableItemsDeletions::elementClass() {
  return wellKnownFolder<TWRecoverableItemsDeletions>("TWRecoverableItemsDeletions",
                                                      "recoverableitemsdeletions");
}

const TWFolderClass& TWRecoverableItemsPurges::elementClass() {
  return wellKnownFolder<TWRecoverableItemsPurges>("TWRecoverableItemsPurges",
                                                   "recoverableitemspurges");
}

const TWFolderClass& TWRecoverableItemsRoot::elementClass() {
  return wellKnownFolder<TWRecoverableItemsRoot>("TWRecoverableItemsRoot", "recoverableitemsroot");
}

const TWFolderClass& TWRecoverableItemsVersions::elementClass() {
  return wellKnownFolder<TWRecoverableItemsVersions>("TWRecoverableItemsVersions",
                                                     "recoverableitemsversions");
}

const TWFolderClass& TWSearchFolders::elementClass() {
  return wellKnownFolder<TWSearchFolders>("TWSearchFolders", "searchfolders");
}

const TWFolderClass& TWServerFailures::elementClass() {
  return wellKnownFolder<TWServerFailures>("TWServerFailures", "serverfailures");
}

const TWFolderClass& TWSyncIssues::elementClass() {
  return wellKnownFolder<TWSyncIssues>("TWSyncIssues", "syncissues");
}

const TWFolderClass& TWToDoSearch::elementClass() {
  return wellKnownFolder<TWToDoSearch>("TWToDoSearch", "todosearch");
}

const TWFolderClass& TWVoiceMail::elementClass() {
  return wellKnownFolder<TWVoiceMail>("TWVoiceMail", "voicemail");
}

std::span<const TWFolderClass* const> TWFolderClass::wellKnown() {
  static const std::array<const TWFolderClass*, 42> kClasses = {
      &TWAdminAuditLogs::elementClass(),
      &TWArchiveDeletedItems::elementClass(),
      &TWArchiveInbox::elementClass(),
      &TWArchiveMsgFolderRoot::elementClass(),
      &TWArchiveRecoverableItemsDeletions::elementClass(),
      &TWArchiveRecoverableItemsPurges::elementClass(),
      &TWArchiveRecoverableItemsRoot::elementClass(),
      &TWArchiveRecoverableItemsVersions::elementClass(),
      &TWArchiveRoot::elementClass(),
      &TWCalendar::elementClass(),
      &TWConflicts::elementClass(),
      &TWContacts::elementClass(),
      &TWConversationHistory::elementClass(),
      &TWDeletedItems::elementClass(),
      &TWDirectory::elementClass(),
      &TWDrafts::elementClass(),
      &TWFavorites::elementClass(),
      &TWIMContactList::elementClass(),
      &TWInbox::elementClass(),
      &TWJournal::elementClass(),
      &TWJunkEmail::elementClass(),
      &TWLocalFailures::elementClass(),
      &TWMsgFolderRoot::elementClass(),
      &TWMyContacts::elementClass(),
      &TWNotes::elementClass(),
      &TWOutbox::elementClass(),
      &TWPeopleConnect::elementClass(),
      &TWPublicFoldersRoot::elementClass(),
      &TWQuickContacts::elementClass(),
      &TWReceipientCache::elementClass(),
      &TWRecoverableItemsDeletions::elementClass(),
      &TWRecoverableItemsPurges::elementClass(),
      &TWRecoverableItemsRoot::elementClass(),
      &TWRecoverableItemsVersions::elementClass(),
      &TWRoot::elementClass(),
      &TWSearchFolders::elementClass(),
      &TWSentItems::elementClass(),
      &TWServerFailures::elementClass(),
      &TWSyncIssues::elementClass(),
      &TWTasks::elementClass(),
      &TWToDoSearch::elementClass(),
      &TWVoiceMail::elementClass(),
  };
  return kClasses;
}

}  // namespace tarnwell
