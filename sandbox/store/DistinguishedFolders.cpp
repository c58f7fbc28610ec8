#include "sandbox/store/DistinguishedFolders.h"

#include <algorithm>
#include <array>

namespace tarnwell::sandbox {
namespace {

constexpr Schema k2007 = Schema::exchange2007;
constexpr Schema k2010Sp1 = Schema::exchange2010Sp1;
constexpr Schema k2013 = Schema::exchange2013;

using Row = DistinguishedFolder;

constexpr std::array kFolders{
    Row{"root", "root", "root", "", k2007},
    Row{"msgfolderroot", "root", "Top of Information Store", "", k2007},
    Row{"inbox", "msgfolderroot", "Inbox", "IPF.Note", k2007},
    Row{"drafts", "msgfolderroot", "Drafts", "IPF.Note", k2007},
    Row{"sentitems", "msgfolderroot", "Sent Items", "IPF.Note", k2007},
    Row{"deleteditems", "msgfolderroot", "Deleted Items", "IPF.Note", k2007},
    Row{"outbox", "msgfolderroot", "Outbox", "IPF.Note", k2007},
    Row{"junkemail", "msgfolderroot", "Junk Email", "IPF.Note", k2007},
    Row{"calendar", "msgfolderroot", "Calendar", "IPF.Appointment", k2007},
    Row{"contacts", "msgfolderroot", "Contacts", "IPF.Contact", k2007},
    Row{"tasks", "msgfolderroot", "Tasks", "IPF.Task", k2007},
    Row{"notes", "msgfolderroot", "Notes", "IPF.StickyNote", k2007},
    Row{"journal", "msgfolderroot", "Journal", "IPF.Journal", k2007},
    Row{"searchfolders", "root", "Finder", "", k2007},
    Row{"voicemail", "searchfolders", "Voice Mail", "IPF.Note.Microsoft.Voicemail", k2007},
    Row{"publicfoldersroot", "publicfoldersroot", "Public Folders", "", k2007},
    Row{"recoverableitemsroot", "root", "Recoverable Items", "", k2010Sp1},
    Row{"recoverableitemsdeletions", "recoverableitemsroot", "Deletions", "", k2010Sp1},
    Row{"recoverableitemsversions", "recoverableitemsroot", "Versions", "", k2010Sp1},
    Row{"recoverableitemspurges", "recoverableitemsroot", "Purges", "", k2010Sp1},
    Row{"archiveroot", "archiveroot", "root", "", k2010Sp1},
    Row{"archivemsgfolderroot", "archiveroot", "Top of Information Store", "", k2010Sp1},
    Row{"archivedeleteditems", "archivemsgfolderroot", "Deleted Items", "IPF.Note", k2010Sp1},
    Row{"archiverecoverableitemsroot", "archiveroot", "Recoverable Items", "", k2010Sp1},
    Row{"archiverecoverableitemsdeletions", "archiverecoverableitemsroot", "Deletions", "",
        k2010Sp1},
    Row{"archiverecoverableitemsversions", "archiverecoverableitemsroot", "Versions", "", k2010Sp1},
    Row{"archiverecoverableitemspurges", "archiverecoverableitemsroot", "Purges", "", k2010Sp1},
    Row{"archiveinbox", "archivemsgfolderroot", "Inbox", "IPF.Note", k2013},
    Row{"syncissues", "msgfolderroot", "Sync Issues", "IPF.Note", k2013},
    Row{"conflicts", "syncissues", "Conflicts", "IPF.Note", k2013},
    Row{"localfailures", "syncissues", "Local Failures", "IPF.Note", k2013},
    Row{"serverfailures", "syncissues", "Server Failures", "IPF.Note", k2013},
    Row{"recipientcache", "contacts", "Recipient Cache", "IPF.Contact.RecipientCache", k2013},
    Row{"quickcontacts", "contacts", "Quick Contacts", "IPF.Contact.MOC.QuickContacts", k2013},
    Row{"imcontactlist", "contacts", "IM Contact List", "IPF.Contact.MOC.ImContactList", k2013},
    Row{"peopleconnect", "contacts", "PeopleConnect", "IPF.Contact.PeopleConnect", k2013},
    Row{"conversationhistory", "msgfolderroot", "Conversation History", "IPF.Note", k2013},
    Row{"adminauditlogs", "recoverableitemsroot", "AdminAuditLogs", "", k2013},
    Row{"todosearch", "searchfolders", "To-Do Search", "IPF.Task", k2013},
    Row{"mycontacts", "searchfolders", "My Contacts", "IPF.Contact", k2013},
    Row{"directory", "root", "Directory", "", k2013},
    Row{"favorites", "root", "Favorites", "", k2013},
};

}  // namespace

std::span<const DistinguishedFolder> distinguishedFolders() { return kFolders; }

const DistinguishedFolder* findDistinguishedFolder(std::string_view id) {
  const auto* const found = std::ranges::find(kFolders, id, &DistinguishedFolder::id);
  return found == kFolders.end() ? nullptr : found;
}

}  // namespace tarnwell::sandbox
