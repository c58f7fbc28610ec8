#include <algorithm>
#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tarnwell/folders/TWRoot.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWCalendarItem.h"
#include "tarnwell/items/TWContact.h"
#include "tarnwell/items/TWDistributionList.h"
#include "tarnwell/items/TWMeetingItems.h"
#include "tarnwell/items/TWMessage.h"
#include "tarnwell/items/TWTask.h"

namespace tarnwell {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

struct Row {
  const TWFolderClass& cls;
  std::string_view name;
  const TWFolderClass& base;
  std::optional<std::string_view> distinguishedFolderId;
  std::optional<std::string_view> containerClass;
};

const std::vector<Row>& rows() {
  static const auto& kRows = *new std::vector<Row>{
      {TWCalendar::elementClass(), "TWCalendar", TWFolder::elementClass(), "calendar",
       "IPF.Appointment"},
      {TWDeletedItems::elementClass(), "TWDeletedItems", TWFolder::elementClass(), "deleteditems",
       "IPF.Note"},
      {TWMessages::elementClass(), "TWMessages", TWFolder::elementClass(), std::nullopt,
       "IPF.Note"},
      {TWDrafts::elementClass(), "TWDrafts", TWMessages::elementClass(), "drafts", "IPF.Note"},
      {TWInbox::elementClass(), "TWInbox", TWMessages::elementClass(), "inbox", "IPF.Note"},
      {TWOutbox::elementClass(), "TWOutbox", TWMessages::elementClass(), "outbox", "IPF.Note"},
      {TWSentItems::elementClass(), "TWSentItems", TWMessages::elementClass(), "sentitems",
       "IPF.Note"},
      {TWJunkEmail::elementClass(), "TWJunkEmail", TWMessages::elementClass(), "junkemail",
       "IPF.Note"},
      {TWTasks::elementClass(), "TWTasks", TWFolder::elementClass(), "tasks", "IPF.Task"},
      {TWContacts::elementClass(), "TWContacts", TWFolder::elementClass(), "contacts",
       "IPF.Contact"},
      {TWGALContacts::elementClass(), "TWGALContacts", TWContacts::elementClass(), std::nullopt,
       "IPF.Contact.GalContacts"},
      {TWReceipientCache::elementClass(), "TWReceipientCache", TWContacts::elementClass(),
       "receipientcache", "IPF.Contact.RecipientCache"},
      {TWAdminAuditLogs::elementClass(), "TWAdminAuditLogs", TWWellKnownFolder::elementClass(),
       "adminauditlogs", std::nullopt},
      {TWArchiveDeletedItems::elementClass(), "TWArchiveDeletedItems",
       TWWellKnownFolder::elementClass(), "archivedeleteditems", std::nullopt},
      {TWArchiveInbox::elementClass(), "TWArchiveInbox", TWWellKnownFolder::elementClass(),
       "archiveinbox", std::nullopt},
      {TWArchiveMsgFolderRoot::elementClass(), "TWArchiveMsgFolderRoot",
       TWWellKnownFolder::elementClass(), "archivemsgfolderroot", std::nullopt},
      {TWArchiveRecoverableItemsDeletions::elementClass(), "TWArchiveRecoverableItemsDeletions",
       TWWellKnownFolder::elementClass(), "archiverecoverableitemsdeletions", std::nullopt},
      {TWArchiveRecoverableItemsPurges::elementClass(), "TWArchiveRecoverableItemsPurges",
       TWWellKnownFolder::elementClass(), "archiverecoverableitemspurges", std::nullopt},
      {TWArchiveRecoverableItemsRoot::elementClass(), "TWArchiveRecoverableItemsRoot",
       TWWellKnownFolder::elementClass(), "archiverecoverableitemsroot", std::nullopt},
      {TWArchiveRecoverableItemsVersions::elementClass(), "TWArchiveRecoverableItemsVersions",
       TWWellKnownFolder::elementClass(), "archiverecoverableitemsversions", std::nullopt},
      {TWArchiveRoot::elementClass(), "TWArchiveRoot", TWWellKnownFolder::elementClass(),
       "archiveroot", std::nullopt},
      {TWConflicts::elementClass(), "TWConflicts", TWWellKnownFolder::elementClass(), "conflicts",
       std::nullopt},
      {TWConversationHistory::elementClass(), "TWConversationHistory",
       TWWellKnownFolder::elementClass(), "conversationhistory", std::nullopt},
      {TWDirectory::elementClass(), "TWDirectory", TWWellKnownFolder::elementClass(), "directory",
       std::nullopt},
      {TWFavorites::elementClass(), "TWFavorites", TWWellKnownFolder::elementClass(), "favorites",
       std::nullopt},
      {TWIMContactList::elementClass(), "TWIMContactList", TWWellKnownFolder::elementClass(),
       "imcontactlist", std::nullopt},
      {TWJournal::elementClass(), "TWJournal", TWWellKnownFolder::elementClass(), "journal",
       std::nullopt},
      {TWLocalFailures::elementClass(), "TWLocalFailures", TWWellKnownFolder::elementClass(),
       "localfailures", std::nullopt},
      {TWMsgFolderRoot::elementClass(), "TWMsgFolderRoot", TWWellKnownFolder::elementClass(),
       "msgfolderroot", std::nullopt},
      {TWMyContacts::elementClass(), "TWMyContacts", TWWellKnownFolder::elementClass(),
       "mycontacts", std::nullopt},
      {TWNotes::elementClass(), "TWNotes", TWWellKnownFolder::elementClass(), "notes",
       std::nullopt},
      {TWPeopleConnect::elementClass(), "TWPeopleConnect", TWWellKnownFolder::elementClass(),
       "peopleconnect", std::nullopt},
      {TWPublicFoldersRoot::elementClass(), "TWPublicFoldersRoot",
       TWWellKnownFolder::elementClass(), "publicfoldersroot", std::nullopt},
      {TWQuickContacts::elementClass(), "TWQuickContacts", TWWellKnownFolder::elementClass(),
       "quickcontacts", std::nullopt},
      {TWRecoverableItemsDeletions::elementClass(), "TWRecoverableItemsDeletions",
       TWWellKnownFolder::elementClass(), "recoverableitemsdeletions", std::nullopt},
      {TWRecoverableItemsPurges::elementClass(), "TWRecoverableItemsPurges",
       TWWellKnownFolder::elementClass(), "recoverableitemspurges", std::nullopt},
      {TWRecoverableItemsRoot::elementClass(), "TWRecoverableItemsRoot",
       TWWellKnownFolder::elementClass(), "recoverableitemsroot", std::nullopt},
      {TWRecoverableItemsVersions::elementClass(), "TWRecoverableItemsVersions",
       TWWellKnownFolder::elementClass(), "recoverableitemsversions", std::nullopt},
      {TWSearchFolders::elementClass(), "TWSearchFolders", TWWellKnownFolder::elementClass(),
       "searchfolders", std::nullopt},
      {TWServerFailures::elementClass(), "TWServerFailures", TWWellKnownFolder::elementClass(),
       "serverfailures", std::nullopt},
      {TWSyncIssues::elementClass(), "TWSyncIssues", TWWellKnownFolder::elementClass(),
       "syncissues", std::nullopt},
      {TWToDoSearch::elementClass(), "TWToDoSearch", TWWellKnownFolder::elementClass(),
       "todosearch", std::nullopt},
      {TWVoiceMail::elementClass(), "TWVoiceMail", TWWellKnownFolder::elementClass(), "voicemail",
       std::nullopt},
  };
  return kRows;
}

TEST(TWWellKnownFolders, EveryClassSaysWhatItIs) {
  EXPECT_EQ(rows().size(), 43U);
  for (const auto& row : rows()) {
    EXPECT_EQ(row.cls.name(), row.name);
    EXPECT_EQ(row.cls.base(), &row.base) << row.name;
    EXPECT_EQ(row.cls.distinguishedFolderId(), row.distinguishedFolderId) << row.name;
    EXPECT_EQ(row.cls.containerClass(), row.containerClass) << row.name;
    EXPECT_EQ(row.cls.requestTag(), "t:Folder") << row.name;
    const auto folder = row.cls.withDict({});
    ASSERT_TRUE(folder) << row.name;
    EXPECT_EQ(&folder->cls(), &row.cls) << row.name;
  }
}

TEST(TWWellKnownFolders, TheBasesDeriveFromTheFolder) {
  EXPECT_EQ(TWRoot::elementClass().base(), &TWFolder::elementClass());
  EXPECT_EQ(TWRoot::distinguishedFolderId(), "root");
  EXPECT_EQ(TWWellKnownFolder::elementClass().base(), &TWFolder::elementClass());
  EXPECT_EQ(TWWellKnownFolder::distinguishedFolderId(), std::nullopt);
  EXPECT_EQ(TWFolder::distinguishedFolderId(), std::nullopt);
  EXPECT_EQ(TWFolder::containerClass(), std::nullopt);
}

TEST(TWWellKnownFolders, AreListedInTheOrderOfTheirNames) {
  std::vector<std::string> listed;
  for (const auto* const cls : TWFolderClass::wellKnown()) listed.emplace_back(cls->name());
  EXPECT_EQ(listed.size(), 42U);
  EXPECT_EQ(listed.front(), "TWAdminAuditLogs");
  EXPECT_EQ(listed.back(), "TWVoiceMail");
  EXPECT_TRUE(std::ranges::is_sorted(listed));
  for (const auto& row : rows())
    EXPECT_EQ(std::ranges::count(listed, row.name), row.distinguishedFolderId ? 1 : 0) << row.name;
}

TEST(TWWellKnownFolders, HoldTheItemsOfTheirKind) {
  EXPECT_THAT(TWCalendar::supportedItemModels(), ElementsAre(&TWCalendarItem::elementClass()));
  EXPECT_EQ(TWDeletedItems::supportedItemModels(), TWItem::itemClasses());
  EXPECT_EQ(TWFolder::supportedItemModels(), TWItem::itemClasses());
  const auto mail =
      ElementsAre(&TWMessage::elementClass(), &TWMeetingRequest::elementClass(),
                  &TWMeetingResponse::elementClass(), &TWMeetingCancellation::elementClass());
  EXPECT_THAT(TWMessages::supportedItemModels(), mail);
  EXPECT_THAT(TWSentItems::supportedItemModels(), mail);
  EXPECT_THAT(TWTasks::supportedItemModels(), ElementsAre(&TWTask::elementClass()));
  const auto people = ElementsAre(&TWContact::elementClass(), &TWDistributionList::elementClass());
  EXPECT_THAT(TWContacts::supportedItemModels(), people);
  EXPECT_THAT(TWReceipientCache::supportedItemModels(), people);
  EXPECT_THAT(TWNotes::supportedItemModels(), ElementsAre(&TWItem::elementClass()));
}

struct Names {
  const TWFolderClass& cls;
  std::array<std::string_view, 8> names;
};

TEST(TWWellKnownFolders, HaveTheirNamesInEightLanguages) {
  const std::vector<Names> expected = {
      {TWCalendar::elementClass(),
       {"Kalender", "Kalender", "Calendar", "Calendario", "Calendrier", "Agenda", "Календарь",
        "Kalender"}},
      {TWDeletedItems::elementClass(),
       {"Slettet post", "Gelöschte Elemente", "Deleted Items", "Elementos eliminados",
        "Éléments supprimés", "Verwijderde items", "Удаленные", "Borttaget"}},
      {TWDrafts::elementClass(),
       {"Kladder", "Entwürfe", "Drafts", "Borradores", "Brouillons", "Concepten", "Черновики",
        "Utkast"}},
      {TWInbox::elementClass(),
       {"Indbakke", "Posteingang", "Inbox", "Bandeja de entrada", "Boîte de réception",
        "Postvak IN", "Входящие", "Inkorgen"}},
      {TWOutbox::elementClass(),
       {"Udbakke", "Postausgang", "Outbox", "Bandeja de salida", "Boîte d'envoi", "Postvak UIT",
        "Исходящие", "Utkorgen"}},
      {TWSentItems::elementClass(),
       {"Sendt post", "Gesendete Elemente", "Sent Items", "Elementos enviados", "Éléments envoyés",
        "Verzonden items", "Отправленные", "Skickat"}},
      {TWJunkEmail::elementClass(),
       {"Uønsket e-mail", "Junk-E-Mail", "Junk E-mail", "Correo no deseado",
        "Courrier indésirables", "Ongewenste e-mail", "Нежелательная почта", "Skräppost"}},
      {TWTasks::elementClass(),
       {"Opgaver", "Aufgaben", "Tasks", "Tareas", "Tâches", "Taken", "Задачи", "Uppgifter"}},
      {TWContacts::elementClass(),
       {"Kontaktpersoner", "Kontakte", "Contacts", "Contactos", "Contacts", "Contactpersonen",
        "Контакты", "Kontakter"}},
  };
  for (const auto& row : expected) {
    std::vector<std::string_view> locales, names;
    for (const auto& name : row.cls.localizedNames()) {
      locales.push_back(name.locale);
      names.push_back(name.name);
    }
    EXPECT_THAT(locales, ElementsAre("da_DK", "de_DE", "en_US", "es_ES", "fr_CA", "nl_NL", "ru_RU",
                                     "sv_SE"));
    EXPECT_THAT(names, ElementsAreArray(row.names)) << row.cls.name();
  }
}

TEST(TWWellKnownFolders, DisplayNamesAreNotInherited) {
  EXPECT_THAT(TWGALContacts::localizedNames(), IsEmpty());
  EXPECT_THAT(TWReceipientCache::localizedNames(), IsEmpty());
  EXPECT_THAT(TWNotes::localizedNames(), IsEmpty());
  EXPECT_THAT(TWFolder::localizedNames(), IsEmpty());
}

}  // namespace
}  // namespace tarnwell
